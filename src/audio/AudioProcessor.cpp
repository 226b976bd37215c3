#include "AudioProcessor.h"

#include "AudioRecorder.h"
#include "ProgressiveCeolmark.h"
#include "ProgressiveTranscriptionDriver.h"

#include <QDebug>
#include <QMetaType>
#include <QMutexLocker>
#include <QThread>

#include <algorithm>
#include <exception>

AudioProcessor::AudioProcessor(QObject* parent)
    : AudioProcessor(std::make_unique<ProgressiveTranscriptionDriver>(), parent)
{
}

AudioProcessor::AudioProcessor(std::unique_ptr<ProgressiveTranscriptionDriver> driver, QObject* parent)
    : QObject(parent)
    , mDriver(std::move(driver))
{
    registerMetaTypes();
}

AudioProcessor::~AudioProcessor() = default;

void AudioProcessor::registerMetaTypes()
{
    qRegisterMetaType<NoteMap>("NoteMap");
    qRegisterMetaType<PipeTuning>("PipeTuning");
    qRegisterMetaType<PitchFinder::AnalysisResults>("PitchFinder::AnalysisResults");
}

void AudioProcessor::setDataParams(PitchFinder::DataParams params)
{
    {
        QMutexLocker lock(&mParamsMutex);
        mDataParams = params;
    }
    mDataParamsChanged.exchange(1);
}

void AudioProcessor::setParams(PitchFinder::ProcessingParams params)
{
    {
        QMutexLocker lock(&mParamsMutex);
        mProcessingParams = params;
    }
    mProcessingParamsChanged.exchange(1);
}

void AudioProcessor::setTuning(const PipeTuning& tuning)
{
    {
        QMutexLocker lock(&mParamsMutex);
        mTuning = tuning;
    }
    mTuningChanged.exchange(1);
}

void AudioProcessor::setMinimumVolume_normalized(float minimumVolume_normalized)
{
    {
        QMutexLocker lock(&mParamsMutex);
        if (mMinimumVolume_normalized == minimumVolume_normalized)
            return;
        mMinimumVolume_normalized = minimumVolume_normalized;
    }
    mMinimumVolumeChanged.exchange(1);
}

void AudioProcessor::setTranscribeInterval_s(float interval_s)
{
    {
        QMutexLocker lock(&mParamsMutex);
        mTranscribeInterval_s = interval_s;
    }
    mIntervalChanged.exchange(1);
}

void AudioProcessor::setTranscriptionParams(
    float filterCornerFrequency_Hz, float snacPeakThreshold, float minimumSnacPeak)
{
    {
        QMutexLocker lock(&mParamsMutex);
        mFilterCornerFrequency_Hz = filterCornerFrequency_Hz;
        mSnacPeakThreshold = snacPeakThreshold;
        mMinimumSnacPeak = minimumSnacPeak;
    }
    mTranscriptionParamsChanged.exchange(1);
}

void AudioProcessor::enableTranscription(bool enable) { mTranscriptionEnabled.exchange(enable ? 1 : 0); }

void AudioProcessor::resetTranscription() { mResetPending.exchange(1); }

void AudioProcessor::stopPlayback() { mPlaybackActive.exchange(0); }

void AudioProcessor::setDebugDisable() { mDebugDisable.exchange(1); }

void AudioProcessor::setAudioRecorder(AudioRecorder* recorder)
{
    QMutexLocker lock(&mMutex);
    mHistoricPosition_B = 0;
    mLivePosition_B = 0;
    mRecorder = recorder;
}

void AudioProcessor::processData(qint64 bytes, bool historic)
{
    if (mPlaybackActive.load())
        return;
    QMutexLocker lock(&mMutex);
    if (!mRecorder)
        return;
    if (historic) {
        if (mTranscriptionEnabled.load() && bytes > mHistoricPosition_B) {
            const QByteArray data = mRecorder->getRecentData(mHistoricPosition_B);
            _processData(data);
            mHistoricPosition_B += data.size();
        }
        mLivePosition_B = 0;
    } else {
        if (!mTranscriptionEnabled.load() && bytes > mLivePosition_B) {
            const QByteArray data = mRecorder->getRecentData(0);
            mLivePosition_B = mRecorder->getLiveBytesReceived();
            _processData(data);
        }
        mHistoricPosition_B = 0;
    }
}

void AudioProcessor::playbackData(QByteArray data, int chunkSize_B)
{
    if (mPlaybackActive.exchange(1))
        return;
    if (QThread::currentThread() == thread()) {
        _playbackData(data, chunkSize_B);
        return;
    }
    QMetaObject::invokeMethod(
        this, "_playbackData", Qt::QueuedConnection, Q_ARG(QByteArray, data), Q_ARG(int, chunkSize_B));
}

