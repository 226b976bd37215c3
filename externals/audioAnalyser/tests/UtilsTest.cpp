#include "utils.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

TEST(Utils, CentsUseTheSystemScale)
{
    // The octave is deliberately 1200.04 on this scale, not 1200.
    EXPECT_NEAR(utils::freqRatioToCents(440.0f, 880.0f), 1200.04f, 0.005f);
    EXPECT_FLOAT_EQ(utils::freqRatioToCents(440.0f, 440.0f), 0.0f);
    EXPECT_LT(utils::freqRatioToCents(440.0f, 430.0f), 0.0f);
    EXPECT_NEAR(utils::centsToFreqRatio(1200.04), 2.0, 1e-5);
    EXPECT_NEAR(utils::freqRatioToCents(440.0f, float(440.0 * utils::centsToFreqRatio(-37.5))), -37.5f, 1e-3f);
}

TEST(Utils, NoteNumbers)
{
    EXPECT_NEAR(utils::frequencyToNoteNumber(440.0), 69.0, 1e-9);
    EXPECT_NEAR(utils::frequencyToNoteNumber(880.0), 81.0, 1e-3);
    EXPECT_EQ(utils::frequencyToRoundedNoteNumber(452.0), 69); // +46 cents stays on A
    EXPECT_EQ(utils::frequencyToRoundedNoteNumber(454.0), 70);
    EXPECT_EQ(utils::midiNoteNumberToNoteName(69), "A");
    EXPECT_EQ(utils::midiNoteNumberToNoteName(-3), "D#");
    EXPECT_EQ(utils::midiNoteNumberToNoteName(60.5), "C#"); // half away from zero
    EXPECT_EQ(utils::midiNoteNumberToNoteName(60.49), "C");
}

TEST(Utils, Linear2dBIsHeldToItsRange)
{
    EXPECT_EQ(utils::linear2dB(0.0, -120.0), -120.0);
    EXPECT_EQ(utils::linear2dB(-1.0, -120.0), -120.0);
    EXPECT_EQ(utils::linear2dB(4.0, -120.0), 0.0);
    EXPECT_EQ(utils::linear2dB(1e-9, -120.0), -120.0);
    EXPECT_NEAR(utils::linear2dB(0.1, -120.0), -20.0, 1e-9);
}

TEST(Utils, VersionComponentsAndText)
{
    int major = 0, minor = 0;
    utils::getVersionComponents(3012, major, minor);
    EXPECT_EQ(major, 4);
    EXPECT_EQ(minor, 12);
    EXPECT_EQ(utils::intToString(-42), "-42");
}

TEST(Utils, RecursiveDeleteRemovesATreeAndAFile)
{
    QTemporaryDir temp;
    ASSERT_TRUE(temp.isValid());
    const QString root = temp.path() + "/tree";
    ASSERT_TRUE(QDir().mkpath(root + "/a/b/c"));
    ASSERT_TRUE(QDir().mkpath(root + "/d"));
    for (const char* name : {"/x.txt", "/a/y.txt", "/a/b/c/z.txt", "/d/.hidden"}) {
        QFile file(root + name);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("data");
    }
    EXPECT_TRUE(utils::recursiveDelete(root));
    EXPECT_FALSE(QDir(root).exists());
    EXPECT_TRUE(QDir(temp.path()).exists());

    const QString single = temp.path() + "/single.txt";
    QFile file(single);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.close();
    EXPECT_TRUE(utils::recursiveDelete(single));
    EXPECT_FALSE(QFile::exists(single));
    EXPECT_TRUE(utils::recursiveDelete(temp.path() + "/never-there"));
}

TEST(Utils, Md5OfAFile)
{
    QTemporaryDir temp;
    const QString path = temp.path() + "/abc.txt";
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("abc");
    file.close();
    EXPECT_EQ(utils::getMd5String(path), QString("900150983cd24fb0d6963f7d28e17f72"));
    EXPECT_EQ(utils::getMd5Binary(path).size(), 16);
    EXPECT_TRUE(utils::getMd5String(temp.path() + "/missing").isEmpty());
}
