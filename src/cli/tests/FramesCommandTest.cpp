#include "AudioFileWriter.h"
#include "ChanterSynthesiser.h"
#include "CliRun.h"
#include "TestFiles.h"
#include "utils.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace {

struct Frame {
    double time_s;
    double frequency_Hz;
    double picked_Hz;
    double quality;
    double volume;
};

std::vector<Frame> parseTable(const QString& text, QString& header)
{
    QStringList lines = text.split('\n', Qt::SkipEmptyParts);
    header = lines.isEmpty() ? QString() : lines.takeFirst();
    std::vector<Frame> frames;
    for (const QString& line : lines) {
        const QStringList fields = line.split('\t');
        if (fields.size() != 5)
            return {};
        frames.push_back({fields[0].toDouble(), fields[1].toDouble(), fields[2].toDouble(), fields[3].toDouble(),
            fields[4].toDouble()});
    }
    return frames;
}

// Two chanter notes with drones and a little noise, 0.3 s each.
ChanterSynthesiser twoNotes(int rate_Hz, float lowA_Hz)
{
    PipeTuning tuning;
    tuning.setLowA_Hz(lowA_Hz);
    ChanterSynthesiser synth(rate_Hz, tuning);
    synth.setDrones(0.15);
    synth.setNoise(0.01, 11);
    synth.play(LA, 0.3);
    synth.play(E, 0.3, gg);
    return synth;
}

} // namespace

TEST(FramesCommand, PrintsEveryFrameOfEveryReadableFormat)
{
    struct Case {
        std::string name;
        int rate_Hz;
        AudioFileWriter::Container container;
        AudioFileWriter::Encoding encoding;
        int channels;
        float lowA_Hz;
        int hop_samples; // roundf(rate / 2205)
    };
    const Case cases[] = {
        {"wav 16-bit 44100", 44100, AudioFileWriter::Wav, AudioFileWriter::Pcm16, 1, 440.0f, 20},
        {"wav float stereo 48000", 48000, AudioFileWriter::Wav, AudioFileWriter::Float, 2, 440.0f, 22},
        {"flac 22050, low A 480", 22050, AudioFileWriter::Flac, AudioFileWriter::Pcm16, 1, 480.0f, 10},
        {"ogg 44100", 44100, AudioFileWriter::Ogg, AudioFileWriter::Pcm16, 1, 440.0f, 20},
    };
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const ChanterSynthesiser synth = twoNotes(c.rate_Hz, c.lowA_Hz);
        const std::vector<short> samples = synth.render();
        const QString path = dir.filePath(QString::fromStdString(c.name));
        QString error;
        ASSERT_TRUE(AudioFileWriter::write(path, samples, c.rate_Hz, error, c.container, c.encoding, c.channels));

        QStringList arguments = {"frames", path};
        if (c.lowA_Hz != 440.0f)
            arguments << "--low-a" << QString::number(double(c.lowA_Hz));
        const CliRun run = runCli(arguments);
        ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
        EXPECT_EQ(run.err, "");
        QString header;
        const std::vector<Frame> frames = parseTable(run.out, header);
        EXPECT_EQ(header, "time_s\tfrequency_Hz\tpicked_Hz\tquality\tvolume");
        ASSERT_EQ(frames.size(), (samples.size() - 1024) / std::size_t(c.hop_samples) + 1);
        EXPECT_NEAR(frames[1].time_s, double(c.hop_samples) / c.rate_Hz, 1e-6);

        // A frame wholly inside each melody note finds it. 3 cents allows for the
        // interpolation bias at 22050 Hz and the drones and noise; a wrong note or octave
        // is 100 cents or more away.
        for (const auto& entry : synth.melodyNotes()) {
            const PipeNote& note = entry.second;
            const double middle_s = note.start_s() + note.duration_s() / 2.0 - 512.0 / c.rate_Hz;
            const Frame& frame = frames[std::size_t(std::lround(middle_s * c.rate_Hz / c.hop_samples))];
            const float expected_Hz
                = synth.tuning().getReferenceNoteCentreFrequency_Hz(noteNameToReferenceNote(note.noteName()));
            SCOPED_TRACE(toString(note.noteName()));
            EXPECT_NEAR(utils::freqRatioToCents(expected_Hz, float(frame.frequency_Hz)), 0.0f, 3.0f);
            EXPECT_NEAR(utils::freqRatioToCents(expected_Hz, float(frame.picked_Hz)), 0.0f, 3.0f);
            EXPECT_GT(frame.quality, 0.8);
            EXPECT_GT(frame.volume, 0.3);
            EXPECT_LE(frame.volume, 1.0);
        }
    }
}

