#include "PipeNotePattern.h"
#include "TestNotes.h"

#include <gtest/gtest.h>

namespace {

// The stages' pattern: 0.2 s notes, joins within 0.15 s, 0.005 s margin against earlier finds.
PipeNotePattern doublingPattern(std::vector<PipeNotePattern::Item> items)
{
    PipeNotePattern pattern(0.2f, 0.15f, 0.005f);
    pattern.items = std::move(items);
    return pattern;
}

std::vector<std::string> describe(const std::vector<PipeNotePattern::Match>& matches)
{
    std::vector<std::string> result;
    for (const auto& match : matches)
        result.push_back(describe(match.notes));
    return result;
}

} // namespace

TEST(PipeNotePattern, DetectLimitsAndJoins)
{
    struct Case {
        const char* what;
        std::vector<PipeNote> stream;
        bool limitFirstOnly;
        size_t matches;
    };
    const Case cases[] = {
        {"a last note of any length",
            {PipeNote(HG, 1.0f, 0.03f), PipeNote(B, 1.03f, 0.02f), PipeNote(D, 1.05f, 0.03f), PipeNote(B, 1.08f, 5.0f)},
            false, 1},
        {"a middle note of the limit",
            {PipeNote(HG, 1.0f, 0.03f), PipeNote(B, 1.03f, 0.2f), PipeNote(D, 1.23f, 0.03f), PipeNote(B, 1.26f, 1.0f)},
            false, 0},
        {"only the first note limited",
            {PipeNote(HG, 1.0f, 0.03f), PipeNote(B, 1.03f, 0.5f), PipeNote(D, 1.53f, 0.5f), PipeNote(B, 2.03f, 1.0f)},
            true, 1},
        {"first note of the limit even so",
            {PipeNote(HG, 1.0f, 0.2f), PipeNote(B, 1.2f, 0.03f), PipeNote(D, 1.23f, 0.03f), PipeNote(B, 1.26f, 1.0f)},
            true, 0},
        {"join just inside the tolerance",
            {PipeNote(HG, 1.0f, 0.03f), PipeNote(B, 1.17f, 0.02f), PipeNote(D, 1.19f, 0.03f), PipeNote(B, 1.22f, 1.0f)},
            false, 1},
        {"a gap beyond the tolerance",
            {PipeNote(HG, 1.0f, 0.03f), PipeNote(B, 1.19f, 0.02f), PipeNote(D, 1.21f, 0.03f), PipeNote(B, 1.24f, 1.0f)},
            false, 0},
        {"a wrong name",
            {PipeNote(HG, 1.0f, 0.03f), PipeNote(C, 1.03f, 0.02f), PipeNote(D, 1.05f, 0.03f), PipeNote(B, 1.08f, 1.0f)},
            false, 0},
        {"too few notes", {PipeNote(HG, 1.0f, 0.03f), PipeNote(B, 1.03f, 0.02f), PipeNote(D, 1.05f, 0.03f)}, false, 0},
    };
    const PipeNotePattern pattern = doublingPattern({HG, B, D, B});
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(pattern.detect(mapOf(c.stream), {}, {}, {}, c.limitFirstOnly).size(), c.matches);
    }
}

