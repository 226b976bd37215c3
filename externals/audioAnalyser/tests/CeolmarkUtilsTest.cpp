#include "CeolmarkUtils.h"

#include <gtest/gtest.h>

namespace {

NoteMap mapOf(const std::vector<PipeNote>& notes)
{
    NoteMap map;
    for (const PipeNote& note : notes)
        map.insert({note.start_s(), note});
    return map;
}

} // namespace

TEST(CeolmarkUtils, TimeShiftCutsMelodyAtZeroButKeepsGraceNotesBeforeIt)
{
    const NoteMap melody = mapOf({PipeNote(LA, 0.5f, 0.7f), PipeNote(B, 0.25f, 0.75f), PipeNote(C, 2.0f, 0.5f)});
    const NoteMap grace = mapOf({PipeNote(gg, 0.5f, 0.7f), PipeNote(dg, 0.1f, 0.05f), PipeNote(eg, 0.75f, 0.25f)});
    NoteMap melodyOut, graceOut;
    timeShiftNotes(-1.0f, melody, grace, melodyOut, graceOut);

    // B ends exactly at 0 and goes; LA keeps its last 0.2 s. Quarters keep the sums exact.
    ASSERT_EQ(melodyOut.size(), 2u);
    auto it = melodyOut.begin();
    EXPECT_EQ(it->second.noteName(), LA);
    EXPECT_EQ(it->first, 0.0f);
    EXPECT_FLOAT_EQ(it->second.duration_s(), 0.2f);
    ++it;
    EXPECT_EQ(it->second.noteName(), C);
    EXPECT_FLOAT_EQ(it->first, 1.0f);

    // eg ends exactly at 0 and stays; dg ends before it and goes.
    ASSERT_EQ(graceOut.size(), 2u);
    EXPECT_EQ(graceOut.begin()->second.noteName(), gg);
    EXPECT_FLOAT_EQ(graceOut.begin()->first, -0.5f);
    EXPECT_FLOAT_EQ(graceOut.begin()->second.duration_s(), 0.7f);
    EXPECT_EQ(graceOut.rbegin()->second.noteName(), eg);
}

TEST(CeolmarkUtils, CombinePutsAGraceNoteStartingWithItsMelodyNoteFirst)
{
    const NoteMap melody = mapOf({PipeNote(LA, 1.0f, 0.5f), PipeNote(B, 2.0f, 0.5f), PipeNote(C, 3.0f, 0.5f)});
    const NoteMap grace = mapOf({PipeNote(gg, 0.95f, 0.05f), PipeNote(dg, 2.0005f, 0.05f), PipeNote(eg, 3.002f, 0.05f),
        PipeNote(tg, 4.0f, 0.05f)});
    std::vector<PipeNoteName> order;
    for (const PipeNote& note : combineMelodyAndGraceNotes(melody, grace))
        order.push_back(note.noteName());
    // dg within 1 ms of B goes first; eg 2 ms after C comes after it.
    EXPECT_EQ(order, (std::vector<PipeNoteName>{gg, LA, dg, B, C, eg, tg}));
    EXPECT_TRUE(combineMelodyAndGraceNotes(NoteMap(), NoteMap()).empty());
}
