#include "AudioFileWriter.h"
#include "CeolmarkUtils.h"
#include "ChanterSynthesiser.h"
#include "CliRun.h"
#include "KestoFileCmk.h"
#include "NotesTable.h"
#include "TestFiles.h"

#include <QFile>
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

// Seven seconds, so that the live transcriber's window moves on and notes settle, ending in a
// short note that only the last, forced, transcription sees whole.
ChanterSynthesiser longPhrase()
{
    ChanterSynthesiser synth;
    synth.setDrones(0.2);
    synth.setNoise(0.01, 3);
    const PipeNoteName melody[] = {LA, B, C, D, E, F, HG, HA, E, C, B, D, LA};
    // No G grace note right after high A: from there it is not played as one.
    const PipeNoteName gracing[] = {Unknown, dbb, gg, Unknown, gg, dbf, Unknown, Unknown, Unknown, gg, Unknown, gg, gg};
    for (int i = 0; i < 13; ++i)
        synth.play(melody[i], i == 7 ? 1.0 : 0.45, gracing[i]);
    synth.play(E, 0.2, gg);
    return synth;
}

// A scale for --calibrate, Low G to High A, each note held 0.8 s.
ChanterSynthesiser scale(float lowA_Hz, PipeNoteName skipped = Unknown)
{
    PipeTuning tuning;
    tuning.setLowA_Hz(lowA_Hz);
    ChanterSynthesiser synth(44100.0, tuning);
    synth.setNoise(0.005, 5);
    for (PipeNoteName note : {LG, LA, B, C, D, E, F, HG, HA})
        if (note != skipped)
            synth.play(note, 0.8);
    return synth;
}

QString writeWav(const QTemporaryDir& dir, const QString& name, const ChanterSynthesiser& synth)
{
    const QString path = dir.filePath(name);
    QString error;
    EXPECT_TRUE(AudioFileWriter::write(path, synth.render(), int(synth.sampleRate_Hz()), error)) << error.toStdString();
    return path;
}

