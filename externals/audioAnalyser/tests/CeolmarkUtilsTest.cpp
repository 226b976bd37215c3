#include "CeolmarkUtils.h"
#include "DominantNote.h"
#include "TestNotes.h"

#include <gtest/gtest.h>

TEST(CeolmarkUtils, TimeShiftCutsMelodyAtZeroButKeepsGraceNotesBeforeIt)
{
    const NoteMap melody = mapOf("LA@0.5+0.7 B@0.25+0.75 C@2+0.5");
    const NoteMap grace = mapOf("gg@0.5+0.7 dg@0.1+0.05 eg@0.75+0.25");
    NoteMap melodyOut, graceOut;
    timeShiftNotes(-1.0f, melody, grace, melodyOut, graceOut);

    // B ends exactly at 0 and goes; LA keeps its last 0.2 s. eg ends exactly at 0 and stays;
    // dg ends before it and goes.
    EXPECT_EQ(describe(melodyOut), "LA@0+0.2 C@1+0.5");
    EXPECT_EQ(describe(graceOut), "gg@-0.5+0.7 eg@-0.25+0.25");
}

TEST(CeolmarkUtils, CombinePutsAGraceNoteStartingWithItsMelodyNoteFirst)
{
    const NoteMap melody = mapOf("LA@1+0.5 B@2+0.5 C@3+0.5");
    const NoteMap grace = mapOf("gg@0.95+0.05 dg@2.0005+0.05 eg@3.002+0.05 tg@4+0.05");
    // dg within 1 ms of B goes first; eg 2 ms after C comes after it.
    EXPECT_EQ(
        namesOf(combineMelodyAndGraceNotes(melody, grace)), (std::vector<PipeNoteName>{gg, LA, dg, B, C, eg, tg}));
    EXPECT_TRUE(combineMelodyAndGraceNotes(NoteMap(), NoteMap()).empty());
}

