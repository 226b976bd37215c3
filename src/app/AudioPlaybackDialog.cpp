#include "AudioPlaybackDialog.h"

#include <QDialogButtonBox>
#include <QFontDatabase>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSlider>
#include <QStyle>
#include <QVBoxLayout>

#include <cmath>

namespace {
// Pictures of the application where there are any, the style's otherwise.
QIcon iconOr(const QString& resource, QStyle::StandardPixmap fallback, const QStyle* style)
{
    const QIcon icon(resource);
    return icon.isNull() ? style->standardIcon(fallback) : icon;
}
} // namespace

AudioPlaybackDialog::AudioPlaybackDialog(QWidget* parent)
    : QDialog(parent)
{
    setWindowTitle("Play audio");

    mSlider = new QSlider(Qt::Horizontal);
    mSlider->setObjectName("position");
    mSlider->setToolTip("The position in the recording; drag it to play from elsewhere");
    mTimeLabel = new QLabel;
    mTimeLabel->setObjectName("time");
    // Fixed digits keep the label from jittering as the time changes.
    mTimeLabel->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    auto makeButton
        = [this](const char* name, const QString& text, const QString& icon, QStyle::StandardPixmap fallback) {
              QPushButton* button = new QPushButton(iconOr(icon, fallback, style()), text);
              button->setObjectName(name);
              button->setAutoDefault(false);
              return button;
          };
    mPlayButton = makeButton("play", "Play", ":/play.png", QStyle::SP_MediaPlay);
    mPauseButton = makeButton("pause", "Pause", ":/pause.png", QStyle::SP_MediaPause);
    mStopButton = makeButton("stop", "Stop", ":/stop.png", QStyle::SP_MediaStop);
    QDialogButtonBox* closeBox = new QDialogButtonBox(QDialogButtonBox::Close);
    connect(closeBox, &QDialogButtonBox::rejected, this, &AudioPlaybackDialog::reject);

    QHBoxLayout* positionRow = new QHBoxLayout;
    positionRow->addWidget(mSlider, 1);
    positionRow->addWidget(mTimeLabel);
    QHBoxLayout* buttonRow = new QHBoxLayout;
    buttonRow->addWidget(mPlayButton);
    buttonRow->addWidget(mPauseButton);
    buttonRow->addWidget(mStopButton);
    buttonRow->addStretch(1);
    buttonRow->addWidget(closeBox);
    QVBoxLayout* layout = new QVBoxLayout(this);
    layout->addLayout(positionRow);
    layout->addLayout(buttonRow);
    setMinimumWidth(480);

    connect(mSlider, &QSlider::valueChanged, this, &AudioPlaybackDialog::onSliderValueChanged);
    connect(mPlayButton, &QPushButton::clicked, this, &AudioPlaybackDialog::onPlay);
    connect(mPauseButton, &QPushButton::clicked, this, &AudioPlaybackDialog::onPause);
    connect(mStopButton, &QPushButton::clicked, this, &AudioPlaybackDialog::onStop);
    // The player is on its own thread: these arrive queued.
    connect(&mPlayer, &AudioPlayer::dataPlayed, this, &AudioPlaybackDialog::onDataPlayed);
    connect(&mPlayer, &AudioPlayer::audioFinished, this, &AudioPlaybackDialog::onAudioFinished);
    connect(this, &AudioPlaybackDialog::seekRequested, &mPlayer, &AudioPlayer::seek);

    showStopped();
    updatePlaybackTimes(0.0f);
}

void AudioPlaybackDialog::initialise(int sampleRate_Hz, const QString& device, const QByteArray& data)
{
    mPlayButton->setEnabled(false);
    mPauseButton->setEnabled(true);
    mStopButton->setEnabled(true);
    mSampleRate_Hz = sampleRate_Hz;
    mDuration_s = sampleRate_Hz > 0 ? float(data.size()) / 2.0f / float(sampleRate_Hz) : 0.0f;
    mPlayer.setAudioDevice(device);
    mPlayer.setSamplingRate_Hz(sampleRate_Hz);
    mSliderMovedByProgram = true;
    mSlider->setMaximum(int(std::lround(mDuration_s * 1000.0f)));
    mSlider->setValue(0);
    mSliderMovedByProgram = false;
    updatePlaybackTimes(0.0f);
    mPlayer.setAudioData(data);
}

void AudioPlaybackDialog::updatePlaybackTimes(float seconds)
{
    mTimeLabel->setText(QString("%1 / %2 secs").arg(seconds, 5, 'f', 1).arg(mDuration_s, 5, 'f', 1));
}

void AudioPlaybackDialog::onDataPlayed(const char*, qint64 position_B, bool)
{
    // Reports still queued after a pause or a stop would move the slider back.
    if (!mPauseButton->isEnabled() || mSampleRate_Hz <= 0)
        return;
    const float seconds = float(position_B) / 2.0f / float(mSampleRate_Hz);
    updatePlaybackTimes(seconds);
    moveSlider(int(std::lround(seconds * 1000.0f)));
}

void AudioPlaybackDialog::onSliderValueChanged(int value_ms)
{
    if (mSliderMovedByProgram)
        return;
    const float seconds = float(value_ms) / 1000.0f;
    updatePlaybackTimes(seconds);
    emit seekRequested(seconds);
}

void AudioPlaybackDialog::onPlay()
{
    mPlayButton->setEnabled(false);
    mPauseButton->setEnabled(true);
    mStopButton->setEnabled(true);
    mPlayer.start();
    // Both are queued to the player's thread in this order: the seek finds the output started.
    emit seekRequested(float(mSlider->value()) / 1000.0f);
}

void AudioPlaybackDialog::onPause()
{
    mPauseButton->setEnabled(false);
    mPlayButton->setEnabled(true);
    mPlayer.pause();
}

void AudioPlaybackDialog::onStop()
{
    mPlayer.stop();
    showStopped();
}

void AudioPlaybackDialog::onAudioFinished() { showStopped(); }

void AudioPlaybackDialog::done(int result)
{
    onStop();
    QDialog::done(result);
}

void AudioPlaybackDialog::showStopped()
{
    mPlayButton->setEnabled(true);
    mPauseButton->setEnabled(false);
    mStopButton->setEnabled(false);
    moveSlider(0);
    updatePlaybackTimes(0.0f);
}

void AudioPlaybackDialog::moveSlider(int value_ms)
{
    mSliderMovedByProgram = true;
    mSlider->setValue(value_ms);
    mSliderMovedByProgram = false;
}
