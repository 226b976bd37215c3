#include "PitchFinder.h"

#include "utils.h"

#include <kiss_fftr.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <stdexcept>
#include <string>

namespace {

kiss_fftr_state* makePlan(uint32_t length, bool inverse)
{
    // KISS FFT's real transform needs an even length.
    kiss_fftr_state* plan = length % 2 == 0 ? kiss_fftr_alloc(int(length), inverse ? 1 : 0, nullptr, nullptr) : nullptr;
    if (!plan)
        throw std::invalid_argument("PitchFinder: cannot plan a real FFT of length " + std::to_string(length));
    return plan;
}

kiss_fft_cpx* asComplex(std::vector<float>& interleaved) { return reinterpret_cast<kiss_fft_cpx*>(interleaved.data()); }

constexpr double kFullScalePower = 1073741824.0; // 2^30: a full-scale 16-bit signal is about 0 dB

} // namespace

static_assert(sizeof(kiss_fft_cpx) == 2 * sizeof(float), "spectra are stored as interleaved floats");

PitchFinder::PitchFinder() = default;

PitchFinder::~PitchFinder() { freeBuffers(); }

void PitchFinder::freeBuffers()
{
    for (kiss_fftr_state** plan : {&mForwardPlan, &mInversePlan, &mFrameForwardPlan, &mFrameInversePlan}) {
        kiss_fftr_free(*plan);
        *plan = nullptr;
    }
    mData.clear();
    mAutoCorrelation.clear();
    mSnac.clear();
    mWindowed.clear();
    mSpectrum.clear();
    mFrameSpectrum.clear();
    mHanning.clear();
    mFftLength = 0;
}

void PitchFinder::setDataParams(const DataParams& params)
{
    const bool sizeChanged = params.frameSize_samples != mDataParams.frameSize_samples;
    const bool rateChanged = params.sampleRate_Hz != mDataParams.sampleRate_Hz;
    mDataParams = params;
    if (sizeChanged) {
        freeBuffers();
        const uint32_t n = params.frameSize_samples;
        if (n != 0) {
            // Half a frame of zeros behind the frame keeps the autocorrelation up to lag
            // n / 2 free of circular wrap-around.
            mFftLength = n + n / 2;
            mData.assign(mFftLength, 0.0f);
            mAutoCorrelation.assign(mFftLength, 0.0f);
            mSnac.assign(n / 2 + 1, 0.0f);
            mWindowed.assign(n, 0.0f);
            mSpectrum.assign(2 * (mFftLength / 2 + 1), 0.0f);
            mFrameSpectrum.assign(2 * (n / 2 + 1), 0.0f);
            mHanning.assign(n, 0.0f);
            utils::generateHanningCoefficients(mHanning.data(), int(n));
            try {
                mForwardPlan = makePlan(mFftLength, false);
                mInversePlan = makePlan(mFftLength, true);
                mFrameForwardPlan = makePlan(n, false);
                mFrameInversePlan = makePlan(n, true);
            } catch (...) {
                freeBuffers();
                mDataParams.frameSize_samples = 0;
                throw;
            }
        }
        clampBand();
    }
    if (!sizeChanged && !rateChanged)
        return;
    if (mDataParams.frameSize_samples != 0)
        initialiseAverager();
}

void PitchFinder::initialiseAverager()
{
    const float framesPerSecond = float(mDataParams.sampleRate_Hz) / float(mDataParams.frameSize_samples);
    const unsigned averageFrames = unsigned(framesPerSecond * mAveragePeriod_s);
    if (averageFrames != 0)
        mAverager.initialise(averageFrames, unsigned(framesPerSecond * mNoteChangePeriod_s));
}

void PitchFinder::clampBand()
{
    mProcessingParams.lowFrequency_Hz = std::clamp(mProcessingParams.lowFrequency_Hz, 1.0f, 44100.0f);
    mProcessingParams.highFrequency_Hz
        = std::clamp(mProcessingParams.highFrequency_Hz, mProcessingParams.lowFrequency_Hz, 44100.0f);
}

void PitchFinder::setProcessingParams(const ProcessingParams& params)
{
    mProcessingParams = params;
    clampBand();
}

void PitchFinder::setData(const short* samples)
{
    std::copy(samples, samples + mDataParams.frameSize_samples, mData.begin());
}

void PitchFinder::setData(const float* samples)
{
    std::copy(samples, samples + mDataParams.frameSize_samples, mData.begin());
}

void PitchFinder::calculatePitch()
{
    if (mDataParams.frameSize_samples == 0)
        return;
    float frequency_Hz = 0.0f;
    float level_dB = 0.0f;
    if (!find_pitch(&frequency_Hz, &level_dB))
        frequency_Hz = 0.0f;
    mRawFrequency_Hz = frequency_Hz;

    if (mCalibrator.state() == NoteCalibrator::Calibrating && mCalibrator.addCalibrationFrequency(frequency_Hz) == 0)
        mAverager.setCalibrationMultiplier(mCalibrator.calibrationMultiplier());

    mAverager.addAndUpdate(frequency_Hz);
    mAverageFrequency_Hz = mAverager.calculateAverageFrequency_Hz();
    mLevel = level_dB / 120.0f + 1.0f;
}

