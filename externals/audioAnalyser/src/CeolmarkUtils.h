#pragma once

// Free functions over note maps and per-frame arrays, shared by the transcription stages, the
// quantizer and the timing view. Their comparison senses decide what a stage finds: a range [a, b) means
// "not a > x and b > x" on 32-bit floats. A function that inserts a note keys it by its
// start_s. Stateless; callable from any thread on maps
// that thread owns.

#include "PipeNote.h"
#include "PipeTuning.h"
#include "TimeRange.h"

#include <set>
#include <string>
#include <vector>

// Selection: a new map, the input untouched.
// Notes of that name, keys kept.
// Adds note to notes under its start time.
void insertNote(NoteMap& notes, const PipeNote& note);

NoteMap filterByNote(PipeNoteName name, const NoteMap& notes);
// Notes whose duration lies in [min_s, max_s).
NoteMap filterByDuration(const NoteMap& notes, float min_s, float max_s);
// Notes with range.second + tolerance above their start and an end above range.first - tolerance.
NoteMap notesOverlappingRange(const NoteMap& notes, TimeRange range, float tolerance_s);
// Notes whose end lies in [time - tolerance, time + tolerance).
NoteMap notesEndingAt(const NoteMap& notes, float time_s, float tolerance_s);
// Notes whose key lies in [time - tolerance, time + tolerance).
NoteMap notesStartingAt(const NoteMap& notes, float time_s, float tolerance_s);
// Notes cut to the range; those left without duration are dropped.
NoteMap constrainNotes(const NoteMap& notes, TimeRange range);

// The first entry of that name starting within 1 ms of note's start, or end().
NoteMap::iterator getIteratorForNote(PipeNote note, NoteMap& notes);

// Adds shift_s to every start. A melody note is kept while its new end is above 0 and loses
// what falls before 0; a grace note is kept while its new end is 0 or above and keeps a negative
// start. The output maps are added to, not cleared.
void timeShiftNotes(
    float shift_s, const NoteMap& melody, const NoteMap& gracing, NoteMap& melodyOut, NoteMap& gracingOut);

void splitMelodyAndGraceNotes(const std::vector<PipeNote>& notes, NoteMap& melody, NoteMap& gracing);
// Both maps merged by start time into playing order; a grace note within 1 ms of a melody note's
// start comes before it.
std::vector<PipeNote> combineMelodyAndGraceNotes(const NoteMap& melody, const NoteMap& gracing);

// Merges neighbours closer than maxGap_s (overlaps count as negative gaps), whatever their names.
void simpleCombineNotes(NoteMap& notes, float maxGap_s);
// Melts a note called name with a neighbour from alwaysCombine, or from shortCombine when
// shorter than maxDuration_s, into one note called name. One walk.
void combineNotes(NoteMap& notes, PipeNoteName name, std::set<PipeNoteName> alwaysCombine,
    std::set<PipeNoteName> shortCombine, float maxGap_s, float maxDuration_s);
// combineNotes until the map stops shrinking.
void recursiveCombineNotes(NoteMap& notes, PipeNoteName name, std::set<PipeNoteName> alwaysCombine,
    std::set<PipeNoteName> shortCombine, float maxGap_s, float maxDuration_s);

// Removes from every note of target the time that existing occupies.
void trimUsingExisting(const NoteMap& existing, NoteMap& target);

// Timed notes from a per-frame note array by a sliding majority over minDuration_s;
// notes with a length in [minDuration_s, maxDuration_s) are kept.
NoteMap extractNotes(const std::vector<PipeTuning::ReferenceNote>& frameNotes, float minDuration_s, float maxDuration_s,
    float framePeriod_s);

// One mean per block of window values from first on: of the values in [minValue, maxValue),
// 0 unless at least half the block counted and their spread is below maxRange.
std::vector<float> smoothSamples(
    const std::vector<float>& values, int window, int first, int last, float minValue, float maxValue, float maxRange);
// Mean of the non-zero values of values[first, first + count), 0 unless there are more
// than count * minValidFraction of them.
float calcWindowAverage(const std::vector<float>& values, int first, int count, float minValidFraction);
// Whether values[position + distance] is the bottom of a trough of at least minimumDepth
// on the left and half of it on the right, with few zeros.
bool validTrough(const std::vector<float>& values, int position, int distance, float minimumDepth, float& left,
    float& middle, float& right);
// Indices of the lowest points of troughs shallower than maximumDepth.
std::vector<int> detectTroughs(const std::vector<float>& values, int distance, float minimumDepth, float maximumDepth);

// Debug dump of a map, one line per note.
void outputNotes(std::string label, const NoteMap& notes);
