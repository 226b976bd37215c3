#include "DominantNote.h"

#include <algorithm>

DominantNote::DominantNote(const std::vector<PipeTuning::ReferenceNote>& frameNotes, unsigned windowSize)
    : mFrameNotes(frameNotes)
    , mWindowSize(windowSize)
{
}

int DominantNote::noteToNoteCountIndex(PipeTuning::ReferenceNote note)
{
    const int index = PipeTuning::referenceNoteToNoteIndex(note);
    return index < 0 ? kOtherIndex : index;
}

PipeTuning::ReferenceNote DominantNote::atPos(unsigned pos, bool restart)
{
    if (pos != 0 && !restart) {
        while (pos > mPosition) {
            --mCounts[noteToNoteCountIndex(mFrameNotes.at(mPosition))];
            const size_t entering = size_t(mPosition) + mWindowSize;
            if (entering < mFrameNotes.size())
                ++mCounts[noteToNoteCountIndex(mFrameNotes[entering])];
            ++mPosition;
        }
    } else {
        const size_t end = std::min(size_t(pos) + mWindowSize, mFrameNotes.size());
        for (size_t i = pos; i < end; ++i)
            ++mCounts[noteToNoteCountIndex(mFrameNotes[i])];
        mPosition = pos;
    }

    int best = -1;
    uint32_t bestCount = 0;
    for (int i = 0; i < kOtherIndex; ++i) {
        if (mCounts[i] > bestCount) {
            best = i;
            bestCount = mCounts[i];
        }
    }
    if (best < 0 || mCounts[kOtherIndex] > bestCount)
        return PipeTuning::Unknown;
    return PipeTuning::noteIndexToReferenceNote(best);
}

unsigned DominantNote::getNoteChangePos(PipeTuning::ReferenceNote note) const
{
    const size_t end = std::min(size_t(mPosition) + mWindowSize, mFrameNotes.size());
    for (size_t i = size_t(mPosition) + 1; i < end; ++i)
        if (mFrameNotes[i] == note)
            return unsigned(i);
    return unsigned(end - 1);
}
