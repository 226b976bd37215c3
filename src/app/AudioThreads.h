#pragma once

#include "AudioProcessorWrapper.h"
#include "AudioRecorderWrapper.h"

#include <QThread>

#include <memory>

class AudioProcessor;

// The recording and processing threads with their wrappers. The window starts them once and
// joins them once, with a deadline: a worker stuck in a device call must not hold the
// program open, so a thread that misses it is let go rather than destroyed while running.
//
// Threads: interface thread only. With Mode::NoDevices the window never starts the capture,
// so no audio device is opened, ever (for tests and machines without sound): the recorder
// exists but receives only what a test hands it, and the processor runs.
class AudioThreads {
public:
    enum class Mode {
        Devices,
        NoDevices
    };

    explicit AudioThreads(Mode mode);
    ~AudioThreads();
    AudioThreads(const AudioThreads&) = delete;
    AudioThreads& operator=(const AudioThreads&) = delete;

    Mode mode() const { return mMode; }
    AudioRecorderWrapper& recorderWrapper() { return *mRecorderWrapper; }
    AudioProcessorWrapper& processorWrapper() { return *mProcessorWrapper; }
    // Null until the processing wrapper has reported itself initialised.
    AudioProcessor* processor() const { return mProcessorWrapper ? mProcessorWrapper->processor() : nullptr; }

    // Moves the wrappers to their threads, starts both and asks each wrapper to make its
    // worker; the wrappers' initialised() signals tell when each is up.
    void start();

    // Stops capture and quits both threads after the work already queued to them, then waits
    // until both have finished or deadline_ms has passed. True if both finished.
    bool shutdown(int deadline_ms);

private:
    Mode mMode;
    std::unique_ptr<QThread> mRecordingThread;
    std::unique_ptr<QThread> mProcessingThread;
    std::unique_ptr<AudioRecorderWrapper> mRecorderWrapper;
    std::unique_ptr<AudioProcessorWrapper> mProcessorWrapper;
};
