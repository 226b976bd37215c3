#pragma once

#include "PipeNoteName.h"

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

// The written form of a tune: parts of bars of items, with note values instead of seconds.
// Durations are note values (the denominators 1..32 of a semibreve); lengths are counted in
// whole thirty-second notes. Plain value types: copy freely, use from one thread at a time.
//
// Rows are not stored: a row is the run of bars up to and including a bar with rowBreak set,
// counted across part boundaries.
class PipeTuneModel {
public:
    // On which side a short melody note joins its neighbours within a beat.
    enum NoteFlag : int32_t {
        NoteFlagNone = 0, // own stem and tails
        NoteFlagRight = 1, // first of a joined run; beams go right
        NoteFlagLeft = 2, // continues a joined run from the left
    };

    // One written note, or one whole embellishment (grace notes and movements carry 32).
    class Item {
    public:
        Item() = default;
        Item(PipeNoteName noteName, int duration, int dots, NoteFlag flag);
        virtual ~Item() = default;
        Item(const Item&) = default;
        Item& operator=(const Item&) = default;

        // Length in thirty-second notes: 0 for duration 0; a dot adds half, rounded half away
        // from zero, so a dotted thirty-second counts 2. Two dots count as one.
        int totalDuration32() const;

        bool operator==(const Item& other) const;
        bool operator!=(const Item& other) const { return !(*this == other); }

        PipeNoteName noteName = Unknown;
        int32_t duration = 0; // 1, 2, 4, 8, 16 or 32; 0 for none
        int32_t dots = 0; // 0 or 1 from the quantizer; 2 is recognised
        NoteFlag flag = NoteFlagNone;
    };

    class Bar {
    public:
        Bar() = default;
        virtual ~Bar() = default;
        Bar(const Bar&) = default;
        Bar& operator=(const Bar&) = default;

        // Sum of the items' lengths in thirty-second notes, grace notes and movements included.
        int totalDuration32() const;
        // Empties the items and clears rowBreak.
        void clear();

        // Compares rowBreak, then the items in order.
        bool operator==(const Bar& other) const;
        bool operator!=(const Bar& other) const { return !(*this == other); }

        std::vector<Item> items; // reading order; grace notes stand before their melody note
        bool rowBreak = false; // the last bar on its row of the score
    };

    class Part {
    public:
        Part() = default;
        virtual ~Part() = default;
        Part(const Part&) = default;
        Part& operator=(const Part&) = default;

        // Empties the bars; repeat stays as it is.
        void clear();

        std::vector<Bar> bars;
        bool repeat = false; // written as a repeated part in the BWW export
    };

    PipeTuneModel() = default;
    virtual ~PipeTuneModel() = default;
    PipeTuneModel(const PipeTuneModel&) = default;
    PipeTuneModel& operator=(const PipeTuneModel&) = default;

    // Empties the parts and puts the time signature back to 4/4.
    void clear();

    int timeSigNumerator() const { return mTimeSigNumerator; }
    void setTimeSigNumerator(int numerator) { mTimeSigNumerator = numerator; }
    int timeSigDenominator() const { return mTimeSigDenominator; }
    void setTimeSigDenominator(int denominator) { mTimeSigDenominator = denominator; }

    // Builds the text form and drops it; kept for symmetry with the other dumps.
    void toStdOut() const;

    std::vector<Part> parts;

private:
    int32_t mTimeSigNumerator = 4;
    int32_t mTimeSigDenominator = 4;
};

// The indices of the rows of newModel that differ from oldModel, ascending. A row is reported
// when its closing bar (rowBreak) is reached, so an unclosed last row is never reported; bars are
// compared at the same part and bar index, rowBreak included.
std::vector<int> getChangedRows(const PipeTuneModel& newModel, const PipeTuneModel& oldModel);

// Text forms for logs and for comparing models by eye: "n"/"r"/"l" for flags,
// "{LA8,d:0,f:r}" for items, "Bar{Items:[...],br:1}", "{Bars:[...]}" and "{Parts:[...]}".
// The time signature is not part of the text.
std::ostream& operator<<(std::ostream& os, PipeTuneModel::NoteFlag flag);
std::ostream& operator<<(std::ostream& os, const PipeTuneModel::Item& item);
std::ostream& operator<<(std::ostream& os, const PipeTuneModel::Bar& bar);
std::ostream& operator<<(std::ostream& os, const PipeTuneModel::Part& part);
std::ostream& operator<<(std::ostream& os, const PipeTuneModel& model);
std::string toString(PipeTuneModel::NoteFlag flag);
std::string toString(const PipeTuneModel::Item& item);
std::string toString(const PipeTuneModel::Bar& bar);
std::string toString(const PipeTuneModel::Part& part);
std::string toString(const PipeTuneModel& model);