TEST(PipeNotePattern, DetectFlagsAndEarlierFinds)
{
    // LG D LG after a melody C that ends at the first LG's start.
    const NoteMap stream = mapOf({PipeNote(LG, 1.0f, 0.03f), PipeNote(D, 1.03f, 0.03f), PipeNote(LG, 1.06f, 0.5f)});
    const NoteMap melody = mapOf({PipeNote(C, 0.5f, 0.5f)});
    const NoteMap melodyElsewhere = mapOf({PipeNote(C, 0.5f, 0.3f)});
    const NoteMap processedBefore = mapOf({PipeNote(dbc, 0.9f, 0.094f)}); // ends 0.006 s before the run
    const NoteMap processedTouching = mapOf({PipeNote(dbc, 0.9f, 0.096f)}); // ends 0.004 s before the run
    struct Case {
        const char* what;
        bool follows;
        bool limitLast;
        NoteMap melody;
        NoteMap processed;
        std::vector<TimeRange> gde;
        size_t matches;
    };
    const Case cases[] = {
        {"plain", false, false, {}, {}, {}, 1},
        {"follows a melody note", true, false, melody, {}, {}, 1},
        {"no melody note ends there", true, false, melodyElsewhere, {}, {}, 0},
        {"last note above twice the limit", false, true, {}, {}, {}, 0},
        {"a movement within the margin", false, false, {}, processedTouching, {}, 0},
        {"a movement beyond the margin", false, false, {}, processedBefore, {}, 1},
        // Only the point 0.02 s after the run's start is tested against G-D-E ranges.
        {"starts 0.01 s before a G-D-E range", false, false, {}, {}, {{1.01f, 2.0f}}, 0},
        {"starts 0.03 s before a G-D-E range", false, false, {}, {}, {{1.03f, 2.0f}}, 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        PipeNotePattern pattern = doublingPattern({LG, D, LG});
        pattern.followsMelodyNote = c.follows;
        pattern.limitLastNote = c.limitLast;
        EXPECT_EQ(pattern.detect(stream, c.melody, c.processed, c.gde, false).size(), c.matches);
    }
}

TEST(PipeNotePattern, MatchesShareNoNotes)
{
    // LG D LG D LG: the first match takes the middle LG, so the second run is not found.
    const NoteMap stream = mapOf({PipeNote(LG, 1.0f, 0.03f), PipeNote(D, 1.03f, 0.03f), PipeNote(LG, 1.06f, 0.03f),
        PipeNote(D, 1.09f, 0.03f), PipeNote(LG, 1.12f, 0.03f)});
    const auto matches = doublingPattern({LG, D, LG}).detect(stream, {}, {}, {}, false);
    EXPECT_EQ(
        describe(matches), (std::vector<std::string>{"LG@1.000000+0.030000 D@1.030000+0.030000 LG@1.060000+0.030000"}));
}

TEST(PipeNotePattern, ApplyMakesOneMovementPerMatchAndConsumesItsNotes)
{
    const std::vector<PipeNote> grip{PipeNote(LG, 1.0f, 0.03f), PipeNote(D, 1.03f, 0.03f), PipeNote(LG, 1.06f, 0.5f)};
    PipeNotePattern::Match match;
    match.notes = mapOf(grip);
    struct Case {
        const char* what;
        int melodyNoteIndex;
        bool keepLast;
        float offset_s;
        std::vector<PipeNoteName> left;
    };
    const Case cases[] = {
        {"index 0 leaves the offset at 0", 0, true, 0.0f, {LG, B}},
        {"a negative index counts as 0", -2, true, 0.0f, {LG, B}},
        {"an index inside the match: that note's start", 2, false, 0.06f, {B}},
        {"an index past the match: the last note's end", 3, false, 0.56f, {B}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        NoteMap consolidated = mapOf(grip);
        consolidated.insert({2.0f, PipeNote(B, 2.0f, 0.5f)});
        NoteMap processed;
        applyPatternMatches(grp, {match}, processed, consolidated, c.melodyNoteIndex, c.keepLast);
        ASSERT_EQ(processed.size(), 1u);
        const PipeNote& movement = processed.begin()->second;
        EXPECT_EQ(movement.noteName(), grp);
        EXPECT_EQ(movement.start_s(), 1.0f);
        // to the last note's start; differences of times near 1 s are exact only to a few 1e-7
        EXPECT_NEAR(movement.duration_s(), 0.06f, 1e-6f);
        EXPECT_NEAR(movement.melodyNoteStartOffset_s(), c.offset_s, 1e-6f);
        EXPECT_EQ(namesOf(consolidated), c.left);
    }
}

TEST(PipeNotePattern, RemoveNeedsKeyNameAndDuration)
{
    NoteMap notes = mapOf({PipeNote(D, 1.0f, 0.03f), PipeNote(E, 1.0f, 0.03f), PipeNote(D, 1.0f, 0.04f)});
    PipeNotePattern::Match match;
    match.notes = mapOf({PipeNote(D, 1.0f, 0.04f), PipeNote(C, 1.0f, 0.03f), PipeNote(E, 1.001f, 0.03f)});
    removePatternMatch(match, notes);
    EXPECT_EQ(describe(notes), "D@1.000000+0.030000 E@1.000000+0.030000");
    EXPECT_EQ(PipeNotePattern::Match().getRange(), TimeRange(-1.0f, -1.0f));
    // An empty match is tested at -0.98 s.
    EXPECT_TRUE(patternMatchOverlapsRange(PipeNotePattern::Match(), {{-1.0f, 0.0f}}));
}
