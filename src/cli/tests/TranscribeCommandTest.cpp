#include "AudioFileWriter.h"
#include "CeolmarkUtils.h"
#include "ChanterSynthesiser.h"
#include "CliRun.h"
#include "NotesTable.h"
#include "TestFiles.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

// A phrase with a doubling, a strike and a G grace note, on a chanter with low A at lowA_Hz.
ChanterSynthesiser phrase(float lowA_Hz = 440.0f, int rate_Hz = 44100)
{
    PipeTuning tuning;
    tuning.setLowA_Hz(lowA_Hz);
    ChanterSynthesiser synth(rate_Hz, tuning);
    synth.setDrones(0.2);
    synth.setNoise(0.01, 3);
    synth.play(LA, 0.4);
    synth.play(B, 0.4, dbb);
    synth.playStrike(strlg, C, 0.3, 0.3);
    synth.play(E, 0.4, gg);
    return synth;
}

QString writeWav(const QTemporaryDir& dir, const QString& name, const ChanterSynthesiser& synth)
{
    const QString path = dir.filePath(name);
    QString error;
    EXPECT_TRUE(AudioFileWriter::write(path, synth.render(), int(synth.sampleRate_Hz()), error)) << error.toStdString();
    return path;
}

std::string names(const NoteMap& melody, const NoteMap& grace)
{
    std::string text;
    for (const PipeNote& note : combineMelodyAndGraceNotes(melody, grace))
        text += (text.empty() ? "" : " ") + toString(note.noteName());
    return text;
}

} // namespace

TEST(TranscribeCommand, WritesTheNotesTable)
{
    QTemporaryDir dir;
    const QString wav = writeWav(dir, "phrase.wav", phrase());
    const CliRun run = runCli({"transcribe", wav});
    ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
    // No progress bar: stderr is not a terminal, and the phrase is short anyway.
    EXPECT_EQ(run.err, "");
    ASSERT_TRUE(run.out.startsWith("start_s\tduration_s\tname\tkind\n"));

    NoteMap melody, grace;
    QString error;
    ASSERT_TRUE(NotesTable::fromText(run.out, melody, grace, error)) << error.toStdString();
    EXPECT_EQ(names(melody, grace), "LA dbb B C strlg C gg E");
    // What was read writes back to the same text: four decimals, playing order, kinds.
    EXPECT_EQ(NotesTable::toText(melody, grace), run.out);

    const QString notes = dir.filePath("notes.tsv");
    const CliRun toFile = runCli({"transcribe", wav, "--notes", notes});
    EXPECT_EQ(toFile.exitCode, 0);
    EXPECT_EQ(toFile.out, "");
    EXPECT_EQ(QString::fromUtf8(TestFiles::readFile(notes)), run.out);

    // Other rates: the frames follow the file's rate (a hop of 22 samples at 48000 Hz).
    for (int rate_Hz : {48000, 22050}) {
        SCOPED_TRACE(rate_Hz);
        const CliRun other
            = runCli({"transcribe", writeWav(dir, QString("%1.wav").arg(rate_Hz), phrase(440.0f, rate_Hz))});
        ASSERT_EQ(other.exitCode, 0);
        NoteMap otherMelody, otherGrace;
        ASSERT_TRUE(NotesTable::fromText(other.out, otherMelody, otherGrace, error));
        EXPECT_EQ(names(otherMelody, otherGrace), "LA dbb B C strlg C gg E");
    }
}

TEST(TranscribeCommand, FramesAreThoseOfTheFramesCommand)
{
    QTemporaryDir dir;
    const QString wav = writeWav(dir, "phrase.wav", phrase());
    const QString frames = dir.filePath("frames.tsv");
    // With the tuning fixed to the frames command's, both analyse the same frames.
    const CliRun run = runCli({"transcribe", wav, "--low-a", "440", "--frames", frames});
    ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
    const CliRun reference = runCli({"frames", wav});
    ASSERT_EQ(reference.exitCode, 0);
    EXPECT_EQ(QString::fromUtf8(TestFiles::readFile(frames)), reference.out);
}

TEST(TranscribeCommand, TuningOptions)
{
    // A chanter with low A at 480 Hz: a whole tone above 440 Hz at low A.
    QTemporaryDir dir;
    const QString wav = writeWav(dir, "sharp.wav", phrase(480.0f));
    PipeTuning sharp;
    sharp.setLowA_Hz(480.0f);
    QStringList measured;
    for (int index = 0; index < 9; ++index)
        measured << QString::number(
            double(sharp.getReferenceNoteCentreFrequency_Hz(PipeTuning::noteIndexToReferenceNote(index))));
    struct Case {
        const char* what;
        QStringList options;
        bool right;
    };
    const Case cases[] = {
        {"measured tuning", {"--tuning", measured.join(',')}, true},
        {"low A", {"--low-a", "480"}, true},
        // Notes are assigned to the tuning on 440 Hz before they are measured: the search
        // cannot move a whole tone, so the notes come out one step high.
        {"searched", {}, false},
        {"the wrong low A", {"--low-a", "440"}, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const CliRun run = runCli(QStringList{"transcribe", wav} + c.options);
        ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
        NoteMap melody, grace;
        QString error;
        ASSERT_TRUE(NotesTable::fromText(run.out, melody, grace, error));
        ASSERT_FALSE(melody.empty());
        EXPECT_EQ(melody.begin()->second.noteName() == LA, c.right) << names(melody, grace);
    }
}

TEST(TranscribeCommand, ErrorsAsForFrames)
{
    QTemporaryDir dir;
    const QString wav = writeWav(dir, "phrase.wav", phrase());
    TestFiles::writeFile(dir.filePath("text.wav"), "not audio\n");
    QString error;
    ASSERT_TRUE(AudioFileWriter::write(dir.filePath("short.wav"), std::vector<short>(1000, 0), 44100, error));
    struct Case {
        const char* what;
        QStringList arguments;
        int exitCode;
        int errLines;
    };
    const Case cases[] = {
        {"missing file", {dir.filePath("missing.wav")}, 3, 1},
        {"not audio", {dir.filePath("text.wav")}, 3, 1},
        {"shorter than a frame", {dir.filePath("short.wav")}, 3, 1},
        {"no file", {}, 2, 2},
        {"low A out of range", {wav, "--low-a", "100"}, 2, 2},
        {"eight frequencies", {wav, "--tuning", "1,2,3,4,5,6,7,8"}, 2, 2},
        {"a frequency of 0", {wav, "--tuning", "392,440,495,550,587,0,733,770,880"}, 2, 2},
        {"both tunings", {wav, "--low-a", "440", "--tuning", "392,440,495,550,587,660,733,770,880"}, 2, 2},
        {"unwritable notes", {wav, "--notes", dir.filePath("no/such/notes.tsv")}, 5, 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const CliRun run = runCli(QStringList{"transcribe"} + c.arguments);
        EXPECT_EQ(run.exitCode, c.exitCode) << run.err.toStdString();
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err.count('\n'), c.errLines) << run.err.toStdString();
        EXPECT_TRUE(run.err.startsWith("ceolmark-cli transcribe: ")) << run.err.toStdString();
    }
}
