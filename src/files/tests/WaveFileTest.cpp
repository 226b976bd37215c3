#include "WaveFile.h"
#include "FileSizeLimit.h"
#include "TestFiles.h"

#include <QDir>
#include <QTemporaryDir>
#include <QtEndian>

#include <gtest/gtest.h>
#include <sndfile.h>

#include <vector>

TEST(WaveFile, RawHeaderIsTheCanonicalMonoPcmHeader)
{
    // 3 samples at 44100 Hz, written out by hand from the RIFF layout.
    const std::vector<uint8_t> expected = {'R', 'I', 'F', 'F', 42, 0, 0, 0, 'W', 'A', 'V', 'E', 'f', 'm', 't', ' ', 16,
        0, 0, 0, 1, 0, 1, 0, 0x44, 0xac, 0, 0, 0x88, 0x58, 0x01, 0, 2, 0, 16, 0, 'd', 'a', 't', 'a', 6, 0, 0, 0};
    EXPECT_EQ(WaveFile::rawHeader(WaveFile::generateHeader(3, 44100)), expected);
}

TEST(WaveFile, SizesAndRatesFollowTheRecording)
{
    struct Case {
        int numSamples;
        int sampleRate;
    };
    // 1,500,000,000 samples pass 2^31 bytes of audio: the sizes must not wrap as signed.
    const Case cases[] = {{0, 44100}, {48000 * 60, 48000}, {1500000000, 44100}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.numSamples);
        const std::vector<uint8_t> raw = WaveFile::rawHeader(WaveFile::generateHeader(c.numSamples, c.sampleRate));
        ASSERT_EQ(raw.size(), 44u);
        EXPECT_EQ(qFromLittleEndian<quint32>(raw.data() + 4), quint32(c.numSamples) * 2 + 36);
        EXPECT_EQ(qFromLittleEndian<quint32>(raw.data() + 24), quint32(c.sampleRate));
        EXPECT_EQ(qFromLittleEndian<quint32>(raw.data() + 28), quint32(c.sampleRate) * 2);
        EXPECT_EQ(qFromLittleEndian<quint32>(raw.data() + 40), quint32(c.numSamples) * 2);
    }
}

TEST(WaveFile, LibsndfileReadsBackEverySample)
{
    QByteArray extremes(8, '\0');
    qToLittleEndian<qint16>(-32768, extremes.data());
    qToLittleEndian<qint16>(32767, extremes.data() + 2);
    qToLittleEndian<qint16>(-1, extremes.data() + 4);
    qToLittleEndian<qint16>(1, extremes.data() + 6);
    struct Case {
        const char* name;
        QByteArray audio;
        int sampleRate_Hz;
    };
    const Case cases[] = {
        {"chanter at 44100 Hz", TestFiles::chanterPcm(44100) + extremes, 44100},
        {"chanter at 48000 Hz", TestFiles::chanterPcm(4800), 48000},
        {"extremes at 8000 Hz", extremes, 8000},
        {"odd byte dropped", TestFiles::chanterPcm(10) + "x", 22050},
        {"no audio", QByteArray(), 44100},
    };
    QTemporaryDir dir;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const QString path = dir.filePath("out.wav");
        QString error;
        ASSERT_TRUE(WaveFile::save(path, c.audio, c.sampleRate_Hz, error)) << error.toStdString();
        EXPECT_EQ(QFileInfo(path).size(), 44 + c.audio.size() / 2 * 2);

        SF_INFO info{};
        SNDFILE* sound = sf_open(QFile::encodeName(path).constData(), SFM_READ, &info);
        ASSERT_NE(sound, nullptr) << sf_strerror(nullptr);
        EXPECT_EQ(info.format, SF_FORMAT_WAV | SF_FORMAT_PCM_16);
        EXPECT_EQ(info.channels, 1);
        EXPECT_EQ(info.samplerate, c.sampleRate_Hz);
        const int numSamples = c.audio.size() / 2;
        ASSERT_EQ(info.frames, numSamples);
        std::vector<short> samples(numSamples + 1);
        EXPECT_EQ(sf_read_short(sound, samples.data(), numSamples + 1), numSamples);
        sf_close(sound);
        for (int i = 0; i < numSamples; ++i)
            ASSERT_EQ(samples[i], qFromLittleEndian<qint16>(c.audio.constData() + 2 * i)) << "sample " << i;
    }
}

TEST(WaveFile, FailedSaveLeavesTheExistingFileAsItWas)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("out.wav");
    TestFiles::writeFile(path, "an older export");
    QString error;
    {
        FileSizeLimit limit(1000);
        ASSERT_TRUE(limit.active());
        EXPECT_FALSE(WaveFile::save(path, TestFiles::chanterPcm(1000), 44100, error));
    }
    EXPECT_FALSE(error.isEmpty());
    EXPECT_EQ(TestFiles::readFile(path), "an older export");
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files), QStringList{"out.wav"});

    error.clear();
    EXPECT_FALSE(WaveFile::save(dir.filePath("missing/out.wav"), TestFiles::chanterPcm(10), 44100, error));
    EXPECT_FALSE(error.isEmpty());
}
