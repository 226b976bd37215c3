#include "AudioFileReader.h"
#include "CliRun.h"
#include "FileSizeLimit.h"
#include "KestoFileCmk.h"
#include "TestFiles.h"
#include "WaveFile.h"

#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

QString saveRecording(const QTemporaryDir& dir, const QString& name, const KestoFileCmk& cmk)
{
    const QString path = dir.filePath(name);
    QString error;
    EXPECT_TRUE(cmk.save(path, error)) << error.toStdString();
    return path;
}

QString saveWav(const QTemporaryDir& dir, const QByteArray& audio, int sampleRate_Hz)
{
    const QString path = dir.filePath("tune.wav");
    QString error;
    EXPECT_TRUE(WaveFile::save(path, audio, sampleRate_Hz, error)) << error.toStdString();
    return path;
}

} // namespace

TEST(FileCommands, InfoPrintsTheRecordingsDetails)
{
    QTemporaryDir dir;
    KestoFileCmk bare;
    bare.setAudioData(TestFiles::chanterPcm(11025));
    bare.setRecordingFrequency_Hz(22050);
    bare.setTimeSigNumerator(5);
    KestoFileCmk partial;
    partial.setNoteFrequencies({{"LA", 480.0f}, {"Xtra", 1.5f}});
    struct Case {
        const char* name;
        KestoFileCmk cmk;
        QStringList lines;
    };
    const Case cases[] = {
        {"known recording", TestFiles::knownRecording(),
            {"Tune name:         The Known Recording", "Tune type:         Reel",
                "Composed by:       The Ceolmark developers", "Time signature:    2/2 (Cut common time (Reel))",
                "BPM:               92.5", "Time shift:        0.04 s",
                "Length:            0.100 s, 4410 samples (8820 bytes)", "Sampling rate:     44100 Hz",
                "Calibration:       LG 419.56 Hz, LA 479.50 Hz, B 539.44 Hz, C 599.38 Hz, D 639.33 Hz, E 719.25 Hz, "
                "F 799.17 Hz, HG 839.13 Hz, HA 959.00 Hz",
                "Recorded:          2024-03-01T09:15:00Z, version 8, install {00000000-0000-0000-0000-000000000001}",
                "File created:      2024-03-02T18:45:30Z, version 8, install {00000000-0000-0000-0000-000000000002}"}},
        {"bare recording", bare,
            {"Tune name:         (none)", "Time signature:    5/4 (not one the application knows)",
                "Length:            0.500 s, 11025 samples (22050 bytes)", "Sampling rate:     22050 Hz",
                "Calibration:       (none)", "Recorded:          (none), version 0, install (none)"}},
        {"partial calibration", partial,
            {"Calibration:       LG missing, LA 480.00 Hz, B missing, C missing, D missing, E missing, F missing, "
             "HG missing, HA missing, Xtra 1.50 Hz"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const QString path = saveRecording(dir, "tune.cmk", c.cmk);
        const CliRun run = runCli({"info", path});
        EXPECT_EQ(run.exitCode, 0);
        EXPECT_EQ(run.err, "");
        const QStringList printed = run.out.split('\n');
        for (const QString& line : c.lines)
            EXPECT_TRUE(printed.contains(line)) << "missing line: " << line.toStdString() << "\nin:\n"
                                                << run.out.toStdString();
    }
}

TEST(FileCommands, FailuresSayWhyOnOneLineAndWriteNothing)
{
    QTemporaryDir dir;
    const QString good = saveRecording(dir, "good.cmk", TestFiles::knownRecording());
    KestoFileCmk noRate = TestFiles::knownRecording();
    noRate.setRecordingFrequency_Hz(0);
    const QString zeroRate = saveRecording(dir, "zero-rate.cmk", noRate);
    const QString damaged = dir.filePath("damaged.cmk");
    TestFiles::writeFile(damaged, TestFiles::readFile(good).left(19));
    const QString missing = dir.filePath("missing.cmk");
    // Sparse, so it takes no room: past the 2 GiB that the format's 32-bit sizes can describe.
    const QString huge = dir.filePath("huge.cmk");
    TestFiles::writeFile(huge, "kesto_cmk");
    ASSERT_TRUE(QFile::resize(huge, qint64(3) << 30));
    const QString wav = saveWav(dir, TestFiles::chanterPcm(4410), 44100);
    const QString out = dir.filePath("out.file");

    struct Case {
        QStringList arguments;
        int exitCode;
        QString message;
    };
    const Case cases[] = {
        {{"info"}, 2, "ceolmark-cli info: expected 1 file argument, got 0 (see --help)"},
        {{"info", good, good}, 2, "ceolmark-cli info: expected 1 file argument, got 2 (see --help)"},
        {{"info", "--colour", good}, 2, "ceolmark-cli info: Unknown option 'colour'."},
        {{"info", missing}, 3, "ceolmark-cli info: " + missing + ": No such file or directory"},
        {{"info", huge}, 3, "ceolmark-cli info: " + huge + ": The file is too large to be a cmk file"},
        {{"info", damaged}, 3, "ceolmark-cli info: " + damaged + ": The file appears to be too small."},
        {{"export", good}, 2, "ceolmark-cli export: --wav OUT.wav is required"},
        {{"export", good, "--wav"}, 2, "ceolmark-cli export: Missing value after '--wav'."},
        {{"export", missing, "--wav", out}, 3, "ceolmark-cli export: " + missing + ": No such file or directory"},
        {{"export", damaged, "--wav", out}, 3,
            "ceolmark-cli export: " + damaged + ": The file appears to be too small."},
        {{"export", zeroRate, "--wav", out}, 3,
            "ceolmark-cli export: " + zeroRate + ": sampling rate of 0 Hz cannot be written"},
        {{"export", good, "--wav", dir.filePath("no/such/folder/out.wav")}, 5, "ceolmark-cli export: "},
        {{"pack", wav}, 2, "ceolmark-cli pack: expected 2 file arguments, got 1 (see --help)"},
        {{"pack", wav, out, "--bpm", "0"}, 2, "ceolmark-cli pack: --bpm needs a tempo above 0, not \"0\" (see --help)"},
        {{"pack", wav, out, "--time", "5/4"}, 2,
            "ceolmark-cli pack: --time must be 4/4, 3/4, 2/4, 2/2 or 6/8, not \"5/4\" (see --help)"},
        {{"pack", wav, out, "--shift", "soon"}, 2,
            "ceolmark-cli pack: --shift needs a number of seconds, not \"soon\" (see --help)"},
        {{"pack", wav, out, "--tuning", "1,2,3,4,5,6,7,8"}, 2,
            "ceolmark-cli pack: --tuning needs nine frequencies, Low G to High A, not '1,2,3,4,5,6,7,8' (see --help)"},
        {{"pack", wav, out, "--low-a", "480", "--tuning", "420,480,540,600,640,720,800,840,960"}, 2,
            "ceolmark-cli pack: --low-a and --tuning cannot be given together (see --help)"},
        {{"pack", missing, out}, 3, "ceolmark-cli pack: " + missing + ": "},
        {{"pack", good, out}, 3, "ceolmark-cli pack: " + good + ": "}, // a recording file is no audio file
        {{"pack", wav, dir.filePath("no/such/folder/out.cmk")}, 5, "ceolmark-cli pack: "},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.arguments.join(' ').toStdString());
        const CliRun run = runCli(c.arguments);
        EXPECT_EQ(run.exitCode, c.exitCode);
        EXPECT_TRUE(run.err.startsWith(c.message)) << run.err.toStdString();
        EXPECT_EQ(run.err.count('\n'), 1) << run.err.toStdString();
        EXPECT_TRUE(run.err.endsWith('\n'));
        EXPECT_EQ(run.out, "");
        EXPECT_FALSE(QFileInfo::exists(out));
    }
}

TEST(FileCommands, OutputsThatCannotBeFinishedKeepTheOldFile)
{
    QTemporaryDir dir;
    const QString cmk = saveRecording(dir, "tune.cmk", TestFiles::knownRecording());
    const QString wav = saveWav(dir, TestFiles::chanterPcm(4410), 44100);
    const QString out = dir.filePath("out.file");
    struct Case {
        QStringList arguments;
        QString message;
    };
    // Room for a header and the XML, not for the 8820 bytes of audio.
    const Case cases[] = {
        {{"export", cmk, "--wav", out}, "ceolmark-cli export: " + out + ": "},
        {{"pack", wav, out}, "ceolmark-cli pack: " + out + ": Failure during writing data\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.arguments.first().toStdString());
        TestFiles::writeFile(out, "the file from yesterday");
        CliRun run;
        {
            // The child inherits the limit.
            FileSizeLimit limit(2000);
            ASSERT_TRUE(limit.active());
            run = runCli(c.arguments);
        }
        EXPECT_EQ(run.exitCode, 5);
        EXPECT_TRUE(run.err.startsWith(c.message)) << run.err.toStdString();
        EXPECT_EQ(TestFiles::readFile(out), "the file from yesterday");
        EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files), (QStringList{"out.file", "tune.cmk", "tune.wav"}));
    }
}

