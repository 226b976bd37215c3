#include "PipeTuning.h"

#include "utils.h"

#include <cstdio>

const std::vector<double> PipeTuning::scheme_harmonic = {0.875, 1.0, 1.125, 1.25, 4.0 / 3.0, 1.5, 5.0 / 3.0, 1.75, 2.0};

namespace {
constexpr int kChanterNotes = 9;
const char* const kReferenceNoteTexts[]
    = {"Unknown", "Bass", "Tenor", "Low G", "Low A", "B", "C", "D", "E", "F", "High G", "High A"};
} // namespace

PipeTuning::PipeTuning()
    : mRatios(scheme_harmonic)
{
}

void PipeTuning::setTuningScheme(TuningScheme scheme, const FrequencyMap& frequencies)
{
    mScheme = scheme;
    if (scheme != Harmonic && scheme != Measured)
        return;
    std::vector<double> ratios = scheme_harmonic;
    if (scheme == Measured) {
        auto lowA = frequencies.find(LowA);
        if (lowA != frequencies.end() && lowA->second != 0.0f)
            mLowA_Hz = lowA->second;
        for (const auto& entry : frequencies) {
            const int index = referenceNoteToNoteIndex(entry.first);
            // Low A's own ratio is 1 by definition.
            if (entry.second == 0.0f || index < 0 || entry.first == LowA)
                continue;
            ratios[index] = double(entry.second) / double(mLowA_Hz);
        }
    }
    mRatios = ratios;
}

PipeTuning::ReferenceNote PipeTuning::calculate(float frequency_Hz, float& centreFrequency_Hz, float& cents) const
{
    centreFrequency_Hz = 0.0f;
    cents = 0.0f;
    if (!(frequency_Hz > 0.0f))
        return Unknown;

    const double reference_Hz = mLowA_Hz != 0.0f ? double(mLowA_Hz) : 440.0;
    const double scale = 440.0 / reference_Hz;
    const double n = utils::frequencyToNoteNumber(double(frequency_Hz) * scale);

    if (n > 39.0 && n < 51.0) {
        centreFrequency_Hz = float(reference_Hz * 0.25);
        cents = utils::freqRatioToCents(centreFrequency_Hz, frequency_Hz);
        return Bass;
    }
    if (n > 51.0 && n < 63.0) {
        centreFrequency_Hz = float(reference_Hz * 0.5);
        cents = utils::freqRatioToCents(centreFrequency_Hz, frequency_Hz);
        return Tenor;
    }
    if (!(n > 66.0 && n < 83.0))
        return Unknown;

    // Nearest note on linear ratios: a value on a midpoint goes to the upper note.
    const double ratio = double(frequency_Hz) / reference_Hz;
    int index = kChanterNotes - 1;
    for (int i = 0; i + 1 < kChanterNotes; ++i) {
        if (ratio < (mRatios[i + 1] - mRatios[i]) * 0.5 + mRatios[i]) {
            index = i;
            break;
        }
    }
    centreFrequency_Hz = float(reference_Hz * mRatios[index]);
    cents = utils::freqRatioToCents(centreFrequency_Hz, frequency_Hz);
    return noteIndexToReferenceNote(index);
}

float PipeTuning::getReferenceNoteCentreFrequency_Hz(ReferenceNote note) const
{
    const int index = referenceNoteToNoteIndex(note);
    if (index < 0)
        return 0.0f;
    const double divisor = mLowA_Hz != 0.0f ? 440.0 / double(mLowA_Hz) : 1.0;
    return float(440.0 * mRatios[index] / divisor);
}

PipeTuning::FrequencyMap PipeTuning::getNoteCentreFrequencies() const
{
    FrequencyMap frequencies;
    for (int i = 0; i < kChanterNotes; ++i) {
        const ReferenceNote note = noteIndexToReferenceNote(i);
        frequencies[note] = getReferenceNoteCentreFrequency_Hz(note);
    }
    return frequencies;
}

PipeTuning::ReferenceNote PipeTuning::noteIndexToReferenceNote(int index)
{
    return index >= 0 && index < kChanterNotes ? ReferenceNote(LowG + index) : Unknown;
}

int PipeTuning::referenceNoteToNoteIndex(ReferenceNote note)
{
    return note >= LowG && note <= HighA ? note - LowG : -1;
}

int meoldyNoteToOrdinal(PipeTuning::ReferenceNote note) { return PipeTuning::referenceNoteToNoteIndex(note); }

PipeTuning::ReferenceNote ordinalToReferenceMelodyNote(int ordinal)
{
    return PipeTuning::noteIndexToReferenceNote(ordinal);
}

PipeNoteName referenceNoteToNoteName(PipeTuning::ReferenceNote note)
{
    const int index = PipeTuning::referenceNoteToNoteIndex(note);
    return index < 0 ? Unknown : PipeNoteName(LG + index);
}

PipeTuning::ReferenceNote noteNameToReferenceNote(PipeNoteName name)
{
    return PipeTuning::noteIndexToReferenceNote(melodyNoteOrdinalValue(name));
}

std::string toString(PipeTuning::ReferenceNote note)
{
    return note >= PipeTuning::Unknown && note <= PipeTuning::HighA ? kReferenceNoteTexts[note]
                                                                    : kReferenceNoteTexts[0];
}

std::ostream& operator<<(std::ostream& os, PipeTuning::ReferenceNote note) { return os << toString(note); }

std::string toString(const PipeTuning::FrequencyMap& frequencies)
{
    std::string text;
    for (int i = 0; i < kChanterNotes; ++i) {
        const PipeTuning::ReferenceNote note = PipeTuning::noteIndexToReferenceNote(i);
        text += toString(note) + ": ";
        auto found = frequencies.find(note);
        if (found == frequencies.end()) {
            text += "Not present";
        } else {
            char number[64];
            std::snprintf(number, sizeof number, "%f", double(found->second));
            text += number;
        }
        text += " ";
    }
    return text;
}
