#include "TuneViewComposer.h"
#include "TestScores.h"

#include <QImage>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

PipeTuneModel::Bar crotchets(std::vector<PipeNoteName> names, bool rowBreak)
{
    std::vector<PipeTuneModel::Item> items;
    for (PipeNoteName name : names)
        items.push_back(makeNote(name, 4));
    return makeBar(items, rowBreak);
}

// Three rows of two bars; every bar is 10 + 2 * 19 = 48 wide, so every row 96.
PipeTuneModel threeRows(PipeNoteName middleNote = B)
{
    return makeModel({crotchets({LA, B}, false), crotchets({C, D}, true), crotchets({E, middleNote}, false),
        crotchets({F, HG}, true), crotchets({LA, LA}, false), crotchets({B, B}, true)});
}

std::map<int, qint64> cacheKeys(const QMap<int, QPixmap>& rows)
{
    std::map<int, qint64> keys;
    for (auto it = rows.cbegin(); it != rows.cend(); ++it)
        keys[it.key()] = it.value().cacheKey();
    return keys;
}

NoteMap makeTimingMelody()
{
    NoteMap melody;
    melody.emplace(0.0f, PipeNote(LA, 0, 1));
    melody.emplace(1.0f, PipeNote(B, 1, 1));
    return melody;
}

bool hasDarkPixel(const QImage& image, QRect area)
{
    for (int y = area.top(); y <= area.bottom(); ++y)
        for (int x = area.left(); x <= area.right(); ++x)
            if (qGray(image.pixel(x, y)) < 128)
                return true;
    return false;
}

} // namespace

TEST(TuneViewComposerTest, RedrawsOnlyTheRowsThatChanged)
{
    TuneViewComposer composer;
    composer.updateScoreRows(threeRows());
    ASSERT_EQ(composer.scoreRows().size(), 3);
    const std::map<int, qint64> before = cacheKeys(composer.scoreRows());

    // Same widths, one note of the middle row moved: only that row is drawn again.
    composer.updateScoreRows(threeRows(C));
    std::map<int, qint64> after = cacheKeys(composer.scoreRows());
    EXPECT_EQ(after[0], before.at(0));
    EXPECT_NE(after[1], before.at(1));
    EXPECT_EQ(after[2], before.at(2));

    // A dotted note widens the middle row: every row's justification changes.
    PipeTuneModel wider = threeRows(C);
    wider.parts[0].bars[2].items[0].dots = 1;
    composer.updateScoreRows(wider);
    const std::map<int, qint64> redrawn = cacheKeys(composer.scoreRows());
    for (int row = 0; row < 3; ++row)
        EXPECT_NE(redrawn.at(row), after[row]) << row;
    EXPECT_EQ(composer.scoreRows()[0].width(), 40 + 96 + 6);
}

TEST(TuneViewComposerTest, GrowingTuneJustifiesThePreviousLastRow)
{
    // While it is the last row, a short row keeps its own length; once a row follows, it is
    // drawn again, stretched to the full width.
    PipeTuneModel tune = makeModel({crotchets({LA, B, C, D}, true), crotchets({E}, true)});
    TuneViewComposer composer;
    composer.updateScoreRows(tune);
    const qint64 shortRow = composer.scoreRows()[1].cacheKey();
    QImage image = composer.scoreRows()[1].toImage();
    const int rightBarLineX = 20 + 86; // 10 + 4 * 19 for the first row
    EXPECT_GT(qGray(image.pixel(rightBarLineX, 65)), 200) << "the last row ends short";

    tune.parts[0].bars.push_back(crotchets({F}, true));
    composer.updateScoreRows(tune);
    EXPECT_NE(composer.scoreRows()[1].cacheKey(), shortRow);
    image = composer.scoreRows()[1].toImage();
    EXPECT_LT(qGray(image.pixel(rightBarLineX, 65)), 128) << "now justified to the edge";
    EXPECT_EQ(composer.scoreRows().size(), 3);

    // Quantised again into fewer rows: the old third row goes, and the second is the short
    // last row again.
    tune.parts[0].bars.pop_back();
    composer.updateScoreRows(tune);
    EXPECT_EQ(composer.scoreRows().keys(), QList<int>({0, 1}));
    EXPECT_EQ(composer.displayedScoreRows().size(), 2);
    EXPECT_GT(qGray(composer.scoreRows()[1].toImage().pixel(rightBarLineX, 65)), 200);
}

