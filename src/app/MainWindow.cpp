#include "MainWindow.h"

#include "AppFolder.h"
#include "AudioProcessor.h"
#include "AudioRecorder.h"
#include "DialogPrompts.h"
#include "TimeSignature.h"

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QDockWidget>
#include <QDoubleSpinBox>
#include <QFile>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMenuBar>
#include <QProgressBar>
#include <QProgressDialog>
#include <QScrollArea>
#include <QSettings>
#include <QSpinBox>
#include <QStatusBar>
#include <QToolBar>

namespace {
// The state version of restoreState/saveState: a stored layout of another version is ignored.
constexpr int kStateVersion = 1;
// After construction, the rest of the start-up runs once the event loop is going.
constexpr int kInitialiseDelay_ms = 127;
constexpr int kShutdownDeadline_ms = 2000;

QAction* makeAction(
    QObject* parent, const QString& name, const QString& text, const QString& icon, const QString& shortcut = QString())
{
    QAction* action = new QAction(QIcon(icon), text, parent);
    action->setObjectName(name);
    if (!shortcut.isEmpty())
        action->setShortcut(QKeySequence(shortcut));
    return action;
}
} // namespace

MainWindow::MainWindow(AudioThreads::Mode audioMode)
    : mAudio(audioMode)
    , mDialogPrompts(new DialogPrompts)
    , mPrompts(mDialogPrompts.get())
{
    setWindowTitle(QCoreApplication::applicationName());
    setWindowIcon(QIcon(":/ceolmark.png"));
    // The views are the two docks; there is no central widget.
    setCentralWidget(nullptr);
    setDockNestingEnabled(true);
    // During a recording the tune controls are disabled and the focus comes here, so that
    // the space key still stops the recording.
    setFocusPolicy(Qt::StrongFocus);
    installEventFilter(this);

    buildActions();
    buildViews();
    buildStatusBar();
    buildToolBarAndMenus();

    loadSettings();

    connect(
        &mAudio.recorderWrapper(), &AudioRecorderWrapper::initialised, this, &MainWindow::onAudioRecordingInitalised);
    connect(&mAudio.processorWrapper(), &AudioProcessorWrapper::initialised, this,
        &MainWindow::onAudioProcessingInitialised);
    connect(&mAudio.recorderWrapper(), &AudioRecorderWrapper::firstDataReceived, this,
        &MainWindow::onFirstAudioDataReceived);
    mAudio.start();

    connectActions();

    mCalibrationDialog = new QProgressDialog("Calibrating", "Cancel", 0, 0, this);
    mCalibrationDialog->setObjectName("calibrationDialog");
    mCalibrationDialog->setWindowModality(Qt::WindowModal);
    mCalibrationDialog->setWindowTitle("Calibration of chanter notes");
    mCalibrationDialog->setMinimumWidth(400);
    mCalibrationDialog->setBar(new QProgressBar(mCalibrationDialog));
    mCalibrationDialog->setAutoReset(false);
    mCalibrationDialog->reset();

    qInfo().noquote() << "Application folder:" << AppFolder::path();
    for (const QString& name : AppFolder::missing(AppFolder::path()))
        qWarning().noquote() << "Not found beside the program:" << AppFolder::file(name);
    QFile terms(AppFolder::file("terms-of-use.txt"));
    if (terms.open(QIODevice::ReadOnly | QIODevice::Text))
        mTermsOfUse = QString::fromUtf8(terms.readAll());

    // A coarse timer may be moved by up to 5 % of its interval, some 40 ms at 72 BPM: more
    // than the correction can take back.
    mClickTimer.setTimerType(Qt::PreciseTimer);
    mClickLabelTimer.setInterval(100);
    if (audioMode == AudioThreads::Mode::Devices) {
        // A missing file leaves the metronome silent; the beat indicator still flashes.
        const QString soundsDir = AppFolder::file("sounds/");
        mClick1.reset(new QSoundEffect);
        mClick2.reset(new QSoundEffect);
        mClick1->setSource(QUrl::fromLocalFile(soundsDir + "click1.wav"));
        mClick2->setSource(QUrl::fromLocalFile(soundsDir + "click2.wav"));
        mClick1->setLoopCount(1);
        mClick2->setLoopCount(1);
    }

    mIdleRedrawTimer.setSingleShot(true);
    mIdleRedrawTimer.setInterval(0);
    connect(&mIdleRedrawTimer, &QTimer::timeout, this, &MainWindow::redrawFromLastResult);

    applyGeneralSettings();
    setActionStates(false);
    mBpmBox->setFocus();

    QTimer::singleShot(kInitialiseDelay_ms, this, &MainWindow::initialise);
}

