#pragma once

#include "BinnedTuning.h"
#include "PipeTuning.h"

// The nine notes of a chanter found among the peaks of a BinnedTuning, from 100 Hz up to
// 2000 Hz: nine peaks held long enough whose span is plausible for a chanter scale.
//
// Used by one thread at a time (the interface thread in the application); no locks.
class ChanterBinnedTuning : public BinnedTuning {
public:
    ChanterBinnedTuning(float resolution_cents, float separation_cents);
    ~ChanterBinnedTuning() override = default;

    // Frames a peak must hold to count as a note; at least 1.
    void setMinAverageCount(int count);
    int minAverageCount() const { return mMinAverageCount; }

    // The largest number of notes found in a plausible span. notes receives the nine
    // frequencies in Hz, Low G to High A, when nine notes span more than 600 and less than
    // 1800 cents; otherwise it is left empty.
    int pipeNoteCount(std::map<PipeTuning::ReferenceNote, float>& notes) const;

private:
    int mMinAverageCount = 1;
};
