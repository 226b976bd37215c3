#pragma once

#include "PipeNote.h"

#include <vector>

// Free functions over note maps, shared by the transcription stages, the quantizer and the
// timing view. Stateless; callable from any thread on maps that thread owns.

// Adds shift_s to every start. A melody note is kept while its new end is above 0 and loses
// what falls before 0; a grace note is kept while its new end is 0 or above and keeps a negative
// start. The output maps are added to, not cleared.
void timeShiftNotes(
    float shift_s, const NoteMap& melody, const NoteMap& gracing, NoteMap& melodyOut, NoteMap& gracingOut);

// Both maps merged by start time into playing order; a grace note within 1 ms of a melody note's
// start comes before it.
std::vector<PipeNote> combineMelodyAndGraceNotes(const NoteMap& melody, const NoteMap& gracing);