MainWindow::~MainWindow()
{
    // QWidget's destructor hides the docks after these members are gone.
    disconnect(mScoreDock, nullptr, this, nullptr);
    disconnect(mTimingDock, nullptr, this, nullptr);
    mClickTimer.stop();
    mAudio.shutdown(kShutdownDeadline_ms);
    saveSettings();
    autosave();
}

void MainWindow::setPrompts(UserPrompts* prompts) { mPrompts = prompts ? prompts : mDialogPrompts.get(); }

void MainWindow::buildActions()
{
    mRecordAction = makeAction(this, "record", "&Record", ":/record.png");
    mRecordAction->setToolTip("Record (space bar)");
    mStopAction = makeAction(this, "stop", "&Stop", ":/stop.png");
    mStopAction->setToolTip("Stop (space bar)");
    mRetranscribeAction = makeAction(this, "retranscribe", "&Re-transcribe", ":/retranscribe.png");
    mRetranscribeAction->setToolTip("Transcribe the recording again with the current settings");
    mClearAction = makeAction(this, "clear", "&Clear", ":/clear.png");
    mClearAction->setToolTip("Clear the views; the recording stays");
    mZoom100Action = makeAction(this, "zoom100", "Zoom to 100%", ":/zoom100.png");
    mZoom50Action = makeAction(this, "zoom50", "Zoom to 50%", ":/zoom50.png");
    mZoom100Action->setCheckable(true);
    mZoom50Action->setCheckable(true);
    QActionGroup* zoomGroup = new QActionGroup(this);
    zoomGroup->addAction(mZoom100Action);
    zoomGroup->addAction(mZoom50Action);
    mExitAction = makeAction(this, "exit", "E&xit", ":/exit.png", "Ctrl+Q");
    mPlayAudioAction = makeAction(this, "playAudio", "Play &audio", ":/play.png", "Ctrl+a");
    mOpenAutosaveAction = makeAction(this, "openAutosave", "&Open autosave...", ":/openAutosave.png", "Ctrl+O");
    mOpenAction = makeAction(this, "open", "&Open...", ":/open.png", "Shift+Ctrl+O");
    mOpenExampleAction = makeAction(this, "openExample", "&Open example...", ":/openExample.png");
    mSaveAsAction = makeAction(this, "saveAs", "&Save as...", ":/saveAs.png", "Ctrl+S");
    mCalibrateAction = makeAction(this, "calibrate", "Calibrate chanter notes...", ":/calibrate.png");
    mCalibrateAction->setToolTip("Play the scale to teach Ceolmark your chanter's tuning");
    mSettingsAction = makeAction(this, "settings", "&Settings...", ":/settings.png");
    mTuneDetailsAction = makeAction(this, "tuneDetails", "&Tune details...", ":/tuneDetails.png");
    mHelpAction = makeAction(this, "help", "&Help", ":/help.png", "F1");
    mAboutAction = makeAction(this, "about", "&About Ceolmark", ":/about.png");
}

