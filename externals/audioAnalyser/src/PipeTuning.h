#pragma once

#include "PipeNoteName.h"

#include <QMetaType>

#include <cstdint>
#include <map>
#include <ostream>
#include <string>
#include <vector>

// The frequency of each chanter note, as low A times nine ratios, and which note a
// measured frequency is nearest to. Also recognises the drones an octave and two below
// low A. A value type: copied into signals, the peak picker and recording headers.
class PipeTuning {
public:
    enum ReferenceNote : int32_t {
        Unknown = 0,
        Bass = 1,
        Tenor = 2,
        LowG = 3,
        LowA = 4,
        B = 5,
        C = 6,
        D = 7,
        E = 8,
        F = 9,
        HighG = 10,
        HighA = 11,
    };

    enum TuningScheme : int32_t {
        Harmonic = 0,
        // 1 and 2 are reserved: stored, never acted on.
        Reserved1 = 1,
        Reserved2 = 2,
        Measured = 3,
    };

    // Note to frequency in Hz.
    typedef std::map<ReferenceNote, float> FrequencyMap;

    // Ratios to low A, Low G to High A. The two G notes are the harmonic seventh.
    static const std::vector<double> scheme_harmonic;

    PipeTuning();
    virtual ~PipeTuning() = default;
    PipeTuning(const PipeTuning&) = default;
    PipeTuning& operator=(const PipeTuning&) = default;

    float lowA_Hz() const { return mLowA_Hz; }
    // Ratios stay: every note scales with low A.
    void setLowA_Hz(float lowA_Hz) { mLowA_Hz = lowA_Hz; }

    TuningScheme tuningScheme() const { return mScheme; }
    const std::vector<double>& ratios() const { return mRatios; }

    // Harmonic: the built-in ratios, the map is ignored. Measured: ratios from the map's
    // non-zero chanter notes over its low A (or the low A held); missing notes keep the
    // harmonic ratio.
    void setTuningScheme(TuningScheme scheme, const FrequencyMap& frequencies = FrequencyMap());

    // Which note frequency_Hz is, with that note's centre in Hz and the offset from it
    // in cents (sharp is positive). "Unknown" with both outputs 0 outside the chanter
    // range (n 66..83 exclusive, low A at 69) and the two drone ranges.
    ReferenceNote calculate(float frequency_Hz, float& centreFrequency_Hz, float& cents) const;

    // Centre of a chanter note (Low G..High A) in Hz.
    float getReferenceNoteCentreFrequency_Hz(ReferenceNote note) const;
    FrequencyMap getNoteCentreFrequencies() const;

    // Index 0..8 to Low G..High A, "Unknown" beyond; and back, -1 for a non-chanter note.
    static ReferenceNote noteIndexToReferenceNote(int index);
    static int referenceNoteToNoteIndex(ReferenceNote note);

private:
    TuningScheme mScheme = Harmonic;
    std::vector<double> mRatios;
    float mLowA_Hz = 440.0f;
};

Q_DECLARE_METATYPE(PipeTuning)

// Same mappings as the two statics, for the callers that use these names.
int meoldyNoteToOrdinal(PipeTuning::ReferenceNote note);
PipeTuning::ReferenceNote ordinalToReferenceMelodyNote(int ordinal);

// Low G..High A to LG..HA and back; Unknown (0) for anything else.
PipeNoteName referenceNoteToNoteName(PipeTuning::ReferenceNote note);
PipeTuning::ReferenceNote noteNameToReferenceNote(PipeNoteName name);

std::string toString(PipeTuning::ReferenceNote note);
std::ostream& operator<<(std::ostream& os, PipeTuning::ReferenceNote note);
// "Low G: 392.000000 Low A: ... " for all nine notes, "Not present" for a missing one;
// ends in a blank.
std::string toString(const PipeTuning::FrequencyMap& frequencies);
