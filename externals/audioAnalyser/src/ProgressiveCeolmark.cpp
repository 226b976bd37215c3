#include "ProgressiveCeolmark.h"

#include "CeolmarkUtils.h"

#include <algorithm>
#include <iterator>

namespace {
constexpr float kDefaultInterval_s = 0.1f;
// How much audio the window may hold before its oldest second is settled and dropped.
constexpr double kWindowLength_s = 5.0;
// A note settles once it ended this long before the newest audio.
constexpr double kSettleAge_s = 1.0;
constexpr int kTrim_ms = 1000;
// The splice starts just before the last settled note, and within this much after that
// point a note is most likely that same note transcribed again.
constexpr float kCutLead_s = 0.01f;
constexpr float kDuplicateSpan_s = 0.02f;
} // namespace

ProgressiveCeolmark::ProgressiveCeolmark()
{
    // The base is freshly built; only this class's state needs its reset values.
    resetProgressiveState();
}

void ProgressiveCeolmark::reset()
{
    Ceolmark::reset();
    resetProgressiveState();
}

void ProgressiveCeolmark::resetProgressiveState()
{
    mPendingSamples.clear();
    mTotalSamples = 0;
    mNextTranscribe_s = kDefaultInterval_s;
    mSettledNotes.clear();
    mWindowStart_s = 0.0f;
    mHistoricTuning.reset();
    // The tuning's averages cover one second of frames.
    mHistoricTuning.setAverageSize(int(mSamplingFrequency_Hz / float(mFrameHop_samples)));
    mTranscriptionInterval_s = kDefaultInterval_s;
}

bool ProgressiveCeolmark::progressiveTranscribe(const short* samples, unsigned int count, bool force)
{
    if (count != 0) {
        mPendingSamples.append(reinterpret_cast<const char*>(samples), int(count * sizeof(short)));
        const unsigned int consumed = calculateFrequencies(reinterpret_cast<const short*>(mPendingSamples.constData()),
            unsigned(mPendingSamples.size()) / sizeof(short));
        mTotalSamples += consumed;
        if (consumed != 0) {
            mPendingSamples.remove(0, int(consumed * sizeof(short)));
            const int firstNewFrame = int(mFrequencies.size()) - int(consumed / unsigned(mFrameHop_samples));
            mHistoricTuning.update(mFrequencies, mQualities, mVolumes, firstNewFrame);
            mTuning = mHistoricTuning.tuning();
        }
    }
    const float now_s = float(mTotalSamples) / mSamplingFrequency_Hz;
    if (!force && !(now_s > mNextTranscribe_s))
        return false;
    retranscribe();
    // Counted from this result, not on a fixed grid.
    mNextTranscribe_s = now_s + mTranscriptionInterval_s;
    return true;
}

void ProgressiveCeolmark::retranscribe()
{
    clearStageResults();
    mFrameNotes.clear();
    mLoweredFrameNotes.clear();
    mPickedFrameNotes.clear();
    calculateNotes();
    transcribe();

    // Splice the window's notes, whose times count from the window start, to the settled ones.
    const float cut_s = mSettledNotes.empty() ? 0.0f : mSettledNotes.back().start_s() - kCutLead_s;
    std::vector<PipeNote> result = mSettledNotes;
    for (PipeNote note : combineMelodyAndGraceNotes(mNotes, mGraceNotes)) {
        note.setStart_s(note.start_s() + mWindowStart_s);
        if (mSettledNotes.empty()) {
            result.push_back(note);
            continue;
        }
        const float d_s = note.start_s() - cut_s;
        if (d_s > kDuplicateSpan_s) {
            result.push_back(note);
        } else if (d_s > 0.0f) {
            // Right after the settled tail, only a melody note that the tail's gracing
            // still needs is new; anything else repeats the last settled note.
            if (isMelodyNote(note.noteName()) && !isMelodyNote(result.back().noteName()))
                result.push_back(note);
        }
    }
    mNotes.clear();
    mGraceNotes.clear();
    splitMelodyAndGraceNotes(result, mNotes, mGraceNotes);

    // What ended a second before the newest audio is final; the caller still sees the rest.
    const float end_s = float(mTotalSamples) / mSamplingFrequency_Hz;
    auto settledEnd = result.end();
    while (settledEnd != result.begin() && !(double(std::prev(settledEnd)->getEnd_s()) < end_s - kSettleAge_s))
        --settledEnd;
    result.erase(settledEnd, result.end());

    // A note settles only together with a trim, so the splice stays behind the window's start.
    if (end_s - mWindowStart_s > kWindowLength_s) {
        mSettledNotes = std::move(result);
        do {
            dropFrontFrames(framesIn(kTrim_ms));
            mWindowStart_s += 1.0f;
        } while (end_s - mWindowStart_s > kWindowLength_s);
    }
}

int ProgressiveCeolmark::framesIn(int ms) const
{
    return int(mSamplingFrequency_Hz / float(mFrameHop_samples) * float(ms) / 1000.0f);
}

void ProgressiveCeolmark::dropFrontFrames(int frames)
{
    for (std::vector<float>* values : {&mFrequencies, &mPickedFrequencies, &mQualities, &mVolumes}) {
        const auto drop = std::min(values->size(), size_t(std::max(frames, 0)));
        values->erase(values->begin(), values->begin() + std::ptrdiff_t(drop));
    }
}

void ProgressiveCeolmark::trimFrequencies(int ms) { dropFrontFrames(framesIn(ms)); }

void ProgressiveCeolmark::setTranscriptionInterval_s(float interval_s)
{
    mTranscriptionInterval_s = interval_s;
    mNextTranscribe_s = interval_s;
}

float ProgressiveCeolmark::lastTranscribeTime_s() const { return float(mTotalSamples) / mSamplingFrequency_Hz; }

float ProgressiveCeolmark::getLastRmsAverage_normalized(int frames) const
{
    if (mVolumes.empty())
        return 0.0f;
    const size_t count = std::min(mVolumes.size(), size_t(std::max(frames, 1)));
    float sum = 0.0f;
    for (size_t i = mVolumes.size() - count; i < mVolumes.size(); ++i)
        sum += mVolumes[i];
    return sum / float(count);
}

void ProgressiveCeolmark::setHistoricalTuning(const HistoricPipeTuning& historicTuning)
{
    mHistoricTuning = historicTuning;
    mTuning = mHistoricTuning.tuning();
    setLowA_Hz(mTuning.getReferenceNoteCentreFrequency_Hz(PipeTuning::LowA));
}