TEST(FramesCommand, WritesTheSameTableToAFile)
{
    QTemporaryDir dir;
    const QString wav = dir.filePath("tune.wav");
    QString error;
    ASSERT_TRUE(AudioFileWriter::write(wav, twoNotes(44100, 440.0f).render(), 44100, error));
    const CliRun toStdout = runCli({"frames", wav});
    const QString out = dir.filePath("frames.tsv");
    const CliRun toFile = runCli({"frames", wav, "-o", out});
    EXPECT_EQ(toFile.exitCode, 0);
    EXPECT_EQ(toFile.out, "");
    EXPECT_EQ(QString::fromUtf8(TestFiles::readFile(out)), toStdout.out);

    const CliRun unwritable = runCli({"frames", wav, "-o", dir.filePath("no/such/dir/frames.tsv")});
    EXPECT_EQ(unwritable.exitCode, 5);
}

TEST(FramesCommand, QuietFramesAfterTheFirstTenLoseTheirPitch)
{
    // A soft note: an RMS of about 150 is a volume of about 0.25, below the gate of 0.3.
    QTemporaryDir dir;
    const QString wav = dir.filePath("soft.wav");
    ChanterSynthesiser synth;
    synth.setChanterPeak(400.0);
    synth.play(LA, 0.1);
    QString error;
    ASSERT_TRUE(AudioFileWriter::write(wav, synth.render(), 44100, error));
    const CliRun run = runCli({"frames", wav});
    ASSERT_EQ(run.exitCode, 0);
    QString header;
    const std::vector<Frame> frames = parseTable(run.out, header);
    ASSERT_GT(frames.size(), 20u);
    for (std::size_t i = 0; i < frames.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_LT(frames[i].volume, 0.3);
        EXPECT_GT(frames[i].volume, 0.0);
        if (i < 10) {
            EXPECT_NEAR(frames[i].frequency_Hz, 440.0, 1.0);
        } else {
            EXPECT_EQ(frames[i].frequency_Hz, 0.0);
            EXPECT_EQ(frames[i].picked_Hz, 0.0);
            EXPECT_EQ(frames[i].quality, 0.0);
        }
    }
}

TEST(FramesCommand, RefusesBadInputWithOneLineNamingFileAndReason)
{
    QTemporaryDir dir;
    QString error;
    const std::vector<short> note = ChanterSynthesiser::tone(440.0, 44100, 4410, ChanterSynthesiser::kChanterHarmonics);
    ASSERT_TRUE(AudioFileWriter::write(
        dir.filePath("24bit.wav"), note, 44100, error, AudioFileWriter::Wav, AudioFileWriter::Pcm24));
    ASSERT_TRUE(AudioFileWriter::write(
        dir.filePath("short.wav"), std::vector<short>(note.begin(), note.begin() + 1023), 44100, error));
    ASSERT_TRUE(AudioFileWriter::write(dir.filePath("slow.wav"), note, 4000, error));
    TestFiles::writeFile(dir.filePath("text.wav"), "RIFF? no, just text\n");

    struct Case {
        QString file;
        QString reason;
    };
    const Case cases[] = {
        {"missing.wav", "no such file"},
        {"text.wav", "not an audio file"},
        {"24bit.wav", "unsupported encoding"},
        {"slow.wav", "below the 8000 Hz"},
        {"short.wav", "1023 samples is shorter than one analysis frame of 1024"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.file.toStdString());
        const QString path = dir.filePath(c.file);
        const CliRun run = runCli({"frames", path});
        EXPECT_EQ(run.exitCode, 3);
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err.count('\n'), 1) << run.err.toStdString();
        EXPECT_TRUE(run.err.contains(path)) << run.err.toStdString();
        EXPECT_TRUE(run.err.contains(c.reason)) << run.err.toStdString();
    }
}

TEST(FramesCommand, BadOptionsGiveTheUsage)
{
    QTemporaryDir dir;
    const QString wav = dir.filePath("tune.wav");
    QString error;
    ASSERT_TRUE(AudioFileWriter::write(wav, twoNotes(44100, 440.0f).render(), 44100, error));
    const QList<QStringList> cases = {
        {"frames"},
        {"frames", wav, wav},
        {"frames", wav, "--bogus"},
        {"frames", wav, "--low-a", "abc"},
        {"frames", wav, "--low-a", "50"},
        {"frames", wav, "--low-a"},
    };
    for (const QStringList& arguments : cases) {
        SCOPED_TRACE(arguments.join(' ').toStdString());
        const CliRun run = runCli(arguments);
        EXPECT_EQ(run.exitCode, 2);
        EXPECT_EQ(run.out, "");
        EXPECT_TRUE(run.err.contains("Usage: ceolmark-cli frames [options] AUDIO")) << run.err.toStdString();
    }

    const CliRun help = runCli({"frames", "--help"});
    EXPECT_EQ(help.exitCode, 0);
    for (const char* documented : {"--low-a <HZ>", "-o, --output <FILE>", "-h, --help", "AUDIO", "time_s",
             "frequency_Hz", "picked_Hz", "quality", "volume"})
        EXPECT_TRUE(help.out.contains(documented)) << documented;
}