void MainWindow::buildToolBarAndMenus()
{
    QToolBar* toolBar = addToolBar("Tool bar");
    toolBar->setObjectName("mainToolBar");
    toolBar->setMovable(false);
    toolBar->setIconSize(QSize(24, 24));
    toolBar->setToolButtonStyle(Qt::ToolButtonIconOnly);
    for (QAction* action : {mRecordAction, mStopAction, mPlayAudioAction, mRetranscribeAction, mClearAction,
             mOpenAutosaveAction, mOpenAction, mOpenExampleAction, mSaveAsAction})
        toolBar->addAction(action);
    toolBar->addSeparator();

    // The tune controls: how the notes are put into bars.
    auto addLabelled = [toolBar](const QString& text, QWidget* widget) {
        QLabel* label = new QLabel(text);
        label->setContentsMargins(8, 0, 4, 0);
        label->setBuddy(widget);
        toolBar->addWidget(label);
        toolBar->addWidget(widget);
    };
    mBpmBox = new QSpinBox;
    mBpmBox->setObjectName("bpm");
    mBpmBox->setRange(20, 200);
    mBpmBox->setToolTip("Beats per minute of the metronome and the score");
    mBpmBox->installEventFilter(this);
    addLabelled("BPM:", mBpmBox);
    mTimeSignatureBox = new QComboBox;
    mTimeSignatureBox->setObjectName("timeSignature");
    for (int value = TimeSignature4_4; value <= TimeSignature6_8; ++value)
        mTimeSignatureBox->addItem(toQString(TimeSignature(value)));
    mTimeSignatureBox->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    mTimeSignatureBox->setToolTip("Time signature; choosing one sets its usual tempo");
    addLabelled("Time Signature:", mTimeSignatureBox);
    mRoundBox = new QCheckBox("Played Round");
    mRoundBox->setObjectName("round");
    mRoundBox->setToolTip("The tune is played round, evenly: the score writes plainer note lengths");
    QWidget* roundSpacer = new QWidget;
    roundSpacer->setFixedWidth(8);
    toolBar->addWidget(roundSpacer);
    toolBar->addWidget(mRoundBox);
    mTimeShiftBox = new QDoubleSpinBox;
    mTimeShiftBox->setObjectName("timeShift");
    mTimeShiftBox->setRange(-100, 100);
    mTimeShiftBox->setSingleStep(0.01);
    mTimeShiftBox->setSuffix(" s");
    mTimeShiftBox->setToolTip("Moves the notes against the beats, in seconds");
    addLabelled("Time Shift:", mTimeShiftBox);

    QMenu* fileMenu = menuBar()->addMenu("&File");
    fileMenu->addAction(mOpenAction);
    fileMenu->addAction(mOpenAutosaveAction);
    fileMenu->addAction(mOpenExampleAction);
    fileMenu->addAction(mSaveAsAction);
    fileMenu->addSeparator();
    fileMenu->addAction(mExitAction);
    QMenu* tuneMenu = menuBar()->addMenu("&Tune");
    tuneMenu->addAction(mRecordAction);
    tuneMenu->addAction(mStopAction);
    tuneMenu->addAction(mPlayAudioAction);
    tuneMenu->addSeparator();
    tuneMenu->addAction(mRetranscribeAction);
    tuneMenu->addAction(mClearAction);
    tuneMenu->addSeparator();
    tuneMenu->addAction(mTuneDetailsAction);
    QMenu* toolsMenu = menuBar()->addMenu("T&ools");
    toolsMenu->addAction(mCalibrateAction);
    toolsMenu->addAction(mSettingsAction);
    QMenu* viewMenu = menuBar()->addMenu("&View");
    viewMenu->addAction(mZoom100Action);
    viewMenu->addAction(mZoom50Action);
    viewMenu->addSeparator();
    viewMenu->addAction(mScoreDock->toggleViewAction());
    viewMenu->addAction(mTimingDock->toggleViewAction());
    QMenu* helpMenu = menuBar()->addMenu("&Help");
    helpMenu->addAction(mHelpAction);
    helpMenu->addAction(mAboutAction);
}

void MainWindow::buildViews()
{
    auto makeView = [this](const QString& title, const QString& name, QScrollArea*& area, QLabel*& label) {
        QDockWidget* dock = new QDockWidget(title, this);
        dock->setObjectName(name + "Dock");
        dock->setFeatures(
            QDockWidget::DockWidgetMovable | QDockWidget::DockWidgetFloatable | QDockWidget::DockWidgetClosable);
        label = new QLabel;
        label->setObjectName(name + "Label");
        label->setAlignment(Qt::AlignLeft | Qt::AlignTop);
        label->setBackgroundRole(QPalette::Base);
        area = new QScrollArea;
        area->setObjectName(name + "Area");
        area->setBackgroundRole(QPalette::Base);
        // The views never take the focus from the BPM box, whose space key records.
        area->setFocusPolicy(Qt::NoFocus);
        area->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
        area->setWidget(label);
        area->setWidgetResizable(false);
        dock->setWidget(area);
        addDockWidget(Qt::TopDockWidgetArea, dock);
        return dock;
    };
    mScoreDock = makeView("Sheet music view", "score", mScoreArea, mScoreLabel);
    mTimingDock = makeView("Timing view", "timing", mTimingArea, mTimingLabel);
}

void MainWindow::buildStatusBar()
{
    mBeatOff = QPixmap(15, 15);
    mBeatOff.fill(Qt::white);
    mBeatOn = QPixmap(15, 15);
    mBeatOn.fill(Qt::red);
    mBeatIndicator = new QLabel;
    mBeatIndicator->setObjectName("beatIndicator");
    mBeatIndicator->setPixmap(mBeatOff);
    statusBar()->addPermanentWidget(mBeatIndicator);

    mVolumeWidget = new QWidget;
    mVolumeWidget->setObjectName("volume");
    mVolumeWidget->setAutoFillBackground(true);
    mVolumeWidget->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Preferred);
    QHBoxLayout* layout = new QHBoxLayout(mVolumeWidget);
    layout->setContentsMargins(4, 0, 4, 0);
    layout->addWidget(new QLabel("Volume:"));
    mVolumeBar = new QProgressBar;
    mVolumeBar->setObjectName("volumeBar");
    mVolumeBar->setRange(0, 100);
    mVolumeBar->setMaximumWidth(100);
    mVolumeBar->setToolTip("Input level; red when it is too loud");
    layout->addWidget(mVolumeBar);
    mNormalPalette = mVolumeWidget->palette();
    mWarningPalette = mNormalPalette;
    for (QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled})
        mWarningPalette.setBrush(group, QPalette::Window, Qt::red);
    statusBar()->addPermanentWidget(mVolumeWidget);

    mLowALabel = new QLabel;
    mLowALabel->setObjectName("lowA");
    mLowALabel->setToolTip("The chanter's low A as calibrated");
    statusBar()->addPermanentWidget(mLowALabel);
}

