#include "ProgressiveTranscriptionDriver.h"

#include "ProgressiveCeolmark.h"

#include <QDebug>

#include <algorithm>
#include <exception>

ProgressiveTranscriptionDriver::ProgressiveTranscriptionDriver()
    : mTranscriber(new ProgressiveCeolmark)
{
}

ProgressiveTranscriptionDriver::ProgressiveTranscriptionDriver(std::unique_ptr<ProgressiveCeolmark> transcriber)
    : mTranscriber(std::move(transcriber))
{
}

ProgressiveTranscriptionDriver::~ProgressiveTranscriptionDriver() = default;

void ProgressiveTranscriptionDriver::setSamplingFrequency_Hz(float samplingFrequency_Hz)
{
    mTranscriber->setSamplingFrequency_Hz(samplingFrequency_Hz);
}

void ProgressiveTranscriptionDriver::setTranscriptionParams(
    float filterCornerFrequency_Hz, float snacPeakThreshold, float minimumSnacPeak)
{
    mTranscriber->setFilterCornerFrequency_Hz(filterCornerFrequency_Hz);
    mTranscriber->setSnacPeakThreshold(snacPeakThreshold);
    mTranscriber->setMinimumSnacPeak(minimumSnacPeak);
}

void ProgressiveTranscriptionDriver::setMinimumVolume_normalized(float minimumVolume_normalized)
{
    mTranscriber->setMinimumVolume_normalized(minimumVolume_normalized);
    HistoricPipeTuning historic = mTranscriber->historicTuning();
    historic.setMinimumVolume_normalized(minimumVolume_normalized);
    mTranscriber->setHistoricalTuning(historic);
}

void ProgressiveTranscriptionDriver::setTuning(const PipeTuning& tuning)
{
    HistoricPipeTuning historic = mTranscriber->historicTuning();
    historic.setCalibratedTuning(tuning, true);
    mTranscriber->setHistoricalTuning(historic);
}

void ProgressiveTranscriptionDriver::setTranscriptionInterval_s(float interval_s)
{
    mTranscriber->setTranscriptionInterval_s(std::max(interval_s, kMinimumInterval_s));
}

void ProgressiveTranscriptionDriver::reset()
{
    // The reset empties the historic tuning too; what it learned carries into the next recording.
    const HistoricPipeTuning historic = mTranscriber->historicTuning();
    mTranscriber->reset();
    mTranscriber->setHistoricalTuning(historic);
    mLastResult = Result();
    mHasResult = false;
}

bool ProgressiveTranscriptionDriver::feed(const short* samples, unsigned count)
{
    return transcribe(samples, count, false);
}

bool ProgressiveTranscriptionDriver::flush() { return transcribe(nullptr, 0, true); }

bool ProgressiveTranscriptionDriver::replay(
    const short* samples, std::size_t count, bool flushTail, const BlockCallback& afterBlock)
{
    bool produced = false;
    for (std::size_t first = 0; first < count; first += kReplayChunk_samples) {
        const unsigned chunk = unsigned(std::min<std::size_t>(count - first, kReplayChunk_samples));
        produced |= feed(samples + first, chunk);
        if (afterBlock)
            afterBlock(first + chunk);
    }
    if (flushTail)
        produced |= flush();
    return produced;
}

float ProgressiveTranscriptionDriver::lastRmsAverage_normalized() const
{
    return mTranscriber->getLastRmsAverage_normalized(kVolumeFrames);
}

float ProgressiveTranscriptionDriver::lastTranscribeTime_s() const { return mTranscriber->lastTranscribeTime_s(); }

bool ProgressiveTranscriptionDriver::transcribe(const short* samples, unsigned count, bool force)
{
    // A fault in one block must not end a recording: the block's samples are counted,
    // it yields no result, and the next block goes on from there.
    bool produced = false;
    try {
        produced = mTranscriber->progressiveTranscribe(samples, count, force);
    } catch (const std::exception& e) {
        qDebug() << "STD EXCEPTION! :";
        qDebug() << e.what();
    } catch (...) {
        qDebug() << "UNKNOWN EXCEPTION!";
    }
    if (!produced)
        return false;
    mLastResult.time_s = mTranscriber->lastTranscribeTime_s();
    mLastResult.notes = mTranscriber->notes();
    mLastResult.graceNotes = mTranscriber->graceNotes();
    mLastResult.tuning = mTranscriber->tuning();
    mHasResult = true;
    return true;
}
