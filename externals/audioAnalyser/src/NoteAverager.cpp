#include "NoteAverager.h"

#include "utils.h"

#include <algorithm>
#include <cmath>

namespace {
// Marks an entry that has no note: an empty frame.
constexpr int32_t kNoNote = INT32_MIN;
} // namespace

void NoteAverager::initialise(unsigned size, unsigned noteWindow)
{
    reset();
    mRing.assign(size, 0.0f);
    mRingNotes.assign(size, kNoNote);
    mSize = size;
    mIndex = size > 0 ? size - 1 : 0;
    mNoteWindow = noteWindow;
}

void NoteAverager::reset()
{
    mRing.clear();
    mRing.shrink_to_fit();
    mRingNotes.clear();
    mRingNotes.shrink_to_fit();
    mSize = 0;
    mIndex = 0;
    mNoteWindow = 0;
    mMidiNote = -1;
    mCalibrationMultiplier = 1.0f;
    mNoteChangeThreshold = 0.75f;
}

int NoteAverager::noteNumber(float frequency_Hz) const
{
    // Negative values never come from the pitch finder; treating them as empty keeps
    // the logarithm defined.
    if (!(frequency_Hz > 0.0f))
        return kNoNote;
    return utils::frequencyToRoundedNoteNumber(double(frequency_Hz * mCalibrationMultiplier));
}

void NoteAverager::addFrequency(float frequency_Hz)
{
    if (mSize == 0)
        return;
    mIndex = (mIndex + 1) % mSize;
    mRing[mIndex] = frequency_Hz;
    mRingNotes[mIndex] = noteNumber(frequency_Hz);
}

void NoteAverager::addAndUpdate(float frequency_Hz)
{
    addFrequency(frequency_Hz);
    updateMidiNote();
}

void NoteAverager::setCalibrationMultiplier(float multiplier)
{
    mCalibrationMultiplier = multiplier;
    for (uint32_t i = 0; i < mSize; ++i)
        mRingNotes[i] = noteNumber(mRing[i]);
}

bool NoteAverager::updateMidiNote()
{
    if (mSize == 0)
        return false;
    const uint32_t window = mNoteWindow == 0 ? 1 : std::min(mNoteWindow, mSize);

    // Usually a handful of notes: a reused array, searched linearly, instead of a map
    // that would allocate on every frame.
    std::vector<std::pair<int32_t, unsigned>>& counts = mCounts;
    counts.clear();
    unsigned total = 0;
    for (uint32_t k = 0; k < window; ++k) {
        const uint32_t position = (mIndex + mSize - k) % mSize;
        const int32_t note = mRingNotes[position];
        if (note == kNoNote)
            continue;
        ++total;
        auto found = std::find_if(
            counts.begin(), counts.end(), [note](const std::pair<int32_t, unsigned>& c) { return c.first == note; });
        if (found != counts.end())
            ++found->second;
        else
            counts.emplace_back(note, 1u);
    }
    if (counts.empty())
        return false;
    std::sort(counts.begin(), counts.end());
    const unsigned needed = unsigned(std::round(double(total) * mNoteChangeThreshold));

    for (const auto& count : counts) {
        if (count.second < needed || count.first == mMidiNote)
            continue;
        mMidiNote = count.first;
        // Wipe what came before the window so the average does not reach back into the
        // previous note.
        if (window != mSize) {
            for (uint32_t k = 1; k <= mSize - window; ++k) {
                const uint32_t position = (mIndex + k) % mSize;
                mRing[position] = 0.0f;
                mRingNotes[position] = kNoNote;
            }
        }
        return true;
    }
    return false;
}

float NoteAverager::calculateAverageFrequency_Hz() const
{
    double sum = 0.0;
    unsigned count = 0;
    for (uint32_t i = 0; i < mSize; ++i) {
        if (mRing[i] != 0.0f && mRingNotes[i] == mMidiNote) {
            sum += mRing[i];
            ++count;
        }
    }
    return count > 0 ? float(sum / count) : 0.0f;
}

float NoteAverager::calculateMedianFrequency_Hz() const
{
    if (mSize == 0)
        return 0.0f;
    std::vector<float> sorted(mRing);
    std::sort(sorted.begin(), sorted.end());
    return sorted[mSize / 2];
}
