#include "SettingsDialog.h"
#include "TuneDetailsDialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QLineEdit>
#include <QSpinBox>

#include <gtest/gtest.h>

#include <functional>
#include <vector>

namespace {

// An option: its editor's objectName, its AppSettings member, and a value within the editor's
// limits that differs from the default.
struct Option {
    const char* name;
    std::function<QVariant(const AppSettings&)> member;
    QVariant edited;
};

// In the dialog's order: choosing the input device refills the frequency list after it.
const std::vector<Option>& options()
{
    static const std::vector<Option> table = {
        {"metronomeEnabled", [](const AppSettings& s) { return QVariant(s.metronomeEnabled); }, false},
        {"differentBarBeginClick", [](const AppSettings& s) { return QVariant(s.differentBarBeginClick); }, false},
        {"subBeatsEnabled", [](const AppSettings& s) { return QVariant(s.subBeatsEnabled); }, true},
        {"maxClickCompensation_ms", [](const AppSettings& s) { return QVariant(s.maxClickCompensation_ms); }, 45},
        {"volumeCutoff_percent", [](const AppSettings& s) { return QVariant(s.volumeCutoff_percent); }, 12},
        {"volumeWarning_percent", [](const AppSettings& s) { return QVariant(s.volumeWarning_percent); }, 85},
        {"calibrationDuration_s", [](const AppSettings& s) { return QVariant(double(s.calibrationDuration_s)); }, 1.5},
        {"calibrationCountdown_s", [](const AppSettings& s) { return QVariant(s.calibrationCountdown_s); }, 7},
        {"scoreRefreshRate_Hz", [](const AppSettings& s) { return QVariant(double(s.scoreRefreshRate_Hz)); }, 7.25},
        {"barsPerRow", [](const AppSettings& s) { return QVariant(s.barsPerRow); }, 6},
        {"secsPerRow_s", [](const AppSettings& s) { return QVariant(double(s.secsPerRow_s)); }, 12.5},
        {"audioDevice", [](const AppSettings& s) { return QVariant(s.audioDevice); }, "Test input"},
        {"audioOutputDevice", [](const AppSettings& s) { return QVariant(s.audioOutputDevice); }, "Test output"},
        {"recordingFrequency_Hz", [](const AppSettings& s) { return QVariant(s.recordingFrequency_Hz); }, 22050},
        {"filterCornerFrequency_Hz", [](const AppSettings& s) { return QVariant(double(s.filterCornerFrequency_Hz)); },
            300.0},
        {"autoSaveDir", [](const AppSettings& s) { return QVariant(s.autoSaveDir); }, "/srv/pipes/autosave"},
        {"autoSaveCount", [](const AppSettings& s) { return QVariant(s.autoSaveCount); }, 250},
        {"enabledAutoUpdate", [](const AppSettings& s) { return QVariant(s.enabledAutoUpdate); }, false},
        {"pitchPeakThreshold", [](const AppSettings& s) { return QVariant(double(s.pitchPeakThreshold)); }, 0.85},
        {"minimumPitchPeak", [](const AppSettings& s) { return QVariant(double(s.minimumPitchPeak)); }, 0.45},
    };
    return table;
}

// The device lists are empty without enumeration: an item is added, as a device would be.
void setEditor(QWidget* editor, const QVariant& value)
{
    if (auto* check = qobject_cast<QCheckBox*>(editor))
        check->setChecked(value.toBool());
    else if (auto* spin = qobject_cast<QSpinBox*>(editor))
        spin->setValue(value.toInt());
    else if (auto* doubleSpin = qobject_cast<QDoubleSpinBox*>(editor))
        doubleSpin->setValue(value.toDouble());
    else if (auto* line = qobject_cast<QLineEdit*>(editor))
        line->setText(value.toString());
    else if (auto* list = qobject_cast<QComboBox*>(editor)) {
        list->addItem(value.toString(), value);
        list->setCurrentIndex(list->count() - 1);
    }
}

void expectSame(const QVariant& actual, const QVariant& expected, const char* name)
{
    if (expected.type() == QVariant::Double)
        EXPECT_NEAR(actual.toDouble(), expected.toDouble(), 1e-6) << name;
    else
        EXPECT_EQ(actual.toString().toStdString(), expected.toString().toStdString()) << name;
}

// What the dialog gives back from given once edit has changed its editors; no device enumeration.
AppSettings accepted(const AppSettings& given, const std::function<void(SettingsDialog&)>& edit)
{
    SettingsDialog dialog;
    dialog.setValue(given);
    dialog.initialise(false);
    edit(dialog);
    dialog.accept();
    return dialog.value();
}

AppSettings editedSettings()
{
    return accepted(AppSettings(), [](SettingsDialog& dialog) {
        for (const Option& o : options()) {
            QWidget* editor = dialog.findChild<QWidget*>(o.name);
            EXPECT_NE(editor, nullptr) << o.name;
            if (editor)
                setEditor(editor, o.edited);
        }
    });
}

TEST(SettingsDialogTest, AcceptCopiesEveryEditorIntoTheValue)
{
    const AppSettings defaults;
    const AppSettings edited = editedSettings();
    for (const Option& o : options()) {
        ASSERT_NE(o.member(defaults), o.edited) << o.name << ": the edit would go unnoticed";
        expectSame(o.member(edited), o.edited, o.name);
    }
}

// Catches an editor loaded from the wrong member: the value would change on the way round.
TEST(SettingsDialogTest, InitialiseShowsTheValueSoThatAcceptKeepsIt)
{
    const AppSettings edited = editedSettings();
    const AppSettings again = accepted(edited, [](SettingsDialog&) {});
    for (const Option& o : options())
        expectSame(o.member(again), o.member(edited), o.name);
}

TEST(SettingsDialogTest, ValuesOutsideTheLimitsComeBackClamped)
{
    AppSettings given;
    given.volumeCutoff_percent = 150;
    given.scoreRefreshRate_Hz = 0.0f;
    given.barsPerRow = 30;
    given.secsPerRow_s = 0.5f;
    given.filterCornerFrequency_Hz = 30000.0f;
    given.pitchPeakThreshold = 0.5f;
    const AppSettings value = accepted(given, [](SettingsDialog&) {});
    EXPECT_EQ(value.volumeCutoff_percent, 99);
    EXPECT_FLOAT_EQ(value.scoreRefreshRate_Hz, 0.01f);
    EXPECT_EQ(value.barsPerRow, 12);
    EXPECT_FLOAT_EQ(value.secsPerRow_s, 1.0f);
    EXPECT_FLOAT_EQ(value.filterCornerFrequency_Hz, 20000.0f);
    EXPECT_FLOAT_EQ(value.pitchPeakThreshold, 0.8f);
}

TEST(SettingsDialogTest, AutoSaveLocationIsTrimmedAndABlankOneKeepsThePrevious)
{
    const struct {
        QString typed;
        QString expected;
    } cases[] = {{"   ", "/old/autosave"}, {"", "/old/autosave"}, {"  /srv/pipes  ", "/srv/pipes"}};
    AppSettings given;
    given.autoSaveDir = "/old/autosave";
    for (const auto& c : cases) {
        const AppSettings value
            = accepted(given, [&](SettingsDialog& d) { d.findChild<QLineEdit*>("autoSaveDir")->setText(c.typed); });
        EXPECT_EQ(value.autoSaveDir.toStdString(), c.expected.toStdString()) << '"' << c.typed.toStdString();
    }
}

TEST(SettingsDialogTest, AnUnknownInputDeviceEmptiesTheFrequencyListAndTheRateStays)
{
    AppSettings given;
    given.recordingFrequency_Hz = 48000;
    const AppSettings value = accepted(given, [](SettingsDialog& dialog) {
        QComboBox* frequencies = dialog.findChild<QComboBox*>("recordingFrequency_Hz");
        frequencies->addItem("22050", 22050);
        dialog.onAudioInputDeviceChanged("No such device");
        EXPECT_EQ(frequencies->count(), 0);
    });
    EXPECT_EQ(value.recordingFrequency_Hz, 48000);
}

TEST(SettingsDialogTest, VolumeWarningTooltipKeepsItsRange)
{
    SettingsDialog dialog;
    EXPECT_TRUE(dialog.findChild<QSpinBox*>("volumeWarning_percent")->toolTip().contains("0-99"));
}

TEST(TuneDetailsDialogTest, AcceptTakesTheEdits)
{
    TuneDetailsDialog dialog;
    dialog.initialise("Given", "March", "Me", 1, 80, false, 0.5f);
    dialog.findChild<QLineEdit*>("tuneName")->setText("Edited");
    dialog.findChild<QLineEdit*>("tuneType")->setText("Reel");
    dialog.findChild<QLineEdit*>("composer")->setText("Trad.");
    dialog.findChild<QComboBox*>("timeSignature")->setCurrentIndex(3);
    dialog.findChild<QSpinBox*>("bpm")->setValue(62);
    dialog.findChild<QCheckBox*>("round")->setChecked(true);
    dialog.findChild<QDoubleSpinBox*>("timeShift")->setValue(-1.25);
    dialog.accept();
    EXPECT_EQ(dialog.tuneName().toStdString(), "Edited");
    EXPECT_EQ(dialog.tuneType().toStdString(), "Reel");
    EXPECT_EQ(dialog.composer().toStdString(), "Trad.");
    EXPECT_EQ(dialog.timeSignature(), 3);
    EXPECT_EQ(dialog.bpm(), 62);
    EXPECT_TRUE(dialog.isRounded());
    EXPECT_FLOAT_EQ(dialog.timeShift_s(), -1.25f);
}

TEST(TuneDetailsDialogTest, AnUnknownTimeSignatureAndAnOutOfRangeTempoAreBroughtIntoRange)
{
    TuneDetailsDialog dialog;
    dialog.initialise("Tune", "Jig", "Me", 9, 500, false, 0.0f);
    dialog.accept();
    EXPECT_EQ(dialog.timeSignature(), 0);
    EXPECT_EQ(dialog.bpm(), 200);
}

} // namespace
