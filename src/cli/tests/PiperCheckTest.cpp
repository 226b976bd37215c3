// The check a piper would make: play a known march, let ceolmark-cli transcribe write it down as
// a .bww, open that in MuseScore and count the bars that read as written.

#include "AudioFileWriter.h"
#include "ChanterSynthesiser.h"
#include "CliRun.h"
#include "GroupQuantizer.h"
#include "MuseScoreImport.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <iostream>
#include <sstream>

namespace {

// Sixteen bars of 2/4: "gracing.NOTE/length" with the length in thirty-second notes. A strike
// ("strlg.B/4") splits the note before it, which must have the same pitch.
const char kMarch[] = "gg.LA/6 B/2 dbc.C/6 LA/2 | grp.E/8 gg.E/6 F/2 | tg.HA/6 HG/2 dbf.F/6 E/2 | thrd.D/8 B/4 gg.C/4 |"
                      " gg.LA/6 B/2 dbc.C/6 E/2 | dbf.F/6 E/2 dbhg.HG/6 F/2 | dbe.E/6 LA/2 gg.C/6 B/2 | brl.LA/16 |"
                      " gg.E/6 F/2 tg.HA/6 E/2 | dbhg.HG/6 F/2 gg.E/8 | dbf.F/6 E/2 dbe.E/6 C/2 | dbd.D/16 |"
                      " eg.C/6 B/2 dbc.C/6 E/2 | gg.F/6 E/2 grp.C/6 LA/2 | B/8 strlg.B/4 thrd.D/4 | tar.LA/16";
constexpr float kTempo = 80.0f;
constexpr int kBar32 = 16;
constexpr double kLeadIn_s = 0.5;

struct WrittenNote {
    PipeNoteName gracing = Unknown;
    PipeNoteName melody = Unknown;
    int length32 = 0;
};

PipeNoteName nameFromText(const std::string& text)
{
    const PipeNoteName name = pipeNoteNameFromString(text);
    EXPECT_NE(name, Unknown) << "no note called " << text;
    return name;
}

std::vector<WrittenNote> march()
{
    std::vector<WrittenNote> notes;
    std::istringstream words(kMarch);
    std::string word;
    while (words >> word) {
        if (word == "|")
            continue;
        WrittenNote note;
        const size_t slash = word.find('/');
        const size_t dot = word.find('.');
        if (dot != std::string::npos && dot < slash)
            note.gracing = nameFromText(word.substr(0, dot));
        note.melody = nameFromText(word.substr(dot == std::string::npos ? 0 : dot + 1, slash - dot - 1));
        note.length32 = std::stoi(word.substr(slash + 1));
        notes.push_back(note);
    }
    return notes;
}

// The march as MuseScore should read it: per bar, melody notes and the chanter notes of the
// gracing before each.
std::vector<MuseScoreImport::Bar> writtenBars(const std::vector<WrittenNote>& notes)
{
    std::vector<MuseScoreImport::Bar> bars(1);
    int filled32 = 0;
    for (const WrittenNote& note : notes) {
        if (filled32 == kBar32) {
            bars.emplace_back();
            filled32 = 0;
        }
        int graces = note.gracing == Unknown ? 0 : int(getNoteNames(note.gracing).size());
        for (const PipeTuneModel::Item& item : getItemsFrom32s(note.length32)) {
            bars.back().notes.push_back(museScoreNote(toString(note.melody), item.duration, item.dots));
            bars.back().graceCounts.push_back(graces);
            graces = 0;
        }
        filled32 += note.length32;
    }
    return bars;
}

// Every gracing starts on its note's place in the bar and takes its time from that note, as the
// example recording is played.
std::vector<short> play(const std::vector<WrittenNote>& notes, double droneLevel)
{
    const double t32_s = 60.0 / kTempo / 8.0;
    ChanterSynthesiser synth(44100.0);
    synth.setDrones(droneLevel);
    synth.setNoise(0.01, 1964);
    synth.rest(kLeadIn_s);
    for (size_t i = 0; i < notes.size(); ++i) {
        const WrittenNote& note = notes[i];
        const double duration_s = note.length32 * t32_s;
        const bool struckNext = i + 1 < notes.size() && noteTypeFromName(notes[i + 1].gracing) == StrikeNoteType;
        if (struckNext) {
            const WrittenNote& next = notes[++i];
            const double strike_s = synth.gracingDuration_s(next.gracing);
            synth.playStrike(next.gracing, note.melody, duration_s, next.length32 * t32_s - strike_s);
            continue;
        }
        synth.play(note.melody, duration_s - synth.gracingDuration_s(note.gracing), note.gracing);
    }
    synth.rest(0.5);
    return synth.render();
}

int matchingBars(
    const std::vector<MuseScoreImport::Bar>& read, const std::vector<MuseScoreImport::Bar>& written, bool withGracing)
{
    int matching = 0;
    for (size_t i = 0; i < std::min(read.size(), written.size()); ++i)
        if (read[i].notes == written[i].notes && (!withGracing || read[i].graceCounts == written[i].graceCounts))
            ++matching;
    return matching;
}

std::string describe(const MuseScoreImport::Bar& bar)
{
    std::string text;
    for (size_t i = 0; i < bar.notes.size(); ++i)
        text += (i ? ", " : "") + std::string(bar.graceCounts[i] ? std::to_string(bar.graceCounts[i]) + "g " : "")
            + bar.notes[i];
    return text;
}

} // namespace

