#pragma once

#include "AppSettings.h"

#include <QDialog>

class QCheckBox;
class QComboBox;
class QDoubleSpinBox;
class QFormLayout;
class QLineEdit;
class QSpinBox;

// The settings a piper may change, on four tabs: General, Audio, Application, Advanced.
// It edits a copy of the window's AppSettings: setValue, initialise, exec, and on acceptance
// value() holds the edited settings. Each editor's objectName is its AppSettings member's name.
// The editors clamp what they show to their ranges (e.g. volume cutoff 0..99 %), so an
// accepted value is always within them. Interface thread only.
class SettingsDialog : public QDialog {
    Q_OBJECT

public:
    explicit SettingsDialog(QWidget* parent = nullptr);

    // Takes the settings to edit; initialise() shows them.
    void setValue(const AppSettings& value);
    // The settings as given, and after acceptance as edited.
    const AppSettings& value() const { return mValue; }

    // Loads every editor from the value. With fillDevices the device lists get the devices
    // the audio system reports (the saved one selected, else the system default) and the
    // frequency list the selected input's rates; without, the three lists stay empty, and
    // an accept then keeps the devices and the rate as they are (no device enumeration).
    void initialise(bool fillDevices = true);

public slots:
    // Reads every editor back into the value, then closes the dialog.
    void accept() override;
    // Refills the frequency list with the rates (Hz) of the input device of that name;
    // empty for an unknown name. Selects the value's rate if there, else the first.
    void onAudioInputDeviceChanged(const QString& name);

private:
    QWidget* buildGeneralTab();
    QWidget* buildAudioTab();
    QWidget* buildApplicationTab();
    QWidget* buildAdvancedTab();
    void fillDeviceLists();

    AppSettings mValue;

    // General.
    QCheckBox* mMetronomeCheck = nullptr;
    QCheckBox* mBarBeginClickCheck = nullptr;
    QCheckBox* mSubBeatsCheck = nullptr;
    QSpinBox* mMaxClickCompensationSpin = nullptr;
    QSpinBox* mVolumeCutoffSpin = nullptr;
    QSpinBox* mVolumeWarningSpin = nullptr;
    QDoubleSpinBox* mCalibrationDurationSpin = nullptr;
    QSpinBox* mCalibrationCountdownSpin = nullptr;
    QDoubleSpinBox* mRefreshRateSpin = nullptr;
    QSpinBox* mBarsPerRowSpin = nullptr;
    QDoubleSpinBox* mSecsPerRowSpin = nullptr;
    // Audio.
    QComboBox* mInputDevicesComboBox = nullptr;
    QComboBox* mOutputDevicesComboBox = nullptr;
    QComboBox* mFrequencyCombo = nullptr;
    QSpinBox* mFilterFrequencySpin = nullptr;
    // Application.
    QLineEdit* mAutoSaveDirEdit = nullptr;
    QSpinBox* mAutoSaveCountSpin = nullptr;
    QCheckBox* mAutoUpdateCheck = nullptr;
    // Advanced.
    QDoubleSpinBox* mPitchPeakThresholdSpin = nullptr;
    QDoubleSpinBox* mMinimumPitchPeakSpin = nullptr;
};