TEST(FileCommands, HelpListsTheCommandsAndTheirOptions)
{
    const CliRun usage = runCli({"--help"});
    EXPECT_EQ(usage.exitCode, 0);
    EXPECT_TRUE(usage.out.contains("  info ")) << usage.out.toStdString();
    EXPECT_TRUE(usage.out.contains("  export ")) << usage.out.toStdString();
    EXPECT_TRUE(usage.out.contains("  pack ")) << usage.out.toStdString();

    const CliRun help = runCli({"export", "--help"});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_TRUE(help.out.startsWith("Usage: ceolmark-cli export [options] FILE.cmk\n")) << help.out.toStdString();
    EXPECT_TRUE(help.out.contains("--wav <OUT.wav>")) << help.out.toStdString();
}

TEST(FileCommands, PackMakesARecordingAtTheAudiosOwnRate)
{
    QTemporaryDir dir;
    const QByteArray audio = TestFiles::chanterPcm(22050);
    const QString wav = saveWav(dir, audio, 22050);
    QString error;

    struct Case {
        const char* name;
        QStringList options;
        KestoFileCmk expected; // audio, rate and time fields are checked apart
    };
    // No calibration unless one is given; a given one as the file's 6 significant digits keep it.
    const KestoFileCmk defaults;
    PipeTuning harmonic480;
    harmonic480.setLowA_Hz(480.0f);
    KestoFileCmk lowA;
    lowA.setChanterTuning(harmonic480);
    ASSERT_TRUE(lowA.open(saveRecording(dir, "low-a.cmk", lowA), error));
    KestoFileCmk given;
    given.setTuneName("Scotland the Brave");
    given.setTuneType("March");
    given.setComposedBy("Traditional");
    given.setBpm(96.5f);
    given.setTimeSigNumerator(6);
    given.setTimeSigDenominator(8);
    given.setTimeShift_s(-0.3f);
    given.setNoteFrequencies({{"LG", 420.0f}, {"LA", 480.0f}, {"B", 540.0f}, {"C", 600.0f}, {"D", 640.0f},
        {"E", 720.0f}, {"F", 800.0f}, {"HG", 840.0f}, {"HA", 960.5f}});
    const Case cases[] = {
        {"defaults", {}, defaults},
        {"low A", {"--low-a", "480"}, lowA},
        {"every option",
            {"--name", "Scotland the Brave", "--type", "March", "--composer", "Traditional", "--bpm", "96.5", "--time",
                "6/8", "--shift", "-0.3", "--tuning", "420,480,540,600,640,720,800,840,960.5"},
            given},
    };
    // Fixed creation time, as a reproducible build would set it: 2023-11-14T22:13:20Z.
    qputenv("SOURCE_DATE_EPOCH", "1700000000");
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const QString cmkPath = dir.filePath("tune.cmk");
        const CliRun run = runCli(QStringList{"pack", wav, cmkPath} + c.options);
        ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
        EXPECT_EQ(run.err, "");

        KestoFileCmk packed;
        ASSERT_TRUE(packed.open(cmkPath, error)) << error.toStdString();
        EXPECT_EQ(packed.audioData(), audio);
        EXPECT_EQ(packed.recordingFrequency_Hz(), 22050);
        EXPECT_EQ(packed.recordedTime(), "2023-11-14T22:13:20Z");
        EXPECT_EQ(packed.fileCreationTime(), "2023-11-14T22:13:20Z");
        EXPECT_EQ(packed.appVersion(), 8);
        EXPECT_EQ(packed.recordedAppVersion(), 8);
        KestoFileCmk details = packed;
        details.setAudioData(QByteArray());
        details.setRecordingFrequency_Hz(44100);
        details.setRecordedAppVersion(0);
        details.setRecordedTime("");
        details.setAppVersion(0);
        details.setFileCreationTime("");
        EXPECT_TRUE(details == c.expected) << TestFiles::readFile(cmkPath).mid(20, 900).toStdString();

        // And back: the WAV export of the packed recording is the very file packed.
        const QString exported = dir.filePath("exported.wav");
        ASSERT_EQ(runCli({"export", cmkPath, "--wav", exported}).exitCode, 0);
        EXPECT_TRUE(TestFiles::readFile(exported) == TestFiles::readFile(wav));
    }
    qunsetenv("SOURCE_DATE_EPOCH");
}

TEST(FileCommands, TheBundledExampleIsItsAudioPacked)
{
    KestoFileCmk example;
    QString error;
    ASSERT_TRUE(example.open(CEOLMARK_EXAMPLES "/scotland-the-brave.cmk", error)) << error.toStdString();
    AudioFileReader audio;
    ASSERT_TRUE(audio.read(CEOLMARK_EXAMPLE_SOURCES "/scotland-the-brave.wav", error)) << error.toStdString();
    EXPECT_EQ(example.samples(), audio.samples());
    EXPECT_EQ(example.recordingFrequency_Hz(), audio.sampleRate_Hz());
    EXPECT_EQ(example.tuneName(), "Scotland the Brave");
    EXPECT_EQ(example.noteFrequencies().size(), 9u);
    EXPECT_EQ(example.recordedTime(), "2023-11-14T22:13:20Z");
}
