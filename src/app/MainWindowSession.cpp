// The recording session: record, stop, replay, and drawing the results into the two views.

#include "MainWindow.h"

#include "AudioProcessor.h"
#include "AutosaveFolder.h"
#include "PipeTuneQuantizer.h"
#include "TimeSignature.h"
#include "UserPrompts.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDateTime>
#include <QDebug>
#include <QDir>
#include <QDoubleSpinBox>
#include <QFileInfo>
#include <QLabel>
#include <QProgressBar>
#include <QScrollArea>
#include <QScrollBar>
#include <QSpinBox>
#include <QStandardPaths>

#include <exception>

namespace {
// Bytes handed to the transcriber at a time in a replay.
constexpr int kReplayChunk_B = 8192;
// The capture is restarted at the next Record when nothing has come from it for this long:
// the device went away and may be back.
constexpr qint64 kSilentInput_ms = 1000;
// Where the internal-error message asks the player to send the recording.
const char kSupportAddress[] = "support@ceolmark.example.org";
} // namespace

void MainWindow::onStartRecording()
{
    // The previous recording is kept before it is overwritten.
    autosave();
    mOpenFile.clear();
    reset();
    setActionStates(true);
    mScoreLabel->clear();
    mTimingLabel->clear();
    restartCaptureIfSilent();

    if (AudioProcessor* processor = mAudio.processor()) {
        processor->resetTranscription();
        processor->enableTranscription(true);
        if (mSettings.debugDisable)
            processor->setDebugDisable();
    }
    prepareMetronome();
    mThrottle.forceRefresh();
    mAudio.recorderWrapper().enableHistoricRecording(true);
    mRecording = true;
}

void MainWindow::onStop()
{
    if (AudioProcessor* processor = mAudio.processor())
        processor->enableTranscription(false);
    if (mReplaying) {
        if (AudioProcessor* processor = mAudio.processor()) {
            processor->stopPlayback();
            connect(&mAudio.recorderWrapper(), &AudioRecorderWrapper::dataReceived, processor,
                &AudioProcessor::processData, Qt::UniqueConnection);
        }
        mReplaying = false;
        mCurrentRecording = mReplayBuffer;
        mThrottle.reset();
        mReplayBuffer.clear();
    } else {
        mCurrentRecording = mAudio.recorderWrapper().recordedData();
        mAudio.recorderWrapper().enableHistoricRecording(false);
        mClickTimer.stop();
        mRecording = false;
    }
    // The final state, whatever the throttle says.
    mThrottle.forceRefresh();
    onTranscriptionResult(mLastTranscribeTime_s, mLastNotes, mLastGraceNotes, mLastTuning, false);
    mThrottle.forceRefresh();
    setActionStates(false);
}

void MainWindow::onTranscriptionResult(
    float time_s, NoteMap notes, NoteMap graceNotes, PipeTuning tuning, bool internalError)
{
    if (internalError) {
        onInternalError("Transcription calculation");
        return;
    }
    mLastTranscribeTime_s = time_s;
    mLastNotes = notes;
    mLastGraceNotes = graceNotes;
    mLastTuning = tuning;
    if (!mThrottle.admit(time_s))
        return;

    try {
        int beats = 4;
        int beatUnit = 4;
        timeSignatureComponents(TimeSignature(mTimeSignatureBox->currentIndex()), beats, beatUnit);
        // The one place where the tempo, the metre and the shift meet the notes.
        PipeTuneQuantizer quantizer;
        quantizer.setTimeSignature(beats, beatUnit);
        quantizer.setCrotchetDuration_s(getCrotchetDuration_s(mSettings.bpm, beats, beatUnit));
        quantizer.setRounding(mSettings.isRounded);
        quantizer.setBarsPerRow(mSettings.barsPerRow);
        quantizer.quantize(mSettings.timeShift_s, notes, graceNotes);

        const bool all = mThrottle.fullRedrawForced();
        if (all || !mScoreArea->visibleRegion().isEmpty())
            mComposer.updateScoreRows(quantizer.getModel());
        if (all || !mTimingArea->visibleRegion().isEmpty())
            mComposer.updateTimingRows(notes, graceNotes, mSettings.timeShift_s, quantizer.groupDuration_s(),
                quantizer.groupsPerBar(), mSettings.secsPerRow_s);
        displayPixmaps();

        static QDateTime lastTuningLog;
        const QDateTime now = QDateTime::currentDateTimeUtc();
        if (!lastTuningLog.isValid() || lastTuningLog.msecsTo(now) >= 5000) {
            lastTuningLog = now;
            qDebug().noquote() << "Tuning: (" + QString::fromStdString(toString(tuning.getNoteCentreFrequencies()))
                    + ")";
        }
        mThrottle.rendered(time_s, mSettings.scoreRefreshRate_Hz);
        emit viewsRefreshed(time_s);
    } catch (const std::exception& e) {
        qDebug() << "STD EXCEPTION in transcribe result! :" << e.what();
        onInternalError("Transcription rendering");
    } catch (...) {
        qDebug() << "UNKNOWN EXCEPTION! in transcribe result";
    }
}

