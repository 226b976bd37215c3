#pragma once

#include "AppSettings.h"
#include "AudioThreads.h"
#include "CalibrationSequence.h"
#include "MetreDefaults.h"
#include "Metronome.h"
#include "RefreshThrottle.h"

#include "KestoFileCmk.h"
#include "PipeNote.h"
#include "PipeTuning.h"
#include "PitchFinder.h"
#include "TuneViewComposer.h"

#include <QElapsedTimer>
#include <QMainWindow>
#include <QPalette>
#include <QPixmap>
#include <QSoundEffect>
#include <QTimer>

#include <memory>

class QAction;
class QCheckBox;
class QComboBox;
class QDockWidget;
class QDoubleSpinBox;
class QLabel;
class QProgressBar;
class QProgressDialog;
class QScrollArea;
class QSpinBox;
class UserPrompts;

// The window a piper plays to: tool bar, the two views as docks, the status bar with the
// beat, the volume and the chanter's low A. It conducts: the audio threads record and
// transcribe, the quantizer and TuneViewComposer draw, AppSettings holds the settings and
// Metronome counts the clicks; the window wires them together and shows the result.
//
// Session states: Idle, Recording (the space key or Record), Replaying (Re-transcribe).
// Interface thread only. Widgets and actions carry object names, which tests use.
class MainWindow : public QMainWindow {
    Q_OBJECT

public:
    // With AudioThreads::Mode::NoDevices no audio device is ever opened: the processor still
    // transcribes replays, so everything but live capture works (tests, machines without sound).
    explicit MainWindow(AudioThreads::Mode audioMode = AudioThreads::Mode::Devices);
    ~MainWindow() override;

    // The dialogs the window asks through; the window keeps the real ones unless given others.
    // Not owned; must outlive the window.
    void setPrompts(UserPrompts* prompts);

    // Samples in a batch of the recorder, a frame of the pitch results between recordings.
    static constexpr int kFrameSize = int(ChanterCalibration::kMeterFrame_samples);

    // The five forms of "Save as...", in the order offered.
    static const QString cmkFilter;
    static const QString bwwFilter;
    static const QString pngScoreFilter;
    static const QString pngTimingFilter;
    static const QString wavFilter;

    const AppSettings& settings() const { return mSettings; }
    // The worker threads, for tests and measuring programs that feed or watch the engine.
    AudioThreads& audioThreads() { return mAudio; }
    CalibrationSequence::State calibrationState() const { return mCalibration.state(); }
    const TuneViewComposer& views() const { return mComposer; }
    const QByteArray& currentRecording() const { return mCurrentRecording; }
    bool isRecording() const { return mRecording; }
    bool isReplaying() const { return mReplaying; }
    const PipeTuning& calibratedTuning() const { return mSettings.tuning; }
    // The melody of the last result, as last drawn or about to be.
    const NoteMap& lastNotes() const { return mLastNotes; }

    // Replays recorded audio (16-bit mono PCM at the recording rate) through the transcriber;
    // when it is done the audio is the current recording. Empty data only clears the views.
    void playbackData(QByteArray data);
    // Writes the current recording with the tune details and the calibration; on failure a
    // warning if showError, else a log line.
    bool saveCmk(const QString& path, bool showError);
    // Keeps the last finished recording in the autosave folder, rotating out the oldest.
    void autosave();
    void setCalibratedTuning(const PipeTuning& tuning);
    // Opens a recording and transcribes it again. A file that can't be read, holds no audio
    // or was recorded at another rate changes nothing: false, after a warning.
    bool openCmk(const QString& path, bool rememberPath);
    // The writers of "Save as...": false after a warning if the file can't be written.
    bool saveBww(const QString& name);
    bool saveWav(const QString& name);
    bool saveScorePng(const QString& name);
    bool saveTimingPng(const QString& name);
    // The tune's name without punctuation in the folder last saved to; the stored tune name
    // loses its punctuation too.
    QString getSuggestedFileName();

signals:
    // The views were drawn from the result at audio time time_s.
    void viewsRefreshed(float time_s);
    // The metronome clicked (or only flashed, with the sound off).
    void metronomeClicked();

public slots:
    void onStartRecording();
    void onStop();
    void onFirstAudioDataReceived();
    void onDataProcessed(PitchFinder::AnalysisResults results);
    void onTranscriptionResult(float time_s, NoteMap notes, NoteMap graceNotes, PipeTuning tuning, bool internalError);
    void updateVolumeBar(float level);
    void onRetranscribe();
    void onClear();
    void onPlaybackFinished();
    void onTimeSignatureChanged(int index);
    void onBpmChanged(int bpm);
    void onRoundingToggled(bool rounded);
    void onTimeShiftChanged(double timeShift_s);
    void scoreVisibilityChanged(bool visible);
    void onZoom100();
    void onZoom50();
    void onClickTimer();
    void onClickLabelTimer();
    void onInternalError(QString details);
    void onCalibrate();
    void onCalibrationTimer();
    void onOpen();
    void onOpenAutosave();
    void onOpenExample();
    void onSaveAs();
    void onTuneDetails();
    void onSettings();
    void onStartAudioPlayback();
    void onHelp(bool checked = false);
    void onAbout(bool checked = false);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    // A recording under way is stopped, so that the autosave at the end keeps it.
    void closeEvent(QCloseEvent* event) override;

private slots:
    void initialise();
    void onAudioRecordingInitalised();
    void onAudioProcessingInitialised();

private:
    // Construction, in MainWindow.cpp.
    void buildActions();
    void buildToolBarAndMenus();
    void buildViews();
    void buildStatusBar();
    void connectActions();
    void loadSettings();
    void saveSettings();
    void applyGeneralSettings();
    void initProcessing();
    void setActionStates(bool busy);