PitchFinder::AnalysisResults PitchFinder::analysisResults() const
{
    AnalysisResults results;
    results.level = mLevel;
    results.averageFrequency_Hz = mAverageFrequency_Hz;
    results.frequency_Hz = mSnacFrequency_Hz;
    results.calibrationState = float(mCalibrator.state());
    results.calibratedFrequency_Hz = mCalibrator.calibratedFrequency();
    results.calibrationMultiplier = mCalibrator.calibrationMultiplier();
    results.pickedFrequency_Hz = mPickedFrequency_Hz;
    results.snacPeak = mSnacPeak;
    return results;
}

void PitchFinder::setCalibration(float reference_Hz, float measured_Hz)
{
    mCalibrator.setCalibrationDetails(reference_Hz, measured_Hz);
    mAverager.setCalibrationMultiplier(mCalibrator.calibrationMultiplier());
}

void PitchFinder::startCalibration(int duration_ms, float reference_Hz)
{
    if (mDataParams.frameSize_samples == 0 || duration_ms < 0)
        return;
    const uint64_t frames
        = uint64_t(duration_ms) * mDataParams.sampleRate_Hz / (uint64_t(mDataParams.frameSize_samples) * 1000u);
    mCalibrator.initialise(unsigned(frames), reference_Hz);
}

void PitchFinder::setAveragePeriods(float averagePeriod_s, float noteChangePeriod_s)
{
    mAveragePeriod_s = averagePeriod_s;
    mNoteChangePeriod_s = noteChangePeriod_s;
    if (mDataParams.frameSize_samples != 0)
        initialiseAverager();
}

void PitchFinder::getActualFrequencyBand(float& low_Hz, float& high_Hz) const
{
    const float rate = float(mDataParams.sampleRate_Hz);
    const float lowest = mDataParams.frameSize_samples ? rate / float(mDataParams.frameSize_samples) : 0.0f;
    low_Hz = std::max(mProcessingParams.lowFrequency_Hz, lowest);
    high_Hz = std::min(mProcessingParams.highFrequency_Hz, rate / 2.0f);
}

double PitchFinder::interpolatedPeriod(int index) const
{
    const double y0 = mSnac[index - 1];
    const double y1 = mSnac[index];
    const double y2 = mSnac[index + 1];
    const double d = y2 + y0 - 2.0 * y1;
    // SNAC index i holds lag i + 1.
    double period = index + 1;
    if (d != 0.0)
        period += (y0 - y2) / (2.0 * d);
    return period;
}

float PitchFinder::getSnacFrequency_Hz(int index) const
{
    if (index <= 0 || index + 1 >= int(mSnac.size()))
        return 0.0f;
    const double period = interpolatedPeriod(index);
    return period > 0.0 ? float(mDataParams.sampleRate_Hz / period) : 0.0f;
}

bool PitchFinder::find_pitch(float* frequency_Hz, float* level_dB)
{
    *frequency_Hz = 0.0f;
    *level_dB = 0.0f;
    mSnacFrequency_Hz = 0.0f;
    const int n = int(mDataParams.frameSize_samples);
    if (n == 0)
        return false;

    if (mProcessingParams.bandpass)
        bandpass();
    utils::removeDcOffset(mData.data(), n);
    const double r0 = snac(mSnac.data());

    *level_dB = float(utils::linear2dB(r0 / (n * kFullScalePower), -120.0));
    mLowestLevel_dB = std::min(mLowestLevel_dB, *level_dB);

    const int half = n / 2;
    int lowest = 0;
    int highest = half - 1;
    if (mProcessingParams.limitPeriodRange) {
        const float rate = float(mDataParams.sampleRate_Hz);
        highest = int(rate / mProcessingParams.lowFrequency_Hz);
        lowest = int(rate / mProcessingParams.highFrequency_Hz);
    }

    int best = 0;
    const int chosen
        = utils::findSnacSubMaximum(mSnac.data(), half, lowest, highest, snacPeakThreshold, minimumSnacPeak, best);
    if (chosen != 0) {
        const double period = interpolatedPeriod(chosen);
        if (period > 0.0)
            mSnacFrequency_Hz = float(mDataParams.sampleRate_Hz / period);
    }
    // A frame without any key maximum keeps the clarity of the frame before.
    if (best > 0)
        mSnacPeak = mSnac[best];

    if (mProcessingParams.usePeakPicker) {
        mPickedFrequency_Hz = mPeakPicker
            ? mPeakPicker(*this, mSnac.data(), half, lowest, highest, snacPeakThreshold, minimumSnacPeak)
            : 0.0f;
    }
    *frequency_Hz = mSnacFrequency_Hz;
    return mSnacFrequency_Hz > 0.0f;
}

