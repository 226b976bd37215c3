#include "PipeTuneQuantizer.h"

#include <gtest/gtest.h>

namespace {

// A crotchet of 1 s makes a thirty-second note 0.125 s, so every time below is exact in float.
constexpr float kCrotchet_s = 1.0f;
constexpr float kT32_s = kCrotchet_s / 8.0f;

struct TimedNote {
    PipeNoteName name;
    double start32;
    double duration32;
};

void makeMaps(const std::vector<TimedNote>& notes, NoteMap& melody, NoteMap& grace)
{
    for (const TimedNote& n : notes) {
        const PipeNote note(n.name, float(n.start32 * kT32_s), float(n.duration32 * kT32_s));
        (isMelodyNote(n.name) ? melody : grace).insert({note.start_s(), note});
    }
}

// Bars separated by " | ", items by blanks: "LA8r" is a quaver joined to the right, "B8." a dotted
// quaver, grace notes by name. A bar that ends a row is followed by " /".
std::string describe(const PipeTuneModel& model)
{
    std::string text;
    for (const PipeTuneModel::Part& part : model.parts) {
        for (const PipeTuneModel::Bar& bar : part.bars) {
            if (!text.empty())
                text += " | ";
            std::string items;
            for (const PipeTuneModel::Item& item : bar.items) {
                if (!items.empty())
                    items += " ";
                items += toString(item.noteName);
                if (!isMelodyNote(item.noteName))
                    continue;
                items += std::to_string(item.duration) + std::string(item.dots, '.');
                if (item.flag != PipeTuneModel::NoteFlagNone)
                    items += toString(item.flag);
            }
            text += items + (bar.rowBreak ? " /" : "");
        }
    }
    return text;
}

struct Options {
    float shift_s = 0.0f;
    int barsPerRow = 4;
    bool rounding = false;
};

PipeTuneModel quantize(int numerator, int denominator, const std::vector<TimedNote>& notes, Options options = {})
{
    NoteMap melody, grace;
    makeMaps(notes, melody, grace);
    PipeTuneQuantizer quantizer;
    quantizer.setTimeSignature(numerator, denominator);
    quantizer.setCrotchetDuration_s(kCrotchet_s);
    quantizer.setBarsPerRow(options.barsPerRow);
    quantizer.setRounding(options.rounding);
    quantizer.quantize(options.shift_s, melody, grace);
    return quantizer.getModel();
}

} // namespace

TEST(PipeTuneQuantizer, CrotchetDurations)
{
    struct Case {
        float tempo;
        int numerator, denominator;
        float expected_s;
    };
    const Case cases[] = {
        {60, 4, 4, 1.0f},
        {72, 3, 4, 60.0f / 72},
        {120, 2, 4, 0.5f},
        {60, 6, 8, 2.0f / 3}, // the tempo counts dotted crotchets
        {60, 2, 2, 0.5f}, // the tempo counts minims
        {60, 5, 4, 0.0f},
        {60, 9, 8, 0.0f},
        {60, 3, 8, 0.0f},
        {60, 4, 2, 0.0f},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.tempo << " " << c.numerator << "/" << c.denominator);
        EXPECT_FLOAT_EQ(getCrotchetDuration_s(c.tempo, c.numerator, c.denominator), c.expected_s);
    }
}

