#include "AudioRecorder.h"

#include <QAudioInput>
#include <QDebug>
#include <QMutexLocker>

AudioRecorder::AudioRecorder(QObject* parent)
    : QObject(parent)
    , mDeviceInfo(QAudioDeviceInfo::defaultInputDevice())
{
    mFormat.setByteOrder(QAudioFormat::LittleEndian);
    mFormat.setCodec("audio/pcm");
    mFormat.setSampleSize(16);
    mFormat.setSampleType(QAudioFormat::SignedInt);
    mFormat.setSampleRate(44100);
    mFormat.setChannelCount(1);
}

AudioRecorder::~AudioRecorder()
{
    if (mRecording)
        stop();
}

bool AudioRecorder::initialise(int sampleRate_Hz, int frames)
{
    qDebug().noquote() << QString("INITIALISE to %1 Hz").arg(sampleRate_Hz);
    if (mAudioInput) {
        qWarning() << "INITIALISE called with existing audio input";
        stop();
        // stop() only deletes a running input
        delete mAudioInput;
        mAudioInput = nullptr;
        mAudioDevice = nullptr;
    }
    mFormat.setSampleRate(sampleRate_Hz);
    mSampleRate_Hz = sampleRate_Hz;
    createInput();
    mBatchSize_B = mFormat.channelCount() * frames * (mFormat.sampleSize() / 8);

    QMutexLocker lock(&mMutex);
    mScratch.clear();
    mRecordedData.clear();
    mRecordedSize_B = 0;
    mLiveBytesReceived = 0;
    mFirstDataReceived = false;
    return true;
}

void AudioRecorder::createInput() { mAudioInput = new QAudioInput(mDeviceInfo, mFormat, this); }

void AudioRecorder::setAudioDevice(QString name)
{
    const QList<QAudioDeviceInfo> devices = QAudioDeviceInfo::availableDevices(QAudio::AudioInput);
    for (const QAudioDeviceInfo& device : devices) {
        if (device.deviceName() == name) {
            mDeviceInfo = device;
            return;
        }
    }
}

void AudioRecorder::start()
{
    mScratch.clear();
    if (!mAudioInput)
        return;
    qDebug().noquote() << QString("STARTING (State is %1)").arg(int(mAudioInput->state()));
    if (mAudioInput->state() != QAudio::StoppedState) {
        mRecording = true;
        stop();
        // stop() took the running input with it; start again on a fresh one
        createInput();
    }
    mRecording = true;
    connect(mAudioInput, &QAudioInput::stateChanged, this, &AudioRecorder::audioStateChanged);
    mAudioDevice = mAudioInput->start();
    if (!mAudioDevice) {
        // Without a device Qt returns no QIODevice and changes no state: log what a failed
        // open would have logged.
        audioStateChanged(mAudioInput->state());
        return;
    }
    connect(mAudioDevice, &QIODevice::readyRead, this, &AudioRecorder::audioDataReady);
}

void AudioRecorder::stop()
{
    qDebug() << "Stopping audio recording";
    if (!mRecording) {
        qWarning() << "Stop called with mRecording false";
        return;
    }
    mRecording = false;
    if (mAudioDevice)
        disconnect(mAudioDevice, &QIODevice::readyRead, this, &AudioRecorder::audioDataReady);
    if (mAudioInput) {
        mAudioInput->stop();
        delete mAudioInput;
    }
    mAudioInput = nullptr;
    mAudioDevice = nullptr;
}

void AudioRecorder::restart(QString deviceName, int sampleRate_Hz, int frames)
{
    if (mRecording)
        stop();
    setAudioDevice(deviceName);
    initialise(sampleRate_Hz, frames);
    start();
}

QByteArray AudioRecorder::recordedData() const
{
    QMutexLocker lock(&mMutex);
    return mRecordedData;
}

QByteArray AudioRecorder::getRecentData(qint64 position_B) const
{
    QMutexLocker lock(&mMutex);
    const qint64 count = mRecordedData.size() - position_B;
    if (count <= 0)
        return QByteArray();
    return mRecordedData.right(int(count));
}

qint64 AudioRecorder::getLiveBytesReceived() const
{
    QMutexLocker lock(&mMutex);
    return mLiveBytesReceived;
}

float AudioRecorder::getElapsed_s() const
{
    const int rate_Hz = mSampleRate_Hz.load();
    if (rate_Hz == 0)
        return 0.0f;
    return float(mRecordedSize_B.load()) / float(2 * rate_Hz);
}

void AudioRecorder::enableHistoricRecording(bool enable)
{
    QMutexLocker lock(&mMutex);
    if (enable) {
        mRecordedData.clear();
        mRecordedSize_B = 0;
        mFirstDataReceived = false;
    }
    mLiveBytesReceived = 0;
    mHistoric = enable;
}

void AudioRecorder::audioDataReady()
{
    if (!mAudioInput || !mAudioDevice)
        return;
    acceptData(mAudioDevice->readAll());
}

void AudioRecorder::acceptData(const QByteArray& bytes)
{
    mScratch.append(bytes);
    if (mBatchSize_B <= 0)
        return;

    bool announceFirst = false;
    {
        QMutexLocker lock(&mMutex);
        if (!mFirstDataReceived && !mScratch.isEmpty() && mHistoric.load()) {
            mFirstDataReceived = true;
            announceFirst = true;
        }
    }
    if (announceFirst)
        emit firstDataReceived();

    int consumed_B = 0;
    while (mScratch.size() - consumed_B >= mBatchSize_B) {
        const QByteArray batch = mScratch.mid(consumed_B, mBatchSize_B);
        consumed_B += mBatchSize_B;
        // The mode is read per batch, so a switch lands between two batches.
        bool historic;
        qint64 bytes_B;
        {
            QMutexLocker lock(&mMutex);
            historic = mHistoric.load();
            if (historic) {
                mRecordedData.append(batch);
                bytes_B = mRecordedData.size();
            } else {
                mRecordedData = batch;
                mLiveBytesReceived += mBatchSize_B;
                bytes_B = mLiveBytesReceived;
            }
            mRecordedSize_B = mRecordedData.size();
        }
        emit dataReceived(bytes_B, historic);
    }
    mScratch.remove(0, consumed_B);
}

QString AudioRecorder::errorText(QAudio::Error error)
{
    switch (error) {
    case QAudio::NoError: return QString();
    case QAudio::OpenError: return "An error opening the audio device";
    case QAudio::IOError: return "An error occurred during read/write of audio device";
    case QAudio::UnderrunError: return "Audio data is not being fed to the audio device at a fast enough rate";
    case QAudio::FatalError: return "A non-recoverable error has occurred, the audio device is not usable at this time";
    }
    return "Unknown";
}

void AudioRecorder::audioStateChanged(QAudio::State state)
{
    QString name;
    switch (state) {
    case QAudio::ActiveState: name = "Active"; break;
    case QAudio::SuspendedState: name = "Suspended"; break;
    case QAudio::StoppedState: name = "Stopped"; break;
    case QAudio::IdleState: name = "Idle"; break;
    default: name = "Unknown!"; break;
    }
    qDebug().noquote() << QString("Audio state changed to: %1").arg(name);
    if (state != QAudio::StoppedState)
        return;
    const QString text = mAudioInput ? errorText(mAudioInput->error()) : QString("Unknown (Null mAudioInput)");
    qDebug().noquote() << QString("Audio stopped. Error was: %1").arg(text);
}
