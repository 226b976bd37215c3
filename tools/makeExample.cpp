// Makes the bundled example recordings: tunes on a synthesised chanter with drones, gracing
// included, as mono 16-bit audio at 44100 Hz (FLAC for a .flac name, WAV otherwise).
//
//   makeExample OUT.wav         Scotland the Brave, as resources/examples/scotland-the-brave.wav
//   makeExample NAME OUT        the example NAME (makeExample --list names them)
//
// The results are committed under resources/examples; run this again only when a tune or the
// synthesiser's sound should change. resources/CMakeLists.txt packs each with the tempo, time
// signature, time shift and low A that --list prints, and the install test checks they agree.

#include "AudioFileWriter.h"
#include "ChanterSynthesiser.h"
#include "PipeTuneQuantizer.h"

#include <QString>
#include <QStringList>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

struct Example {
    const char* name; // file name without extension
    const char* title;
    const char* type;
    int numerator;
    int denominator;
    double bpm; // as the quantiser reads it: the beat is a dotted crotchet in 6/8, a minim in 2/2
    float lowA_Hz;
    double graceNote_s;
    double firstLowG_s;
    // The piper stops blowing at the end, so the drones fall silent with the chanter; the first
    // example was made with drones that sound on to the end of the file.
    bool dronesStop;
    // The tune: a gracing name stands before the note it ornaments; a melody note is its name
    // and its length in semiquavers ("LA3" is a dotted quaver); "|" closes a bar, which must
    // hold a whole bar. A strike splits its note in half.
    const char* music;
};

// Every tune starts on the first beat 0.3 s in, so each packs with --shift -0.3.
constexpr double kLeadIn_s = 0.3;
constexpr double kTail_s = 0.4;
constexpr double kDronesFade_s = 0.04;

const Example kExamples[] = {
    {"scotland-the-brave", "Scotland the Brave", "March", 4, 4, 100.0, 440.0f, 0.032, 0.05, false,
        // Bars 1 and 2 come back as bars 5 and 6, with a birl to open the second time.
        "gg LA4 dbla LA3 B1 gg C2 LA2 eg C2 E2 | HA4 dbha HA3 HG1 HA2 E2 eg C2 LA2 |"
        " thrd D4 dbf F3 D1 gg C2 E2 eg C2 LA2 | dbb B8 strlg B4 grp B4 |"
        " brl LA4 dbla LA3 B1 gg C2 LA2 eg C2 E2 | HA4 dbha HA3 HG1 HA2 E2 eg C2 LA2 |"
        " thrd D4 dbf F3 D1 gg C2 dbe E2 tar B2 gg C2 | dbla LA12 LA4 |"},
    // Our own tunes, one for each of the other metres pipers play most.
    {"the-ceolmark-welcome", "The Ceolmark Welcome", "2/4 March", 2, 4, 80.0, 480.0f, 0.032, 0.05, true,
        "gg LA3 B1 dbc C3 E1 | dbha HA3 E1 gg C2 eg LA2 | thrd D3 C1 grp B3 LA1 | dbe E6 C2 |"
        " gg LA3 B1 dbc C3 E1 | dbha HA3 E1 dbf F3 E1 | gg C3 LA1 tar B3 LG1 | dbla LA8 |"},
    {"the-drone-reed", "The Drone Reed", "Jig", 6, 8, 100.0, 440.0f, 0.032, 0.05, true,
        "gg LA2 B2 C2 dbe E4 C2 | grp LA2 C2 E2 dbha HA4 E2 | thrd D4 C2 grp B2 LA2 B2 | dbc C4 LA2 tar B6 |"
        " gg LA2 B2 C2 dbe E4 C2 | grp LA2 C2 E2 dbf F4 E2 | thrd D4 B2 dbc C4 E2 | gg B2 LA2 LG2 dbla LA6 |"},
    {"the-practice-chanter", "The Practice Chanter", "Reel", 2, 2, 70.0, 440.0f, 0.032, 0.05, true,
        "gg LA2 brl LA2 E2 LA2 gg C2 LA2 E2 LA2 | dbb B4 grp B2 C2 thrd D4 C2 B2 |"
        " gg LA2 brl LA2 E2 LA2 dbha HA4 dbe E4 | gg F2 E2 C2 LA2 tar B4 gg LA4 |"
        " gg LA2 brl LA2 E2 LA2 gg C2 LA2 E2 LA2 | dbb B4 grp B2 C2 thrd D4 C2 B2 |"
        " gg C2 LA2 E2 C2 dbha HA4 dbf F2 E2 | gg C2 LA2 B2 LG2 dbla LA8 |"},
};

struct TuneNote {
    PipeNoteName melody = Unknown;
    int semiquavers = 0;
    PipeNoteName gracing = Unknown; // Unknown for none
};

const Example* findExample(const char* name)
{
    for (const Example& example : kExamples)
        if (std::strcmp(example.name, name) == 0)
            return &example;
    return nullptr;
}

