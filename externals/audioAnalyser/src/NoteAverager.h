#pragma once

#include <cstdint>
#include <utility>
#include <vector>

// A ring of recent frame frequencies that decides, with hysteresis, which MIDI note is
// being played, so that the average is a mean over the frames of the current note alone.
// Belongs to the thread of the PitchFinder or transcription that owns it.
class NoteAverager {
public:
    NoteAverager() = default;
    virtual ~NoteAverager() = default;

    // Drops the ring, restores every initial value (the multiplier included) and makes a
    // zeroed ring of size frames; the newest noteWindow frames decide the note.
    // Throws std::bad_alloc or std::length_error on a size beyond what can be allocated.
    void initialise(unsigned size, unsigned noteWindow);
    // Frees the ring; every operation is inert until the next initialise.
    void reset();

    // f in Hz; 0 marks a frame without pitch.
    void addFrequency(float frequency_Hz);
    void addAndUpdate(float frequency_Hz);
    // True when the note changed. A new note needs noteChangeThreshold of the non-empty
    // frames of the note window; on a change the older frames are wiped.
    bool updateMidiNote();
    // -1 until a note has been decided.
    int32_t midiNote() const { return mMidiNote; }

    float calibrationMultiplier() const { return mCalibrationMultiplier; }
    // Applied to a frequency before it becomes a note number; the ring keeps raw values.
    void setCalibrationMultiplier(float multiplier);
    // percent 0..100 of the note window's non-empty frames.
    void setNoteChangeThreshold(unsigned percent) { mNoteChangeThreshold = float(percent) / 100.0f; }

    // Mean of the raw frames that belong to the current note; 0 if none.
    float calculateAverageFrequency_Hz() const;
    // Middle entry of the whole ring, empty frames included; 0 with no ring.
    float calculateMedianFrequency_Hz() const;

    unsigned size() const { return mSize; }

private:
    int noteNumber(float frequency_Hz) const;

    std::vector<float> mRing;
    // The note number of each ring entry under the current multiplier, kept beside the
    // ring so that a frame costs one logarithm rather than one per entry.
    std::vector<int32_t> mRingNotes;
    std::vector<std::pair<int32_t, unsigned>> mCounts;
    uint32_t mSize = 0;
    uint32_t mIndex = 0;
    uint32_t mNoteWindow = 0;
    int32_t mMidiNote = -1;
    float mCalibrationMultiplier = 1.0f;
    float mNoteChangeThreshold = 0.75f;
};
