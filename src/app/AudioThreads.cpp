#include "AudioThreads.h"

#include "AudioProcessor.h"

#include <QDateTime>
#include <QDebug>
#include <QMetaObject>

#include <chrono>
#include <thread>

AudioThreads::AudioThreads(Mode mode)
    : mMode(mode)
    , mRecordingThread(new QThread)
    , mProcessingThread(new QThread)
    , mRecorderWrapper(new AudioRecorderWrapper)
    , mProcessorWrapper(new AudioProcessorWrapper)
{
    mRecordingThread->setObjectName("recording");
    mProcessingThread->setObjectName("processing");
}

AudioThreads::~AudioThreads()
{
    if (mRecordingThread->isRunning() || mProcessingThread->isRunning())
        shutdown(2000);
    // A thread still running holds its wrapper's objects: destroying either would crash, so
    // both are left to the process's end.
    if (mRecordingThread->isRunning()) {
        mRecordingThread.release();
        mRecorderWrapper.release();
    }
    if (mProcessingThread->isRunning()) {
        mProcessingThread.release();
        mProcessorWrapper.release();
    }
}

void AudioThreads::start()
{
    mRecorderWrapper->moveToThread(mRecordingThread.get());
    mRecordingThread->start(QThread::InheritPriority);
    // Makes the recorder object only; the device opens when the window starts the capture.
    mRecorderWrapper->initialise();

    mProcessorWrapper->moveToThread(mProcessingThread.get());
    mProcessingThread->start(QThread::InheritPriority);
    mProcessorWrapper->initialise();
}

bool AudioThreads::shutdown(int deadline_ms)
{
    if (AudioProcessor* processor = this->processor()) {
        processor->setAudioRecorder(nullptr);
        // A replay holds its thread until it ends; it ends between two chunks when told.
        processor->stopPlayback();
    }
    if (mMode == Mode::Devices)
        mRecorderWrapper->stop();
    // quit() from here could end a loop before the stop queued above has run; queued
    // behind it, the device is closed on its own thread first.
    for (auto pair : {std::make_pair<QObject*, QThread*>(mRecorderWrapper.get(), mRecordingThread.get()),
             std::make_pair<QObject*, QThread*>(mProcessorWrapper.get(), mProcessingThread.get())}) {
        QThread* thread = pair.second;
        if (thread->isRunning())
            QMetaObject::invokeMethod(
                pair.first, [thread] { thread->quit(); }, Qt::QueuedConnection);
    }
    const QDateTime deadline = QDateTime::currentDateTimeUtc().addMSecs(deadline_ms);
    while (mRecordingThread->isRunning() || mProcessingThread->isRunning()) {
        std::this_thread::sleep_for(std::chrono::microseconds(100));
        if (QDateTime::currentDateTimeUtc() > deadline)
            break;
        std::this_thread::yield();
    }
    const bool joined = !mRecordingThread->isRunning() && !mProcessingThread->isRunning();
    if (!joined)
        qWarning() << "Audio threads did not stop within" << deadline_ms << "ms";
    // Finished threads: wait() only reaps them.
    if (!mRecordingThread->isRunning())
        mRecordingThread->wait();
    if (!mProcessingThread->isRunning())
        mProcessingThread->wait();
    return joined;
}
