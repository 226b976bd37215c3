// The dialogs that change the settings or the tune, and playback.

#include "MainWindow.h"

#include "UserPrompts.h"

#include <QDebug>
#include <QDir>

void MainWindow::onTuneDetails()
{
    AppSettings edited = mSettings;
    if (mPrompts->editTuneDetails(this, edited)) {
        mSettings = edited;
        applyGeneralSettings();
    }
    displayPixmaps();
}

void MainWindow::onSettings()
{
    AppSettings edited = mSettings;
    if (!mPrompts->editSettings(this, edited))
        return;
    const bool inputChanged = edited.audioDevice != mSettings.audioDevice
        || edited.recordingFrequency_Hz != mSettings.recordingFrequency_Hz;
    mSettings = edited;
    QDir().mkpath(mSettings.autoSaveDir);
    applyGeneralSettings();
    initProcessing();
    if (inputChanged && mAudio.mode() == AudioThreads::Mode::Devices)
        mAudio.recorderWrapper().start(mSettings.audioDevice, mSettings.recordingFrequency_Hz, kFrameSize);
}

void MainWindow::onStartAudioPlayback()
{
    if (mCurrentRecording.isEmpty()) {
        mPrompts->warning(this, "Nothing to play", "There is no audio to play yet");
        return;
    }
    qDebug() << "Rec buff size " << mCurrentRecording.size();
    mPrompts->playAudio(this, mSettings.recordingFrequency_Hz, mSettings.audioOutputDevice, mCurrentRecording);
}
