#include "AppSettings.h"

#include <QDebug>
#include <QDir>
#include <QStandardPaths>
#include <QUuid>
#include <QVector>

namespace {

constexpr int kChanterNotes = 9;

QString documentsLocation() { return QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation); }

// Also the low A kept when a stored low A is 0.
PipeTuning harmonicAt220Hz()
{
    PipeTuning tuning;
    tuning.setLowA_Hz(220.0f);
    tuning.setTuningScheme(PipeTuning::Harmonic);
    return tuning;
}

} // namespace

AppSettings::AppSettings()
    : lastSaveFileName(documentsLocation())
    , lastSaveRawFileName(documentsLocation())
    , autoSaveDir(documentsLocation() + QStringLiteral("/Ceolmark/autosave/"))
{
}

void AppSettings::load(QSettings& store)
{
    const AppSettings d;
    auto value = [&store](const char* key, const QVariant& fallback) { return store.value(key, fallback); };

    geometry = value("geometry", d.geometry).toByteArray();
    state = value("state", d.state).toByteArray();
    lastSaveFileName = value("lastSaveFileName", d.lastSaveFileName).toString();
    lastSaveRawFileName = value("lastSaveRawFileName", d.lastSaveRawFileName).toString();
    lastSaveFilter = value("lastSaveFilter", d.lastSaveFilter).toString();
    lastAutoSaveFileName = value("lastAutoSaveFileName", d.lastAutoSaveFileName).toString();
    zoom = value("zoom", d.zoom).toFloat();
    bpm = value("bpm", d.bpm).toFloat();
    calibrationCountdown_s = value("calibrationCountdown_s", d.calibrationCountdown_s).toInt();
    calibrationDuration_s = value("calibrationDuration_s", d.calibrationDuration_s).toFloat();
    volumeCutoff_percent = value("volumeCutoff_percent", d.volumeCutoff_percent).toInt();
    volumeWarning_percent = value("volumeWarning_percent", d.volumeWarning_percent).toInt();
    timeSignature = value("timeSignature", d.timeSignature).toInt();
    scoreRefreshRate_Hz = value("scoreRefreshRate_Hz", d.scoreRefreshRate_Hz).toFloat();
    metronomeEnabled = value("metronomeEnabled", d.metronomeEnabled).toBool();
    subBeatsEnabled = value("subBeatsEnabled", d.subBeatsEnabled).toBool();
    isRounded = value("isRounded", d.isRounded).toBool();
    timeShift_s = value("timeShift_s", d.timeShift_s).toFloat();
    barsPerRow = value("barsPerRow", d.barsPerRow).toInt();
    secsPerRow_s = value("secsPerRow_s", d.secsPerRow_s).toFloat();
    differentBarBeginClick = value("differentBarBeginClick", d.differentBarBeginClick).toBool();
    recordingFrequency_Hz = value("recordingFrequency_Hz", d.recordingFrequency_Hz).toInt();
    enabledAutoUpdate = value("enabledAutoUpdate", d.enabledAutoUpdate).toBool();
    autoSaveDir = value("autoSaveDir", d.autoSaveDir).toString();
    autoSaveCount = value("autoSaveCount", d.autoSaveCount).toInt();
    maxClickCompensation_ms = value("maxClickCompensation_ms", d.maxClickCompensation_ms).toInt();
    pitchPeakThreshold = value("pitchPeakThreshold", d.pitchPeakThreshold).toFloat();
    minimumPitchPeak = value("minimumPitchPeak", d.minimumPitchPeak).toFloat();
    audioDevice = value("audioDevice", d.audioDevice).toString();
    audioOutputDevice = value("audioOutputDevice", d.audioOutputDevice).toString();
    filterCornerFrequency_Hz = value("filterCornerFrequency_Hz", d.filterCornerFrequency_Hz).toFloat();
    tuneName = value("tuneName", d.tuneName).toString();
    tuneType = value("tuneType", d.tuneType).toString();
    composer = value("composer", d.composer).toString();
    dryRun = value("dryRun", d.dryRun).toBool();
    debugDisable = value("debugDisable", d.debugDisable).toBool();

    // A folder that cannot be made shows up when the first autosave fails, where it can be reported.
    QDir(autoSaveDir).mkpath(QStringLiteral("."));

    tuning = harmonicAt220Hz();
    PipeTuning::FrequencyMap frequencies = tuning.getNoteCentreFrequencies();
    for (int index = 0; index < kChanterNotes; ++index) {
        const PipeTuning::ReferenceNote note = PipeTuning::noteIndexToReferenceNote(index);
        frequencies[note] = store.value(tuningKey(index), frequencies[note]).toFloat();
    }
    tuning.setTuningScheme(PipeTuning::Measured, frequencies);

    installKey = store.value(QStringLiteral("InstallKey")).toString();
    if (installKey.isEmpty()) {
        installKey = QUuid::createUuid().toString(QUuid::WithoutBraces);
        store.setValue(QStringLiteral("InstallKey"), installKey);
    }

    firstRun = store.value(QStringLiteral("FirstRun")).toDateTime();
    if (!firstRun.isValid()) {
        qInfo() << "Recording first run time";
        firstRun = QDateTime::currentDateTimeUtc();
        store.setValue(QStringLiteral("FirstRun"), firstRun);
    }
}