// The nine centre frequencies of a chanter with low A at lowA_Hz, as --tuning takes them.
QString measuredTuning(float lowA_Hz)
{
    PipeTuning tuning;
    tuning.setLowA_Hz(lowA_Hz);
    QStringList measured;
    for (int index = 0; index < 9; ++index)
        measured << QString::number(
            double(tuning.getReferenceNoteCentreFrequency_Hz(PipeTuning::noteIndexToReferenceNote(index))));
    return measured.join(',');
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

TEST(TranscribeCommand, ReplaysAsTheApplicationDoesAndKeepsTheTail)
{
    QTemporaryDir dir;
    const ChanterSynthesiser synth = longPhrase();
    const QString wav = writeWav(dir, "long.wav", synth);
    const CliRun live = runCli({"transcribe", wav, "--low-a", "440"});
    const CliRun batch = runCli({"transcribe", wav, "--low-a", "440", "--batch"});
    ASSERT_EQ(live.exitCode, 0) << live.err.toStdString();
    ASSERT_EQ(batch.exitCode, 0) << batch.err.toStdString();
    NoteMap melody, grace;
    QString error;
    ASSERT_TRUE(NotesTable::fromText(live.out, melody, grace, error)) << error.toStdString();
    EXPECT_EQ(names(melody, grace), names(synth.melodyNotes(), synth.gracings()));
    // The last note lasts 0.2 s; the forced transcription at the end sees it to its last
    // whole frame, within a frame's 23 ms of the end of the audio.
    ASSERT_FALSE(melody.empty());
    const PipeNote& last = melody.rbegin()->second;
    EXPECT_EQ(last.noteName(), E);
    EXPECT_NEAR(last.getEnd_s(), synth.duration_s(), 0.03);
    // On a steady chanter the window, spliced, gives what one pass over the whole gives.
    EXPECT_EQ(live.out, batch.out);
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
    const QString sharpScale = writeWav(dir, "scale.wav", scale(480.0f));
    struct Case {
        const char* what;
        QStringList options;
        bool right;
    };
    const Case cases[] = {
        {"measured tuning", {"--tuning", measuredTuning(480.0f)}, true},
        {"low A", {"--low-a", "480"}, true},
        {"low A, in one pass", {"--low-a", "480", "--batch"}, true},
        {"calibrated on a scale", {"--calibrate", sharpScale}, true},
        // Notes are assigned to the tuning on 440 Hz before they are measured: the search
        // cannot move a whole tone, so the notes come out one step high.
        {"searched", {}, false},
        {"searched, in one pass", {"--batch"}, false},
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

TEST(TranscribeCommand, ARecordingsSettingsAreTheDefaults)
{
    // The sharp chanter of TuningOptions, whose notes only its own tuning reads right.
    QTemporaryDir dir;
    const ChanterSynthesiser synth = phrase(480.0f);
    const QString wav = writeWav(dir, "sharp.wav", synth);
    KestoFileCmk recording;
    recording.setSamples(synth.render());
    recording.setRecordingFrequency_Hz(int(synth.sampleRate_Hz()));
    recording.setTuneName("Sharp Tune");
    recording.setTuneType("Reel");
    recording.setComposedBy("The Ceolmark developers");
    recording.setTimeSigNumerator(2);
    recording.setTimeSigDenominator(2);
    recording.setBpm(60.0f);
    recording.setTimeShift_s(-0.1f);
    QString error;
    const QString uncalibrated = dir.filePath("uncalibrated.cmk");
    ASSERT_TRUE(recording.save(uncalibrated, error)) << error.toStdString();
    PipeTuning sharp;
    sharp.setLowA_Hz(480.0f);
    recording.setChanterTuning(sharp);
    const QString cmk = dir.filePath("sharp.cmk");
    ASSERT_TRUE(recording.save(cmk, error)) << error.toStdString();
    // Found by its magic whatever it is called.
    const QString renamed = dir.filePath("sharp.rec");
    ASSERT_TRUE(QFile::copy(cmk, renamed));

    const QStringList details = {"--name", "Sharp Tune", "--type", "Reel", "--composer", "The Ceolmark developers"};
    const QStringList tempo = {"--bpm", "60", "--time", "2/2", "--shift", "-0.1"};
    struct Case {
        const char* what;
        QStringList recordingArguments;
        // The same transcription of the audio file, every setting given.
        QStringList audioArguments;
        bool calibrated;
    };
    const Case cases[] = {
        {"the recording's settings", {cmk}, QStringList{wav, "--tuning", measuredTuning(480.0f)} + tempo + details,
            true},
        {"named otherwise", {renamed}, QStringList{wav, "--tuning", measuredTuning(480.0f)} + tempo + details, true},
        {"options override", {cmk, "--low-a", "440", "--bpm", "90", "--time", "6/8", "--shift", "0", "--name", "Other"},
            {wav, "--low-a", "440", "--bpm", "90", "--time", "6/8", "--shift", "0", "--name", "Other", "--type", "Reel",
                "--composer", "The Ceolmark developers"},
            false},
        // The tuning is searched from 440 Hz, as for an audio file.
        {"no calibration", {uncalibrated}, QStringList{wav} + tempo + details, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const QString recordingBww = dir.filePath("recording.bww");
        const QString audioBww = dir.filePath("audio.bww");
        const CliRun fromRecording = runCli(QStringList{"transcribe", "--bww", recordingBww} + c.recordingArguments);
        const CliRun fromAudio = runCli(QStringList{"transcribe", "--bww", audioBww} + c.audioArguments);
        ASSERT_EQ(fromRecording.exitCode, 0) << fromRecording.err.toStdString();
        ASSERT_EQ(fromAudio.exitCode, 0) << fromAudio.err.toStdString();
        EXPECT_EQ(fromRecording.out, fromAudio.out);
        EXPECT_EQ(TestFiles::readFile(recordingBww), TestFiles::readFile(audioBww));
        NoteMap melody, grace;
        ASSERT_TRUE(NotesTable::fromText(fromRecording.out, melody, grace, error));
        ASSERT_FALSE(melody.empty());
        EXPECT_EQ(melody.begin()->second.noteName() == LA, c.calibrated) << names(melody, grace);
    }
    // Not merely alike: the audio file on its own settings reads otherwise, and the recording's
    // details (those of the last case) are in its score.
    const CliRun bare = runCli({"transcribe", wav, "--bww", dir.filePath("bare.bww")});
    ASSERT_EQ(bare.exitCode, 0);
    const QByteArray bareBww = TestFiles::readFile(dir.filePath("bare.bww"));
    EXPECT_TRUE(bareBww.contains("\"Your Tune\",(T,C,") && bareBww.contains(" 4_4\r\n")) << bareBww.toStdString();
    const QByteArray recordingBww = TestFiles::readFile(dir.filePath("recording.bww"));
    EXPECT_TRUE(recordingBww.contains("\"Sharp Tune\",(T,C,") && recordingBww.contains(" 2_2\r\n"))
        << recordingBww.toStdString();
}

TEST(TranscribeCommand, ErrorsAsForFrames)
{
    QTemporaryDir dir;
    const QString wav = writeWav(dir, "phrase.wav", phrase());
    TestFiles::writeFile(dir.filePath("text.wav"), "not audio\n");
    QString error;
    ASSERT_TRUE(AudioFileWriter::write(dir.filePath("short.wav"), std::vector<short>(1000, 0), 44100, error));
    const QString gappedScale = writeWav(dir, "gapped.wav", scale(440.0f, F));
    // A recording's own failures are open's messages, and the checks an audio file has.
    TestFiles::writeFile(dir.filePath("small.cmk"), QByteArray("kesto_cmk\0\0\0\1\0\0\0\0\0\0\0\0\0\0", 19));
    TestFiles::writeFile(dir.filePath("wav.cmk"), TestFiles::readFile(wav));
    const auto saveRecording = [&dir](const char* name, int rate_Hz, int sampleCount) {
        KestoFileCmk recording;
        recording.setRecordingFrequency_Hz(rate_Hz);
        recording.setSamples(std::vector<short>(std::size_t(sampleCount), 0));
        QString saveError;
        EXPECT_TRUE(recording.save(dir.filePath(name), saveError)) << saveError.toStdString();
        return dir.filePath(name);
    };
    const QString recording = saveRecording("silence.cmk", 44100, 2048);
    struct Case {
        const char* what;
        QStringList arguments;
        int exitCode;
        int errLines;
        const char* says = "";
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
        {"calibration with a tuning", {wav, "--calibrate", gappedScale, "--low-a", "440"}, 2, 2},
        {"a scale without F", {wav, "--calibrate", gappedScale}, 4, 1},
        {"unwritable notes", {wav, "--notes", dir.filePath("no/such/notes.tsv")}, 5, 1},
        {"recording too small", {dir.filePath("small.cmk")}, 3, 1, "small.cmk: The file appears to be too small."},
        {"audio called a recording", {dir.filePath("wav.cmk")}, 3, 1, "wav.cmk: This does not appear to be a cmk file"},
        {"missing recording", {dir.filePath("missing.cmk")}, 3, 1, "missing.cmk: "},
        {"recording at 4000 Hz", {saveRecording("slow.cmk", 4000, 2048)}, 3, 1, "sample rate 4000 Hz is below"},
        {"recording shorter than a frame", {saveRecording("short.cmk", 44100, 1000)}, 3, 1, "1000 samples is shorter"},
        {"bad option over a recording", {recording, "--time", "5/4"}, 2, 2, "--time must be"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const CliRun run = runCli(QStringList{"transcribe"} + c.arguments);
        EXPECT_EQ(run.exitCode, c.exitCode) << run.err.toStdString();
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err.count('\n'), c.errLines) << run.err.toStdString();
        EXPECT_TRUE(run.err.startsWith("ceolmark-cli transcribe: ")) << run.err.toStdString();
        EXPECT_TRUE(run.err.contains(c.says)) << run.err.toStdString();
    }
}
