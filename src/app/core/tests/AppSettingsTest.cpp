#include "AppSettings.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>

namespace {

struct Field {
    const char* name;
    std::function<void(AppSettings&)> set; // to a value that is not the default
    std::function<bool(const AppSettings&)> isSet, isDefault;
};

// clang-format off
#define FIELD(m, v) Field{#m, [](AppSettings& s) { s.m = v; }, [](const AppSettings& s) { return s.m == v; }, \
    [](const AppSettings& s) { return s.m == AppSettings().m; }}
// Every saved member but the tuning, which has no operator==.
const Field kFields[] = {FIELD(geometry, QByteArray("\0\xffg", 3)), FIELD(state, QByteArray("s")),
    FIELD(lastSaveFileName, QString("/a.bww")), FIELD(lastSaveRawFileName, QString("/a.cmk")),
    FIELD(lastSaveFilter, QString("BWW")), FIELD(lastAutoSaveFileName, QString("/x.cmk")), FIELD(zoom, 0.5f),
    FIELD(bpm, 80.3f), FIELD(calibrationCountdown_s, 5), FIELD(calibrationDuration_s, 1.7f),
    FIELD(volumeCutoff_percent, 12), FIELD(volumeWarning_percent, 88), FIELD(timeSignature, 4),
    FIELD(scoreRefreshRate_Hz, 4.5f), FIELD(metronomeEnabled, false), FIELD(subBeatsEnabled, true),
    FIELD(isRounded, true), FIELD(timeShift_s, -0.125f), FIELD(barsPerRow, 3), FIELD(secsPerRow_s, 7.25f),
    FIELD(differentBarBeginClick, false), FIELD(recordingFrequency_Hz, 48000), FIELD(enabledAutoUpdate, false),
    FIELD(autoSaveDir, QDir::homePath() + "/as/"), FIELD(autoSaveCount, 7), FIELD(maxClickCompensation_ms, 35),
    FIELD(pitchPeakThreshold, 0.85f), FIELD(minimumPitchPeak, 0.1f), FIELD(audioDevice, QString("USB")),
    FIELD(audioOutputDevice, QString("Phones")), FIELD(filterCornerFrequency_Hz, 120.5f),
    FIELD(tuneName, QString("Mrs. MacPherson's Jig")), FIELD(tuneType, QString("Jig")),
    FIELD(composer, QString("Trad."))};
// clang-format on

// A new QSettings each time, so values come from the file rather than the object's cache.
AppSettings loadedFrom(const QString& path)
{
    AppSettings settings;
    QSettings store(path, QSettings::IniFormat);
    settings.load(store);
    return settings;
}

TEST(AppSettings, EveryMemberSurvivesSaveAndLoadAsText)
{
    QTemporaryDir dir;
    AppSettings written;
    for (const Field& field : kFields)
        field.set(written);
    written.tuning.setTuningScheme(PipeTuning::Measured, {{PipeTuning::LowA, 480.0f}, {PipeTuning::C, 601.0f}});
    written.dryRun = written.debugDisable = true;
    {
        QSettings store(dir.filePath("s.ini"), QSettings::IniFormat);
        written.save(store);
    }
    const AppSettings read = loadedFrom(dir.filePath("s.ini"));
    for (const Field& field : kFields)
        EXPECT_TRUE(field.isSet(read) && !field.isDefault(read)) << field.name;
    EXPECT_EQ(read.tuning.getNoteCentreFrequencies(), written.tuning.getNoteCentreFrequencies());
    EXPECT_FALSE(read.dryRun || read.debugDisable);
    QFile file(dir.filePath("s.ini"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray text = file.readAll();
    EXPECT_FALSE(text.contains("@Variant")) << "a float written as a blob";
    EXPECT_TRUE(text.contains("\nzoom=0.5\n"));
}

// First start, values as text, and broken files. Every load leaves one InstallKey and FirstRun.
TEST(AppSettings, LoadsWhatItFinds)
{
    const auto isDefault = [](const AppSettings& s) {
        return std::all_of(std::begin(kFields), std::end(kFields), [&s](const Field& f) { return f.isDefault(s); })
            && std::abs(s.tuning.lowA_Hz() - 220.0f) < 0.05f && s.tuning.tuningScheme() == PipeTuning::Measured
            && s.autoSaveDir == QDir::homePath() + "/Documents/Ceolmark/autosave/" && QDir(s.autoSaveDir).exists();
    };
    const struct {
        QByteArray contents;
        std::function<bool(const AppSettings&)> isLoaded;
    } cases[] = {
        {"", isDefault},
        {"bpm=abc", [](const AppSettings& s) { return s.bpm == 0.0f; }}, // no validation: QVariant's 0
        {"zoom=0.5\ndryRun=true\ndebugDisable=1",
            [](const AppSettings& s) { return s.zoom < 0.9f && s.dryRun && s.debugDisable; }},
        {"Tuning_Low%20A=480", [](const AppSettings& s) { return std::abs(s.tuning.lowA_Hz() - 480.0f) < 1e-3f; }},
        {QByteArray("\n==\n[\n\xff\xfe\0zoom", 14), isDefault},
        {QByteArray::fromHex("8badf00d00ff5b3d0a") + QByteArray(2000, '\x9c'), isDefault},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.contents.left(40).toStdString());
        QTemporaryDir dir;
        QFile file(dir.filePath("s.ini"));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write("[General]\n" + c.contents + "\n") > 0);
        file.close();
        const AppSettings first = loadedFrom(file.fileName()), second = loadedFrom(file.fileName());
        EXPECT_TRUE(c.isLoaded(first));
        EXPECT_TRUE(!first.installKey.isEmpty() && second.installKey == first.installKey);
        EXPECT_TRUE(first.firstRun.isValid() && second.firstRun == first.firstRun);
    }
}

TEST(AppSettings, SavedKeysInSaveOrder)
{
    const QStringList expected{"geometry", "state", "lastSaveFileName", "lastSaveRawFileName", "lastSaveFilter",
        "lastAutoSaveFileName", "zoom", "bpm", "calibrationCountdown_s", "calibrationDuration_s",
        "volumeWarning_percent", "volumeCutoff_percent", "timeSignature", "scoreRefreshRate_Hz", "metronomeEnabled",
        "subBeatsEnabled", "isRounded", "timeShift_s", "barsPerRow", "secsPerRow_s", "differentBarBeginClick",
        "maxClickCompensation_ms", "recordingFrequency_Hz", "enabledAutoUpdate", "autoSaveDir", "autoSaveCount",
        "audioDevice", "audioOutputDevice", "filterCornerFrequency_Hz", "pitchPeakThreshold", "minimumPitchPeak",
        "tuneName", "tuneType", "composer", "Tuning_Low G", "Tuning_Low A", "Tuning_B", "Tuning_C", "Tuning_D",
        "Tuning_E", "Tuning_F", "Tuning_High G", "Tuning_High A"};
    EXPECT_EQ(AppSettings::savedKeys(), expected);
}

} // namespace
