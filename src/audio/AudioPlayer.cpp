#include "AudioPlayer.h"

#include <QAudioFormat>
#include <QAudioOutput>
#include <QBuffer>
#include <QDebug>
#include <QFile>

#include <cmath>

AudioPlayer::AudioPlayer()
    : mDeviceInfo(QAudioDeviceInfo::defaultOutputDevice())
{
    qRegisterMetaType<const char*>("const char*");
    // A child, so that it moves to the player's thread with the player.
    mBuffer = new QBuffer(this);
    connect(&mThread, &QThread::finished, this, &AudioPlayer::allFinished, Qt::DirectConnection);
    moveToThread(&mThread);
    mThread.start(QThread::InheritPriority);
}

AudioPlayer::~AudioPlayer()
{
    if (mThread.isRunning()) {
        // The output belongs to the player's thread: tear it down there.
        QMetaObject::invokeMethod(
            this,
            [this] {
                stop();
                mThread.quit();
            },
            Qt::BlockingQueuedConnection);
        mThread.wait();
    }
}

void AudioPlayer::setAudioData(QByteArray data)
{
    if (!onOwnThread()) {
        QMetaObject::invokeMethod(this, "setAudioData", Qt::QueuedConnection, Q_ARG(QByteArray, data));
        return;
    }
    if (mAudioOutput)
        stop();
    mBuffer->close();
    mData = data;
    mBuffer->setBuffer(&mData);
    mBuffer->open(QIODevice::ReadOnly);
    start();
}

void AudioPlayer::loadFile(QString path, bool stereo)
{
    if (!onOwnThread()) {
        QMetaObject::invokeMethod(this, "loadFile", Qt::QueuedConnection, Q_ARG(QString, path), Q_ARG(bool, stereo));
        return;
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        emit fileOpened(path, false, 0);
        return;
    }
    QByteArray data = file.readAll();
    if (stereo) {
        QByteArray left;
        left.reserve(data.size() / 2);
        for (int i = 0; i + 1 < data.size(); i += 4)
            left.append(data.constData() + i, 2);
        data = left;
    }
    setAudioData(data);
    emit fileOpened(path, !mData.isEmpty(), mData.size());
}

void AudioPlayer::seek(float seconds)
{
    if (!onOwnThread()) {
        QMetaObject::invokeMethod(this, "seek", Qt::QueuedConnection, Q_ARG(float, seconds));
        return;
    }
    if (!mAudioOutput)
        return;
    mSeeked = true;
    mBuffer->seek(qint64(std::trunc(seconds * float(mSamplingRate_Hz))) * 2);
}

void AudioPlayer::start()
{
    if (!onOwnThread()) {
        QMetaObject::invokeMethod(this, "start", Qt::QueuedConnection);
        return;
    }
    if (mData.isEmpty() || mSamplingRate_Hz == 0)
        return;
    if (mAudioOutput)
        stop();

    QAudioFormat format;
    format.setSampleRate(mSamplingRate_Hz);
    format.setChannelCount(1);
    format.setSampleSize(16);
    format.setCodec("audio/pcm");
    format.setByteOrder(QAudioFormat::LittleEndian);
    format.setSampleType(QAudioFormat::SignedInt);
    if (!mDeviceInfo.isFormatSupported(format)) {
        qWarning().noquote() << QString("raw audio format not supported by backend, cannot play audio. Device is %1")
                                    .arg(mDeviceInfo.deviceName());
        return;
    }

    if (!mBuffer->isOpen())
        mBuffer->open(QIODevice::ReadOnly);
    mAudioOutput = new QAudioOutput(mDeviceInfo, format, this);
    mAudioOutput->setNotifyInterval(mNotifyInterval_ms);
    connect(mAudioOutput, &QAudioOutput::notify, this, &AudioPlayer::audioNotify);
    connect(mAudioOutput, &QAudioOutput::stateChanged, this, &AudioPlayer::audioStateChanged);
    mAudioOutput->start(mBuffer);
}

void AudioPlayer::stop()
{
    if (!onOwnThread()) {
        QMetaObject::invokeMethod(this, "stop", Qt::QueuedConnection);
        return;
    }
    if (mAudioOutput) {
        // A stopped output has nothing more to report.
        mAudioOutput->disconnect(this);
        mAudioOutput->suspend();
        mAudioOutput->stop();
        delete mAudioOutput;
        mAudioOutput = nullptr;
    }
    mBuffer->close();
}

void AudioPlayer::pause()
{
    if (!onOwnThread()) {
        QMetaObject::invokeMethod(this, "pause", Qt::QueuedConnection);
        return;
    }
    if (!mAudioOutput)
        return;
    if (mAudioOutput->state() == QAudio::SuspendedState)
        mAudioOutput->resume();
    else
        mAudioOutput->suspend();
}

void AudioPlayer::quit()
{
    if (!onOwnThread()) {
        QMetaObject::invokeMethod(this, "quit", Qt::QueuedConnection);
        return;
    }
    stop();
    mThread.quit();
}

void AudioPlayer::finish() { mThread.quit(); }

void AudioPlayer::setAudioDevice(QString name)
{
    if (!onOwnThread()) {
        QMetaObject::invokeMethod(this, "setAudioDevice", Qt::QueuedConnection, Q_ARG(QString, name));
        return;
    }
    const QList<QAudioDeviceInfo> devices = QAudioDeviceInfo::availableDevices(QAudio::AudioOutput);
    for (const QAudioDeviceInfo& device : devices) {
        if (device.deviceName() == name) {
            mDeviceInfo = device;
            return;
        }
    }
    mDeviceInfo = QAudioDeviceInfo::defaultOutputDevice();
}

void AudioPlayer::setSamplingRate_Hz(int rate_Hz)
{
    if (!onOwnThread()) {
        QMetaObject::invokeMethod(this, "setSamplingRate_Hz", Qt::QueuedConnection, Q_ARG(int, rate_Hz));
        return;
    }
    mSamplingRate_Hz = rate_Hz;
}

void AudioPlayer::setNotifyInterval_ms(int interval_ms)
{
    if (!onOwnThread()) {
        QMetaObject::invokeMethod(this, "setNotifyInterval_ms", Qt::QueuedConnection, Q_ARG(int, interval_ms));
        return;
    }
    mNotifyInterval_ms = interval_ms;
}

QByteArray AudioPlayer::bufferSubset(float start_s, float end_s) const
{
    const qint64 start_B = qint64(std::trunc(2.0f * start_s * float(mSamplingRate_Hz)));
    const qint64 end_B = qint64(std::trunc(2.0f * end_s * float(mSamplingRate_Hz)));
    if (!(end_s > start_s))
        return mData.mid(int(start_B));
    return mData.mid(int(start_B), int(end_B - start_B));
}

float AudioPlayer::time_s() const
{
    if (mSamplingRate_Hz == 0)
        return 0.0f;
    return float(mData.size()) / 2.0f / float(mSamplingRate_Hz);
}

void AudioPlayer::audioNotify()
{
    qint64 position_B = mBuffer->pos();
    if (!mBuffer->atEnd())
        position_B = std::max<qint64>(0, position_B - kOutputLead_B);
    emit dataPlayed(mData.constData(), position_B, mSeeked);
    mSeeked = false;
}

void AudioPlayer::audioStateChanged(QAudio::State state)
{
    if (state == QAudio::IdleState)
        emit audioFinished();
}