// Times below are sums of powers of two where a boundary is tested, so that "exactly on the
// boundary" is exact in float.
TEST(CeolmarkUtils, SelectionsAtTheirBoundaries)
{
    const NoteMap notes = mapOf("LA@1+0.5 B@2+0.25 C@3+0.125");
    struct Case {
        const char* what;
        NoteMap result;
        std::vector<PipeNoteName> expected;
    };
    const Case cases[] = {
        {"duration lower bound included", filterByDuration(notes, 0.125f, 0.5f), {B, C}},
        {"duration upper bound excluded", filterByDuration(notes, 0.25f, 0.5f), {B}},
        {"ending exactly at time - tolerance", notesEndingAt(notes, 1.75f, 0.25f), {LA}},
        {"ending exactly at time + tolerance", notesEndingAt(notes, 1.25f, 0.25f), {}},
        {"starting exactly at time - tolerance", notesStartingAt(notes, 2.25f, 0.25f), {B}},
        {"starting exactly at time + tolerance", notesStartingAt(notes, 1.75f, 0.25f), {}},
        {"range touching a start does not overlap", notesOverlappingRange(notes, {0.5f, 1.0f}, 0.0f), {}},
        {"range touching an end does not overlap", notesOverlappingRange(notes, {1.5f, 1.75f}, 0.0f), {}},
        {"tolerance widens the range", notesOverlappingRange(notes, {1.5f, 1.875f}, 0.25f), {LA, B}},
        {"widened only up to a start", notesOverlappingRange(notes, {1.5f, 1.75f}, 0.25f), {LA}},
        {"by name", filterByNote(B, notes), {B}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(namesOf(c.result), c.expected) << describe(c.result);
    }
}

TEST(CeolmarkUtils, ConstrainCutsBothEndsAndDropsWhatIsLeftEmpty)
{
    const NoteMap notes = mapOf("LA@0.5+1 B@1.75+0.5 C@2.5+0.5");
    // The key moves with the start (describe shows a key that does not).
    EXPECT_EQ(describe(constrainNotes(notes, {1.0f, 2.0f})), "LA@1+0.5 B@1.75+0.25");
}

TEST(CeolmarkUtils, SimpleCombineMergesOnlyGapsBelowTheLimit)
{
    struct Case {
        const char* what;
        std::string notes;
        float maxGap_s;
        std::string expected;
    };
    const Case cases[] = {
        {"gap equal to the limit stays", "D@0+0.5 D@0.75+0.5", 0.25f, "D@0+0.5 D@0.75+0.5"},
        {"gap below the limit merges", "D@0+0.5 D@0.75+0.5", 0.3f, "D@0+1.25"},
        {"overlap merges for any positive limit", "D@0+0.5 D@0.25+0.125", 0.0001f, "D@0+0.5"},
        {"chains merge in one call", "E@0+0.25 E@0.25+0.25 E@0.5+0.25 E@2+0.25", 0.125f, "E@0+0.75 E@2+0.25"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        NoteMap notes = mapOf(c.notes);
        simpleCombineNotes(notes, c.maxGap_s);
        EXPECT_EQ(describe(notes), c.expected);
    }
}

TEST(CeolmarkUtils, CombineNotesMeltsByNameAndLength)
{
    const std::set<PipeNoteName> always{LG};
    const std::set<PipeNoteName> shortOnes{F};
    struct Case {
        const char* what;
        std::string notes;
        std::string expected;
    };
    const Case cases[] = {
        {"named note first: the second must be short, whatever always holds", "HG@0+0.25 LG@0.25+0.5",
            "HG@0+0.25 LG@0.25+0.5"},
        {"named note first with a short always-note", "HG@0+0.25 LG@0.25+0.125", "HG@0+0.375"},
        {"named note second: an always-note combines at any length", "LG@0+0.5 HG@0.5+0.5", "HG@0+1"},
        {"a short-note of the limit's length stays", "F@0+0.25 HG@0.25+0.125", "F@0+0.25 HG@0.25+0.125"},
        {"a short-note below the limit combines", "F@0+0.125 HG@0.125+0.125", "HG@0+0.25"},
        {"gap equal to maxGap stays", "LG@0+0.125 HG@0.25+0.125", "LG@0+0.125 HG@0.25+0.125"},
        {"neither named", "LG@0+0.125 F@0.125+0.125", "LG@0+0.125 F@0.125+0.125"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        NoteMap notes = mapOf(c.notes);
        combineNotes(notes, HG, always, shortOnes, 0.125f, 0.25f);
        EXPECT_EQ(describe(notes), c.expected);
    }

    // One walk melts pairs only; the recursive form goes on until nothing changes.
    NoteMap once = mapOf("LG@0+0.125 HG@0.125+0.125 LG@0.25+0.125");
    NoteMap recursive = once;
    combineNotes(once, HG, always, shortOnes, 0.125f, 0.25f);
    EXPECT_EQ(describe(once), "HG@0+0.25 LG@0.25+0.125");
    recursiveCombineNotes(recursive, HG, always, shortOnes, 0.125f, 0.25f);
    EXPECT_EQ(describe(recursive), "HG@0+0.375");
}

TEST(CeolmarkUtils, TrimUsingExisting)
{
    struct Case {
        const char* what;
        std::string existing;
        std::string expected; // of a target D from 1.0 to 2.0
    };
    const Case cases[] = {
        {"no overlap", "E@2+0.5 E@0.5+0.5", "D@1+1"},
        {"target inside an existing note is dropped", "E@0.5+2", ""},
        {"existing inside the target splits it", "E@1.25+0.25", "D@1+0.25 D@1.5+0.5"},
        {"existing from the target's start gives a zero-length note and the rest", "E@1+0.25", "D@1+0 D@1.25+0.75"},
        {"overlap at the start", "E@0.5+0.75", "D@1.25+0.75"},
        {"overlap at the end", "E@1.75+0.5", "D@1+0.75"},
        {"both ends", "E@0.5+0.75 E@1.75+0.5", "D@1.25+0.5"},
        {"only the first split counts", "E@1.25+0.125 E@1.625+0.125", "D@1+0.25 D@1.375+0.625"},
        // Ends at the target's end: not "above hi", and an end is not inside [s, e), so nothing is cut.
        {"existing from before to exactly the end", "E@0.5+1.5", "D@1+1"},
        {"existing from the start past the end", "E@1+1.5", ""},
        {"overlaps that meet leave nothing", "E@0.5+1 E@1.5+1", ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        NoteMap target = mapOf("D@1+1");
        trimUsingExisting(mapOf(c.existing), target);
        EXPECT_EQ(describe(target), c.expected);
    }
}

TEST(CeolmarkUtils, DominantNoteCountsTiesAndUnknowns)
{
    using R = PipeTuning::ReferenceNote;
    struct Case {
        const char* what;
        std::vector<R> frames;
        R expected;
    };
    const Case cases[] = {
        {"even split goes to the lower note", {R::D, R::D, R::LowA, R::LowA, R::D, R::LowA}, R::LowA},
        {"equal unknowns lose", {R::Unknown, R::Tenor, R::Unknown, R::LowA, R::LowA, R::LowA}, R::LowA},
        {"more unknowns win", {R::Unknown, R::Tenor, R::Unknown, R::Bass, R::LowA, R::LowA, R::LowA}, R::Unknown},
        {"all unknown", {R::Unknown, R::Unknown}, R::Unknown},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        DominantNote dominant(c.frames, unsigned(c.frames.size()));
        EXPECT_EQ(dominant.atPos(0, false), c.expected);
    }

    const std::vector<R> frames{R::LowA, R::LowA, R::B, R::B, R::B, R::C};
    DominantNote dominant(frames, 3);
    EXPECT_EQ(dominant.atPos(0, false), R::LowA);
    EXPECT_EQ(dominant.getNoteChangePos(R::B), 2u);
    EXPECT_EQ(dominant.atPos(1, false), R::B); // slid by one: LowA B B
    EXPECT_EQ(dominant.atPos(3, false), R::B); // B B C
    EXPECT_EQ(dominant.getNoteChangePos(R::LowA), 5u); // not in the window: its last index
    EXPECT_EQ(dominant.atPos(5, false), R::C); // window cut by the end
    EXPECT_EQ(dominant.getNoteChangePos(R::C), 5u);
    EXPECT_THROW(dominant.atPos(7, false), std::out_of_range);
}

TEST(CeolmarkUtils, ExtractNotesClosesANoteAtItsSuccessorsFirstFrame)
{
    using R = PipeTuning::ReferenceNote;
    // A frame period of 1/16 s and a minimum of 4 frames keep every time exact.
    const float period_s = 0.0625f;
    struct Case {
        const char* what;
        std::vector<R> frames;
        float max_s;
        std::string expected;
    };
    auto run = [](std::initializer_list<std::pair<R, int>> runs) {
        std::vector<R> frames;
        for (const auto& r : runs)
            frames.insert(frames.end(), size_t(r.second), r.first);
        return frames;
    };
    const Case cases[] = {
        // The first note opens at the first frame behind position 0; a tie keeps LA until
        // D has the majority, and the note closes at D's first frame, not where it flipped.
        {"silence closes a note", run({{R::LowA, 10}, {R::D, 10}, {R::Unknown, 10}}), 30.0f,
            "LA@0.0625+0.5625 D@0.625+0.625"},
        {"a blip of two frames is outvoted", run({{R::LowA, 10}, {R::D, 4}, {R::E, 2}, {R::D, 4}, {R::Unknown, 10}}),
            30.0f, "LA@0.0625+0.5625 D@0.625+0.625"},
        {"the last frame closes the last note", run({{R::LowA, 10}, {R::D, 10}}), 30.0f,
            "LA@0.0625+0.5625 D@0.625+0.5625"},
        {"a length equal to the maximum is dropped", run({{R::LowA, 10}, {R::D, 10}, {R::Unknown, 10}}), 0.625f,
            "LA@0.0625+0.5625"},
        {"a note shorter than the window never dominates", run({{R::LowA, 10}, {R::B, 1}, {R::LowA, 10}}), 30.0f,
            "LA@0.0625+1.1875"},
        {"nothing", {}, 30.0f, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(describe(extractNotes(c.frames, 0.25f, c.max_s, period_s)), c.expected);
    }
}

TEST(CeolmarkUtils, SmoothingAndWindowAverage)
{
    // Half a block of 4 must count; the spread of the counted values must be below maxRange.
    const std::vector<float> values{1, 2, 9, 9, 1, 9, 9, 9, 5, 5, 5, 5, 0, 0, 0, 1};
    EXPECT_EQ(smoothSamples(values, 4, 0, 16, 0.0f, 3.0f, 5.0f), (std::vector<float>{1.5f, 0.0f, 0.0f, 0.25f}));
    EXPECT_EQ(smoothSamples(values, 4, 8, 16, 0.5f, 6.0f, 0.5f), (std::vector<float>{5.0f, 0.0f}));
    EXPECT_EQ(smoothSamples(values, 4, 4, 8, 0.0f, 10.0f, 8.0f), (std::vector<float>{0.0f})); // spread 8 not below 8
    EXPECT_TRUE(smoothSamples(values, 4, 8, 11, 0.0f, 10.0f, 8.0f).empty());

    // The non-zero values must be more than count * fraction.
    EXPECT_FLOAT_EQ(calcWindowAverage(values, 8, 8, 0.5f), 4.2f);
    EXPECT_FLOAT_EQ(calcWindowAverage(values, 8, 8, 0.625f), 0.0f);
    // A window cut by the end keeps its full count.
    EXPECT_FLOAT_EQ(calcWindowAverage(values, 12, 8, 0.1f), 1.0f);
    EXPECT_FLOAT_EQ(calcWindowAverage(values, 12, 8, 0.125f), 0.0f);
}

TEST(CeolmarkUtils, TroughsNeedDepthOnTheLeftAndHalfOnTheRight)
{
    struct Case {
        const char* what;
        std::vector<float> values;
        float minimumDepth;
        bool valid;
    };
    const Case cases[] = {
        {"deep enough on both sides", {10, 9, 5, 9, 8}, 4.0f, true},
        {"left depth equal to the minimum", {10, 9, 5, 9, 8}, 5.0f, false},
        {"right depth equal to half the minimum", {10, 9, 5, 9, 7}, 4.0f, false},
        {"shallow left side", {7, 9, 5, 9, 10}, 4.0f, false},
        {"a zero between the probes", {10, 0, 5, 9, 8}, 4.0f, false},
        {"a zero as a probe", {10, 9, 0, 9, 8}, 1.0f, false},
        {"a flat right side", {10, 9, 5, 9, 5}, 1.0f, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        float left = 0, middle = 0, right = 0;
        EXPECT_EQ(validTrough(c.values, 0, 2, c.minimumDepth, left, middle, right), c.valid);
        EXPECT_EQ(middle, c.values[2]);
    }

    const std::vector<float> dip{10, 10, 10, 6, 4, 6, 10, 10, 10, 10};
    EXPECT_EQ(detectTroughs(dip, 2, 2.0f, 100.0f), std::vector<int>{4});
    EXPECT_TRUE(detectTroughs(dip, 2, 2.0f, 6.0f).empty()); // depth 6 is not below the maximum
    EXPECT_TRUE(detectTroughs({10, 5, 10, 9}, 2, 1.0f, 100.0f).empty()); // shorter than 2 * distance + 1
    // Two dips: the search resumes behind the first.
    const std::vector<float> two{10, 10, 4, 10, 10, 10, 3, 10, 10};
    EXPECT_EQ(detectTroughs(two, 1, 2.0f, 100.0f), (std::vector<int>{2, 6}));
}
