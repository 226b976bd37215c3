#include "GroupQuantizer.h"

#include <gtest/gtest.h>

namespace {

// Binary-exact, so that lengths of whole and half thirty-second notes stay exact in float.
constexpr double kT32_s = 0.125;

// "8." for a dotted quaver, "8,32" for two items of one note; grace notes by name. Items without
// a name yet count as notes.
std::string describe(const std::vector<PipeTuneModel::Item>& items)
{
    std::string text;
    for (const PipeTuneModel::Item& item : items) {
        if (!text.empty())
            text += ",";
        if (item.noteName != Unknown && !isMelodyNote(item.noteName)) {
            text += toString(item.noteName);
            continue;
        }
        text += std::to_string(item.duration) + std::string(item.dots, '.');
    }
    return text;
}

PipeTuneQuantizer::Group makeGroup(int length32, const std::vector<double>& notes32)
{
    PipeTuneQuantizer::Group group;
    group.duration_s = float(length32 * kT32_s);
    double start32 = 0.0;
    for (double note32 : notes32) {
        PipeTuneQuantizer::NoteWrapper wrapper;
        wrapper.note = PipeNote(LA, float(start32 * kT32_s), float(note32 * kT32_s));
        group.notes.push_back(wrapper);
        start32 += note32;
    }
    return group;
}

std::vector<std::string> quantizeAll(QuantizationType type, int level, const PipeTuneQuantizer::Group& group)
{
    GroupQuantizer quantizer(kT32_s);
    quantizer.setQuantizationType(type);
    quantizer.setMinQuantizationLevel(level);
    std::vector<std::string> lengths;
    for (const auto& entry : quantizer.quantize(group)) {
        EXPECT_EQ(entry.first, int(lengths.size()));
        lengths.push_back(describe(entry.second));
    }
    return lengths;
}

} // namespace

TEST(GroupQuantizer, ItemsFromThirtySeconds)
{
    const std::vector<std::pair<int, std::string>> cases
        = {{0, ""}, {1, "32"}, {2, "16"}, {3, "16."}, {4, "8"}, {5, "8,32"}, {6, "8."}, {7, "8,16."}, {8, "4"},
            {9, "4,32"}, {12, "4."}, {14, "4,8."}, {16, "2"}, {24, "2."}, {31, "2,4,8,16."}, {32, "1"}, {40, "1,4"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.first);
        EXPECT_EQ(describe(getItemsFrom32s(c.first)), c.second);
        int total = 0;
        for (const PipeTuneModel::Item& item : getItemsFrom32s(c.first))
            total += item.totalDuration32();
        EXPECT_EQ(total, c.first);
    }
}

TEST(GroupQuantizer, NoteValuesOfABeat)
{
    struct Case {
        const char* what;
        QuantizationType type;
        int level;
        int length32;
        std::vector<double> notes32;
        std::vector<std::string> expected;
    };
    const Case cases[] = {
        {"3:1 dotted pair", QuantizationAbsolute, 1, 8, {6, 2}, {"8.", "16"}},
        {"two notes use the semiquaver grid", QuantizationAbsolute, 1, 8, {5.5, 2.5}, {"8.", "16"}},
        {"rubato only changes proportions", QuantizationAbsolute, 1, 8, {13.2, 4.4}, {"8.", "16"}},
        {"a triplet stays a 32nd too long", QuantizationAbsolute, 1, 8, {8.0 / 3, 8.0 / 3, 8.0 / 3},
            {"16.", "16.", "16."}},
        {"gap repair adds one step, once", QuantizationAbsolute, 1, 8, {1.45, 1.45, 1.45, 1.45, 2.2},
            {"16", "32", "32", "32", "16"}},
        {"gap repair goes to the largest residual", QuantizationAbsolute, 1, 8, {2.2, 2.45, 3.35},
            {"16", "16.", "16."}},
        {"gap repair goes to the first of equals", QuantizationAbsolute, 1, 8, {2.4, 2.4, 3.2}, {"16.", "16", "16."}},
        {"five 32nds are written as two items", QuantizationAbsolute, 1, 8, {5, 2, 1}, {"8,32", "16", "32"}},
        {"level 2 keeps a very short note", QuantizationAbsolute, 2, 8, {0.2, 3.9, 3.9}, {"16", "8", "8"}},
        {"one note fills the beat", QuantizationAbsolute, 1, 8, {3}, {"4"}},
        {"one note fills a minim beat", QuantizationAbsolute, 2, 16, {5}, {"2"}},
        {"reel pair on the quaver grid", QuantizationAbsolute, 4, 16, {11, 5}, {"4.", "8"}},
        {"reel gap repair by a quaver", QuantizationAbsolute, 4, 16, {5.5, 5.5, 5}, {"4", "8", "8"}},
        {"set pattern: long, short, medium", QuantizationSetPattern, 2, 12, {6, 2, 4}, {"8.", "16", "8"}},
        {"set pattern: two short, one long", QuantizationSetPattern, 2, 12, {2, 2, 8}, {"16", "16", "8."}},
        {"set pattern: rounding gives quavers", QuantizationSetPattern, 4, 12, {6, 2, 4}, {"8", "8", "8"}},
        {"set pattern: three even quavers", QuantizationSetPattern, 2, 12, {4.2, 3.9, 3.9}, {"8", "8", "8"}},
        {"set pattern: one note", QuantizationSetPattern, 2, 12, {3}, {"4."}},
        {"set pattern: crotchet and quaver", QuantizationSetPattern, 2, 12, {7.2, 4.8}, {"4", "8"}},
        {"set pattern: even pair", QuantizationSetPattern, 2, 12, {6, 6}, {"8", "8"}},
        {"set pattern: four notes", QuantizationSetPattern, 2, 12, {6, 2, 2, 2}, {"8", "8", "8", "8"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(quantizeAll(c.type, c.level, makeGroup(c.length32, c.notes32)), c.expected);
    }
}

TEST(GroupQuantizer, GraceNotesStandBeforeTheirNoteAndSurviveGapRepair)
{
    PipeTuneQuantizer::Group group = makeGroup(8, {2.2, 2.45, 3.35});
    group.notes[1].graceNotes = {PipeNote(gg, 0.0f, 0.01f), PipeNote(dbla, 0.01f, 0.05f)};
    const std::vector<std::string> lengths = quantizeAll(QuantizationAbsolute, 1, group);
    ASSERT_EQ(lengths.size(), 3u);
    EXPECT_EQ(lengths[1], "gg,dbla,16.");

    GroupQuantizer quantizer(kT32_s);
    const auto items = quantizer.quantize(group);
    ASSERT_EQ(items.at(1).size(), 3u);
    EXPECT_EQ(items.at(1)[0], PipeTuneModel::Item(gg, 32, 0, PipeTuneModel::NoteFlagNone));
    EXPECT_EQ(items.at(1)[2].noteName, LA);
}
