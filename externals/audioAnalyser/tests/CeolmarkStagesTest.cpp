// The transcription stages on hand-made note maps: what each finds at its boundaries.

#include "Ceolmark.h"
#include "TestNotes.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

// Gives the tests the maps a stage reads and writes.
class CeolmarkProbe : public Ceolmark {
public:
    NoteMap& melody() { return mNotes; }
    NoteMap& gracing() { return mGraceNotes; }
    NoteMap& processed() { return mProcessedNotes; }
    NoteMap& consolidated() { return mConsolidatedNotes; }
    std::vector<TimeRange>& gde() { return mGdeRanges; }
    std::vector<float>& qualityArray() { return mQualities; }
    // Silent frame arrays for the first seconds, for stages that look into them.
    void silentFrames(float seconds)
    {
        const size_t frames = size_t(seconds / framePeriod_s());
        mFrequencies.assign(frames, 0.0f);
        mQualities.assign(frames, 0.0f);
    }
};

} // namespace

TEST(CeolmarkStages, ConsolidateFillsTheGapsBetweenGraceNotesWithMelody)
{
    struct Case {
        const char* what;
        std::string melody;
        std::string grace;
        std::string expected;
    };
    const Case cases[] = {
        // The sentinels give melody before the first and after the last grace note.
        {"one grace note", "LA@0.5+1 B@1.5+1", "D@1.45+0.05", "LA@0.500 D@1.450 B@1.500"},
        {"melody cut to the gaps", "C@0+2", "D@0.5+0.25 E@1+0.25", "C@0.000 D@0.500 C@0.750 E@1.000 C@1.250"},
        {"a gap of 0.02 s is not filled", "C@0+2", "D@0.5+0.25 E@0.77+0.25", "C@0.000 D@0.500 E@0.770 C@1.020"},
        // A grace candidate named as the melody note beside it joins it.
        {"same names merge", "D@0+0.5 E@0.6+1", "D@0.5+0.05", "D@0.000 E@0.600"},
        {"no grace notes: melody as it is", "D@0+0.5 E@0.5+1", {}, "D@0.000 E@0.500"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        CeolmarkProbe probe;
        probe.melody() = mapOf(c.melody);
        probe.gracing() = mapOf(c.grace);
        EXPECT_EQ(startsOf(probe.consolidate()), c.expected);
        EXPECT_EQ(describe(probe.gracing()), describe(mapOf(c.grace))); // consolidate changes nothing
    }

    // Overlapping grace notes: the later one gives way, keeping its end.
    CeolmarkProbe probe;
    probe.gracing() = mapOf("D@1+0.5 E@1.25+0.5");
    EXPECT_EQ(describe(probe.consolidate()), "D@1+0.5 E@1.5+0.25");
}

// The stages that take movements and single grace notes out of the consolidated stream.
TEST(CeolmarkStages, MovementsFromTheStream)
{
    using Stage = void (Ceolmark::*)();
    struct Case {
        const char* what;
        Stage stage;
        std::string melody;
        std::string stream;
        std::vector<TimeRange> gde;
        std::string processed;
        std::string left;
    };
    const Case cases[] = {
        // getSingleGracenotes
        {"F of 0.015 s", &Ceolmark::getSingleGracenotes, "", "C@0.5+0.5 F@1+0.015 D@1.015+0.5", {}, "fg@1.000",
            "C@0.500 D@1.015"},
        {"F of 0.15 s stays", &Ceolmark::getSingleGracenotes, "", "C@0.5+0.5 F@1+0.15 D@1.15+0.5", {}, "",
            "C@0.500 F@1.000 D@1.150"},
        {"LG between two Cs", &Ceolmark::getSingleGracenotes, "", "C@0.5+0.5 LG@1+0.1 C@1.1+0.5", {}, "strlg@1.000",
            "C@0.500 C@1.100"},
        {"LG between C and D", &Ceolmark::getSingleGracenotes, "", "C@0.5+0.5 LG@1+0.1 D@1.1+0.5", {}, "gg@1.000",
            "C@0.500 D@1.100"},
        {"LG after a short note", &Ceolmark::getSingleGracenotes, "", "C@0.85+0.15 LG@1+0.1 D@1.1+0.5", {},
            "strlg@1.000", "C@0.850 D@1.100"},
        {"LG first", &Ceolmark::getSingleGracenotes, "", "LG@1+0.1 D@1.1+0.5", {}, "strlg@1.000", "D@1.100"},
        {"LG in a G-D-E range stays", &Ceolmark::getSingleGracenotes, "", "C@0.5+0.5 LG@1+0.1 D@1.1+0.5",
            {{0.9f, 1.1f}}, "", "C@0.500 LG@1.000 D@1.100"},
        // getDoublings
        {"grip after a melody note", &Ceolmark::getDoublings, "C@0.5+0.5",
            "C@0.5+0.5 LG@1+0.03 D@1.03+0.03 LG@1.06+0.3", {}, "grp@1.000", "C@0.500"},
        {"half doubling when the last low G is long", &Ceolmark::getDoublings, "C@0.5+0.5",
            "C@0.5+0.5 LG@1+0.03 D@1.03+0.03 LG@1.06+0.5", {}, "hdblg@1.000", "C@0.500 LG@1.060"},
        {"doubling keeps its last note", &Ceolmark::getDoublings, "", "HG@1+0.03 LG@1.03+0.03 D@1.06+0.03 LG@1.09+0.5",
            {}, "dblg@1.000", "LG@1.090"},
        {"high A doubling needs a short high G", &Ceolmark::getDoublings, "", "HA@1+0.5 HG@1.5+0.15 HA@1.65+0.5", {},
            "", "HA@1.000 HG@1.500 HA@1.650"},
        {"high A doubling", &Ceolmark::getDoublings, "", "HA@1+0.1 HG@1.1+0.03 HA@1.13+0.5", {}, "dbha@1.000",
            "HA@1.130"},
        {"high A doubling with a late high G", &Ceolmark::getDoublings, "", "HA@1+0.19 HG@1.2+0.03 HA@1.23+0.5", {}, "",
            "HA@1.000 HG@1.200 HA@1.230"},
        // getGdes: each found G-D-E also leaves its range behind
        {"G-D-E on B", &Ceolmark::getGdes, "", "HG@1+0.03 B@1.03+0.02 D@1.05+0.03 B@1.08+0.02 E@1.1+0.03 B@1.13+0.5",
            {}, "gg@1.000 dg@1.050 eg@1.100", "B@1.030 B@1.080 B@1.130"},
        {"G-D-E over mixed low notes", &Ceolmark::getGdes, "",
            "HG@1+0.03 B@1.03+0.02 D@1.05+0.03 C@1.08+0.02 E@1.1+0.03 B@1.13+0.5", {}, "",
            "HG@1.000 B@1.030 D@1.050 C@1.080 E@1.100 B@1.130"},
        // extractThrd
        {"throw", &Ceolmark::extractThrd, "", "LG@1+0.1 D@1.1+0.04 C@1.14+0.03 D@1.17+0.5", {}, "thrd@1.000",
            "D@1.170"},
        {"half throw after a long low G", &Ceolmark::extractThrd, "", "LG@1+0.31 D@1.31+0.04 C@1.35+0.03 D@1.38+0.5",
            {}, "hthrd@1.310", "LG@1.000 D@1.380"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        CeolmarkProbe probe;
        probe.silentFrames(3.0f); // the throw's search looks into the frames
        probe.melody() = mapOf(c.melody);
        probe.consolidated() = mapOf(c.stream);
        probe.gde() = c.gde;
        (probe.*c.stage)();
        EXPECT_EQ(startsOf(probe.processed()), c.processed);
        EXPECT_EQ(startsOf(probe.consolidated()), c.left);
        if (c.stage == &Ceolmark::getGdes) {
            EXPECT_EQ(probe.gdeRanges().size(), c.processed.empty() ? 0u : 1u);
        }
    }
}

TEST(CeolmarkStages, ReformStartsMelodyWhereTheMovementReachesIt)
{
    CeolmarkProbe probe;
    // A doubling on B from 1.0 s whose B sounds from 1.06 s, inside the stream's B.
    PipeNote doubling(dbb, 1.0f, 0.06f);
    doubling.setMelodyNoteStartOffset_s(0.06f);
    probe.processed() = mapOf({doubling});
    probe.consolidated() = mapOf("LA@0.5+0.5 B@1.08+0.5");
    probe.reformMelodyAndGracing();
    EXPECT_EQ(startsOf(probe.gracing()), "dbb@1.000");
    // LA runs into the doubling up to its melody note; B starts where the doubling reaches it.
    ASSERT_EQ(probe.melody().size(), 2u) << describe(probe.melody());
    const PipeNote la = probe.melody().begin()->second;
    const PipeNote b = probe.melody().rbegin()->second;
    EXPECT_EQ(la.start_s(), 0.5f);
    EXPECT_FLOAT_EQ(la.getEnd_s(), 1.06f);
    EXPECT_FLOAT_EQ(b.start_s(), 1.06f);
    EXPECT_FLOAT_EQ(b.getEnd_s(), 1.58f);

    CeolmarkProbe empty;
    empty.melody() = mapOf("LA@0.5+0.5");
    empty.reformMelodyAndGracing();
    EXPECT_TRUE(empty.melody().empty());
}

TEST(CeolmarkStages, MergedWalks)
{
    using Stage = void (Ceolmark::*)();
    struct Case {
        const char* what;
        Stage stage;
        std::string melody;
        std::string grace;
        std::string melodyAfter;
        std::string graceAfter;
    };
    const std::string kCAndD = "C@0.5+0.4 D@1+0.4";
    const Case cases[] = {
        {"too few entries: nothing at all", &Ceolmark::finalGraceNoteCheck, "HG@1+0.5", "gg@0.9+0.1", "HG@1.000",
            "gg@0.900"},
        // initialGraceNoteStrip: each later high G is compared with the high A again.
        {"high G falling away after high A", &Ceolmark::initialGraceNoteStrip, "",
            "HA@1+0.05 HG@1.06+0.03 HG@1.065+0.03 HG@1.2+0.03", "", "HA@1.000 HG@1.200"},
        {"short high G after melody high A", &Ceolmark::initialGraceNoteStrip, "HA@0.5+0.5", "HG@1+0.07", "HA@0.500",
            ""},
        {"high G of 0.08 s after melody high A", &Ceolmark::initialGraceNoteStrip, "HA@0.5+0.5", "HG@1+0.08",
            "HA@0.500", "HG@1.000"},
        {"low G before melody high G", &Ceolmark::initialGraceNoteStrip, "HG@1.05+0.5", "LG@1+0.05", "HG@1.050", ""},
        {"low G before melody high A", &Ceolmark::initialGraceNoteStrip, "HA@1.05+0.5", "LG@1+0.05", "HA@1.050",
            "LG@1.000"},
        // stripUnlikelyGracenotes
        {"a grace note named as the melody note it starts", &Ceolmark::stripUnlikelyGracenotes, kCAndD, "C@0.51+0.05",
            "C@0.500 D@1.000", ""},
        {"a short grace note before a movement", &Ceolmark::stripUnlikelyGracenotes, kCAndD,
            "gg@0.9+0.05 dbd@0.95+0.05", "C@0.500 D@1.000", "dbd@0.950"},
        {"a long grace note before a movement", &Ceolmark::stripUnlikelyGracenotes, kCAndD, "gg@0.9+0.08 dbd@0.98+0.05",
            "C@0.500 D@1.000", "gg@0.900 dbd@0.980"},
        {"a melody-named grace note over 0.15 s", &Ceolmark::stripUnlikelyGracenotes, kCAndD, "E@0.7+0.16",
            "C@0.500 D@1.000", ""},
        // extractShortMelodyNotes: a long grace note between melody notes
        {"room for a note", &Ceolmark::extractShortMelodyNotes, "B@0.5+0.5 E@1.1+0.5", "dg@1+0.09",
            "B@0.500 D@1.000 E@1.100", ""},
        {"no room, no run", &Ceolmark::extractShortMelodyNotes, "B@0.5+0.5 E@1.04+0.5", "dg@1+0.09", "B@0.500 E@1.040",
            "dg@1.000"},
        {"no room but a run of the scale", &Ceolmark::extractShortMelodyNotes, "C@0.5+0.5 E@1.04+0.5", "dg@1+0.09",
            "C@0.500 D@1.000 E@1.090", ""},
        {"short grace notes stay", &Ceolmark::extractShortMelodyNotes, "B@0.5+0.5 E@1.1+0.5", "dg@1+0.08",
            "B@0.500 E@1.100", "dg@1.000"},
        // applyBusinessLogic
        {"gg dg B is a doubling", &Ceolmark::applyBusinessLogic, "LA@0.5+0.45 B@1+0.5", "gg@0.95+0.03 dg@0.98+0.02",
            "LA@0.500 B@0.950", "dbb@0.950"},
        {"fg between HA and HG", &Ceolmark::applyBusinessLogic, "HA@0.5+0.5 HG@1.1+0.5", "fg@1+0.1",
            "HA@0.500 HG@1.100", "strf@1.000"},
        {"short fg elsewhere", &Ceolmark::applyBusinessLogic, "C@0.5+0.5 HG@1.1+0.5", "fg@1+0.07", "C@0.500 HG@1.100",
            "gg@1.000"},
        {"fg of 0.08 s stays", &Ceolmark::applyBusinessLogic, "C@0.5+0.5 HG@1.1+0.5", "fg@1+0.08", "C@0.500 HG@1.100",
            "fg@1.000"},
        // dealWithContigousGracing
        {"two primaries in contact stay", &Ceolmark::dealWithContigousGracing, "C@0.5+0.5 E@1.1+0.5",
            "dg@1+0.03 gg@1.03+0.03", "C@0.500 E@1.100", "dg@1.000 gg@1.030"},
        {"a primary and another", &Ceolmark::dealWithContigousGracing, "C@0.5+0.5 E@1.1+0.5", "dg@1+0.03 bg@1.03+0.03",
            "C@0.500 B@1.000 E@1.060", "dg@1.000"},
        {"a primary before a long other", &Ceolmark::dealWithContigousGracing, "C@0.5+0.5 E@1.2+0.5",
            "gg@1+0.03 tg@1.03+0.08", "C@0.500 HA@1.000 E@1.110", "gg@1.000"},
        {"two others, the second long", &Ceolmark::dealWithContigousGracing, "B@0.5+0.5 E@1.2+0.5",
            "bg@1+0.03 cg@1.03+0.08", "B@0.500 C@1.000 E@1.110", "bg@1.000"},
        {"two others, the first long", &Ceolmark::dealWithContigousGracing, "B@0.5+0.5 E@1.2+0.5",
            "cg@1+0.08 bg@1.08+0.03", "B@0.500 C@1.000 E@1.200", "bg@1.080"},
        // finalGraceNoteCheck
        {"equal to a neighbour and short", &Ceolmark::finalGraceNoteCheck, "HG@0.5+0.5 HG@1.1+0.5", "gg@1+0.07",
            "HG@0.500 HG@1.100", "gg@1.000"},
        {"equal to a neighbour and long", &Ceolmark::finalGraceNoteCheck, "HG@0.5+0.5 HG@1.1+0.5", "gg@1+0.08",
            "HG@0.500 HG@1.000 HG@1.080", ""},
        {"below both: a strike", &Ceolmark::finalGraceNoteCheck, "C@0.5+0.5 D@1.1+0.5", "bg@1+0.05", "C@0.500 D@1.100",
            "strb@1.000"},
        {"below both, long, not before C: melody", &Ceolmark::finalGraceNoteCheck, "C@0.5+0.5 D@1.1+0.5", "bg@1+0.08",
            "C@0.500 B@1.000 D@1.080", ""},
        {"below both, long, before C: a strike", &Ceolmark::finalGraceNoteCheck, "D@0.5+0.5 C@1.1+0.5", "bg@1+0.08",
            "D@0.500 C@1.100", "strb@1.000"},
        {"above both: a grace note", &Ceolmark::finalGraceNoteCheck, "C@0.5+0.5 D@1.1+0.5", "gg@1+0.1",
            "C@0.500 D@1.100", "gg@1.000"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        CeolmarkProbe probe;
        probe.melody() = mapOf(c.melody);
        probe.gracing() = mapOf(c.grace);
        (probe.*c.stage)();
        EXPECT_EQ(startsOf(probe.melody()), c.melodyAfter);
        EXPECT_EQ(startsOf(probe.gracing()), c.graceAfter);
    }
}

TEST(CeolmarkStages, MelodyGapsCloseOnlyBeforeMovements)
{
    CeolmarkProbe probe;
    probe.melody() = mapOf("C@0.5+0.4 D@1+0.4 E@1.5+0.5");
    probe.gracing() = mapOf("thrd@0.95+0.05 gg@1.45+0.05");
    probe.dealWithMelodyGaps();
    // Before the throw the gap closes; before the G grace note it remains.
    EXPECT_EQ(describe(probe.melody()), "C@0.5+0.5 D@1+0.4 E@1.5+0.5");
}

TEST(CeolmarkStages, StretchByQualityAndOverlapsGde)
{
    CeolmarkProbe probe; // 44100 Hz, hop 20: a frame is 20/44100 s
    probe.qualityArray() = {0.5f, 0.5f, 0.9f, 0.9f, 0.5f, 0.9f, 0.5f, 0.5f};
    const float frame_s = 20.0f / 44100.0f;
    auto frames = [&](TimeRange range) {
        return std::make_pair(int(std::lround(range.first / frame_s)), int(std::lround(range.second / frame_s)));
    };
    // From frame 3 down to the 0.9 at 3 itself; from frame 4 up to the next 0.9 at 5.
    EXPECT_EQ(frames(probe.stretchNoteByQuality({3.5f * frame_s, 4.5f * frame_s}, 0.7f)), std::make_pair(3, 5));
    // A low stretch reaching frame 0 starts at 0; one reaching the end ends at the array's length.
    EXPECT_EQ(frames(probe.stretchNoteByQuality({1.5f * frame_s, 6.5f * frame_s}, 0.7f)), std::make_pair(0, 8));
    // Outside the arrays the range comes back unchanged.
    const TimeRange outside(5.5f * frame_s, 9.5f * frame_s);
    EXPECT_EQ(probe.stretchNoteByQuality(outside, 0.7f), outside);

    probe.gde() = {{1.0f, 1.5f}};
    EXPECT_TRUE(probe.overlapsGde(PipeNote(D, 0.99f, 0.1f)));
    EXPECT_FALSE(probe.overlapsGde(PipeNote(D, 0.97f, 0.1f)));
    EXPECT_FALSE(probe.overlapsGde(PipeNote(D, 1.49f, 0.1f)));
}

TEST(CeolmarkStages, AdvancedSearchRepairsGraceNotes)
{
    // A passing D before an E grace note: one E grace note over both.
    CeolmarkProbe passing;
    passing.silentFrames(2.0f);
    passing.melody() = mapOf("LA@0.5+0.5 C@1.06+0.5");
    passing.gracing() = mapOf("D@1+0.03 E@1.03+0.03");
    passing.advancedGraceNoteSearch();
    ASSERT_EQ(startsOf(passing.gracing()), "E@1.000");
    EXPECT_FLOAT_EQ(passing.gracing().begin()->second.getEnd_s(), 1.06f);

    // A C between two low Gs is a D that fell short.
    CeolmarkProbe shortD;
    shortD.silentFrames(2.0f);
    shortD.melody() = mapOf("LG@0.85+0.15 LG@1.03+0.5");
    shortD.gracing() = mapOf("C@1+0.03");
    shortD.advancedGraceNoteSearch();
    EXPECT_EQ(startsOf(shortD.gracing()), "D@1.000");
}

TEST(CeolmarkStages, CrossingNoiseGoesToTheLowG)
{
    CeolmarkProbe down;
    down.consolidated() = mapOf("E@0.85+0.15 LA@1+0.05 LG@1.05+0.5");
    down.stripCrossingNoises();
    EXPECT_EQ(describe(down.consolidated()), "E@0.85+0.15 LG@1+0.55");

    CeolmarkProbe up;
    up.consolidated() = mapOf("LG@0.85+0.15 LA@1+0.05 HA@1.05+0.5");
    up.stripCrossingNoises();
    EXPECT_EQ(startsOf(up.consolidated()), "LG@0.850 HA@1.050");
    EXPECT_FLOAT_EQ(up.consolidated().begin()->second.getEnd_s(), 1.05f);

    // A range shorter than twice the trough distance is not looked into: no arrays needed.
    CeolmarkProbe empty;
    EXPECT_TRUE(empty.findConfirmedTroughs({1.0f, 1.05f}, 587.0f, 1.0f, 120.0f, 0.03f, 0.02f, 0.9f, 0.015f).empty());
}