TEST(PiperCheck, SixteenBarMarchReadsBackInMuseScore)
{
    if (!MuseScoreImport::available())
        GTEST_SKIP() << "mscore3 is not installed (scripts/install-deps.sh --test installs musescore3)";
    const std::vector<WrittenNote> notes = march();
    const std::vector<MuseScoreImport::Bar> written = writtenBars(notes);
    ASSERT_EQ(written.size(), 16u);

    for (double drones : {0.0, 0.25}) {
        SCOPED_TRACE(drones ? "with drones" : "practice chanter");
        QTemporaryDir dir;
        const QString audio = dir.filePath("march.wav");
        const QString table = dir.filePath("march.tsv");
        const QString bww = dir.filePath("march.bww");
        QString error;
        ASSERT_TRUE(AudioFileWriter::write(audio, play(notes, drones), 44100, error)) << error.toStdString();
        const CliRun transcribed = runCli({"transcribe", audio, "--notes", table, "--bpm", QString::number(kTempo),
            "--time", "2/4", "--shift", QString::number(-kLeadIn_s), "--bww", bww});
        ASSERT_EQ(transcribed.exitCode, 0) << transcribed.err.toStdString();

        MuseScoreImport import;
        ASSERT_TRUE(import.import(bww, error)) << error.toStdString();
        EXPECT_TRUE(import.unknownTokens().isEmpty());
        const int melodyBars = matchingBars(import.bars(), written, false);
        const int gracedBars = matchingBars(import.bars(), written, true);
        std::cout << (drones ? "with drones: " : "practice chanter: ") << melodyBars
                  << " of 16 bars have the written melody notes, " << gracedBars
                  << " also their gracing; MuseScore read " << import.bars().size() << " bars\n";
        for (size_t i = 0; i < std::min(import.bars().size(), written.size()); ++i)
            if (import.bars()[i].notes != written[i].notes || import.bars()[i].graceCounts != written[i].graceCounts)
                std::cout << "  bar " << i + 1 << ": read " << describe(import.bars()[i]) << "\n           written "
                          << describe(written[i]) << "\n";

        // The figures when this check was written; the synthesis is seeded, so they only move
        // when transcription or quantisation changes. The three minims of the march come out
        // as two crotchets each, which the quantizer writes for any note split over two beats,
        // so 13 is the most the melody can reach as things are.
        EXPECT_GE(melodyBars, 13);
        EXPECT_GE(gracedBars, 10);
    }
}
