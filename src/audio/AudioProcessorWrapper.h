#pragma once

#include <QObject>

#include <atomic>

class AudioProcessor;

// The interface thread's handle on the processor. Move the wrapper to the processing
// thread before initialise(); it makes the processor there as its child.
//
// Threads: initialise may be called from any thread; off the wrapper's thread it re-posts
// itself, queued, and returns at once. processor() is null until initialised has been
// emitted; after that the pointer stays valid until the wrapper dies, and the processor's
// setters, playbackData and setAudioRecorder may be called through it from any thread.
class AudioProcessorWrapper : public QObject {
    Q_OBJECT

public:
    explicit AudioProcessorWrapper(QObject* parent = nullptr);

    Q_INVOKABLE void initialise();
    AudioProcessor* processor() const { return mProcessor.load(); }

signals:
    void initialised();

private:
    // Set once on the processing thread, read from the interface thread.
    std::atomic<AudioProcessor*> mProcessor{nullptr};
};