QVector<QPair<QString, QVariant>> AppSettings::savedValues() const
{
    QVector<QPair<QString, QVariant>> values{
        {"geometry", geometry},
        {"state", state},
        {"lastSaveFileName", lastSaveFileName},
        {"lastSaveRawFileName", lastSaveRawFileName},
        {"lastSaveFilter", lastSaveFilter},
        {"lastAutoSaveFileName", lastAutoSaveFileName},
        {"zoom", zoom},
        {"bpm", bpm},
        {"calibrationCountdown_s", calibrationCountdown_s},
        {"calibrationDuration_s", calibrationDuration_s},
        {"volumeWarning_percent", volumeWarning_percent},
        {"volumeCutoff_percent", volumeCutoff_percent},
        {"timeSignature", timeSignature},
        {"scoreRefreshRate_Hz", scoreRefreshRate_Hz},
        {"metronomeEnabled", metronomeEnabled},
        {"subBeatsEnabled", subBeatsEnabled},
        {"isRounded", isRounded},
        {"timeShift_s", timeShift_s},
        {"barsPerRow", barsPerRow},
        {"secsPerRow_s", secsPerRow_s},
        {"differentBarBeginClick", differentBarBeginClick},
        {"maxClickCompensation_ms", maxClickCompensation_ms},
        {"recordingFrequency_Hz", recordingFrequency_Hz},
        {"enabledAutoUpdate", enabledAutoUpdate},
        {"autoSaveDir", autoSaveDir},
        {"autoSaveCount", autoSaveCount},
        {"audioDevice", audioDevice},
        {"audioOutputDevice", audioOutputDevice},
        {"filterCornerFrequency_Hz", filterCornerFrequency_Hz},
        {"pitchPeakThreshold", pitchPeakThreshold},
        {"minimumPitchPeak", minimumPitchPeak},
        {"tuneName", tuneName},
        {"tuneType", tuneType},
        {"composer", composer},
    };
    const PipeTuning::FrequencyMap frequencies = tuning.getNoteCentreFrequencies();
    for (int index = 0; index < kChanterNotes; ++index) {
        const auto found = frequencies.find(PipeTuning::noteIndexToReferenceNote(index));
        values.append({tuningKey(index), found == frequencies.end() ? 0.0f : found->second});
    }
    return values;
}

void AppSettings::save(QSettings& store) const
{
    for (const auto& entry : savedValues())
        store.setValue(entry.first, fixMacFloatVariant(entry.second));
}

QVariant AppSettings::fixMacFloatVariant(QVariant value)
{
    if (value.userType() == QMetaType::Float)
        return QVariant(double(value.toFloat()));
    return value;
}

QStringList AppSettings::savedKeys()
{
    QStringList keys;
    for (const auto& entry : AppSettings().savedValues())
        keys.append(entry.first);
    return keys;
}

QString AppSettings::tuningKey(int noteIndex)
{
    return QStringLiteral("Tuning_")
        + QString::fromStdString(toString(PipeTuning::noteIndexToReferenceNote(noteIndex)));
}

PipeTuning AppSettings::defaultTuning()
{
    PipeTuning tuning = harmonicAt220Hz();
    tuning.setTuningScheme(PipeTuning::Measured, tuning.getNoteCentreFrequencies());
    return tuning;
}
