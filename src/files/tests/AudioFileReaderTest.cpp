#include "AudioFileReader.h"

#include "AudioFileWriter.h"
#include "ChanterSynthesiser.h"
#include "TestFiles.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace {

std::vector<short> chanterNote(int rate_Hz, unsigned count)
{
    return ChanterSynthesiser::tone(440.0, rate_Hz, count, ChanterSynthesiser::kChanterHarmonics, 20000.0);
}

// Normalised correlation of two equally long signals.
double correlation(const std::vector<short>& a, const std::vector<short>& b)
{
    double ab = 0.0, aa = 0.0, bb = 0.0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        ab += double(a[i]) * b[i];
        aa += double(a[i]) * a[i];
        bb += double(b[i]) * b[i];
    }
    return ab / std::sqrt(aa * bb);
}

} // namespace

TEST(AudioFileReader, ReadsTheFirstChannelOfEverySupportedFormat)
{
    struct Case {
        std::string name;
        AudioFileWriter::Container container;
        AudioFileWriter::Encoding encoding;
        int channels;
        int rate_Hz;
        bool exact; // lossless: every sample comes back
        QString description;
    };
    const Case cases[] = {
        {"wav 16-bit", AudioFileWriter::Wav, AudioFileWriter::Pcm16, 1, 44100, true, "WAV, 16-bit integer"},
        {"wav float stereo", AudioFileWriter::Wav, AudioFileWriter::Float, 2, 48000, true, "WAV, 32-bit float"},
        {"wav 16-bit, 4 channels", AudioFileWriter::Wav, AudioFileWriter::Pcm16, 4, 22050, true, "WAV, 16-bit integer"},
        {"flac 16-bit at the lowest rate", AudioFileWriter::Flac, AudioFileWriter::Pcm16, 1, 8000, true,
            "FLAC, 16-bit integer"},
        {"ogg vorbis stereo", AudioFileWriter::Ogg, AudioFileWriter::Pcm16, 2, 44100, false, "OGG, Vorbis"},
    };
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const std::vector<short> written = chanterNote(c.rate_Hz, 12345);
        const QString path = dir.filePath(QString::fromStdString(c.name));
        QString error;
        ASSERT_TRUE(AudioFileWriter::write(path, written, c.rate_Hz, error, c.container, c.encoding, c.channels))
            << error.toStdString();
        AudioFileReader reader;
        ASSERT_TRUE(reader.read(path, error)) << error.toStdString();
        EXPECT_EQ(reader.sampleRate_Hz(), c.rate_Hz);
        EXPECT_EQ(reader.channelCount(), c.channels);
        EXPECT_EQ(reader.formatDescription(), c.description);
        ASSERT_EQ(reader.samples().size(), written.size());
        if (c.exact)
            EXPECT_EQ(reader.samples(), written);
        else
            EXPECT_GT(correlation(reader.samples(), written), 0.99); // lossy, but the same sound
    }
}

TEST(AudioFileReader, NamesTheReasonForEveryRefusal)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const std::vector<short> note = chanterNote(44100, 4410);
    QString error;
    ASSERT_TRUE(AudioFileWriter::write(
        dir.filePath("24bit.wav"), note, 44100, error, AudioFileWriter::Wav, AudioFileWriter::Pcm24));
    ASSERT_TRUE(AudioFileWriter::write(
        dir.filePath("8bit.wav"), note, 44100, error, AudioFileWriter::Wav, AudioFileWriter::Pcm8));
    ASSERT_TRUE(AudioFileWriter::write(dir.filePath("note.aiff"), note, 44100, error, AudioFileWriter::Aiff));
    ASSERT_TRUE(AudioFileWriter::write(dir.filePath("slow.wav"), note, 4000, error));
    ASSERT_TRUE(AudioFileWriter::write(dir.filePath("empty.wav"), {}, 44100, error));
    TestFiles::writeFile(dir.filePath("notes.txt"), "time\tfrequency\n0.0\t440\n");

    struct Case {
        QString file;
        QString reason;
    };
    const Case cases[] = {
        {"missing.wav", "no such file"},
        {"", "is a directory"},
        {"notes.txt", "not an audio file"},
        {"24bit.wav", "unsupported encoding WAV, 24-bit integer"},
        {"8bit.wav", "unsupported encoding WAV, 8-bit integer"},
        {"note.aiff", "unsupported file format AIFF"},
        {"slow.wav", "sample rate 4000 Hz is below the 8000 Hz needed"},
        {"empty.wav", "holds no audio"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.file.toStdString());
        AudioFileReader reader;
        QString message;
        EXPECT_FALSE(reader.read(c.file.isEmpty() ? dir.path() : dir.filePath(c.file), message));
        EXPECT_TRUE(message.startsWith(c.reason)) << message.toStdString();
        EXPECT_TRUE(reader.samples().empty());
        EXPECT_EQ(reader.sampleRate_Hz(), 0);
    }
}