// The notes of example.music; false with a message for a bad token or a bar of the wrong length,
// so that a mistyped tune never becomes a recording.
bool parseMusic(const Example& example, std::vector<TuneNote>& notes, QString& error)
{
    const int barLength = 16 * example.numerator / example.denominator;
    int inBar = 0;
    int bar = 1;
    PipeNoteName gracing = Unknown;
    for (const QString& token : QString(example.music).split(' ', Qt::SkipEmptyParts)) {
        if (token == "|") {
            if (inBar != barLength) {
                error = QString("bar %1 holds %2 semiquavers, not %3").arg(bar).arg(inBar).arg(barLength);
                return false;
            }
            inBar = 0;
            ++bar;
            continue;
        }
        int digits = 0;
        while (digits < token.size() && !token.at(digits).isDigit())
            ++digits;
        const PipeNoteName name = pipeNoteNameFromString(token.left(digits).toStdString());
        if (digits == token.size()) {
            if (name == Unknown || isMelodyNote(name) || gracing != Unknown) {
                error = QString("bar %1: \"%2\" is no gracing here").arg(bar).arg(token);
                return false;
            }
            gracing = name;
            continue;
        }
        bool ok = false;
        const int length = token.mid(digits).toInt(&ok);
        if (!isMelodyNote(name) || !ok || length <= 0) {
            error = QString("bar %1: \"%2\" is no melody note").arg(bar).arg(token);
            return false;
        }
        notes.push_back({name, length, gracing});
        gracing = Unknown;
        inBar += length;
    }
    if (inBar != 0 || gracing != Unknown) {
        error = "the tune must end with a bar line";
        return false;
    }
    return true;
}

// Seconds per crotchet as the quantiser reads the tempo, in double precision so that the long
// tunes keep whole-sample timing.
double crotchet_s(const Example& example)
{
    const double beat_s = 60.0 / example.bpm;
    if (example.numerator == 6 && example.denominator == 8)
        return beat_s * 2.0 / 3.0;
    if (example.numerator == 2 && example.denominator == 2)
        return beat_s / 2.0;
    return beat_s;
}

int usage()
{
    std::fprintf(stderr,
        "Usage: makeExample OUT.wav\n       makeExample NAME OUT.flac|OUT.wav\n"
        "       makeExample --list\n");
    return 2;
}

} // namespace

int main(int argc, char* argv[])
{
    if (argc == 2 && std::strcmp(argv[1], "--list") == 0) {
        for (const Example& example : kExamples)
            std::printf("%s\t--name \"%s\" --type \"%s\" --bpm %g --time %d/%d --shift %g --low-a %g\n", example.name,
                example.title, example.type, example.bpm, example.numerator, example.denominator, -kLeadIn_s,
                double(example.lowA_Hz));
        return 0;
    }
    if (argc != 2 && argc != 3)
        return usage();
    const Example* example = argc == 2 ? &kExamples[0] : findExample(argv[1]);
    if (!example) {
        std::fprintf(stderr, "makeExample: no example called \"%s\" (see --list)\n", argv[1]);
        return 2;
    }
    const QString out = QString::fromLocal8Bit(argv[argc - 1]);
    const AudioFileWriter::Container container
        = out.endsWith(".flac", Qt::CaseInsensitive) ? AudioFileWriter::Flac : AudioFileWriter::Wav;

    std::vector<TuneNote> notes;
    QString error;
    if (!parseMusic(*example, notes, error)) {
        std::fprintf(stderr, "makeExample: %s: %s\n", example->name, qPrintable(error));
        return 1;
    }
    // A disagreement here would pack the example at the wrong tempo.
    const double crotchet = crotchet_s(*example);
    if (std::fabs(crotchet - getCrotchetDuration_s(float(example->bpm), example->numerator, example->denominator))
        > 1e-4) {
        std::fprintf(stderr, "makeExample: the quantiser reads %g BPM in %d/%d differently\n", example->bpm,
            example->numerator, example->denominator);
        return 1;
    }

    PipeTuning tuning;
    tuning.setLowA_Hz(example->lowA_Hz);
    ChanterSynthesiser synth(44100.0, tuning);
    synth.setDrones(0.25);
    synth.setNoise(0.01, 2205);
    synth.setGraceNote_s(example->graceNote_s);
    synth.setFirstLowG_s(example->firstLowG_s);

    // The gracing takes its time from the note it ornaments, so every gracing starts on the
    // note's own place in the bar.
    synth.rest(kLeadIn_s);
    for (const TuneNote& note : notes) {
        const double duration_s = note.semiquavers * crotchet / 4.0;
        if (note.gracing != Unknown && noteTypeFromName(note.gracing) == StrikeNoteType) {
            const double strike_s = synth.gracingDuration_s(note.gracing);
            synth.playStrike(note.gracing, note.melody, duration_s / 2.0 - strike_s, duration_s / 2.0);
        } else {
            synth.play(note.melody, duration_s - synth.gracingDuration_s(note.gracing), note.gracing);
        }
    }
    const double end_s = synth.duration_s();
    synth.rest(kTail_s);
    std::vector<short> samples = synth.render();
    if (example->dronesStop) {
        // A short fade, as a bag's pressure falls, then silence.
        const std::size_t end = std::size_t(std::llround(end_s * 44100.0));
        const std::size_t fade = std::size_t(std::llround(kDronesFade_s * 44100.0));
        for (std::size_t i = end; i < samples.size(); ++i)
            samples[i] = i - end < fade ? short(std::lround(samples[i] * double(fade - (i - end)) / double(fade))) : 0;
    }

    if (!AudioFileWriter::write(out, samples, 44100, error, container)) {
        std::fprintf(stderr, "makeExample: %s\n", qPrintable(error));
        return 1;
    }
    std::printf("%s: %s (%s), %.2f s, %zu melody notes, %zu gracings\n", qPrintable(out), example->title, example->type,
        synth.duration_s(), synth.melodyNotes().size(), synth.gracings().size());
    return 0;
}