void MainWindow::connectActions()
{
    connect(mRecordAction, &QAction::triggered, this, &MainWindow::onStartRecording);
    connect(mStopAction, &QAction::triggered, this, &MainWindow::onStop);
    connect(mRetranscribeAction, &QAction::triggered, this, &MainWindow::onRetranscribe);
    connect(mClearAction, &QAction::triggered, this, &MainWindow::onClear);
    connect(mZoom100Action, &QAction::triggered, this, &MainWindow::onZoom100);
    connect(mZoom50Action, &QAction::triggered, this, &MainWindow::onZoom50);
    connect(mExitAction, &QAction::triggered, this, &QWidget::close);
    connect(mPlayAudioAction, &QAction::triggered, this, &MainWindow::onStartAudioPlayback);
    connect(mOpenAutosaveAction, &QAction::triggered, this, &MainWindow::onOpenAutosave);
    connect(mOpenAction, &QAction::triggered, this, &MainWindow::onOpen);
    connect(mOpenExampleAction, &QAction::triggered, this, &MainWindow::onOpenExample);
    connect(mSaveAsAction, &QAction::triggered, this, &MainWindow::onSaveAs);
    connect(mCalibrateAction, &QAction::triggered, this, &MainWindow::onCalibrate);
    connect(mSettingsAction, &QAction::triggered, this, &MainWindow::onSettings);
    connect(mTuneDetailsAction, &QAction::triggered, this, &MainWindow::onTuneDetails);
    connect(mHelpAction, &QAction::triggered, this, &MainWindow::onHelp);
    connect(mAboutAction, &QAction::triggered, this, &MainWindow::onAbout);
    connect(&mCalibrationTimer, &QTimer::timeout, this, &MainWindow::onCalibrationTimer);
    connect(&mClickTimer, &QTimer::timeout, this, &MainWindow::onClickTimer);
    connect(&mClickLabelTimer, &QTimer::timeout, this, &MainWindow::onClickLabelTimer);
    connect(mTimeSignatureBox, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
        &MainWindow::onTimeSignatureChanged);
    connect(mBpmBox, QOverload<int>::of(&QSpinBox::valueChanged), this, &MainWindow::onBpmChanged);
    connect(mRoundBox, &QCheckBox::toggled, this, &MainWindow::onRoundingToggled);
    connect(mTimeShiftBox, QOverload<double>::of(&QDoubleSpinBox::valueChanged), this, &MainWindow::onTimeShiftChanged);
    connect(mScoreDock, &QDockWidget::visibilityChanged, this, &MainWindow::scoreVisibilityChanged);
    connect(mTimingDock, &QDockWidget::visibilityChanged, this, &MainWindow::scoreVisibilityChanged);
}

void MainWindow::loadSettings()
{
    QSettings store;
    mSettings.load(store);
    if (!restoreGeometry(mSettings.geometry)) {
        // A first start: both views in one place, the sheet music in front.
        resize(1280, 800);
        tabifyDockWidget(mScoreDock, mTimingDock);
        mScoreDock->raise();
    }
    restoreState(mSettings.state, kStateVersion);
    setCalibratedTuning(mSettings.tuning);
}

void MainWindow::saveSettings()
{
    mSettings.geometry = saveGeometry();
    mSettings.state = saveState(kStateVersion);
    QSettings store;
    mSettings.save(store);
    store.sync();
    if (store.status() != QSettings::NoError)
        qWarning() << "The settings could not be saved to" << store.fileName();
}

