#pragma once

#include "PipeTuning.h"

#include <QByteArray>
#include <QDateTime>
#include <QSettings>
#include <QString>
#include <QStringList>
#include <QVariant>

// Every persistent setting of the application, with its default. The window owns one, loads it
// at start and saves it at close; the members are plain so the window reads and changes them
// directly. The keys are the member names except the tuning (nine "Tuning_<note>" keys),
// "InstallKey" and "FirstRun". Interface thread (QSettings is not shared between threads here).
class AppSettings {
public:
    // Members take their defaults; the file names and autoSaveDir depend on the user's documents folder.
    AppSettings();

    QByteArray geometry; // the window's saveGeometry()
    QByteArray state; // the window's saveState()
    QString lastSaveFileName; // default: the documents location
    QString lastSaveRawFileName; // default: the documents location
    QString lastSaveFilter;
    QString lastAutoSaveFileName; // empty when nothing was autosaved yet
    float zoom = 1.0f; // score zoom factor, 1 is 100 %
    float bpm = 72.0f;
    int calibrationCountdown_s = 3;
    float calibrationDuration_s = 0.5f;
    int volumeCutoff_percent = 30;
    int volumeWarning_percent = 70;
    int timeSignature = 0; // tool bar index: 0 4/4, 1 3/4, 2 2/4, 3 cut common time, 4 6/8
    float scoreRefreshRate_Hz = 2.0f;
    bool metronomeEnabled = true;
    bool subBeatsEnabled = false;
    bool isRounded = false;
    float timeShift_s = 0.0f;
    int barsPerRow = 4;
    float secsPerRow_s = 5.0f;
    bool differentBarBeginClick = true;
    int recordingFrequency_Hz = 44100;
    bool enabledAutoUpdate = true;
    QString autoSaveDir; // default: documents location + "/Ceolmark/autosave/"
    int autoSaveCount = 100; // autosaved recordings kept
    int maxClickCompensation_ms = 20;
    float pitchPeakThreshold = 0.9f; // 0..1, relative to the highest peak
    float minimumPitchPeak = 0.3f; // 0..1
    QString audioDevice; // empty: the system default
    QString audioOutputDevice; // empty: the system default
    float filterCornerFrequency_Hz = 0.0f; // 0: no filter
    QString tuneName = QStringLiteral("Your Tune");
    QString tuneType = QStringLiteral("March");
    QString composer = QStringLiteral("Your Name");
    PipeTuning tuning = defaultTuning(); // the calibrated chanter, always the measured scheme
    QString installKey; // made once per installation, identifies recordings made here
    bool dryRun = false; // read only, never saved
    bool debugDisable = false; // read only, never saved
    QDateTime firstRun; // UTC

    // Reads every key, each missing one taking its default; a value that does not convert
    // gives what QVariant's conversion gives (0 for a number, false for a bool). Creates
    // autoSaveDir (failure is left to the autosave to report). Makes and writes InstallKey
    // and FirstRun to the store when they are missing or invalid.
    void load(QSettings& store);
    // Writes every key of savedKeys(), in that order; floats are written as doubles.
    void save(QSettings& store) const;
    // A QMetaType::Float becomes a double, anything else is returned as it is: QSettings writes
    // a float as an opaque variant blob on some platforms, a double as a plain number on all.
    static QVariant fixMacFloatVariant(QVariant value);
    // The keys save() writes, in the order it writes them.
    static QStringList savedKeys();
    // "Tuning_" and the printed name of the chanter note, noteIndex 0 (Low G)..8 (High A).
    static QString tuningKey(int noteIndex);
    // The first-run tuning: the harmonic scheme at low A 220 Hz, held as a measured tuning.
    static PipeTuning defaultTuning();

private:
    QVector<QPair<QString, QVariant>> savedValues() const;
};
