#include "ChanterSynthesiser.h"
#include "utils.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace {
constexpr double kPi = 3.14159265358979323846;
// Fades where the reed starts and stops, so a rest does not click.
constexpr double kFade_s = 0.005;
// Drone spectrum: reed drones are rich, roughly 1 / h.
constexpr int kDroneHarmonics = 12;

bool isGripLike(PipeNoteName gracing) { return gracing == grp || gracing == thrd || gracing == tar || gracing == tarb; }

// A small, fixed generator so the noise is the same on every platform.
class NoiseSource {
public:
    explicit NoiseSource(uint32_t seed)
        : mState(seed ? seed : 1u)
    {
    }
    // Uniform in [-1, 1).
    double next()
    {
        mState ^= mState << 13;
        mState ^= mState >> 17;
        mState ^= mState << 5;
        return double(mState) / 2147483648.0 - 1.0;
    }

private:
    uint32_t mState;
};

} // namespace

const std::vector<float> ChanterSynthesiser::kChanterHarmonics = {0.3f, 0.55f, 1.0f, 0.9f, 0.75f, 0.35f, 0.25f, 0.15f};

std::vector<float> ChanterSynthesiser::harmonicsWithWeakFundamental(float fundamentalBelowFourth_dB)
{
    std::vector<float> harmonics = kChanterHarmonics;
    harmonics[0] = harmonics[3] * float(std::pow(10.0, -fundamentalBelowFourth_dB / 20.0));
    return harmonics;
}

std::vector<short> ChanterSynthesiser::tone(double frequency_Hz, double sampleRate_Hz, unsigned count,
    const std::vector<float>& harmonics, double peak, double phase_rad)
{
    std::vector<double> sum(count, 0.0);
    for (std::size_t h = 1; h <= harmonics.size(); ++h) {
        if (double(h) * frequency_Hz >= sampleRate_Hz / 2.0)
            break;
        // Each harmonic gets its own starting phase so the peaks do not all line up.
        const double phase = phase_rad * double(h) * 1.7;
        for (unsigned i = 0; i < count; ++i)
            sum[i] += harmonics[h - 1] * std::sin(2.0 * kPi * double(h) * frequency_Hz * i / sampleRate_Hz + phase);
    }
    double largest = 0.0;
    for (double v : sum)
        largest = std::max(largest, std::fabs(v));
    const double scale = largest > 0.0 ? peak / largest : 0.0;
    std::vector<short> samples(count);
    for (unsigned i = 0; i < count; ++i)
        samples[i] = short(std::lround(sum[i] * scale));
    return samples;
}

ChanterSynthesiser::ChanterSynthesiser(double sampleRate_Hz, const PipeTuning& tuning)
    : mSampleRate_Hz(sampleRate_Hz)
    , mTuning(tuning)
    , mHarmonics(kChanterHarmonics)
{
    if (!(sampleRate_Hz > 0.0))
        throw std::invalid_argument("ChanterSynthesiser: the sample rate must be positive");
}

void ChanterSynthesiser::setNoise(double level_normalized, uint32_t seed)
{
    mNoiseLevel = level_normalized;
    mNoiseSeed = seed;
}

int64_t ChanterSynthesiser::toSamples(double duration_s) const
{
    return std::max<int64_t>(0, std::llround(duration_s * mSampleRate_Hz));
}

double ChanterSynthesiser::driftFactor(double time_s) const
{
    return utils::centsToFreqRatio(mDrift_centsPerSecond * time_s);
}

double ChanterSynthesiser::frequencyOf(PipeNoteName note) const
{
    const double centre_Hz = mTuning.getReferenceNoteCentreFrequency_Hz(noteNameToReferenceNote(note));
    return centre_Hz * utils::centsToFreqRatio(mDetune_cents);
}

int64_t ChanterSynthesiser::sound(PipeNoteName note, double duration_s)
{
    if (!isMelodyNote(note))
        throw std::invalid_argument("ChanterSynthesiser: only chanter notes LG..HA can sound");
    const int64_t start = mTotal_samples;
    const int64_t count = toSamples(duration_s);
    mSegments.push_back({frequencyOf(note), start, count});
    mTotal_samples += count;
    mPlayed.push_back({note, double(start) / mSampleRate_Hz, double(count) / mSampleRate_Hz});
    return start;
}

double ChanterSynthesiser::gracingDuration_s(PipeNoteName gracing) const
{
    const std::vector<PipeNoteName> expansion = getNoteNames(gracing);
    if (isMelodyNote(gracing) || expansion.empty())
        return 0.0;
    double duration_s = 0.0;
    for (std::size_t i = 0; i < expansion.size(); ++i) {
        const bool longLowG = i == 0 && expansion[i] == LG && isGripLike(gracing);
        duration_s += double(toSamples(longLowG ? mFirstLowG_s : mGraceNote_s)) / mSampleRate_Hz;
    }
    return duration_s;
}

