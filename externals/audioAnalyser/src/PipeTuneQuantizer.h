#pragma once

#include "PipeNote.h"
#include "PipeTuneModel.h"

#include <memory>
#include <vector>

class GroupQuantizer;

// Turns timed melody and grace notes into a PipeTuneModel: one group per beat, groups into bars,
// bars into rows. A one-shot worker: configure, quantize, getModel, destroy. The main window makes
// one per transcription result on the interface thread; it shares nothing and keeps nothing.
class PipeTuneQuantizer {
public:
    // A melody note with the grace notes and movements that sound before it.
    class NoteWrapper {
    public:
        virtual ~NoteWrapper() = default;
        void clear();

        PipeNote note;
        std::vector<PipeNote> graceNotes;
    };

    class BarWrapper {
    public:
        virtual ~BarWrapper() = default;
        void clear();

        int groupCount = 0; // groups in the bar so far
        PipeTuneModel::Bar bar;
    };

    // One beat of the time signature, on the shifted time axis.
    class Group {
    public:
        virtual ~Group() = default;
        void clear();

        float getEnd_s() const { return start_s + duration_s; }
        // Sum of the durations of notes, in seconds.
        float getNoteWrapperDuration_s() const;
        // Index in items of the nearest melody item after or before index, or -1.
        int getNextMelodyNote(int index) const;
        int getPrevMelodyNote(int index) const;

        float start_s = 0.0f;
        float duration_s = 0.0f; // the same for every group of a tune
        std::vector<NoteWrapper> notes;
        std::vector<PipeTuneModel::Item> items; // filled by finaliseGroup
    };

    PipeTuneQuantizer();
    virtual ~PipeTuneQuantizer();
    PipeTuneQuantizer(const PipeTuneQuantizer&) = delete;
    PipeTuneQuantizer& operator=(const PipeTuneQuantizer&) = delete;

    void setTimeSignature(int numerator, int denominator);
    // Seconds per crotchet; see getCrotchetDuration_s.
    void setCrotchetDuration_s(float crotchetDuration_s);
    // Coarser grid: semiquavers in simple time, quavers in 2/2 and compound time.
    void setRounding(bool rounding);
    // Values below 1 become 1.
    void setBarsPerRow(int barsPerRow);

    // Fills the model from both maps, after adding timeShift_s to every start so that the first
    // beat falls at 0. Starts from nothing at every call; an empty melody map gives an empty model.
    void quantize(float timeShift_s, const NoteMap& melody, const NoteMap& grace);

    PipeTuneModel getModel() const { return mModel; }
    // The beat geometry of the last quantize, for the timing view: groups (beats) per bar, 0
    // before the first call, and the length of one group in seconds.
    int groupsPerBar() const { return mGroupsPerBar; }
    float groupDuration_s() const { return mGroupDuration_s; }

private:
    // Puts the note into the group, or closes the group (and as many after it as the note or
    // the rest before it spans) and returns the closed groups in order.
    std::vector<Group> addNoteWapperToGroup(Group& group, NoteWrapper wrapper, bool isLast);
    // Quantises the group's notes into items and sets the beaming flags within the beat.
    void finaliseGroup(Group& group);

    int mTimeSigNumerator = 4;
    int mTimeSigDenominator = 4;
    float mCrotchetDuration_s = 1.25f;
    bool mRounding = false;
    PipeTuneModel mModel;
    NoteMap mMelodyNotes; // time-shifted copies of the input
    NoteMap mGraceNotes;
    int mGroupsPerBar = 0;
    float mGroupDuration_s = 0.0f;
    std::unique_ptr<GroupQuantizer> mGroupQuantizer;
    int mBarsPerRow = 4;
};

// Seconds per crotchet for a tempo in beats per minute: the beat is a crotchet in 2/4, 3/4 and
// 4/4, a dotted crotchet in 6/8 and a minim in 2/2. 0 for any other signature.
float getCrotchetDuration_s(float tempo, int numerator, int denominator);
// The longest note value (1..32, as Item::duration) that fits into n thirty-second notes; 0 for 0.
int getMaxDurationFrom32s(int n);
// Thirty-second notes in one note value; duration must not be 0.
int getDurationIn32s(int duration);