void MainWindow::onFirstAudioDataReceived()
{
    if (!mRecording)
        return;
    mMetronome.start(mAudio.recorderWrapper().getElapsed_s());
    mClickTimer.start();
    playClick();
}

void MainWindow::onDataProcessed(PitchFinder::AnalysisResults results)
{
    mSinceLiveData.start();
    updateVolumeBar(results.level);
    mCalibration.add(results);
}

void MainWindow::updateVolumeBar(float level)
{
    const float percent = level * 100.0f;
    const bool warning = percent > mSettings.volumeWarning_percent;
    if (warning != mVolumeWarning) {
        mVolumeWarning = warning;
        mVolumeWidget->setPalette(warning ? mWarningPalette : mNormalPalette);
    }
    mVolumeBar->setValue(int(percent));
}

void MainWindow::reset()
{
    mRecording = false;
    mClickTimer.stop();
    mMetronome.reset();
    mCurrentRecording.clear();
    mReplayBuffer.clear();
    mReplaying = false;
    mThrottle.reset();
    resetViews();
}

void MainWindow::onRetranscribe() { playbackData(mCurrentRecording); }

void MainWindow::playbackData(QByteArray data)
{
    AudioProcessor* processor = mAudio.processor();
    if (processor)
        processor->resetTranscription();
    reset();
    mReplayBuffer = data;
    if (data.isEmpty() || !processor)
        return;
    // Live batches would pile up behind the replay.
    disconnect(&mAudio.recorderWrapper(), &AudioRecorderWrapper::dataReceived, processor, &AudioProcessor::processData);
    processor->enableTranscription(true);
    mReplaying = true;
    setActionStates(true);
    processor->playbackData(data, kReplayChunk_B);
}

void MainWindow::onPlaybackFinished()
{
    if (mReplaying)
        onStop();
}

void MainWindow::onClear() { resetViews(); }

void MainWindow::onTimeSignatureChanged(int index)
{
    MetreDefaults defaults;
    if (!MetreDefaults::of(index, defaults))
        return;
    mSettings.timeSignature = index;
    setSubBeatDivisor();
    mSettings.bpm = defaults.bpm;
    mBpmBox->setValue(int(defaults.bpm));
    if (defaults.setsRounding) {
        mSettings.isRounded = false;
        mRoundBox->setChecked(false);
    }
    scheduleIdleRedraw();
}

void MainWindow::onBpmChanged(int bpm)
{
    mSettings.bpm = float(bpm);
    setBeatInterval();
    scheduleIdleRedraw();
}

void MainWindow::onRoundingToggled(bool rounded)
{
    mSettings.isRounded = rounded;
    scheduleIdleRedraw();
}

void MainWindow::onTimeShiftChanged(double timeShift_s)
{
    mSettings.timeShift_s = float(timeShift_s);
    scheduleIdleRedraw();
}

void MainWindow::scheduleIdleRedraw()
{
    // In Idle the piper sees the new bars at once; a recording or a replay picks the change
    // up at its next refresh. One redraw for a burst of changes (a metre sets the tempo too).
    if (!mRecording && !mReplaying)
        mIdleRedrawTimer.start();
}

void MainWindow::redrawFromLastResult()
{
    mThrottle.forceRefresh();
    onTranscriptionResult(mLastTranscribeTime_s, mLastNotes, mLastGraceNotes, mLastTuning, false);
}

void MainWindow::scoreVisibilityChanged(bool) { redrawFromLastResult(); }

void MainWindow::resetViews()
{
    mLastNotes.clear();
    mLastGraceNotes.clear();
    mComposer.reset();
    displayPixmaps();
}

void MainWindow::displayPixmaps()
{
    mComposer.setTuneDetails(mSettings.tuneName, mSettings.tuneType, mSettings.composer);
    const QPixmap score = mComposer.scorePixmap();
    mScoreLabel->setPixmap(score);
    mScoreLabel->resize(score.size());
    const QPixmap timing = mComposer.timingPixmap();
    mTimingLabel->setPixmap(timing);
    mTimingLabel->resize(timing.size());
    if (mRecording) {
        mScoreArea->verticalScrollBar()->setValue(mScoreArea->verticalScrollBar()->maximum());
        mTimingArea->verticalScrollBar()->setValue(mTimingArea->verticalScrollBar()->maximum());
    }
}

void MainWindow::onZoom100()
{
    mSettings.zoom = 1.0f;
    mComposer.zoomTo100();
    displayPixmaps();
}

void MainWindow::onZoom50()
{
    mSettings.zoom = 0.5f;
    mComposer.zoomTo50();
    displayPixmaps();
}

