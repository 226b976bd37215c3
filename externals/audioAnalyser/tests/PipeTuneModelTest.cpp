#include "PipeTuneModel.h"

#include <gtest/gtest.h>

namespace {

typedef PipeTuneModel::Item Item;
typedef PipeTuneModel::Bar Bar;

Bar makeBar(std::vector<Item> items, bool rowBreak)
{
    Bar bar;
    bar.items = std::move(items);
    bar.rowBreak = rowBreak;
    return bar;
}

// A one-part model of crotchets, one bar per pitch, with a row break after every barsPerRow bars
// and on the last bar.
PipeTuneModel makeModel(const std::vector<PipeNoteName>& barPitches, int barsPerRow)
{
    PipeTuneModel model;
    model.parts.emplace_back();
    for (size_t i = 0; i < barPitches.size(); ++i) {
        const bool rowBreak = (i + 1) % barsPerRow == 0 || i + 1 == barPitches.size();
        model.parts[0].bars.push_back(makeBar({Item(barPitches[i], 4, 0, PipeTuneModel::NoteFlagNone)}, rowBreak));
    }
    return model;
}

} // namespace

TEST(PipeTuneModel, ItemLengthsInThirtySeconds)
{
    struct Case {
        int duration, dots, expected;
    };
    const Case cases[] = {
        {0, 1, 0},
        {0, 0, 0},
        {1, 0, 32},
        {4, 0, 8},
        {4, 1, 12},
        {4, 2, 12}, // a double dot counts as one
        {4, 3, 8}, // other dot counts are ignored
        {8, 1, 6},
        {16, 1, 3},
        {32, 1, 2}, // 1.5 rounds away from zero
        {32, 0, 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.duration << " dots " << c.dots);
        EXPECT_EQ(Item(LA, c.duration, c.dots, PipeTuneModel::NoteFlagNone).totalDuration32(), c.expected);
    }
}

TEST(PipeTuneModel, BarCountsGraceNotesAndComparesEveryField)
{
    const Bar bar = makeBar({Item(gg, 32, 0, PipeTuneModel::NoteFlagNone), Item(D, 8, 1, PipeTuneModel::NoteFlagRight),
                                Item(E, 16, 0, PipeTuneModel::NoteFlagLeft)},
        false);
    EXPECT_EQ(bar.totalDuration32(), 1 + 6 + 2);

    Bar other = bar;
    EXPECT_EQ(other, bar);
    other.rowBreak = true;
    EXPECT_NE(other, bar);
    for (int field = 0; field < 4; ++field) {
        SCOPED_TRACE(field);
        other = bar;
        Item& item = other.items[1];
        if (field == 0)
            item.noteName = C;
        else if (field == 1)
            item.duration = 4;
        else if (field == 2)
            item.dots = 0;
        else
            item.flag = PipeTuneModel::NoteFlagNone;
        EXPECT_NE(other, bar);
    }
    other = bar;
    other.items.pop_back();
    EXPECT_NE(other, bar);
}

TEST(PipeTuneModel, TextForms)
{
    PipeTuneModel model;
    model.parts.resize(1);
    model.parts[0].bars.push_back(
        makeBar({Item(gg, 32, 0, PipeTuneModel::NoteFlagNone), Item(LA, 8, 1, PipeTuneModel::NoteFlagRight)}, false));
    model.parts[0].bars.push_back(makeBar({Item(HA, 4, 0, PipeTuneModel::NoteFlagLeft)}, true));
    EXPECT_EQ(toString(model),
        "{Parts:[{Bars:[Bar{Items:[{gg32,d:0,f:n}{LA8,d:1,f:r}],br:0}\n"
        "Bar{Items:[{HA4,d:0,f:l}],br:1}\n"
        "]}\n\n]}");
    EXPECT_EQ(toString(PipeTuneModel::NoteFlag(3)), "");
    EXPECT_EQ(toString(PipeTuneModel()), "{Parts:[]}");
}

TEST(PipeTuneModel, ChangedRows)
{
    const std::vector<PipeNoteName> tune = {LA, B, C, D, E, F, HG, HA, LA, B, C, D};
    const PipeTuneModel threeRows = makeModel(tune, 4);

    struct Case {
        const char* what;
        PipeTuneModel newModel, oldModel;
        std::vector<int> expected;
    };
    std::vector<Case> cases;
    cases.push_back({"equal models", threeRows, threeRows, {}});
    cases.push_back({"against an empty model", threeRows, PipeTuneModel(), {0, 1, 2}});
    cases.push_back({"empty new model", PipeTuneModel(), threeRows, {}});

    PipeTuneModel middleChanged = threeRows;
    middleChanged.parts[0].bars[5].items[0].noteName = LG;
    cases.push_back({"one note in the middle row", middleChanged, threeRows, {1}});

    // The old model ended after 11 bars; its last bar closed the row. Growing by one bar takes
    // the row break away from bar 10, so the last row counts as changed.
    PipeTuneModel shorter = makeModel({LA, B, C, D, E, F, HG, HA, LA, B, C}, 4);
    cases.push_back({"one more bar on the last row", threeRows, shorter, {2}});

    // A row without its closing bar is never reported.
    PipeTuneModel unclosed = threeRows;
    unclosed.parts[0].bars.back().rowBreak = false;
    unclosed.parts[0].bars[0].items[0].noteName = HA;
    unclosed.parts[0].bars[9].items[0].noteName = HA;
    cases.push_back({"unclosed last row", unclosed, threeRows, {0}});

    // Rows and the changed flag run across part boundaries: a row that starts in one part and
    // closes in the next is one row.
    PipeTuneModel twoParts = makeModel({LA, B, C, D, E, F}, 4);
    twoParts.parts[0].bars.back().rowBreak = false;
    twoParts.parts.push_back(twoParts.parts[0]);
    twoParts.parts[1].bars.back().rowBreak = true;
    PipeTuneModel twoPartsChanged = twoParts;
    twoPartsChanged.parts[0].bars[5].items[0].noteName = HG;
    cases.push_back({"row spanning a part boundary", twoPartsChanged, twoParts, {1}});
    PipeTuneModel twoPartsLater = twoParts;
    twoPartsLater.parts[1].bars[5].items[0].noteName = HG;
    cases.push_back({"rows counted across parts", twoPartsLater, twoParts, {2}});
    cases.push_back({"old model has fewer parts", twoParts, makeModel({LA, B, C, D, E, F}, 4), {1, 2}});

    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(getChangedRows(c.newModel, c.oldModel), c.expected);
    }
}
