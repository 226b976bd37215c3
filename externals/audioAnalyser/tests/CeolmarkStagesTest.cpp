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
        std::vector<PipeNote> melody;
        std::vector<PipeNote> grace;
        std::string expected;
    };
    const Case cases[] = {
        // The sentinels give melody before the first and after the last grace note.
        {"one grace note", {PipeNote(LA, 0.5f, 1.0f), PipeNote(B, 1.5f, 1.0f)}, {PipeNote(D, 1.45f, 0.05f)},
            "LA@0.500 D@1.450 B@1.500"},
        {"melody cut to the gaps", {PipeNote(C, 0.0f, 2.0f)}, {PipeNote(D, 0.5f, 0.25f), PipeNote(E, 1.0f, 0.25f)},
            "C@0.000 D@0.500 C@0.750 E@1.000 C@1.250"},
        {"a gap of 0.02 s is not filled", {PipeNote(C, 0.0f, 2.0f)},
            {PipeNote(D, 0.5f, 0.25f), PipeNote(E, 0.77f, 0.25f)}, "C@0.000 D@0.500 E@0.770 C@1.020"},
        // A grace candidate named as the melody note beside it joins it.
        {"same names merge", {PipeNote(D, 0.0f, 0.5f), PipeNote(E, 0.6f, 1.0f)}, {PipeNote(D, 0.5f, 0.05f)},
            "D@0.000 E@0.600"},
        {"no grace notes: melody as it is", {PipeNote(D, 0.0f, 0.5f), PipeNote(E, 0.5f, 1.0f)}, {}, "D@0.000 E@0.500"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        CeolmarkProbe probe;
        probe.melody() = mapOf(c.melody);
        probe.gracing() = mapOf(c.grace);
        EXPECT_EQ(startsOf(probe.consolidate()), c.expected);
        EXPECT_EQ(probe.gracing().size(), c.grace.size()); // consolidate changes nothing
    }

    // Overlapping grace notes: the later one gives way, keeping its end.
    CeolmarkProbe probe;
    probe.gracing() = mapOf({PipeNote(D, 1.0f, 0.5f), PipeNote(E, 1.25f, 0.5f)});
    const NoteMap stream = probe.consolidate();
    ASSERT_EQ(stream.size(), 2u);
    EXPECT_EQ(stream.rbegin()->second.start_s(), 1.5f);
    EXPECT_EQ(stream.rbegin()->second.duration_s(), 0.25f);
}