void MainWindow::restartCaptureIfSilent()
{
    if (mAudio.mode() != AudioThreads::Mode::Devices || mSinceLiveData.elapsed() < kSilentInput_ms)
        return;
    qWarning() << "No audio from the input for" << mSinceLiveData.elapsed() << "ms: starting the capture again";
    mAudio.recorderWrapper().start(mSettings.audioDevice, mSettings.recordingFrequency_Hz, kFrameSize);
    mSinceLiveData.start();
}

void MainWindow::setCalibratedTuning(const PipeTuning& tuning)
{
    mSettings.tuning = tuning;
    mLowALabel->setText(QString("Low A = %1 Hz  ").arg(tuning.lowA_Hz(), 0, 'f', 1));
    if (AudioProcessor* processor = mAudio.processor())
        processor->setTuning(tuning);
    qDebug().noquote() << QString::fromStdString(toString(tuning.getNoteCentreFrequencies()));
}

void MainWindow::onInternalError(QString details)
{
    static bool reported = false;
    if (reported)
        return;
    reported = true;

    qWarning().noquote() << "!main:codeerr:Internal err: " + details;
    mClickTimer.stop();
    if (AudioProcessor* processor = mAudio.processor())
        processor->setAudioRecorder(nullptr);
    mAudio.recorderWrapper().stop();
    mRecording = false;
    mReplaying = false;

    if (!details.isEmpty())
        details = "\n\nAdditional details: " + details;
    mPrompts->warning(this, "Internal error",
        QString("There was an internal error in processing. A dump of the audio being recored has been taken, "
                "and you will be prompted to save it.\n\nPlease e-mail the file to %1 so we can investigate.%2")
            .arg(kSupportAddress, details));
    if (mCurrentRecording.isEmpty()) {
        mPrompts->warning(this, "Nothing to save", "You have not recorded anything yet");
        return;
    }
    const QString extension = "cmk";
    const QString proposed = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation)
        + QString("/ceolmarkError_%1.%2").arg(QDateTime::currentDateTime().toString("yyyyMMdd_hh-mm-ss"), extension);
    QString name = mPrompts->getSaveFileName(this, "Save current recording as...", proposed, "*." + extension, nullptr);
    if (!name.isEmpty()) {
        if (QFileInfo(name).suffix().isEmpty())
            name += "." + extension;
        saveCmk(name, true);
    }
    // After an internal error the program ends.
    close();
}

bool MainWindow::saveCmk(const QString& path, bool showError)
{
    KestoFileCmk file;
    file.setAudioData(mCurrentRecording);
    file.setRecordingFrequency_Hz(mSettings.recordingFrequency_Hz);
    file.setTuneName(mSettings.tuneName);
    file.setTuneType(mSettings.tuneType);
    file.setComposedBy(mSettings.composer);
    int beats = 4;
    int beatUnit = 4;
    timeSignatureComponents(TimeSignature(mTimeSignatureBox->currentIndex()), beats, beatUnit);
    file.setTimeSigNumerator(beats);
    file.setTimeSigDenominator(beatUnit);
    file.setBpm(mSettings.bpm);
    file.setTimeShift_s(float(mTimeShiftBox->value()));
    file.setChanterTuning(mSettings.tuning);
    const QString now = QDateTime::currentDateTimeUtc().toString(Qt::ISODate);
    // A recording that came from a file keeps the facts of its first recording.
    if (mOpenFile.recordedAppVersion() != 0) {
        file.setRecordedAppVersion(mOpenFile.recordedAppVersion());
        file.setRecordedTime(mOpenFile.recordedTime());
        file.setRecordedInstallId(mOpenFile.recordedInstallId());
    } else {
        file.setRecordedAppVersion(KestoFileCmk::kApplicationVersion);
        file.setRecordedTime(now);
        file.setRecordedInstallId(mSettings.installKey);
    }
    file.setAppVersion(KestoFileCmk::kApplicationVersion);
    file.setFileCreationTime(now);
    file.setFileCreationInstallId(mSettings.installKey);

    QString error;
    if (file.save(path, error))
        return true;
    const QString text = QString("There was a problem trying to save the file: %1").arg(error);
    if (showError)
        mPrompts->warning(this, "Unable to save file", text);
    else
        qWarning().noquote() << text;
    return false;
}

void MainWindow::autosave()
{
    if (mOpenFile.recordedAppVersion() != 0 || mCurrentRecording.isEmpty() || mSettings.autoSaveCount == 0)
        return;
    // The folder may have gone since the start; if it can't be made, the save below says so.
    QDir().mkpath(mSettings.autoSaveDir);
    AutosaveFolder::rotate(mSettings.autoSaveDir, mSettings.autoSaveCount);
    const QString name
        = AutosaveFolder::fileName(mSettings.autoSaveDir, QDateTime::currentDateTime(), mSettings.tuneName);
    saveCmk(name, false);
    mSettings.lastAutoSaveFileName = name;
}