void AudioProcessor::_playbackData(QByteArray data, int chunkSize_B)
{
    const int chunk_B = chunkSize_B > 0 ? chunkSize_B : std::max(data.size(), 1);
    for (int position_B = 0; position_B < data.size() && mPlaybackActive.load(); position_B += chunk_B)
        _processData(data.mid(position_B, std::min(chunk_B, data.size() - position_B)));
    mPlaybackActive.exchange(0);
    emit playbackFinised();
}

void AudioProcessor::_processData(const QByteArray& data)
{
    try {
        if (data.isEmpty()) {
            qDebug() << "No data";
            return;
        }
        applyPendingParameters();
        if (mTranscriptionEnabled.load())
            transcriptionPath(data);
        else
            meterPath(data);
    } catch (const std::exception& e) {
        qDebug() << "Proc thread STD EXCEPTION! :";
        qDebug() << e.what();
        reportInternalError();
    } catch (...) {
        qDebug() << "Proc thread UNKNOWN EXCEPTION!";
        reportInternalError();
    }
}

void AudioProcessor::applyPendingParameters()
{
    // Each flag is taken before its value is read, so a value set meanwhile waits for the
    // next batch instead of being lost.
    if (mDataParamsChanged.exchange(0)) {
        PitchFinder::DataParams params;
        {
            QMutexLocker lock(&mParamsMutex);
            params = mDataParams;
        }
        mPitchFinder.setDataParams(params);
        mDriver->setSamplingFrequency_Hz(float(params.sampleRate_Hz));
    }
    if (mProcessingParamsChanged.exchange(0)) {
        QMutexLocker lock(&mParamsMutex);
        mPitchFinder.setProcessingParams(mProcessingParams);
    }
    if (mTranscriptionParamsChanged.exchange(0)) {
        QMutexLocker lock(&mParamsMutex);
        mDriver->setTranscriptionParams(mFilterCornerFrequency_Hz, mSnacPeakThreshold, mMinimumSnacPeak);
    }
    if (mMinimumVolumeChanged.exchange(0)) {
        float volume;
        {
            QMutexLocker lock(&mParamsMutex);
            volume = mMinimumVolume_normalized;
        }
        mDriver->setMinimumVolume_normalized(volume);
    }
    if (mTuningChanged.exchange(0)) {
        PipeTuning tuning;
        {
            QMutexLocker lock(&mParamsMutex);
            tuning = mTuning;
        }
        mDriver->setTuning(tuning);
    }
    if (mIntervalChanged.exchange(0)) {
        float interval_s;
        {
            QMutexLocker lock(&mParamsMutex);
            interval_s = mTranscribeInterval_s;
        }
        mDriver->setTranscriptionInterval_s(interval_s);
    }
}

void AudioProcessor::meterPath(const QByteArray& data)
{
    const int frame_B = int(mPitchFinder.dataParams().dataSize_B());
    if (frame_B == 0) {
        // No frame size yet: there is nothing to analyse with.
        return;
    }
    mFrame.append(data);
    if (mFrame.size() < frame_B)
        return;
    mPitchFinder.setData(reinterpret_cast<const short*>(mFrame.constData()));
    mPitchFinder.calculatePitch();
    const PitchFinder::AnalysisResults results = mPitchFinder.analysisResults();
    // Anything past the first frame is dropped: the meter wants the newest, not all.
    mFrame.clear();
    emit dataProcessed(results);
}

void AudioProcessor::transcriptionPath(const QByteArray& data)
{
    // After the interval was applied: the reset puts the interval back to 0.1 s, and a
    // recording is meant to run at that.
    if (mResetPending.exchange(0)) {
        mTranscriptionSamples.clear();
        mDriver->reset();
        mSamplesHandedOver = 0;
    }
    if (mDebugDisable.load())
        return;
    mTranscriptionSamples.append(data);
    const quint32 total = quint32(mTranscriptionSamples.size() / 2);
    const quint32 fresh = total - mSamplesHandedOver;
    const short* samples = reinterpret_cast<const short*>(mTranscriptionSamples.constData());
    const bool produced = mDriver->feed(samples + (total - fresh), fresh);
    emit transcriptionVolume(mDriver->lastRmsAverage_normalized());
    if (produced) {
        const ProgressiveTranscriptionDriver::Result& result = mDriver->lastResult();
        emit transcriptionResult(result.time_s, result.notes, result.graceNotes, result.tuning, false);
    }
    mSamplesHandedOver = total;
}

void AudioProcessor::reportInternalError()
{
    try {
        const ProgressiveCeolmark& transcriber = mDriver->transcriber();
        emit transcriptionResult(
            mDriver->lastTranscribeTime_s(), transcriber.notes(), transcriber.graceNotes(), transcriber.tuning(), true);
    } catch (...) {
        // The transcriber can't even be read: report the error with nothing.
        emit transcriptionResult(0.0f, NoteMap(), NoteMap(), PipeTuning(), true);
    }
}