    // The session, in MainWindowSession.cpp.
    void reset();
    void resetViews();
    void displayPixmaps();
    void redrawFromLastResult();
    void scheduleIdleRedraw();
    void restartCaptureIfSilent();
    bool reportSave(bool saved, const QString& error);

    // The metronome, in MainWindowMetronome.cpp.
    void setBeatInterval();
    void setSubBeatDivisor();
    int getBeatsPerBar(int timeSignature) const;
    void prepareMetronome();
    void playClick();

    AppSettings mSettings;
    AudioThreads mAudio;
    std::unique_ptr<UserPrompts> mDialogPrompts;
    UserPrompts* mPrompts = nullptr;

    // Tool bar and menus.
    QAction* mRecordAction = nullptr;
    QAction* mStopAction = nullptr;
    QAction* mRetranscribeAction = nullptr;
    QAction* mClearAction = nullptr;
    QAction* mZoom100Action = nullptr;
    QAction* mZoom50Action = nullptr;
    QAction* mExitAction = nullptr;
    QAction* mPlayAudioAction = nullptr;
    QAction* mOpenAutosaveAction = nullptr;
    QAction* mOpenAction = nullptr;
    QAction* mOpenExampleAction = nullptr;
    QAction* mSaveAsAction = nullptr;
    QAction* mCalibrateAction = nullptr;
    QAction* mSettingsAction = nullptr;
    QAction* mTuneDetailsAction = nullptr;
    QAction* mHelpAction = nullptr;
    QAction* mAboutAction = nullptr;
    QSpinBox* mBpmBox = nullptr;
    QComboBox* mTimeSignatureBox = nullptr;
    QCheckBox* mRoundBox = nullptr;
    QDoubleSpinBox* mTimeShiftBox = nullptr;

    // The views.
    QDockWidget* mScoreDock = nullptr;
    QDockWidget* mTimingDock = nullptr;
    QScrollArea* mScoreArea = nullptr;
    QScrollArea* mTimingArea = nullptr;
    QLabel* mScoreLabel = nullptr;
    QLabel* mTimingLabel = nullptr;
    TuneViewComposer mComposer;

    // The status bar.
    QLabel* mBeatIndicator = nullptr;
    QPixmap mBeatOn;
    QPixmap mBeatOff;
    QWidget* mVolumeWidget = nullptr;
    QProgressBar* mVolumeBar = nullptr;
    QPalette mNormalPalette;
    QPalette mWarningPalette;
    bool mVolumeWarning = false;
    QLabel* mLowALabel = nullptr;

    // The session.
    bool mRecording = false;
    bool mReplaying = false;
    QByteArray mCurrentRecording;
    QByteArray mReplayBuffer;
    KestoFileCmk mOpenFile;
    float mLastTranscribeTime_s = 0.0f;
    NoteMap mLastNotes;
    NoteMap mLastGraceNotes;
    PipeTuning mLastTuning;
    RefreshThrottle mThrottle;
    QTimer mIdleRedrawTimer;
    // Since the last audio from the input, to notice a device that has gone.
    QElapsedTimer mSinceLiveData;

    // The calibration.
    CalibrationSequence mCalibration;
    QProgressDialog* mCalibrationDialog = nullptr;
    QTimer mCalibrationTimer;

    // Shown by the about box, read at start.
    QString mTermsOfUse;

    // The metronome.
    Metronome mMetronome;
    float mBeatInterval_s = 0.0f;
    int mSubBeatDivisor = 1;
    QTimer mClickTimer;
    QTimer mClickLabelTimer;
    // Made only with audio devices: a sound effect talks to the sound server.
    std::unique_ptr<QSoundEffect> mClick1;
    std::unique_ptr<QSoundEffect> mClick2;
};
