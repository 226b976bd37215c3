#include "AudioProcessorWrapper.h"

#include "AudioProcessor.h"

#include <QThread>

AudioProcessorWrapper::AudioProcessorWrapper(QObject* parent)
    : QObject(parent)
{
    AudioProcessor::registerMetaTypes();
}

void AudioProcessorWrapper::initialise()
{
    if (QThread::currentThread() != thread()) {
        QMetaObject::invokeMethod(this, "initialise", Qt::QueuedConnection);
        return;
    }
    if (!mProcessor.load())
        mProcessor = new AudioProcessor(this);
    emit initialised();
}
