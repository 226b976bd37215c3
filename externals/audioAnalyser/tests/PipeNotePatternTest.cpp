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
        std::string stream;
        bool limitFirstOnly;
        size_t matches;
    };
    const Case cases[] = {
        {"a last note of any length", "HG@1+0.03 B@1.03+0.02 D@1.05+0.03 B@1.08+5", false, 1},
        {"a middle note of the limit", "HG@1+0.03 B@1.03+0.2 D@1.23+0.03 B@1.26+1", false, 0},
        {"only the first note limited", "HG@1+0.03 B@1.03+0.5 D@1.53+0.5 B@2.03+1", true, 1},
        {"first note of the limit even so", "HG@1+0.2 B@1.2+0.03 D@1.23+0.03 B@1.26+1", true, 0},
        {"join just inside the tolerance", "HG@1+0.03 B@1.17+0.02 D@1.19+0.03 B@1.22+1", false, 1},
        {"a gap beyond the tolerance", "HG@1+0.03 B@1.19+0.02 D@1.21+0.03 B@1.24+1", false, 0},
        {"a wrong name", "HG@1+0.03 C@1.03+0.02 D@1.05+0.03 B@1.08+1", false, 0},
        {"too few notes", "HG@1+0.03 B@1.03+0.02 D@1.05+0.03", false, 0},
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
    const NoteMap stream = mapOf("LG@1+0.03 D@1.03+0.03 LG@1.06+0.5");
    const NoteMap melody = mapOf("C@0.5+0.5");
    const NoteMap melodyElsewhere = mapOf("C@0.5+0.3");
    const NoteMap processedBefore = mapOf("dbc@0.9+0.094"); // ends 0.006 s before the run
    const NoteMap processedTouching = mapOf("dbc@0.9+0.096"); // ends 0.004 s before the run
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
    const NoteMap stream = mapOf("LG@1+0.03 D@1.03+0.03 LG@1.06+0.03 D@1.09+0.03 LG@1.12+0.03");
    const auto matches = doublingPattern({LG, D, LG}).detect(stream, {}, {}, {}, false);
    EXPECT_EQ(describe(matches), (std::vector<std::string>{"LG@1+0.03 D@1.03+0.03 LG@1.06+0.03"}));
}

TEST(PipeNotePattern, ApplyMakesOneMovementPerMatchAndConsumesItsNotes)
{
    const std::string grip = "LG@1+0.03 D@1.03+0.03 LG@1.06+0.5";
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
    NoteMap notes = mapOf("D@1+0.03 E@1+0.03 D@1+0.04");
    PipeNotePattern::Match match;
    match.notes = mapOf("D@1+0.04 C@1+0.03 E@1.001+0.03");
    removePatternMatch(match, notes);
    EXPECT_EQ(describe(notes), "D@1+0.03 E@1+0.03");
    EXPECT_EQ(PipeNotePattern::Match().getRange(), TimeRange(-1.0f, -1.0f));
    // An empty match is tested at -0.98 s.
    EXPECT_TRUE(patternMatchOverlapsRange(PipeNotePattern::Match(), {{-1.0f, 0.0f}}));
}
