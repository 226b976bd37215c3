#pragma once

#include "NoteAverager.h"
#include "NoteCalibrator.h"

#include <QMetaType>

#include <cstdint>
#include <functional>
#include <vector>

struct kiss_fftr_state;

// One frame of samples to a fundamental frequency, a level and a clarity figure, by the
// specially normalised autocorrelation (SNAC) computed through the FFT. Smooths the
// frequency per note, can calibrate, and can ask an instrument-aware peak picker for a
// second opinion on every frame.
//
// Belongs to one thread at a time and takes no locks: give each thread its own instance.
// Not copyable: it owns its FFT plans and buffers.
class PitchFinder {
public:
    struct DataParams {
        DataParams() = default;
        DataParams(uint32_t frameSize_samples, uint32_t sampleRate_Hz)
            : frameSize_samples(frameSize_samples)
            , sampleRate_Hz(sampleRate_Hz)
        {
        }
        // 16-bit samples.
        uint32_t dataSize_B() const { return frameSize_samples * 2; }
        bool operator==(const DataParams& other) const
        {
            return frameSize_samples == other.frameSize_samples && sampleRate_Hz == other.sampleRate_Hz;
        }
        bool operator!=(const DataParams& other) const { return !(*this == other); }

        uint32_t frameSize_samples = 0;
        uint32_t sampleRate_Hz = 0;
    };

    enum WindowType : int32_t {
        NoWindow = 0,
        HanningWindow = 1,
    };

    struct ProcessingParams {
        // Used by applyWindow and the cepstrum only, never by the SNAC path.
        WindowType windowType = NoWindow;
        // Filter each frame in the frequency domain before the SNAC.
        bool bandpass = false;
        // Search only the periods that fit the band.
        bool limitPeriodRange = false;
        // Reserved: stored and copied, never read.
        bool reserved1 = false;
        bool reserved2 = false;
        // Also ask the peak picker on each frame.
        bool usePeakPicker = false;
        // The band, held to 1..44100 Hz with the high end not below the low.
        float lowFrequency_Hz = 1.0f;
        float highFrequency_Hz = 44100.0f;
    };

    // The outcome of the last frame; a value that crosses threads in queued signals.
    struct AnalysisResults {
        // 0..1: dB / 120 + 1, where the dB figure is 20 log10 of a power ratio.
        float level = 0.0f;
        // Mean over the frames of the current note, 0 if none.
        float averageFrequency_Hz = 0.0f;
        // This frame's SNAC frequency, 0 if no peak.
        float frequency_Hz = 0.0f;
        // NoteCalibrator::State as a float: 0, 1, 2 or 3.
        float calibrationState = 0.0f;
        // 0 unless calibrated.
        float calibratedFrequency_Hz = 0.0f;
        // 1 unless calibrated.
        float calibrationMultiplier = 1.0f;
        // The peak picker's choice, 0 if none or not in use.
        float pickedFrequency_Hz = 0.0f;
        // SNAC value of the highest key maximum, 0..1.
        float snacPeak = 0.0f;
    };

    // (finder, snac, size = frame / 2, lowest index, highest index, peak threshold,
    // minimum peak) to a frequency in Hz, or 0.
    typedef std::function<float(PitchFinder&, float*, int, int, int, float, float)> PeakPicker;

    PitchFinder();
    virtual ~PitchFinder();
    PitchFinder(const PitchFinder&) = delete;
    PitchFinder& operator=(const PitchFinder&) = delete;

    // Must come before any frame. A new frame size rebuilds every plan and buffer (and
    // throws std::invalid_argument for a size KISS FFT cannot plan, std::bad_alloc when
    // out of memory); a new rate alone only restarts the note averager.
    void setDataParams(const DataParams& params);
    const DataParams& dataParams() const { return mDataParams; }
    void setProcessingParams(const ProcessingParams& params);
    const ProcessingParams& processingParams() const { return mProcessingParams; }
    void setPeakPicker(const PeakPicker& picker) { mPeakPicker = picker; }

    // Frame size samples at 16-bit magnitude: the level figure depends on it, so no scaling.
    void setData(const short* samples);
    void setData(const float* samples);
    // Analyses the frame held; nothing with a frame size of 0.
    void calculatePitch();
    AnalysisResults analysisResults() const;

    // The transcription calls this with 440 and the tuning's low A, so that notes are
    // averaged on a scale in which low A is MIDI note 69.
    void setCalibration(float reference_Hz, float measured_Hz);
    void startCalibration(int duration_ms, float reference_Hz);
    void setAveragePeriods(float averagePeriod_s, float noteChangePeriod_s);

    // The band that can be analysed: the parameters' band within rate / frame size and
    // rate / 2.
    void getActualFrequencyBand(float& low_Hz, float& high_Hz) const;
    // The interpolated frequency of a SNAC index of the last frame; 0 for index 0 or
    // one without neighbours.
    float getSnacFrequency_Hz(int index) const;

    // The steps of calculatePitch, public for tests and alternatives.
    bool find_pitch(float* frequency_Hz, float* level_dB);
    // SNAC of the frame into output (frame / 2 + 1 values); returns the frame's sum of squares.
    double snac(float* output);
    // Autocorrelation of the frame into the internal buffer; returns the unscaled lag 0.
    double autoCorr();
    void bandpass();
    // Windows the frame in place according to windowType.
    void applyWindow();
    void applyHanningWindow(const float* input, float* output) const;
    // The period index of the strongest cepstral peak within the band, 0 if none.
    int calcCepstrumPeriodIndex();

    const float* data() const { return mData.data(); }
    const float* snacBuffer() const { return mSnac.data(); }
    float lowestLevel_dB() const { return mLowestLevel_dB; }

    // Public on purpose: owners write them before a run of frames.
    // The factor k of the peak choice: the first key maximum within k of the highest wins.
    float snacPeakThreshold = 0.9f;
    // The lowest peak value that may be chosen.
    float minimumSnacPeak = 0.6f;

private:
    void freeBuffers();
    void initialiseAverager();
    void clampBand();
    double interpolatedPeriod(int index) const;

    PeakPicker mPeakPicker;
    DataParams mDataParams;
    ProcessingParams mProcessingParams;
    uint32_t mFftLength = 0;

    std::vector<float> mData;
    std::vector<float> mAutoCorrelation;
    std::vector<float> mSnac;
    std::vector<float> mWindowed;
    kiss_fftr_state* mForwardPlan = nullptr;
    kiss_fftr_state* mInversePlan = nullptr;
    kiss_fftr_state* mFrameForwardPlan = nullptr;
    kiss_fftr_state* mFrameInversePlan = nullptr;
    // Interleaved real and imaginary parts, laid out as KISS FFT's complex values.
    std::vector<float> mSpectrum;
    std::vector<float> mFrameSpectrum;

    float mLowestLevel_dB = 0.0f;
    float mRawFrequency_Hz = 0.0f;
    float mAverageFrequency_Hz = 0.0f;
    float mSnacFrequency_Hz = 0.0f;
    float mLevel = 0.0f;
    float mPickedFrequency_Hz = 0.0f;
    float mSnacPeak = 0.0f;

    std::vector<float> mHanning;
    NoteCalibrator mCalibrator;
    NoteAverager mAverager;
    float mAveragePeriod_s = 1.0f;
    float mNoteChangePeriod_s = 0.15f;
};

Q_DECLARE_METATYPE(PitchFinder::AnalysisResults)
