// The metronome: a click timer on the interface thread, kept on the audio clock.

#include "MainWindow.h"

#include <QDebug>
#include <QLabel>

#include <cmath>

void MainWindow::setBeatInterval()
{
    mBeatInterval_s = Metronome::beatInterval_s(mSettings.bpm);
    mBeatIndicator->setToolTip(QString("The metronome's beat: every %1 s").arg(mBeatInterval_s, 0, 'f', 2));
}

void MainWindow::setSubBeatDivisor()
{
    mSubBeatDivisor = Metronome::subBeatDivisor(mSettings.timeSignature, mSettings.subBeatsEnabled);
}

int MainWindow::getBeatsPerBar(int timeSignature) const { return Metronome::beatsPerBar(timeSignature); }

void MainWindow::prepareMetronome()
{
    mMetronome.prepare(mSettings.bpm, mSettings.timeSignature, mSettings.subBeatsEnabled);
    mClickTimer.setInterval(mMetronome.nominalInterval_ms());
}

void MainWindow::onClickTimer()
{
    const Metronome::Tick tick = mMetronome.onTick(
        mAudio.recorderWrapper().getElapsed_s(), mClickTimer.interval(), mSettings.maxClickCompensation_ms);
    if (tick.limited)
        qDebug() << "****************************************************** Max interval reached";
    else if (tick.interval_ms != mClickTimer.interval())
        mClickTimer.setInterval(tick.interval_ms);
    qDebug().nospace() << "PID: " << tick.correction_ms << " for Diff " << tick.diff_s
                       << " Interval: " << mClickTimer.interval()
                       << (std::fabs(tick.diff_s) > 0.05f ? " **********  " : "");
    playClick();
}

void MainWindow::playClick()
{
    mBeatIndicator->setPixmap(mBeatOn);
    mBeatIndicator->update();
    mClickLabelTimer.start();
    switch (mMetronome.nextClick(mSettings.metronomeEnabled, mSettings.differentBarBeginClick)) {
    case Metronome::Click::BarStart:
        if (mClick2)
            mClick2->play();
        break;
    case Metronome::Click::Normal:
        if (mClick1)
            mClick1->play();
        break;
    case Metronome::Click::None: break;
    }
    emit metronomeClicked();
}

void MainWindow::onClickLabelTimer()
{
    mClickLabelTimer.stop();
    mBeatIndicator->setPixmap(mBeatOff);
    mBeatIndicator->update();
}
