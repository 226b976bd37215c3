#pragma once

#include "PipeNote.h"
#include "PipeTuning.h"
#include "PitchFinder.h"

#include <QByteArray>
#include <QMutex>
#include <QObject>

#include <atomic>
#include <memory>

class AudioRecorder;
class ProgressiveTranscriptionDriver;

// Where audio stops being bytes. Between recordings each live batch becomes one
// PitchFinder::AnalysisResults for the volume meter and the calibration (dataProcessed);
// during a recording or a replay the batches feed the progressive transcriber, and the
// whole tune so far leaves by transcriptionResult at the transcriber's own pace.
//
// Threads: the processor lives on the processing thread, where processData, playbackData's
// work and every signal run. The setters, playbackData and setAudioRecorder may be called
// from any thread. A setter stages its value and raises a flag; the value is applied at
// the start of the next batch, never in the middle of one. setAudioRecorder takes the lock
// that processData holds through a whole batch, transcription included, so it can wait
// that long.
// Failures: an exception from a transcription step is logged and the batch yields no
// result; one from anywhere else in a batch is logged and reported by transcriptionResult
// with internalError true. Either way the next batch is processed as usual.
class AudioProcessor : public QObject {
    Q_OBJECT

public:
    explicit AudioProcessor(QObject* parent = nullptr);
    // Transcribes through the given driver, for a transcriber set up by the caller.
    explicit AudioProcessor(std::unique_ptr<ProgressiveTranscriptionDriver> driver, QObject* parent = nullptr);
    ~AudioProcessor() override;

    // The types that cross threads in this engine's queued signals. Idempotent.
    static void registerMetaTypes();

    // Staged setters, any thread.
    // Frame size (samples) and rate of the meter path; the rate is also the transcriber's.
    void setDataParams(PitchFinder::DataParams params);
    void setParams(PitchFinder::ProcessingParams params);
    // The calibrated tuning; it seeds the drift tracking, which a new recording keeps.
    void setTuning(const PipeTuning& tuning);
    // Level 0..1 below which audio is ignored. No effect if unchanged.
    void setMinimumVolume_normalized(float minimumVolume_normalized);
    // Seconds of audio between two results, at least 0.05. A new recording runs at 0.1 s
    // whatever is set here: the transcriber's reset puts it back.
    void setTranscribeInterval_s(float interval_s);
    // Input filter corner in Hz (0: none), SNAC peak factor and lowest peak (0..1).
    void setTranscriptionParams(float filterCornerFrequency_Hz, float snacPeakThreshold, float minimumSnacPeak);
    // On: historic batches are transcribed and live ones ignored. Off: the meter path.
    void enableTranscription(bool enable);
    // The next transcribed batch starts a new tune (the learned tuning is kept).
    void resetTranscription();
    // Ends a replay between two chunks.
    void stopPlayback();
    // From now on, recordings are kept but not transcribed. Cannot be undone.
    void setDebugDisable();
    // Any thread. The recorder to fetch batches from (not owned), or null; both read
    // positions start again from 0.
    void setAudioRecorder(AudioRecorder* recorder);

    bool isPlaybackActive() const { return mPlaybackActive.load() != 0; }

public slots:
    // Processing thread, from the recorder's dataReceived. bytes is a hint: everything past
    // the processor's own position is fetched, so a backlog of signals collapses into one
    // fetch and a signal of the other mode is ignored.
    void processData(qint64 bytes, bool historic);
    // Any thread. Replays recorded audio through the transcription in chunks of chunkSize_B
    // bytes, as fast as it goes; ignored while a replay is running. Recorder batches are
    // ignored meanwhile. Ends with playbackFinised.
    void playbackData(QByteArray data, int chunkSize_B);
    // Processing thread: the replay itself.
    void _playbackData(QByteArray data, int chunkSize_B);

signals:
    void dataProcessed(PitchFinder::AnalysisResults results);
    // time_s: the newest audio's time from the start of the recording; the maps hold the
    // whole tune so far.
    void transcriptionResult(float time_s, NoteMap notes, NoteMap graceNotes, PipeTuning tuning, bool internalError);
    // Mean level (0..1) of the newest frames of a transcribed batch.
    void transcriptionVolume(float volume_normalized);
    void playbackFinised();

private:
    void _processData(const QByteArray& data);
    void applyPendingParameters();
    void meterPath(const QByteArray& data);
    void transcriptionPath(const QByteArray& data);
    void reportInternalError();

    // Processing thread only.
    std::unique_ptr<ProgressiveTranscriptionDriver> mDriver;
    PitchFinder mPitchFinder;
    QByteArray mTranscriptionSamples;
    QByteArray mFrame;
    quint32 mSamplesHandedOver = 0;

    // Staged by the setters; the values are copied out under the lock once their flag is
    // taken, so a value can't tear while a setter runs on another thread.
    mutable QMutex mParamsMutex;
    PitchFinder::DataParams mDataParams;
    PitchFinder::ProcessingParams mProcessingParams;
    PipeTuning mTuning;
    float mMinimumVolume_normalized = -1.0f;
    float mTranscribeInterval_s = 0.1f;
    float mFilterCornerFrequency_Hz = 0.0f;
    float mSnacPeakThreshold = 0.9f;
    float mMinimumSnacPeak = 0.3f;

    std::atomic<quint8> mTranscriptionEnabled{0};
    std::atomic<quint8> mResetPending{1};
    std::atomic<quint8> mTuningChanged{0};
    std::atomic<quint8> mDataParamsChanged{0};
    std::atomic<quint8> mProcessingParamsChanged{0};
    std::atomic<quint8> mMinimumVolumeChanged{0};
    std::atomic<quint8> mTranscriptionParamsChanged{0};
    std::atomic<quint8> mPlaybackActive{0};
    std::atomic<quint8> mDebugDisable{0};
    std::atomic<quint8> mIntervalChanged{0};

    // Guards the recorder pointer and the two read positions.
    QMutex mMutex;
    AudioRecorder* mRecorder = nullptr;
    qint64 mHistoricPosition_B = 0;
    qint64 mLivePosition_B = 0;
};
