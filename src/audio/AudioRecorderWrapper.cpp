#include "AudioRecorderWrapper.h"

#include "AudioRecorder.h"

#include <QDebug>
#include <QThread>

AudioRecorderWrapper::AudioRecorderWrapper(QObject* parent)
    : QObject(parent)
{
}

bool AudioRecorderWrapper::onOwnThread() const { return QThread::currentThread() == thread(); }

void AudioRecorderWrapper::initialise()
{
    if (!onOwnThread()) {
        QMetaObject::invokeMethod(this, "initialise", Qt::QueuedConnection);
        return;
    }
    if (!mRecorder.load()) {
        AudioRecorder* recorder = new AudioRecorder(this);
        connect(recorder, &AudioRecorder::dataReceived, this, &AudioRecorderWrapper::dataReceived);
        connect(recorder, &AudioRecorder::firstDataReceived, this, &AudioRecorderWrapper::firstDataReceived);
        mRecorder = recorder;
    }
    emit initialised();
}

void AudioRecorderWrapper::start(QString deviceName, int sampleRate_Hz, int frames)
{
    if (!onOwnThread()) {
        QMetaObject::invokeMethod(this, "start", Qt::QueuedConnection, Q_ARG(QString, deviceName),
            Q_ARG(int, sampleRate_Hz), Q_ARG(int, frames));
        return;
    }
    AudioRecorder* recorder = mRecorder.load();
    if (!recorder) {
        qWarning() << "Recorder started before initialise";
        return;
    }
    recorder->restart(deviceName, sampleRate_Hz, frames);
}

void AudioRecorderWrapper::stop()
{
    if (!onOwnThread()) {
        QMetaObject::invokeMethod(this, "stop", Qt::QueuedConnection);
        return;
    }
    if (AudioRecorder* recorder = mRecorder.load())
        recorder->stop();
}

float AudioRecorderWrapper::getElapsed_s() const
{
    AudioRecorder* recorder = mRecorder.load();
    return recorder ? recorder->getElapsed_s() : 0.0f;
}

QByteArray AudioRecorderWrapper::recordedData() const
{
    AudioRecorder* recorder = mRecorder.load();
    return recorder ? recorder->recordedData() : QByteArray();
}

void AudioRecorderWrapper::enableHistoricRecording(bool enable)
{
    if (AudioRecorder* recorder = mRecorder.load())
        recorder->enableHistoricRecording(enable);
}
