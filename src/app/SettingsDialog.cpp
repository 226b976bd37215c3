#include "SettingsDialog.h"

#include <QAudioDeviceInfo>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QSpinBox>
#include <QStandardPaths>
#include <QTabWidget>
#include <QVBoxLayout>

namespace {

QFormLayout* makeForm(QWidget* page)
{
    QFormLayout* form = new QFormLayout(page);
    // Only the text field and the lists widen with the dialog; numbers keep a compact box.
    form->setFieldGrowthPolicy(QFormLayout::ExpandingFieldsGrow);
    form->setLabelAlignment(Qt::AlignRight | Qt::AlignVCenter);
    return form;
}

QCheckBox* addCheck(QFormLayout* form, const char* name, const QString& text, const QString& tip)
{
    QCheckBox* box = new QCheckBox(text);
    box->setObjectName(name);
    box->setToolTip(tip);
    form->addRow(box);
    return box;
}

// The label carries the tooltip too: a piper hovers over whichever they read.
template <typename Editor>
Editor* addField(QFormLayout* form, const char* name, const QString& label, const QString& tip, Editor* editor)
{
    editor->setObjectName(name);
    editor->setToolTip(tip);
    form->addRow(label, editor);
    if (QWidget* labelWidget = form->labelForField(editor))
        labelWidget->setToolTip(tip);
    return editor;
}

QSpinBox* makeSpin(int min, int max, const QString& suffix = QString(), int step = 1)
{
    QSpinBox* spin = new QSpinBox;
    spin->setRange(min, max);
    spin->setSingleStep(step);
    spin->setSuffix(suffix);
    return spin;
}

QDoubleSpinBox* makeDoubleSpin(double min, double max, int decimals, double step, const QString& suffix = QString())
{
    QDoubleSpinBox* spin = new QDoubleSpinBox;
    // Decimals first: the range is rounded to them.
    spin->setDecimals(decimals);
    spin->setRange(min, max);
    spin->setSingleStep(step);
    spin->setSuffix(suffix);
    return spin;
}

QComboBox* makeList()
{
    QComboBox* list = new QComboBox;
    list->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    list->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    return list;
}

// Selects the item whose data is wanted, else the one whose data is fallback; neither leaves the selection.
void selectData(QComboBox* list, const QVariant& wanted, const QVariant& fallback)
{
    int index = list->findData(wanted);
    if (index < 0)
        index = list->findData(fallback);
    if (index >= 0)
        list->setCurrentIndex(index);
}

} // namespace

SettingsDialog::SettingsDialog(QWidget* parent)
    : QDialog(parent)
{
    setWindowTitle("Settings");
    QTabWidget* tabs = new QTabWidget;
    tabs->setObjectName("tabs");
    tabs->addTab(buildGeneralTab(), "General");
    tabs->addTab(buildAudioTab(), "Audio");
    tabs->addTab(buildApplicationTab(), "Application");
    tabs->addTab(buildAdvancedTab(), "Advanced");

    QDialogButtonBox* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    connect(buttons, &QDialogButtonBox::accepted, this, &SettingsDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &SettingsDialog::reject);

    QVBoxLayout* layout = new QVBoxLayout(this);
    layout->addWidget(tabs);
    layout->addWidget(buttons);
    // Wide enough for a folder path and a device name.
    setMinimumWidth(560);

    // The deprecated text overload of currentIndexChanged would break the warnings-as-errors build.
    connect(mInputDevicesComboBox, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
        [this](int index) { onAudioInputDeviceChanged(mInputDevicesComboBox->itemText(index)); });
}