void MainWindow::applyGeneralSettings()
{
    const bool zoom100 = mSettings.zoom > 0.9f;
    mZoom100Action->setChecked(zoom100);
    mZoom50Action->setChecked(!zoom100);
    if (zoom100)
        mComposer.zoomTo100();
    else
        mComposer.zoomTo50();
    mComposer.setTuneDetails(mSettings.tuneName, mSettings.tuneType, mSettings.composer);

    int index = mSettings.timeSignature;
    if (index < 0 || index >= mTimeSignatureBox->count())
        index = 0;
    // Choosing a metre sets its usual tempo and rounding: the stored ones win here.
    const float bpm = mSettings.bpm;
    const bool rounded = mSettings.isRounded;
    mTimeSignatureBox->setCurrentIndex(index);
    mSettings.bpm = bpm;
    mSettings.isRounded = rounded;

    mBpmBox->setValue(int(mSettings.bpm));
    // A stored tempo the box can't show (0 from an unreadable value) becomes the box's.
    if (int(mSettings.bpm) != mBpmBox->value())
        mSettings.bpm = float(mBpmBox->value());
    mRoundBox->setChecked(mSettings.isRounded);
    mTimeShiftBox->setValue(mSettings.timeShift_s);
    setBeatInterval();
    setSubBeatDivisor();
}

void MainWindow::initialise()
{
    setWindowTitle(QCoreApplication::applicationName());
    setActionStates(mRecording || mReplaying);
    mSinceLiveData.start();
    if (mAudio.mode() == AudioThreads::Mode::Devices)
        mAudio.recorderWrapper().start(mSettings.audioDevice, mSettings.recordingFrequency_Hz, kFrameSize);
}

void MainWindow::onAudioRecordingInitalised()
{
    if (AudioProcessor* processor = mAudio.processor())
        processor->setAudioRecorder(mAudio.recorderWrapper().recorder());
}

void MainWindow::onAudioProcessingInitialised()
{
    qDebug() << "Initialising processing connections";
    AudioProcessor* processor = mAudio.processor();
    connect(processor, &AudioProcessor::dataProcessed, this, &MainWindow::onDataProcessed);
    connect(processor, &AudioProcessor::transcriptionResult, this, &MainWindow::onTranscriptionResult);
    connect(processor, &AudioProcessor::transcriptionVolume, this, &MainWindow::updateVolumeBar);
    connect(processor, &AudioProcessor::playbackFinised, this, &MainWindow::onPlaybackFinished);
    connect(&mAudio.recorderWrapper(), &AudioRecorderWrapper::dataReceived, processor, &AudioProcessor::processData);
    initProcessing();
}

void MainWindow::initProcessing()
{
    AudioProcessor* processor = mAudio.processor();
    if (!processor)
        return;
    processor->setAudioRecorder(mAudio.recorderWrapper().recorder());
    processor->setTuning(mSettings.tuning);
    // The pitch between recordings, for the meter and the calibration: fixed parameters,
    // the same that ceolmark-cli calibrate uses.
    processor->setDataParams(ChanterCalibration::meterDataParams(uint32_t(mSettings.recordingFrequency_Hz)));
    processor->setParams(ChanterCalibration::meterProcessingParams());
    // A float: the percentage over 100 in integers would be 0 and switch the gate off.
    processor->setMinimumVolume_normalized(mSettings.volumeCutoff_percent / 100.0f);
    processor->setTranscribeInterval_s(1.0f / mSettings.scoreRefreshRate_Hz);
    processor->setTranscriptionParams(
        mSettings.filterCornerFrequency_Hz, mSettings.pitchPeakThreshold, mSettings.minimumPitchPeak);
}

void MainWindow::setActionStates(bool busy)
{
    for (QAction* action : {mRecordAction, mCalibrateAction, mZoom100Action, mZoom50Action, mSettingsAction,
             mTuneDetailsAction, mHelpAction, mAboutAction, mSaveAsAction, mOpenAction, mOpenExampleAction,
             mOpenAutosaveAction, mPlayAudioAction, mRetranscribeAction, mClearAction})
        action->setEnabled(!busy);
    for (QWidget* control : std::initializer_list<QWidget*>{mBpmBox, mTimeSignatureBox, mRoundBox, mTimeShiftBox})
        control->setEnabled(!busy);
    mStopAction->setEnabled(busy);
    // The disabled BPM box has lost the focus: keep the space key working.
    if (busy)
        setFocus();
    else
        mBpmBox->setFocus();
}

void MainWindow::closeEvent(QCloseEvent* event)
{
    if (mRecording)
        onStop();
    QMainWindow::closeEvent(event);
}

bool MainWindow::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::KeyPress && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Space) {
        qDebug() << "Space!";
        if (mRecordAction->isEnabled())
            mRecordAction->trigger();
        else if (mStopAction->isEnabled())
            mStopAction->trigger();
        return true;
    }
    return QMainWindow::eventFilter(watched, event);
}