// The stages that take movements and single grace notes out of the consolidated stream.
TEST(CeolmarkStages, MovementsFromTheStream)
{
    using Stage = void (Ceolmark::*)();
    struct Case {
        const char* what;
        Stage stage;
        std::vector<PipeNote> melody;
        std::vector<PipeNote> stream;
        std::vector<TimeRange> gde;
        std::string processed;
        std::string left;
    };
    const Case cases[] = {
        // getSingleGracenotes
        {"F of 0.015 s", &Ceolmark::getSingleGracenotes, {},
            {PipeNote(C, 0.5f, 0.5f), PipeNote(F, 1.0f, 0.015f), PipeNote(D, 1.015f, 0.5f)}, {}, "fg@1.000",
            "C@0.500 D@1.015"},
        {"F of 0.15 s stays", &Ceolmark::getSingleGracenotes, {},
            {PipeNote(C, 0.5f, 0.5f), PipeNote(F, 1.0f, 0.15f), PipeNote(D, 1.15f, 0.5f)}, {}, "",
            "C@0.500 F@1.000 D@1.150"},
        {"LG between two Cs", &Ceolmark::getSingleGracenotes, {},
            {PipeNote(C, 0.5f, 0.5f), PipeNote(LG, 1.0f, 0.1f), PipeNote(C, 1.1f, 0.5f)}, {}, "strlg@1.000",
            "C@0.500 C@1.100"},
        {"LG between C and D", &Ceolmark::getSingleGracenotes, {},
            {PipeNote(C, 0.5f, 0.5f), PipeNote(LG, 1.0f, 0.1f), PipeNote(D, 1.1f, 0.5f)}, {}, "gg@1.000",
            "C@0.500 D@1.100"},
        {"LG after a short note", &Ceolmark::getSingleGracenotes, {},
            {PipeNote(C, 0.85f, 0.15f), PipeNote(LG, 1.0f, 0.1f), PipeNote(D, 1.1f, 0.5f)}, {}, "strlg@1.000",
            "C@0.850 D@1.100"},
        {"LG first", &Ceolmark::getSingleGracenotes, {}, {PipeNote(LG, 1.0f, 0.1f), PipeNote(D, 1.1f, 0.5f)}, {},
            "strlg@1.000", "D@1.100"},
        {"LG in a G-D-E range stays", &Ceolmark::getSingleGracenotes, {},
            {PipeNote(C, 0.5f, 0.5f), PipeNote(LG, 1.0f, 0.1f), PipeNote(D, 1.1f, 0.5f)}, {{0.9f, 1.1f}}, "",
            "C@0.500 LG@1.000 D@1.100"},
        // getDoublings
        {"grip after a melody note", &Ceolmark::getDoublings, {PipeNote(C, 0.5f, 0.5f)},
            {PipeNote(C, 0.5f, 0.5f), PipeNote(LG, 1.0f, 0.03f), PipeNote(D, 1.03f, 0.03f), PipeNote(LG, 1.06f, 0.3f)},
            {}, "grp@1.000", "C@0.500"},
        {"half doubling when the last low G is long", &Ceolmark::getDoublings, {PipeNote(C, 0.5f, 0.5f)},
            {PipeNote(C, 0.5f, 0.5f), PipeNote(LG, 1.0f, 0.03f), PipeNote(D, 1.03f, 0.03f), PipeNote(LG, 1.06f, 0.5f)},
            {}, "hdblg@1.000", "C@0.500 LG@1.060"},
        {"doubling keeps its last note", &Ceolmark::getDoublings, {},
            {PipeNote(HG, 1.0f, 0.03f), PipeNote(LG, 1.03f, 0.03f), PipeNote(D, 1.06f, 0.03f),
                PipeNote(LG, 1.09f, 0.5f)},
            {}, "dblg@1.000", "LG@1.090"},
        {"high A doubling needs a short high G", &Ceolmark::getDoublings, {},
            {PipeNote(HA, 1.0f, 0.5f), PipeNote(HG, 1.5f, 0.15f), PipeNote(HA, 1.65f, 0.5f)}, {}, "",
            "HA@1.000 HG@1.500 HA@1.650"},
        {"high A doubling", &Ceolmark::getDoublings, {},
            {PipeNote(HA, 1.0f, 0.1f), PipeNote(HG, 1.1f, 0.03f), PipeNote(HA, 1.13f, 0.5f)}, {}, "dbha@1.000",
            "HA@1.130"},
        {"high A doubling with a late high G", &Ceolmark::getDoublings, {},
            {PipeNote(HA, 1.0f, 0.19f), PipeNote(HG, 1.2f, 0.03f), PipeNote(HA, 1.23f, 0.5f)}, {}, "",
            "HA@1.000 HG@1.200 HA@1.230"},
        // getGdes: each found G-D-E also leaves its range behind
        {"G-D-E on B", &Ceolmark::getGdes, {},
            {PipeNote(HG, 1.0f, 0.03f), PipeNote(B, 1.03f, 0.02f), PipeNote(D, 1.05f, 0.03f), PipeNote(B, 1.08f, 0.02f),
                PipeNote(E, 1.1f, 0.03f), PipeNote(B, 1.13f, 0.5f)},
            {}, "gg@1.000 dg@1.050 eg@1.100", "B@1.030 B@1.080 B@1.130"},
        {"G-D-E over mixed low notes", &Ceolmark::getGdes, {},
            {PipeNote(HG, 1.0f, 0.03f), PipeNote(B, 1.03f, 0.02f), PipeNote(D, 1.05f, 0.03f), PipeNote(C, 1.08f, 0.02f),
                PipeNote(E, 1.1f, 0.03f), PipeNote(B, 1.13f, 0.5f)},
            {}, "", "HG@1.000 B@1.030 D@1.050 C@1.080 E@1.100 B@1.130"},
        // extractThrd
        {"throw", &Ceolmark::extractThrd, {},
            {PipeNote(LG, 1.0f, 0.1f), PipeNote(D, 1.1f, 0.04f), PipeNote(C, 1.14f, 0.03f), PipeNote(D, 1.17f, 0.5f)},
            {}, "thrd@1.000", "D@1.170"},
        {"half throw after a long low G", &Ceolmark::extractThrd, {},
            {PipeNote(LG, 1.0f, 0.31f), PipeNote(D, 1.31f, 0.04f), PipeNote(C, 1.35f, 0.03f), PipeNote(D, 1.38f, 0.5f)},
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
    probe.consolidated() = mapOf({PipeNote(LA, 0.5f, 0.5f), PipeNote(B, 1.08f, 0.5f)});
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
    empty.melody() = mapOf({PipeNote(LA, 0.5f, 0.5f)});
    empty.reformMelodyAndGracing();
    EXPECT_TRUE(empty.melody().empty());
}

TEST(CeolmarkStages, MergedWalks)
{
    using Stage = void (Ceolmark::*)();
    struct Case {
        const char* what;
        Stage stage;
        std::vector<PipeNote> melody;
        std::vector<PipeNote> grace;
        std::string melodyAfter;
        std::string graceAfter;
    };
    const std::vector<PipeNote> kCAndD{PipeNote(C, 0.5f, 0.4f), PipeNote(D, 1.0f, 0.4f)};
    const Case cases[] = {
        {"too few entries: nothing at all", &Ceolmark::finalGraceNoteCheck, {PipeNote(HG, 1.0f, 0.5f)},
            {PipeNote(gg, 0.9f, 0.1f)}, "HG@1.000", "gg@0.900"},
        // initialGraceNoteStrip: each later high G is compared with the high A again.
        {"high G falling away after high A", &Ceolmark::initialGraceNoteStrip, {},
            {PipeNote(HA, 1.0f, 0.05f), PipeNote(HG, 1.06f, 0.03f), PipeNote(HG, 1.065f, 0.03f),
                PipeNote(HG, 1.2f, 0.03f)},
            "", "HA@1.000 HG@1.200"},
        {"short high G after melody high A", &Ceolmark::initialGraceNoteStrip, {PipeNote(HA, 0.5f, 0.5f)},
            {PipeNote(HG, 1.0f, 0.07f)}, "HA@0.500", ""},
        {"high G of 0.08 s after melody high A", &Ceolmark::initialGraceNoteStrip, {PipeNote(HA, 0.5f, 0.5f)},
            {PipeNote(HG, 1.0f, 0.08f)}, "HA@0.500", "HG@1.000"},
        {"low G before melody high G", &Ceolmark::initialGraceNoteStrip, {PipeNote(HG, 1.05f, 0.5f)},
            {PipeNote(LG, 1.0f, 0.05f)}, "HG@1.050", ""},
        {"low G before melody high A", &Ceolmark::initialGraceNoteStrip, {PipeNote(HA, 1.05f, 0.5f)},
            {PipeNote(LG, 1.0f, 0.05f)}, "HA@1.050", "LG@1.000"},
        // stripUnlikelyGracenotes
        {"a grace note named as the melody note it starts", &Ceolmark::stripUnlikelyGracenotes, kCAndD,
            {PipeNote(C, 0.51f, 0.05f)}, "C@0.500 D@1.000", ""},
        {"a short grace note before a movement", &Ceolmark::stripUnlikelyGracenotes, kCAndD,
            {PipeNote(gg, 0.9f, 0.05f), PipeNote(dbd, 0.95f, 0.05f)}, "C@0.500 D@1.000", "dbd@0.950"},
        {"a long grace note before a movement", &Ceolmark::stripUnlikelyGracenotes, kCAndD,
            {PipeNote(gg, 0.9f, 0.08f), PipeNote(dbd, 0.98f, 0.05f)}, "C@0.500 D@1.000", "gg@0.900 dbd@0.980"},
        {"a melody-named grace note over 0.15 s", &Ceolmark::stripUnlikelyGracenotes, kCAndD,
            {PipeNote(E, 0.7f, 0.16f)}, "C@0.500 D@1.000", ""},
        // extractShortMelodyNotes: a long grace note between melody notes
        {"room for a note", &Ceolmark::extractShortMelodyNotes, {PipeNote(B, 0.5f, 0.5f), PipeNote(E, 1.1f, 0.5f)},
            {PipeNote(dg, 1.0f, 0.09f)}, "B@0.500 D@1.000 E@1.100", ""},
        {"no room, no run", &Ceolmark::extractShortMelodyNotes, {PipeNote(B, 0.5f, 0.5f), PipeNote(E, 1.04f, 0.5f)},
            {PipeNote(dg, 1.0f, 0.09f)}, "B@0.500 E@1.040", "dg@1.000"},
        {"no room but a run of the scale", &Ceolmark::extractShortMelodyNotes,
            {PipeNote(C, 0.5f, 0.5f), PipeNote(E, 1.04f, 0.5f)}, {PipeNote(dg, 1.0f, 0.09f)}, "C@0.500 D@1.000 E@1.090",
            ""},
        {"short grace notes stay", &Ceolmark::extractShortMelodyNotes,
            {PipeNote(B, 0.5f, 0.5f), PipeNote(E, 1.1f, 0.5f)}, {PipeNote(dg, 1.0f, 0.08f)}, "B@0.500 E@1.100",
            "dg@1.000"},
        // applyBusinessLogic
        {"gg dg B is a doubling", &Ceolmark::applyBusinessLogic, {PipeNote(LA, 0.5f, 0.45f), PipeNote(B, 1.0f, 0.5f)},
            {PipeNote(gg, 0.95f, 0.03f), PipeNote(dg, 0.98f, 0.02f)}, "LA@0.500 B@0.950", "dbb@0.950"},
        {"fg between HA and HG", &Ceolmark::applyBusinessLogic, {PipeNote(HA, 0.5f, 0.5f), PipeNote(HG, 1.1f, 0.5f)},
            {PipeNote(fg, 1.0f, 0.1f)}, "HA@0.500 HG@1.100", "strf@1.000"},
        {"short fg elsewhere", &Ceolmark::applyBusinessLogic, {PipeNote(C, 0.5f, 0.5f), PipeNote(HG, 1.1f, 0.5f)},
            {PipeNote(fg, 1.0f, 0.07f)}, "C@0.500 HG@1.100", "gg@1.000"},
        {"fg of 0.08 s stays", &Ceolmark::applyBusinessLogic, {PipeNote(C, 0.5f, 0.5f), PipeNote(HG, 1.1f, 0.5f)},
            {PipeNote(fg, 1.0f, 0.08f)}, "C@0.500 HG@1.100", "fg@1.000"},
        // dealWithContigousGracing
        {"two primaries in contact stay", &Ceolmark::dealWithContigousGracing,
            {PipeNote(C, 0.5f, 0.5f), PipeNote(E, 1.1f, 0.5f)}, {PipeNote(dg, 1.0f, 0.03f), PipeNote(gg, 1.03f, 0.03f)},
            "C@0.500 E@1.100", "dg@1.000 gg@1.030"},
        {"a primary and another", &Ceolmark::dealWithContigousGracing,
            {PipeNote(C, 0.5f, 0.5f), PipeNote(E, 1.1f, 0.5f)}, {PipeNote(dg, 1.0f, 0.03f), PipeNote(bg, 1.03f, 0.03f)},
            "C@0.500 B@1.000 E@1.060", "dg@1.000"},
        {"a primary before a long other", &Ceolmark::dealWithContigousGracing,
            {PipeNote(C, 0.5f, 0.5f), PipeNote(E, 1.2f, 0.5f)}, {PipeNote(gg, 1.0f, 0.03f), PipeNote(tg, 1.03f, 0.08f)},
            "C@0.500 HA@1.000 E@1.110", "gg@1.000"},
        {"two others, the second long", &Ceolmark::dealWithContigousGracing,
            {PipeNote(B, 0.5f, 0.5f), PipeNote(E, 1.2f, 0.5f)}, {PipeNote(bg, 1.0f, 0.03f), PipeNote(cg, 1.03f, 0.08f)},
            "B@0.500 C@1.000 E@1.110", "bg@1.000"},
        {"two others, the first long", &Ceolmark::dealWithContigousGracing,
            {PipeNote(B, 0.5f, 0.5f), PipeNote(E, 1.2f, 0.5f)}, {PipeNote(cg, 1.0f, 0.08f), PipeNote(bg, 1.08f, 0.03f)},
            "B@0.500 C@1.000 E@1.200", "bg@1.080"},
        // finalGraceNoteCheck
        {"equal to a neighbour and short", &Ceolmark::finalGraceNoteCheck,
            {PipeNote(HG, 0.5f, 0.5f), PipeNote(HG, 1.1f, 0.5f)}, {PipeNote(gg, 1.0f, 0.07f)}, "HG@0.500 HG@1.100",
            "gg@1.000"},
        {"equal to a neighbour and long", &Ceolmark::finalGraceNoteCheck,
            {PipeNote(HG, 0.5f, 0.5f), PipeNote(HG, 1.1f, 0.5f)}, {PipeNote(gg, 1.0f, 0.08f)},
            "HG@0.500 HG@1.000 HG@1.080", ""},
        {"below both: a strike", &Ceolmark::finalGraceNoteCheck, {PipeNote(C, 0.5f, 0.5f), PipeNote(D, 1.1f, 0.5f)},
            {PipeNote(bg, 1.0f, 0.05f)}, "C@0.500 D@1.100", "strb@1.000"},
        {"below both, long, not before C: melody", &Ceolmark::finalGraceNoteCheck,
            {PipeNote(C, 0.5f, 0.5f), PipeNote(D, 1.1f, 0.5f)}, {PipeNote(bg, 1.0f, 0.08f)}, "C@0.500 B@1.000 D@1.080",
            ""},
        {"below both, long, before C: a strike", &Ceolmark::finalGraceNoteCheck,
            {PipeNote(D, 0.5f, 0.5f), PipeNote(C, 1.1f, 0.5f)}, {PipeNote(bg, 1.0f, 0.08f)}, "D@0.500 C@1.100",
            "strb@1.000"},
        {"above both: a grace note", &Ceolmark::finalGraceNoteCheck, {PipeNote(C, 0.5f, 0.5f), PipeNote(D, 1.1f, 0.5f)},
            {PipeNote(gg, 1.0f, 0.1f)}, "C@0.500 D@1.100", "gg@1.000"},
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
    probe.melody() = mapOf({PipeNote(C, 0.5f, 0.4f), PipeNote(D, 1.0f, 0.4f), PipeNote(E, 1.5f, 0.5f)});
    probe.gracing() = mapOf({PipeNote(thrd, 0.95f, 0.05f), PipeNote(gg, 1.45f, 0.05f)});
    probe.dealWithMelodyGaps();
    // Before the throw the gap closes; before the G grace note it remains.
    EXPECT_EQ(describe(probe.melody()), "C@0.500000+0.500000 D@1.000000+0.400000 E@1.500000+0.500000");
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
    passing.melody() = mapOf({PipeNote(LA, 0.5f, 0.5f), PipeNote(C, 1.06f, 0.5f)});
    passing.gracing() = mapOf({PipeNote(D, 1.0f, 0.03f), PipeNote(E, 1.03f, 0.03f)});
    passing.advancedGraceNoteSearch();
    ASSERT_EQ(startsOf(passing.gracing()), "E@1.000");
    EXPECT_FLOAT_EQ(passing.gracing().begin()->second.getEnd_s(), 1.06f);

    // A C between two low Gs is a D that fell short.
    CeolmarkProbe shortD;
    shortD.silentFrames(2.0f);
    shortD.melody() = mapOf({PipeNote(LG, 0.85f, 0.15f), PipeNote(LG, 1.03f, 0.5f)});
    shortD.gracing() = mapOf({PipeNote(C, 1.0f, 0.03f)});
    shortD.advancedGraceNoteSearch();
    EXPECT_EQ(startsOf(shortD.gracing()), "D@1.000");
}

TEST(CeolmarkStages, CrossingNoiseGoesToTheLowG)
{
    CeolmarkProbe down;
    down.consolidated() = mapOf({PipeNote(E, 0.85f, 0.15f), PipeNote(LA, 1.0f, 0.05f), PipeNote(LG, 1.05f, 0.5f)});
    down.stripCrossingNoises();
    EXPECT_EQ(describe(down.consolidated()), "E@0.850000+0.150000 LG@1.000000+0.550000");

    CeolmarkProbe up;
    up.consolidated() = mapOf({PipeNote(LG, 0.85f, 0.15f), PipeNote(LA, 1.0f, 0.05f), PipeNote(HA, 1.05f, 0.5f)});
    up.stripCrossingNoises();
    EXPECT_EQ(startsOf(up.consolidated()), "LG@0.850 HA@1.050");
    EXPECT_FLOAT_EQ(up.consolidated().begin()->second.getEnd_s(), 1.05f);

    // A range shorter than twice the trough distance is not looked into: no arrays needed.
    CeolmarkProbe empty;
    EXPECT_TRUE(empty.findConfirmedTroughs({1.0f, 1.05f}, 587.0f, 1.0f, 120.0f, 0.03f, 0.02f, 0.9f, 0.015f).empty());
}