double PitchFinder::autoCorr()
{
    kiss_fft_cpx* spectrum = asComplex(mSpectrum);
    kiss_fftr(mForwardPlan, mData.data(), spectrum);
    const uint32_t bins = mFftLength / 2 + 1;
    for (uint32_t k = 0; k < bins; ++k) {
        spectrum[k].r = spectrum[k].r * spectrum[k].r + spectrum[k].i * spectrum[k].i;
        spectrum[k].i = 0.0f;
    }
    kiss_fftri(mInversePlan, spectrum, mAutoCorrelation.data());
    return mAutoCorrelation[0];
}

double PitchFinder::snac(float* output)
{
    const int n = int(mDataParams.frameSize_samples);
    const double scale = 1.0 / mFftLength;
    const double r0 = autoCorr() * scale;
    const float* x = mData.data();
    const float* acf = mAutoCorrelation.data();
    // McLeod's normaliser: the sum over the overlapping part of x[j]^2 + x[j + lag]^2,
    // kept incrementally.
    double m = 2.0 * r0;
    for (int i = 0; i <= n / 2; ++i) {
        const double head = x[i];
        const double tail = x[n - 1 - i];
        m -= tail * tail + head * head;
        output[i] = m > 0.0 ? float(acf[i + 1] * scale * 2.0 / m) : 0.0f;
    }
    return r0;
}

void PitchFinder::bandpass()
{
    const int n = int(mDataParams.frameSize_samples);
    kiss_fft_cpx* spectrum = asComplex(mSpectrum);
    kiss_fftr(mForwardPlan, mData.data(), spectrum);
    // The bins are counted against n, not the transform length, so the band that passes
    // lies two thirds as high as the parameters say. Kept that way on purpose.
    const double binsPerHz = double(n) / mDataParams.sampleRate_Hz;
    const int lowBin = int(mProcessingParams.lowFrequency_Hz * binsPerHz);
    const int highBin = int(mProcessingParams.highFrequency_Hz * binsPerHz);
    const int lastBin = int(mFftLength / 2);
    for (int k = 1; k <= lastBin; ++k) {
        if (k > highBin || k < lowBin)
            spectrum[k].r = spectrum[k].i = 0.0f;
    }
    kiss_fftri(mInversePlan, spectrum, mAutoCorrelation.data());
    const float scale = 1.0f / float(mFftLength);
    for (int i = 0; i < n; ++i)
        mData[i] = mAutoCorrelation[i] * scale;
}

void PitchFinder::applyHanningWindow(const float* input, float* output) const
{
    for (uint32_t i = 0; i < mDataParams.frameSize_samples; ++i)
        output[i] = input[i] * mHanning[i];
}

void PitchFinder::applyWindow()
{
    if (mProcessingParams.windowType == HanningWindow)
        applyHanningWindow(mData.data(), mData.data());
}

int PitchFinder::calcCepstrumPeriodIndex()
{
    const int n = int(mDataParams.frameSize_samples);
    if (n == 0)
        return 0;
    if (mProcessingParams.windowType == NoWindow)
        std::copy(mData.begin(), mData.begin() + n, mWindowed.begin());
    else if (mProcessingParams.windowType == HanningWindow)
        applyHanningWindow(mData.data(), mWindowed.data());

    kiss_fft_cpx* spectrum = asComplex(mFrameSpectrum);
    kiss_fftr(mFrameForwardPlan, mWindowed.data(), spectrum);
    const int bins = n / 2 + 1;
    const double logScale = std::log(100.0);
    for (int k = 0; k < bins; ++k) {
        const double magnitude = std::hypot(double(spectrum[k].r), double(spectrum[k].i));
        spectrum[k].r = float(std::log(2.0 * magnitude / bins * 99.0 + 1.0) / logScale);
        spectrum[k].i = 0.0f;
    }
    kiss_fftri(mFrameInversePlan, spectrum, mWindowed.data());

    float low_Hz = 0.0f;
    float high_Hz = 0.0f;
    getActualFrequencyBand(low_Hz, high_Hz);
    const float multiplier = mCalibrator.calibrationMultiplier();
    const float rate = float(mDataParams.sampleRate_Hz);
    const int highest = std::min(int(rate / (low_Hz * multiplier)), n);
    const int lowest = int(rate / (high_Hz * multiplier));
    if (highest <= lowest)
        return 0;
    int best = 0;
    float bestValue = 0.0f;
    for (int i = lowest; i < highest; ++i) {
        if (mWindowed[i] > bestValue) {
            best = i;
            bestValue = mWindowed[i];
        }
    }
    return best;
}