void ChanterSynthesiser::play(PipeNoteName melody, double duration_s, PipeNoteName gracing)
{
    if (!isMelodyNote(melody))
        throw std::invalid_argument("ChanterSynthesiser::play: the melody note must be LG..HA");
    if (gracing != Unknown && (isMelodyNote(gracing) || noteTypeFromName(gracing) == StrikeNoteType))
        throw std::invalid_argument("ChanterSynthesiser::play: a gracing must be a grace note or movement");

    const int64_t gracingStart = mTotal_samples;
    const std::vector<PipeNoteName> expansion = getNoteNames(gracing);
    for (std::size_t i = 0; i < expansion.size(); ++i) {
        const bool longLowG = i == 0 && expansion[i] == LG && isGripLike(gracing);
        sound(expansion[i], longLowG ? mFirstLowG_s : mGraceNote_s);
    }
    const int64_t melodyStart = sound(melody, duration_s);
    const double start_s = double(melodyStart) / mSampleRate_Hz;
    mMelody.emplace(float(start_s), PipeNote(melody, float(start_s), float(mPlayed.back().duration_s)));
    if (!expansion.empty()) {
        const double graceStart_s = double(gracingStart) / mSampleRate_Hz;
        PipeNote note(gracing, float(graceStart_s), float(start_s - graceStart_s));
        note.setMelodyNoteStartOffset_s(float(start_s - graceStart_s));
        mGracings.emplace(note.start_s(), note);
    }
}

void ChanterSynthesiser::playStrike(PipeNoteName strike, PipeNoteName melody, double before_s, double after_s)
{
    if (noteTypeFromName(strike) != StrikeNoteType || !isMelodyNote(melody))
        throw std::invalid_argument("ChanterSynthesiser::playStrike: a strike on a melody note LG..HA");
    play(melody, before_s);
    const int64_t strikeStart = sound(getNoteNames(strike).front(), mGraceNote_s);
    const double strike_s = double(strikeStart) / mSampleRate_Hz;
    mGracings.emplace(float(strike_s), PipeNote(strike, float(strike_s), float(mPlayed.back().duration_s)));
    play(melody, after_s);
}

void ChanterSynthesiser::rest(double duration_s)
{
    const int64_t count = toSamples(duration_s);
    mSegments.push_back({0.0, mTotal_samples, count});
    mTotal_samples += count;
}

std::vector<short> ChanterSynthesiser::render() const
{
    std::vector<double> mix(std::size_t(mTotal_samples), 0.0);
    const double nyquist_Hz = mSampleRate_Hz / 2.0;
    const int64_t fade = std::max<int64_t>(1, toSamples(kFade_s));

    // The chanter: one phase for the whole performance, so a change of note never restarts
    // the waveform. Scaled afterwards so that its peak is exactly mChanterPeak.
    std::vector<double> chanter(mix.size(), 0.0);
    double phase = 0.0; // in cycles of the fundamental
    for (std::size_t s = 0; s < mSegments.size(); ++s) {
        const Segment& segment = mSegments[s];
        if (segment.frequency_Hz <= 0.0)
            continue;
        const bool startsReed = s == 0 || mSegments[s - 1].frequency_Hz <= 0.0;
        const bool stopsReed = s + 1 == mSegments.size() || mSegments[s + 1].frequency_Hz <= 0.0;
        double step = segment.frequency_Hz / mSampleRate_Hz;
        for (int64_t i = 0; i < segment.count_samples; ++i) {
            if (mDrift_centsPerSecond != 0.0)
                step = segment.frequency_Hz * driftFactor(double(segment.start_samples + i) / mSampleRate_Hz)
                    / mSampleRate_Hz;
            double value = 0.0;
            for (std::size_t h = 1; h <= mHarmonics.size(); ++h) {
                if (double(h) * segment.frequency_Hz >= nyquist_Hz)
                    break;
                value += mHarmonics[h - 1] * std::sin(2.0 * kPi * (double(h) * phase + 0.13 * double(h * h)));
            }
            double envelope = 1.0;
            if (startsReed && i < fade)
                envelope = double(i) / double(fade);
            if (stopsReed && segment.count_samples - 1 - i < fade)
                envelope = std::min(envelope, double(segment.count_samples - 1 - i) / double(fade));
            chanter[std::size_t(segment.start_samples + i)] = value * envelope;
            phase += step;
            phase -= std::floor(phase);
        }
    }
    double largest = 0.0;
    for (double v : chanter)
        largest = std::max(largest, std::fabs(v));
    const double chanterScale = largest > 0.0 ? mChanterPeak / largest : 0.0;
    for (std::size_t i = 0; i < mix.size(); ++i)
        mix[i] = chanter[i] * chanterScale;

    if (mDroneLevel > 0.0) {
        // Two tenors a little apart beat slowly, as real drones do; the bass an octave below.
        const double lowA_Hz = mTuning.lowA_Hz();
        const double drones_Hz[] = {lowA_Hz / 2.0, lowA_Hz / 2.0 * 1.0005, lowA_Hz / 4.0};
        double norm = 0.0;
        for (int h = 1; h <= kDroneHarmonics; ++h)
            norm += 1.0 / h;
        const double amplitude = mDroneLevel * mChanterPeak / norm;
        for (double drone_Hz : drones_Hz) {
            for (std::size_t i = 0; i < mix.size(); ++i) {
                const double t = double(i) / mSampleRate_Hz;
                double value = 0.0;
                for (int h = 1; h <= kDroneHarmonics && h * drone_Hz < nyquist_Hz; ++h)
                    value += std::sin(2.0 * kPi * h * drone_Hz * t + 0.7 * h) / h;
                mix[i] += amplitude * value;
            }
        }
    }

    if (mNoiseLevel > 0.0) {
        NoiseSource noise(mNoiseSeed);
        for (double& v : mix)
            v += mNoiseLevel * mChanterPeak * noise.next();
    }

    std::vector<short> samples(mix.size());
    for (std::size_t i = 0; i < mix.size(); ++i)
        samples[i] = short(std::clamp<long>(std::lround(mix[i]), -32768, 32767));
    return samples;
}
