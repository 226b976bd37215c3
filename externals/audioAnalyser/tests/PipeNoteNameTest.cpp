#include "PipeNoteName.h"
#include "PipeNote.h"
#include "TimeSignature.h"

#include <gtest/gtest.h>

TEST(PipeNoteName, ExpansionsOfMovements)
{
    struct Case {
        PipeNoteName name;
        std::vector<PipeNoteName> notes;
    };
    const Case cases[] = {
        {Unknown, {}},
        {PipeNoteName(58), {}},
        {PipeNoteName(-1), {}},
        {D, {D}},
        {ag, {LA}},
        {tg, {HA}},
        {strlg, {LG}},
        {strhg, {HG}},
        {dblg, {HG, LG, D}},
        {dbhg, {HG, F}},
        {dbha, {HA, HG}},
        {tdbe, {HA, E, F}},
        {tdbf, {HG, F, HG}}, // shares the doubling's pattern, not HA
        {hdbf, {F, HG}},
        {grp, {LG, D, LG}},
        {thrd, {LG, D, C}},
        {hthrd, {D, C}},
        {tarb, {LG, B, LG, E}},
        {gbr, {HG, LA, LG, LA, LG}},
        {tbr, {HA, LA, LG, LA, LG}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(toString(c.name));
        EXPECT_EQ(getNoteNames(c.name), c.notes);
    }
}

TEST(PipeNoteName, EveryNameHasItsOwnTextAndANonEmptyExpansion)
{
    std::set<std::string> texts;
    for (int value = 1; value <= kLastPipeNoteName; ++value) {
        const PipeNoteName name = PipeNoteName(value);
        EXPECT_TRUE(texts.insert(toString(name)).second) << value;
        EXPECT_FALSE(getNoteNames(name).empty()) << value;
        EXPECT_EQ(pipeNoteNameFromString(toString(name)), name) << value;
    }
    for (const char* text : {"Unknown", "", "la", "LA ", "Low A", "dbl"})
        EXPECT_EQ(pipeNoteNameFromString(text), Unknown) << text;
    EXPECT_EQ(toString(Unknown), "Unknown");
    EXPECT_EQ(toString(PipeNoteName(58)), "Unknown");
    EXPECT_EQ(toString(PipeNoteName(-7)), "Unknown");
    EXPECT_EQ(toString(dbd), "dbd");
    EXPECT_EQ(toString(strhg), "strhg");
}

TEST(PipeNoteName, ClassificationAtFamilyBoundaries)
{
    struct Case {
        PipeNoteName name;
        bool melody, single, primary, complex, half;
        PipeNoteType type;
        int ordinal;
    };
    const Case cases[] = {
        {Unknown, false, false, false, false, false, OtherNoteType, -1},
        {LG, true, false, false, false, false, MelodyNoteType, 0},
        {HA, true, false, false, false, false, MelodyNoteType, 8},
        {ag, false, true, false, false, false, SingleGraceNoteType, -1},
        {dg, false, true, true, false, false, SingleGraceNoteType, -1},
        {eg, false, true, true, false, false, SingleGraceNoteType, -1},
        {fg, false, true, false, false, false, SingleGraceNoteType, -1},
        {gg, false, true, true, false, false, SingleGraceNoteType, -1},
        {tg, false, true, false, false, false, SingleGraceNoteType, -1},
        {dblg, false, false, false, true, false, OtherNoteType, -1},
        {dbd, false, false, false, true, false, OtherNoteType, -1},
        {tdbf, false, false, false, true, false, OtherNoteType, -1},
        {hdblg, false, false, false, true, true, OtherNoteType, -1},
        {hdbf, false, false, false, true, true, OtherNoteType, -1},
        {grp, false, false, false, true, false, OtherNoteType, -1},
        {tbr, false, false, false, true, false, OtherNoteType, -1},
        {strlg, false, true, false, true, false, StrikeNoteType, -1},
        {strd, false, true, false, true, false, StrikeNoteType, -1},
        {strhg, false, true, false, true, false, StrikeNoteType, -1},
        {PipeNoteName(58), false, false, false, true, false, OtherNoteType, -1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(toString(c.name) + " " + std::to_string(int(c.name)));
        EXPECT_EQ(isMelodyNote(c.name), c.melody);
        EXPECT_EQ(isSingleGraceNote(c.name), c.single);
        EXPECT_EQ(isPrimaryGracenote(c.name), c.primary);
        EXPECT_EQ(isComplexMovement(c.name), c.complex);
        EXPECT_EQ(isHalfDoubling(c.name), c.half);
        EXPECT_EQ(noteTypeFromName(c.name), c.type);
        EXPECT_EQ(melodyNoteOrdinalValue(c.name), c.ordinal);
    }
}

TEST(PipeNoteName, ConversionsBetweenMelodyGraceAndStrike)
{
    EXPECT_EQ(melodyToSingleGraceNote(LG), Unknown);
    EXPECT_EQ(melodyToSingleGraceNote(LA), ag);
    EXPECT_EQ(melodyToSingleGraceNote(HA), tg);
    EXPECT_EQ(melodyToSingleGraceNote(ag), Unknown);
    EXPECT_EQ(melodyToStrike(LG), strlg);
    EXPECT_EQ(melodyToStrike(HG), strhg);
    EXPECT_EQ(melodyToStrike(HA), Unknown);
    for (int value = LA; value <= HA; ++value)
        EXPECT_EQ(graceNoteToMelodyNote(melodyToSingleGraceNote(PipeNoteName(value))), value);
    for (int value = LG; value <= HG; ++value)
        EXPECT_EQ(strikeToMelodyNote(melodyToStrike(PipeNoteName(value))), value);
    EXPECT_EQ(graceNoteToMelodyNote(strd), Unknown);
    EXPECT_EQ(strikeToMelodyNote(dg), Unknown);
}

TEST(PipeNote, AccessorsAndText)
{
    PipeNote note(dbe, 1.5f, 0.25f);
    note.setMelodyNoteStartOffset_s(0.125f);
    EXPECT_FLOAT_EQ(note.getEnd_s(), 1.75f);
    EXPECT_FLOAT_EQ(note.melodyNoteStart_s(), 1.625f);
    EXPECT_EQ(toString(note), "{dbe, s: 1.5 + (0.125), d: 0.25}");
    EXPECT_EQ(toString(PipeNote()), "{Unknown, s: 0 + (0), d: 0}");
}

TEST(NoteMap, EqualKeysKeepInsertionOrder)
{
    NoteMap map;
    map.emplace(1.0f, PipeNote(D, 1.0f, 0.1f));
    map.emplace(0.5f, PipeNote(LA, 0.5f, 0.1f));
    map.emplace(1.0f, PipeNote(gg, 1.0f, 0.02f));
    std::vector<PipeNoteName> order;
    for (const auto& entry : map)
        order.push_back(entry.second.noteName());
    EXPECT_EQ(order, (std::vector<PipeNoteName>{LA, D, gg}));
}

TEST(TimeSignature, TextsAndComponents)
{
    struct Case {
        int value;
        const char* text;
        int beats, unit;
    };
    const Case cases[] = {
        {0, "4/4", 4, 4},
        {1, "3/4", 3, 4},
        {2, "2/4", 2, 4},
        {3, "Cut common time (Reel)", 2, 2},
        {4, "6/8", 6, 8},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(toQString(TimeSignature(c.value)), QString(c.text));
        int beats = -1, unit = -1;
        timeSignatureComponents(TimeSignature(c.value), beats, unit);
        EXPECT_EQ(beats, c.beats);
        EXPECT_EQ(unit, c.unit);
        TimeSignature back = TimeSignature(99);
        EXPECT_TRUE(timeSignatureFromComponents(c.beats, c.unit, back));
        EXPECT_EQ(back, c.value);
    }
    EXPECT_EQ(toQString(TimeSignature(5)), QString("Unknown"));
    int beats = 7, unit = 9;
    timeSignatureComponents(TimeSignature(5), beats, unit);
    EXPECT_EQ(beats, 7);
    EXPECT_EQ(unit, 9);
    TimeSignature untouched = TimeSignature3_4;
    EXPECT_FALSE(timeSignatureFromComponents(6, 4, untouched));
    EXPECT_EQ(untouched, TimeSignature3_4);
}
