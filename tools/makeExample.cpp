// Makes the bundled example recording: the first part of "Scotland the Brave" on a
// synthesised chanter with drones, gracing included, as a mono 16-bit WAV at 44100 Hz.
//
//   makeExample OUT.wav
//
// The result is committed as resources/examples/scotland-the-brave.wav; run this again
// only when the synthesiser's sound should change.

#include "AudioFileWriter.h"
#include "ChanterSynthesiser.h"

#include <QString>

#include <cstdio>
#include <vector>

namespace {

struct TuneNote {
    PipeNoteName melody;
    double beats;
    PipeNoteName gracing; // Unknown for none; a strike splits the note in half
};

// Four beats to the bar; the gracing takes its time from the note it ornaments, so every
// melody note's gracing starts on the note's own place in the bar.
std::vector<TuneNote> tune()
{
    // Bars 1 and 2 come back as bars 5 and 6, with a birl to open the second time.
    auto opening = [](PipeNoteName firstGracing) {
        return std::vector<TuneNote>{{LA, 1.0, firstGracing}, {LA, 0.75, dbla}, {B, 0.25, Unknown}, {C, 0.5, gg},
            {LA, 0.5, Unknown}, {C, 0.5, eg}, {E, 0.5, Unknown}, {HA, 1.0, Unknown}, {HA, 0.75, dbha},
            {HG, 0.25, Unknown}, {HA, 0.5, Unknown}, {E, 0.5, Unknown}, {C, 0.5, eg}, {LA, 0.5, Unknown}};
    };
    std::vector<TuneNote> notes = opening(gg);
    const std::vector<TuneNote> bars3and4 = {{D, 1.0, thrd}, {F, 0.75, dbf}, {D, 0.25, Unknown}, {C, 0.5, gg},
        {E, 0.5, Unknown}, {C, 0.5, eg}, {LA, 0.5, Unknown}, {B, 2.0, dbb}, {B, 1.0, strlg}, {B, 1.0, grp}};
    const std::vector<TuneNote> bars7and8 = {{D, 1.0, thrd}, {F, 0.75, dbf}, {D, 0.25, Unknown}, {C, 0.5, gg},
        {E, 0.5, dbe}, {B, 0.5, tar}, {C, 0.5, gg}, {LA, 3.0, dbla}, {LA, 1.0, Unknown}};
    const std::vector<TuneNote> secondOpening = opening(brl);
    notes.insert(notes.end(), bars3and4.begin(), bars3and4.end());
    notes.insert(notes.end(), secondOpening.begin(), secondOpening.end());
    notes.insert(notes.end(), bars7and8.begin(), bars7and8.end());
    return notes;
}

constexpr double kBeat_s = 0.6; // 100 beats a minute

} // namespace

int main(int argc, char* argv[])
{
    if (argc != 2) {
        std::fprintf(stderr, "Usage: makeExample OUT.wav\n");
        return 2;
    }
    // Low A at 440 Hz, the tools' default, so the example needs no tuning options.
    ChanterSynthesiser synth(44100.0);
    synth.setDrones(0.25);
    synth.setNoise(0.01, 2205);
    synth.setGraceNote_s(0.032);
    synth.setFirstLowG_s(0.05);

    synth.rest(0.3);
    for (const TuneNote& note : tune()) {
        const double duration_s = note.beats * kBeat_s;
        if (note.gracing != Unknown && noteTypeFromName(note.gracing) == StrikeNoteType) {
            const double strike_s = synth.gracingDuration_s(note.gracing);
            synth.playStrike(note.gracing, note.melody, duration_s / 2.0 - strike_s, duration_s / 2.0);
        } else {
            synth.play(note.melody, duration_s - synth.gracingDuration_s(note.gracing), note.gracing);
        }
    }
    synth.rest(0.4);

    QString error;
    if (!AudioFileWriter::write(QString::fromLocal8Bit(argv[1]), synth.render(), 44100, error)) {
        std::fprintf(stderr, "makeExample: %s\n", qPrintable(error));
        return 1;
    }
    std::printf("%s: %.2f s, %zu melody notes, %zu gracings\n", argv[1], synth.duration_s(), synth.melodyNotes().size(),
        synth.gracings().size());
    return 0;
}
