#pragma once

#include "PipeTuning.h"

#include <array>
#include <cstdint>
#include <vector>

// The most frequent reference note in a window sliding along a per-frame note list.
// Keeps a reference to the list: the caller keeps it alive and unchanged. One thread.
class DominantNote {
public:
    // windowSize in list entries.
    DominantNote(const std::vector<PipeTuning::ReferenceNote>& frameNotes, unsigned windowSize);
    virtual ~DominantNote() = default;

    // The dominant note of the window starting at pos. A pos above the current one
    // slides the window forward; pos 0 or restart adds the window at pos to the counts
    // (meant for the first call). Ties go to the lowest chanter note; "anything else"
    // wins only with a strictly higher count. Throws std::out_of_range past the end.
    PipeTuning::ReferenceNote atPos(unsigned pos, bool restart);
    // First index behind the window's start at which note stands, or the window's last index.
    unsigned getNoteChangePos(PipeTuning::ReferenceNote note) const;

    // 0..8 for Low G..High A, 9 for anything else.
    static int noteToNoteCountIndex(PipeTuning::ReferenceNote note);

private:
    static constexpr int kOtherIndex = 9;

    std::array<uint32_t, 10> mCounts{};
    const std::vector<PipeTuning::ReferenceNote>& mFrameNotes;
    unsigned mWindowSize;
    unsigned mPosition = 0;
};
