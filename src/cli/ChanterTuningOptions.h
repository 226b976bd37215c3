#pragma once

#include "PipeTuning.h"

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QString>

// The chanter's tuning as command-line options: --low-a HZ (the harmonic scheme on that low
// A) or --tuning LG,LA,B,C,D,E,F,HG,HA (nine measured frequencies). Main thread only.
class ChanterTuningOptions {
public:
    static constexpr double kMinimumLowA_Hz = 200.0;
    static constexpr double kMaximumLowA_Hz = 1000.0;

    ChanterTuningOptions();

    void addTo(QCommandLineParser& parser) const;
    // False with a message naming the option when a value is out of range or both are given.
    bool read(const QCommandLineParser& parser, QString& error);

    // Whether either option was given; without, a transcription searches the tuning itself.
    bool isSet() const { return mIsSet; }
    const PipeTuning& tuning() const { return mTuning; }

    // A low A in Hz within the limits; false with a message otherwise.
    static bool parseLowA(const QString& text, double& lowA_Hz, QString& error);
    // Nine positive frequencies in Hz, Low G to High A, separated by commas: the measured
    // scheme. False with a message otherwise.
    static bool parseTuning(const QString& text, PipeTuning& tuning, QString& error);

private:
    QCommandLineOption mLowAOption;
    QCommandLineOption mTuningOption;
    bool mIsSet = false;
    PipeTuning mTuning;
};
