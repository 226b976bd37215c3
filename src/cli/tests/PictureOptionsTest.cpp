#include "AudioFileWriter.h"
#include "ChanterSynthesiser.h"
#include "CliRun.h"
#include "NotesTable.h"

#include <QFile>
#include <QImage>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

// A scale of eight 1-second crotchets at 60 BPM: two bars on one score row, and three
// timing rows of 4 s (the last note ends exactly on the second row's end, which opens a third).
QString writeScale(const QTemporaryDir& dir)
{
    NoteMap melody;
    for (int i = 0; i < 8; ++i)
        melody.insert({float(i), PipeNote(PipeNoteName(LA + i % 8), float(i), 1.0f)});
    const QString path = dir.filePath("scale.tsv");
    QString error;
    EXPECT_TRUE(NotesTable::write(path, melody, NoteMap(), error)) << error.toStdString();
    return path;
}

} // namespace

TEST(PictureOptions, WritesBothViewsAtTheChosenZoom)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString notes = writeScale(dir);
    const QString score = dir.filePath("score.png");
    const QString timing = dir.filePath("timing.png");
    struct Case {
        QString zoom;
        QSize scoreSize;
        QSize timingSize;
    };
    // Headers are 100 high and at least 400 wide, rows 120 high; the timing view is 1280 wide;
    // the score row is 2 * (10 + 4 * 19) + 40 = 212 wide, narrower than its header.
    const Case cases[] = {{"1", {400, 100 + 120}, {1280, 100 + 3 * 120}}, {"0.5", {200, 50 + 60}, {640, 50 + 3 * 60}}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.zoom.toStdString());
        const CliRun run = runCli({"score", notes, "--bpm", "60", "--score-png", score, "--timing-png", timing,
            "--zoom", c.zoom, "--secs-per-row", "4"});
        ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
        EXPECT_TRUE(run.out.isEmpty()) << "no .bww text on stdout when pictures are asked for";
        EXPECT_EQ(QImage(score, "PNG").size(), c.scoreSize);
        EXPECT_EQ(QImage(timing, "PNG").size(), c.timingSize);
    }
}

TEST(PictureOptions, RefusesBadValuesAndUnwritableFiles)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString notes = writeScale(dir);
    const QString png = dir.filePath("out.png");
    struct Case {
        QStringList arguments;
        int exitCode;
        QString message;
    };
    const Case cases[] = {
        {{"--score-png", png, "--zoom", "0.75"}, 2, "--zoom must be 1 or 0.5"},
        {{"--timing-png", png, "--secs-per-row", "0.5"}, 2, "--secs-per-row needs seconds from 1 to 20"},
        {{"--timing-png", dir.filePath("no/such/dir.png")}, 5, dir.filePath("no/such/dir.png") + ": "},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.arguments.join(' ').toStdString());
        const CliRun run = runCli(QStringList{"score", notes} + c.arguments);
        EXPECT_EQ(run.exitCode, c.exitCode);
        // Contains, not starts with: Qt may warn first about the session (no XDG_RUNTIME_DIR).
        EXPECT_TRUE(run.err.contains("ceolmark-cli score: " + c.message)) << run.err.toStdString();
    }
}

TEST(PictureOptions, TranscribeDrawsWhatItHeard)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    // One bar of crotchets at 100 BPM (0.6 s), gracing taken from the note it ornaments.
    ChanterSynthesiser synth;
    synth.play(LA, 0.6);
    synth.play(B, 0.6 - synth.gracingDuration_s(dbb), dbb);
    synth.play(C, 0.6);
    synth.play(E, 0.6 - synth.gracingDuration_s(gg), gg);
    const QString wav = dir.filePath("bar.wav");
    QString error;
    ASSERT_TRUE(AudioFileWriter::write(wav, synth.render(), 44100, error)) << error.toStdString();

    const QString score = dir.filePath("score.png");
    const QString timing = dir.filePath("timing.png");
    const QString bww = dir.filePath("bar.bww");
    const CliRun run
        = runCli({"transcribe", wav, "--bpm", "100", "--score-png", score, "--timing-png", timing, "--bww", bww});
    ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_TRUE(run.out.startsWith("start_s\tduration_s\tname\tkind\n")) << "the notes table still comes out";
    EXPECT_TRUE(QFile::exists(bww));

    // One closed score row under the header; one 5-second timing row.
    const QImage scoreImage(score, "PNG");
    ASSERT_EQ(scoreImage.size(), QSize(400, 100 + 120));
    EXPECT_EQ(QImage(timing, "PNG").size(), QSize(1280, 100 + 120));
    // Heads and stems darken the middle of the staff's spaces (the header is 100 high, the top
    // line 40 below it), which staff lines never touch.
    int dark = 0;
    for (int x = 25; x < 200; ++x)
        for (int y : {145, 155, 165, 175})
            dark += qGray(scoreImage.pixel(x, y)) < 100;
    EXPECT_GT(dark, 10);
}
