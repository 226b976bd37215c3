#include "ChanterTuningOptions.h"

#include <QStringList>

#include <cmath>

ChanterTuningOptions::ChanterTuningOptions()
    : mLowAOption("low-a",
        QString("Low A of the chanter in Hz, %1 to %2; the tuning is the harmonic scheme on it.")
            .arg(kMinimumLowA_Hz)
            .arg(kMaximumLowA_Hz),
        "HZ")
    , mTuningOption("tuning", "The nine measured note frequencies in Hz, Low G to High A, separated by commas.",
          "LG,LA,B,C,D,E,F,HG,HA")
{
}

void ChanterTuningOptions::addTo(QCommandLineParser& parser) const
{
    parser.addOption(mLowAOption);
    parser.addOption(mTuningOption);
}

bool ChanterTuningOptions::read(const QCommandLineParser& parser, QString& error)
{
    const bool lowA = parser.isSet(mLowAOption);
    const bool measured = parser.isSet(mTuningOption);
    if (lowA && measured) {
        error = "--low-a and --tuning cannot be given together";
        return false;
    }
    mIsSet = lowA || measured;
    mTuning = PipeTuning();
    if (lowA) {
        double lowA_Hz = 0.0;
        if (!parseLowA(parser.value(mLowAOption), lowA_Hz, error))
            return false;
        mTuning.setLowA_Hz(float(lowA_Hz));
    }
    if (measured && !parseTuning(parser.value(mTuningOption), mTuning, error))
        return false;
    return true;
}

bool ChanterTuningOptions::parseLowA(const QString& text, double& lowA_Hz, QString& error)
{
    bool isNumber = false;
    lowA_Hz = text.toDouble(&isNumber);
    if (isNumber && lowA_Hz >= kMinimumLowA_Hz && lowA_Hz <= kMaximumLowA_Hz)
        return true;
    error = QString("--low-a must be a frequency from %1 to %2 Hz, not '%3'")
                .arg(kMinimumLowA_Hz)
                .arg(kMaximumLowA_Hz)
                .arg(text);
    return false;
}

bool ChanterTuningOptions::parseTuning(const QString& text, PipeTuning& tuning, QString& error)
{
    const QStringList fields = text.split(',');
    if (fields.size() != 9) {
        error = QString("--tuning needs nine frequencies, Low G to High A, not '%1'").arg(text);
        return false;
    }
    PipeTuning::FrequencyMap frequencies;
    for (int index = 0; index < 9; ++index) {
        bool isNumber = false;
        const double frequency_Hz = fields[index].trimmed().toDouble(&isNumber);
        if (!isNumber || !std::isfinite(frequency_Hz) || !(frequency_Hz > 0.0)) {
            error = QString("--tuning: '%1' is not a frequency in Hz").arg(fields[index]);
            return false;
        }
        frequencies[PipeTuning::noteIndexToReferenceNote(index)] = float(frequency_Hz);
    }
    tuning = PipeTuning();
    tuning.setTuningScheme(PipeTuning::Measured, frequencies);
    return true;
}
