#pragma once

#include "PipeNote.h"
#include "PipeTuning.h"

#include <cstddef>
#include <functional>
#include <memory>

class ProgressiveCeolmark;

// Runs a ProgressiveCeolmark the one way the application does, so that the audio
// processing thread and ceolmark-cli cannot drift apart: settings applied between two
// blocks of audio, the reset that starts a recording or a replay while keeping the learned
// tuning, then the audio block by block, keeping the last result.
//
// The processing thread calls the setters for the parameters it has staged, in the order
// they are declared here, then reset() when a recording starts, then feed() with each new
// block of live samples. The command line calls the same and replay() over a whole
// recording.
//
// Belongs to one thread at a time (the processing thread in the application) and takes no
// locks. Not copyable.
class ProgressiveTranscriptionDriver {
public:
    // A replay hands the transcriber 8192-byte chunks: 4096 samples per call.
    static constexpr unsigned kReplayChunk_samples = 4096;
    // Shorter transcription intervals are raised to this.
    static constexpr float kMinimumInterval_s = 0.05f;
    // Frames over which lastRmsAverage_normalized is taken.
    static constexpr int kVolumeFrames = 10;

    // What the transcriber last produced: the whole tune so far.
    struct Result {
        // Time of the newest audio in seconds from the start of the recording.
        float time_s = 0.0f;
        NoteMap notes;
        NoteMap graceNotes;
        PipeTuning tuning;
    };

    ProgressiveTranscriptionDriver();
    // Drives the given transcriber (non-null) instead of a plain one.
    explicit ProgressiveTranscriptionDriver(std::unique_ptr<ProgressiveCeolmark> transcriber);
    ~ProgressiveTranscriptionDriver();
    ProgressiveTranscriptionDriver(const ProgressiveTranscriptionDriver&) = delete;
    ProgressiveTranscriptionDriver& operator=(const ProgressiveTranscriptionDriver&) = delete;

    // Rate of the samples in Hz; 8000 Hz and below become 8000.
    void setSamplingFrequency_Hz(float samplingFrequency_Hz);
    // Input filter corner in Hz (0: no filter) and the two SNAC peak settings (0..1).
    void setTranscriptionParams(float filterCornerFrequency_Hz, float snacPeakThreshold, float minimumSnacPeak);
    // Level (0..1) below which audio is ignored, by the transcriber and by the drift tracking.
    void setMinimumVolume_normalized(float minimumVolume_normalized);
    // The calibrated tuning. It seeds the drift tracking, which carries it through reset().
    void setTuning(const PipeTuning& tuning);
    // Seconds of audio between two results; at least kMinimumInterval_s. Note that reset()
    // puts the transcriber back to 0.1 s.
    void setTranscriptionInterval_s(float interval_s);

    // Starts a recording or a replay: empty notes and audio, the learned tuning kept.
    // Forgets the last result.
    void reset();

    // The next block of audio, count 16-bit samples (any count, 0 included). Returns true
    // when a new result stands in lastResult(). An exception from the transcriber is
    // logged and the block counts as having produced no result; its samples stay consumed.
    bool feed(const short* samples, unsigned count);
    // Transcribes the frames in hand whether a result is due or not, so that the tail of a
    // recording is not lost. The application never does this; the command line does.
    bool flush();
    // After each block of a replay: the samples fed so far.
    typedef std::function<void(std::size_t fed_samples)> BlockCallback;
    // A whole recording as a replay sees it: feed() per chunk of kReplayChunk_samples, then
    // flush() if flushTail. Returns true if any result was produced.
    bool replay(const short* samples, std::size_t count, bool flushTail, const BlockCallback& afterBlock = nullptr);

    bool hasResult() const { return mHasResult; }
    // Valid when hasResult().
    const Result& lastResult() const { return mLastResult; }
    // Mean level (0..1) of the newest frames, for the volume bar.
    float lastRmsAverage_normalized() const;
    // Time of the newest audio in seconds.
    float lastTranscribeTime_s() const;

    ProgressiveCeolmark& transcriber() { return *mTranscriber; }
    const ProgressiveCeolmark& transcriber() const { return *mTranscriber; }

private:
    bool transcribe(const short* samples, unsigned count, bool force);

    std::unique_ptr<ProgressiveCeolmark> mTranscriber;
    Result mLastResult;
    bool mHasResult = false;
};