QWidget* SettingsDialog::buildGeneralTab()
{
    QWidget* page = new QWidget;
    QFormLayout* form = makeForm(page);
    mMetronomeCheck = addCheck(form, "metronomeEnabled", "Metronome click",
        "Play a metronome click while you record, at the tempo and time signature of the tune.");
    mBarBeginClickCheck
        = addCheck(form, "differentBarBeginClick", "Different metronome click for bar/measure beginning",
            "Play a different click on the first beat of each bar, so you hear where the bar begins.");
    mSubBeatsCheck = addCheck(form, "subBeatsEnabled", "Metronome click on sub beats",
        "Also click on the sub beats between the beats. Useful for 6/8 and common time (C).");
    mMaxClickCompensationSpin = addField(form, "maxClickCompensation_ms", "Max metronome compensation:",
        "The largest adjustment, in milliseconds, the metronome makes to its interval to stay in step with the "
        "recording.\nThe adjustments make up for the difference between the computer's clock and the sound card's "
        "sampling clock.",
        makeSpin(0, 99));
    mVolumeCutoffSpin = addField(form, "volumeCutoff_percent", "Volume cutoff",
        "The volume, in percent, below which no note is taken as played.\nRaise it if background noise turns up as "
        "notes.",
        makeSpin(0, 99));
    // "0-99" is kept deliberately, although the box takes 1..100.
    mVolumeWarningSpin = addField(form, "volumeWarning_percent", "Volume warning",
        "The volume, in percent (0-99), above which the volume bar is shown red.\nIt is for indication only and "
        "does not change the transcription.",
        makeSpin(1, 100));
    mCalibrationDurationSpin = addField(form, "calibrationDuration_s", "Calibration note average duration",
        "How long each note is averaged over when your chanter is calibrated.",
        makeDoubleSpin(0.2, 5.0, 1, 0.1, " secs"));
    mCalibrationCountdownSpin = addField(form, "calibrationCountdown_s", "Calibration countdown",
        "The seconds counted down before the calibration starts, to give you time to strike in.",
        makeSpin(0, 99, " secs"));
    mRefreshRateSpin = addField(form, "scoreRefreshRate_Hz", "View refresh rate",
        "How many times a second the views are redrawn while you play.\nLower it if the computer struggles to keep "
        "up.",
        makeDoubleSpin(0.01, 20.0, 2, 1.0));
    mBarsPerRowSpin = addField(form, "barsPerRow", "Sheet music view bars/measures per row",
        "How many bars the sheet music view puts on each row.", makeSpin(1, 12));
    mSecsPerRowSpin = addField(form, "secsPerRow_s", "Timing view seconds per row",
        "How many seconds of playing the timing view puts on each row.", makeDoubleSpin(1.0, 20.0, 1, 1.0, " secs"));
    return page;
}

QWidget* SettingsDialog::buildAudioTab()
{
    QWidget* page = new QWidget;
    QFormLayout* form = makeForm(page);
    mInputDevicesComboBox = addField(form, "audioDevice",
        "Input device:", "The microphone or sound card input your pipes are recorded from.", makeList());
    mOutputDevicesComboBox = addField(form, "audioOutputDevice",
        "Output device:", "The speakers or headphones your recordings are played back through.", makeList());
    mFrequencyCombo = addField(form, "recordingFrequency_Hz", "Input Frequency:",
        "The sampling rate of the recording, in Hz. It should normally be 44100;\nif your audio card doesn't "
        "support this, try a rate as close to it as possible.",
        makeList());
    mFilterFrequencySpin = addField(form, "filterCornerFrequency_Hz", "Input Filter Frequency:",
        "The corner frequency, in Hz, of a filter on the input, for audio setups that favour speech over the "
        "pipes.\n0 turns the filter off.",
        makeSpin(0, 20000, QString(), 100));
    return page;
}

QWidget* SettingsDialog::buildApplicationTab()
{
    QWidget* page = new QWidget;
    QFormLayout* form = makeForm(page);
    mAutoSaveDirEdit = addField(form, "autoSaveDir", "Auto save location:",
        QString("The folder on your computer where the auto saved transcriptions and calibrations are kept.\nThe "
                "default location is %1")
            .arg(QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation) + "/Ceolmark/"),
        new QLineEdit);
    mAutoSaveCountSpin = addField(form, "autoSaveCount", "Auto saves to keep:",
        "How many auto saved recordings are kept; 0 turns auto saving off.\nBeyond this number the oldest file is "
        "deleted before saving.",
        makeSpin(0, 1000));
    mAutoUpdateCheck = addCheck(form, "enabledAutoUpdate", "Enable auto-updater",
        "Allow Ceolmark to check automatically for a more recent version.");
    return page;
}

QWidget* SettingsDialog::buildAdvancedTab()
{
    QWidget* page = new QWidget;
    QFormLayout* form = makeForm(page);
    form->addRow(new QLabel("These are advanced transcription settings."));
    mPitchPeakThresholdSpin = addField(form, "pitchPeakThreshold", "Pitch peak threshold:",
        "How high a pitch peak must be, relative to the highest one, to count as the note's pitch.\nThe default "
        "value is 0.90.",
        makeDoubleSpin(0.8, 0.99, 2, 0.01));
    mMinimumPitchPeakSpin = addField(form, "minimumPitchPeak", "Minimum pitch peak:",
        "The smallest pitch peak taken as a note at all; weaker sound is ignored.\nThe default value is 0.3.",
        makeDoubleSpin(0.0, 0.99, 2, 0.01));
    return page;
}

void SettingsDialog::setValue(const AppSettings& value) { mValue = value; }