TEST(TuneViewComposerTest, TimingRowsOnceFinishedAreLeftAlone)
{
    TuneViewComposer composer;
    NoteMap melody;
    melody.emplace(0.0f, PipeNote(LA, 0, 6));
    composer.updateTimingRows(melody, NoteMap(), 0, 0.5f, 4, 5);
    ASSERT_EQ(composer.timingRows().size(), 2);
    const qint64 first = composer.timingRows()[0].cacheKey();

    melody.emplace(6.0f, PipeNote(B, 6, 1));
    composer.updateTimingRows(melody, NoteMap(), 0, 0.5f, 4, 5);
    EXPECT_EQ(composer.timingRows()[0].cacheKey(), first);
    EXPECT_EQ(composer.timingRows().size(), 2);
    EXPECT_EQ(composer.timingRows()[1].height(), 120);
}

TEST(TuneViewComposerTest, ZoomHalvesRowsAndHeader)
{
    TuneViewComposer composer;
    composer.updateScoreRows(threeRows());
    const QPixmap full = composer.scorePixmap();
    // The header is at least 400 wide and 100 high; the rows are 136 x 120.
    EXPECT_EQ(full.size(), QSize(400, 100 + 3 * 120));

    composer.zoomTo50();
    EXPECT_EQ(composer.displayedScoreRows()[0].size(), QSize(68, 60));
    EXPECT_EQ(composer.scorePixmap().size(), QSize(200, 50 + 3 * 60));
    // The PNG is what the view shows.
    QTemporaryDir dir;
    QString error;
    ASSERT_TRUE(composer.saveScorePng(dir.filePath("score.png"), error)) << error.toStdString();
    EXPECT_EQ(QImage(dir.filePath("score.png"), "PNG").size(), QSize(200, 50 + 3 * 60));
    EXPECT_FALSE(composer.saveScorePng(dir.filePath("missing/score.png"), error));
    EXPECT_EQ(composer.scoreRows()[0].width(), 136) << "full-size rows are kept";

    // Rows drawn while zoomed out are stored at both sizes.
    composer.updateTimingRows(makeTimingMelody(), NoteMap(), 0, 0.5f, 4, 5);
    EXPECT_EQ(composer.displayedTimingRows()[0].width(), 640);

    composer.zoomTo100();
    EXPECT_EQ(composer.scorePixmap().size(), full.size());
    EXPECT_EQ(composer.timingPixmap().size(), QSize(1280, 100 + 120));
}

TEST(TuneViewComposerTest, EmptyViewShowsHeaderAndPlaceholder)
{
    TuneViewComposer composer;
    const QPixmap placeholder = TuneViewComposer::placeholderPixmap();
    ASSERT_FALSE(placeholder.isNull()) << "the placeholder resource is linked in";
    const QPixmap combined = composer.scorePixmap();
    EXPECT_EQ(combined.width(), 400);
    EXPECT_EQ(combined.height(), 100 + placeholder.scaledToWidth(400).height());
    EXPECT_TRUE(hasDarkPixel(combined.toImage(), QRect(0, 100, 400, combined.height() - 100)));

    // A null row adds nothing, and suppresses the placeholder.
    QMap<int, QPixmap> rows;
    rows[0] = QPixmap();
    rows[1] = QPixmap(300, 120);
    rows[1].fill(Qt::black);
    const QImage stacked = TuneViewComposer::combineRowPixmaps(rows, composer.scoreHeader()).toImage();
    EXPECT_EQ(stacked.size(), QSize(400, 220));
    EXPECT_EQ(qGray(stacked.pixel(10, 150)), 0);
    EXPECT_EQ(stacked.pixel(350, 150), QColor(Qt::white).rgb()) << "narrower pictures leave white";
}

TEST(TuneViewComposerTest, HeaderShowsTheTuneDetails)
{
    TuneViewComposer composer;
    composer.setTuneDetails("Scotland the Brave", "March", "Trad.");
    const QImage header = composer.generateHeaderPixmap(600).toImage();
    EXPECT_TRUE(hasDarkPixel(header, QRect(200, 5, 200, 35))) << "name, centred";
    EXPECT_TRUE(hasDarkPixel(header, QRect(5, 50, 100, 25))) << "type, left";
    EXPECT_TRUE(hasDarkPixel(header, QRect(495, 50, 100, 25))) << "composer, right";
    EXPECT_TRUE(hasDarkPixel(header, QRect(450, 80, 145, 15))) << "the program's name, small, bottom right";
    EXPECT_FALSE(hasDarkPixel(header, QRect(5, 5, 100, 30)));
}
