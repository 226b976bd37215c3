#pragma once

#include "PipeNote.h"
#include "TimeRange.h"

#include <set>
#include <vector>

// A matcher for a short run of notes in a fixed order, with limits on each note: the
// shape of a piping movement in the consolidated note stream. Stages fill items and the
// flags directly. A value; any thread.
class PipeNotePattern {
public:
    class Item {
    public:
        // durationRange in seconds of duration; (0, 0) means no range of its own.
        Item(PipeNoteName name, TimeRange durationRange = TimeRange(0.0f, 0.0f));
        Item(std::set<PipeNoteName> names, TimeRange durationRange = TimeRange(0.0f, 0.0f));
        virtual ~Item() = default;
        Item(const Item&) = default;
        Item& operator=(const Item&) = default;

        bool hasDurationRange() const { return durationRange.second - durationRange.first > 0.0f; }

        std::set<PipeNoteName> names;
        TimeRange durationRange;
    };

    class Match {
    public:
        Match() = default;
        virtual ~Match() = default;
        Match(const Match&) = default;
        Match& operator=(const Match&) = default;

        // From the first note's start to the last note's start; (-1, -1) when empty.
        TimeRange getRange() const;
        // The matched notes in time order.
        std::vector<PipeNote> notesInOrder() const;

        NoteMap notes;
    };

    PipeNotePattern(float maxNoteDuration_s, float joinTolerance_s, float overlapTolerance_s);
    virtual ~PipeNotePattern() = default;
    PipeNotePattern(const PipeNotePattern&) = default;
    PipeNotePattern& operator=(const PipeNotePattern&) = default;

    // Empties items and clears both flags; the tolerances stay.
    void clear();

    // Every run in consolidated that matches the items, left to right, sharing no notes.
    // A run overlapping a movement of processed or starting in a G-D-E range is refused.
    // limitFirstOnly holds only the first note (not all but the last) to maxNoteDuration_s.
    std::vector<Match> detect(const NoteMap& consolidated, const NoteMap& melody, const NoteMap& processed,
        const std::vector<TimeRange>& gdeRanges, bool limitFirstOnly) const;

    std::vector<Item> items;
    // A melody note must end where the first note starts.
    bool followsMelodyNote = false;
    // The last note may not be longer than twice maxNoteDuration_s.
    bool limitLastNote = false;
    float maxNoteDuration_s;
    float joinTolerance_s;
    float overlapTolerance_s;
};

// One movement note called name per match into processed, lasting from the first matched
// note's start to the last one's start, and the matched notes out of consolidated (the
// last one stays when keepLastNote). melodyNoteIndex, when not 0, sets the movement's
// offset to the start of that matched note (or to the end of the last one when there are
// not that many).
void applyPatternMatches(PipeNoteName name, const std::vector<PipeNotePattern::Match>& matches, NoteMap& processed,
    NoteMap& consolidated, int melodyNoteIndex, bool keepLastNote);
// Erases each matched note (same key, name and duration) from notes; missing ones are passed over.
void removePatternMatch(const PipeNotePattern::Match& match, NoteMap& notes);
// Whether the point 0.02 s after the match's start lies in one of the ranges.
bool patternMatchOverlapsRange(const PipeNotePattern::Match& match, const std::vector<TimeRange>& ranges);