void SettingsDialog::initialise(bool fillDevices)
{
    mMetronomeCheck->setChecked(mValue.metronomeEnabled);
    mBarBeginClickCheck->setChecked(mValue.differentBarBeginClick);
    mSubBeatsCheck->setChecked(mValue.subBeatsEnabled);
    mMaxClickCompensationSpin->setValue(mValue.maxClickCompensation_ms);
    mVolumeCutoffSpin->setValue(mValue.volumeCutoff_percent);
    mVolumeWarningSpin->setValue(mValue.volumeWarning_percent);
    mCalibrationDurationSpin->setValue(mValue.calibrationDuration_s);
    mCalibrationCountdownSpin->setValue(mValue.calibrationCountdown_s);
    mRefreshRateSpin->setValue(mValue.scoreRefreshRate_Hz);
    mBarsPerRowSpin->setValue(mValue.barsPerRow);
    mSecsPerRowSpin->setValue(mValue.secsPerRow_s);
    mFilterFrequencySpin->setValue(int(mValue.filterCornerFrequency_Hz));
    mAutoSaveDirEdit->setText(mValue.autoSaveDir);
    mAutoSaveCountSpin->setValue(mValue.autoSaveCount);
    mAutoUpdateCheck->setChecked(mValue.enabledAutoUpdate);
    mPitchPeakThresholdSpin->setValue(mValue.pitchPeakThreshold);
    mMinimumPitchPeakSpin->setValue(mValue.minimumPitchPeak);

    // Clearing the input list empties the frequency list through onAudioInputDeviceChanged.
    mInputDevicesComboBox->clear();
    mOutputDevicesComboBox->clear();
    if (fillDevices)
        fillDeviceLists();
}

void SettingsDialog::fillDeviceLists()
{
    // Some ALSA setups report a nameless device: a blank line in a list helps no-one.
    for (const QAudioDeviceInfo& device : QAudioDeviceInfo::availableDevices(QAudio::AudioInput))
        if (!device.deviceName().isEmpty())
            mInputDevicesComboBox->addItem(device.deviceName(), device.deviceName());
    for (const QAudioDeviceInfo& device : QAudioDeviceInfo::availableDevices(QAudio::AudioOutput))
        if (!device.deviceName().isEmpty())
            mOutputDevicesComboBox->addItem(device.deviceName(), device.deviceName());
    selectData(mInputDevicesComboBox, mValue.audioDevice, QAudioDeviceInfo::defaultInputDevice().deviceName());
    selectData(mOutputDevicesComboBox, mValue.audioOutputDevice, QAudioDeviceInfo::defaultOutputDevice().deviceName());
}

void SettingsDialog::onAudioInputDeviceChanged(const QString& name)
{
    mFrequencyCombo->clear();
    if (name.isEmpty())
        return;
    for (const QAudioDeviceInfo& device : QAudioDeviceInfo::availableDevices(QAudio::AudioInput)) {
        if (device.deviceName() != name)
            continue;
        for (int rate_Hz : device.supportedSampleRates())
            mFrequencyCombo->addItem(QString::number(rate_Hz), rate_Hz);
        break;
    }
    const int index = mFrequencyCombo->findData(mValue.recordingFrequency_Hz);
    if (mFrequencyCombo->count() > 0)
        mFrequencyCombo->setCurrentIndex(index >= 0 ? index : 0);
}

void SettingsDialog::accept()
{
    mValue.metronomeEnabled = mMetronomeCheck->isChecked();
    mValue.differentBarBeginClick = mBarBeginClickCheck->isChecked();
    mValue.subBeatsEnabled = mSubBeatsCheck->isChecked();
    mValue.maxClickCompensation_ms = mMaxClickCompensationSpin->value();
    mValue.volumeCutoff_percent = mVolumeCutoffSpin->value();
    mValue.volumeWarning_percent = mVolumeWarningSpin->value();
    mValue.calibrationDuration_s = float(mCalibrationDurationSpin->value());
    mValue.calibrationCountdown_s = mCalibrationCountdownSpin->value();
    mValue.scoreRefreshRate_Hz = float(mRefreshRateSpin->value());
    mValue.barsPerRow = mBarsPerRowSpin->value();
    mValue.secsPerRow_s = float(mSecsPerRowSpin->value());
    // An empty list (no device, or not filled) keeps what was saved.
    if (mInputDevicesComboBox->currentIndex() >= 0)
        mValue.audioDevice = mInputDevicesComboBox->currentData().toString();
    if (mOutputDevicesComboBox->currentIndex() >= 0)
        mValue.audioOutputDevice = mOutputDevicesComboBox->currentData().toString();
    if (mFrequencyCombo->currentIndex() >= 0)
        mValue.recordingFrequency_Hz = mFrequencyCombo->currentData().toInt();
    mValue.filterCornerFrequency_Hz = float(mFilterFrequencySpin->value());
    const QString autoSaveDir = mAutoSaveDirEdit->text().trimmed();
    if (!autoSaveDir.isEmpty())
        mValue.autoSaveDir = autoSaveDir;
    mValue.autoSaveCount = mAutoSaveCountSpin->value();
    mValue.enabledAutoUpdate = mAutoUpdateCheck->isChecked();
    mValue.pitchPeakThreshold = float(mPitchPeakThresholdSpin->value());
    mValue.minimumPitchPeak = float(mMinimumPitchPeakSpin->value());
    QDialog::accept();
}