TEST(PipeTuneQuantizer, DecidingCases)
{
    struct Case {
        const char* what;
        int numerator, denominator;
        std::vector<TimedNote> notes;
        std::string expected;
        Options options = {};
    };
    std::vector<TimedNote> sevenCrotchets;
    for (int i = 0; i < 7; ++i)
        sevenCrotchets.push_back({PipeNoteName(LA + i), i * 8.0, 8});
    // Semiquaver-and-a-half values: without rounding they are written as played; with it a
    // semiquaver is the shortest note and the beat comes out long rather than losing a note.
    const std::vector<TimedNote> fine = {{LA, 0, 3}, {B, 3, 1}, {C, 4, 1}, {D, 5, 3}, {E, 8, 8}};
    const std::vector<Case> cases = {
        {"empty melody leaves the model empty", 2, 4, {{gg, 0, 0.2}, {dbla, 4, 1}}, ""},
        {"4.4 ending on the group's end stays", 2, 4, {{LA, 0, 3.6}, {B, 3.6, 4.4}, {C, 8, 8}}, "LA8r B8l C4 /"},
        {"6 with 4 inside stays whole; the next beat starts without it", 2, 4,
            {{LA, 0, 4}, {B, 4, 6}, {C, 10, 6}, {D, 16, 8}}, "LA8r B8l C4 | D4 /"},
        {"6 with 3 inside moves whole, pulled 2 early onto the beat", 2, 4,
            {{LA, 0, 5}, {B, 5, 6}, {C, 11, 5}, {D, 16, 8}}, "LA4 B8r C8l | D4 /"},
        {"8 with 4 inside is split; the grace note stays with the first half", 2, 4,
            {{LA, 0, 4}, {gg, 3.8, 0.2}, {B, 4, 8}, {C, 12, 4}, {D, 16, 8}}, "LA8r gg B8l B8r C8l | D4 /"},
        {"a long note walks through the beats", 2, 4, {{LA, 0, 24}, {B, 24, 8}}, "LA4 LA4 | LA4 B4 /"},
        {"a rest closes empty beats", 2, 4, {{LA, 0, 8}, {B, 24, 8}}, "LA4 | B4 /"},
        {"the final note closes its beat however short", 2, 4, {{LA, 0, 8}, {gg, 7.9, 0.1}, {B, 8, 2}}, "LA4 gg B4 /"},
        {"a vanishing final note loses the unclosed bar", 2, 4, {{LA, 0, 8}, {B, 8, 8}, {C, 16, 0.4}}, ""},
        {"a vanishing note takes its grace notes along", 2, 4,
            {{LA, 0, 4}, {gg, 4, 0.3}, {B, 4.3, 0.3}, {C, 4.6, 3.4}, {D, 8, 8}}, "LA8r C8l D4 /"},
        {"the final bar may be short and breaks the row", 4, 4,
            {{LA, 0, 8}, {B, 8, 8}, {C, 16, 8}, {D, 24, 8}, {E, 32, 8}}, "LA4 B4 C4 D4 | E4 /"},
        {"a crotchet between quavers stays unjoined", 2, 2, {{LA, 0, 4}, {B, 4, 4}, {C, 8, 8}, {D, 16, 16}},
            "LA8r B8l C4 D2 /"},
        {"a short note next to no other short note is not flagged", 2, 4, {{LA, 0, 7.5}, {B, 7.5, 0.5}, {C, 8, 8}},
            "LA4 B32 C4 /"},
        {"a dotted pair is joined", 2, 2, {{LA, 0, 6}, {B, 6, 2}, {C, 8, 8}, {D, 16, 16}}, "LA8.r B16l C4 D2 /"},
        {"9/8 is two beats of three quavers", 9, 8,
            {{LA, 0, 4}, {B, 4, 4}, {C, 8, 4}, {D, 12, 4}, {E, 16, 4}, {F, 20, 4}, {HG, 24, 12}},
            "LA8r B8l C8l D8r E8l F8l | HG4. /"},
        // Played 1.3 s into the recording: what ends before the first beat goes, but a grace
        // note just before it stays with its note.
        {"the time shift puts the first beat at zero", 2, 4,
            {{gg, 8.0, 0.3}, {LG, 8.3, 1.9}, {dg, 10.2, 0.2}, {LA, 10.4, 8}, {B, 18.4, 4}, {C, 22.4, 4}, {D, 26.4, 8}},
            "dg LA4 B8r C8l | D4 /", {-10.4f * kT32_s}},
        {"rows break every two bars and at the end", 2, 4, sevenCrotchets, "LA4 B4 | C4 D4 / | E4 F4 | HG4 /",
            {0.0f, 2}},
        {"no bars per row: every bar ends a row", 2, 4, sevenCrotchets, "LA4 B4 / | C4 D4 / | E4 F4 / | HG4 /",
            {0.0f, 0}},
        {"without rounding", 2, 4, fine, "LA16.r B32l C32l D16.l E4 /"},
        {"with rounding", 2, 4, fine, "LA8r B16l C16l D8l E4 /", {0.0f, 4, true}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(describe(quantize(c.numerator, c.denominator, c.notes, c.options)), c.expected);
    }

    const PipeTuneModel model = quantize(3, 4, sevenCrotchets);
    EXPECT_EQ(model.timeSigNumerator(), 3);
    EXPECT_EQ(model.timeSigDenominator(), 4);
    ASSERT_EQ(model.parts.size(), 1u);
    EXPECT_FALSE(model.parts[0].repeat);
}

TEST(PipeTuneQuantizer, BeatGeometry)
{
    struct Case {
        int numerator, denominator, groupsPerBar, group32;
    };
    const Case cases[] = {{4, 4, 4, 8}, {3, 4, 3, 8}, {2, 4, 2, 8}, {2, 2, 2, 16}, {6, 8, 2, 12}, {9, 8, 2, 12}};
    NoteMap melody, grace;
    makeMaps({{LA, 0, 8}}, melody, grace);
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.numerator << "/" << c.denominator);
        PipeTuneQuantizer quantizer;
        EXPECT_EQ(quantizer.groupsPerBar(), 0);
        quantizer.setTimeSignature(c.numerator, c.denominator);
        quantizer.setCrotchetDuration_s(kCrotchet_s);
        quantizer.quantize(0.0f, melody, grace);
        EXPECT_EQ(quantizer.groupsPerBar(), c.groupsPerBar);
        EXPECT_FLOAT_EQ(quantizer.groupDuration_s(), c.group32 * kT32_s);
    }
}
