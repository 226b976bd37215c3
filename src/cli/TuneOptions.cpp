#include "TuneOptions.h"

#include "BmwWriter.h"
#include "KestoFileCmk.h"
#include "PipeTuneQuantizer.h"

#include <QFile>

#include <cmath>
#include <utility>

namespace {

const char kDefaultName[] = "Your Tune";
const char kDefaultType[] = "March";
const char kDefaultComposer[] = "Your Name";

} // namespace

TuneOptions::TuneOptions()
    : mBpmOption("bpm", "Tempo in beats per minute (default 72); the beat is a dotted crotchet in 6/8.", "N")
    , mTimeOption("time", "Time signature: 4/4 (default), 3/4, 2/4, 2/2 (cut common time, reel) or 6/8.", "SIG")
    , mRoundOption("round", "Quantise coarser: no note shorter than a semiquaver (a quaver in 2/2 and 6/8).")
    , mShiftOption(
          "shift", "Seconds added to every note's start, so that the first beat falls at 0 (default 0).", "SECONDS")
    , mBarsPerRowOption("bars-per-row", "Bars on each row of the score (default 4).", "N")
    , mNameOption("name", QString("Tune name (default \"%1\").").arg(kDefaultName), "TEXT")
    , mTypeOption("type", QString("Tune type (default \"%1\").").arg(kDefaultType), "TEXT")
    , mComposerOption("composer", QString("Composer (default \"%1\").").arg(kDefaultComposer), "TEXT")
    , mBwwOption("bww", "Write the score as a Bagpipe Music Writer file; an existing one is replaced.", "FILE")
    , mTuneName(kDefaultName)
    , mTuneType(kDefaultType)
    , mComposer(kDefaultComposer)
{
}

void TuneOptions::addTo(QCommandLineParser& parser) const
{
    parser.addOptions({mBpmOption, mTimeOption, mRoundOption, mShiftOption, mBarsPerRowOption, mNameOption, mTypeOption,
        mComposerOption, mBwwOption});
}

bool TuneOptions::parseBpm(const QString& text, float& bpm, QString& error)
{
    bool ok = false;
    const float value = text.toFloat(&ok);
    if (!ok || !std::isfinite(value) || value <= 0.0f) {
        error = QString("--bpm needs a tempo above 0, not \"%1\"").arg(text);
        return false;
    }
    bpm = value;
    return true;
}

bool TuneOptions::parseTimeSignature(const QString& text, TimeSignature& signature, QString& error)
{
    const QStringList components = text.split('/');
    bool numeratorOk = false;
    bool denominatorOk = false;
    TimeSignature value = TimeSignature4_4;
    if (components.size() != 2
        || !timeSignatureFromComponents(
            components[0].toInt(&numeratorOk), components.value(1).toInt(&denominatorOk), value)
        || !numeratorOk || !denominatorOk) {
        error = QString("--time must be 4/4, 3/4, 2/4, 2/2 or 6/8, not \"%1\"").arg(text);
        return false;
    }
    signature = value;
    return true;
}

bool TuneOptions::parseTimeShift(const QString& text, float& timeShift_s, QString& error)
{
    bool ok = false;
    const float value = text.toFloat(&ok);
    if (!ok || !std::isfinite(value)) {
        error = QString("--shift needs a number of seconds, not \"%1\"").arg(text);
        return false;
    }
    timeShift_s = value;
    return true;
}

void TuneOptions::takeDefaults(const KestoFileCmk& recording)
{
    // Untouched when the pair is not one of the five, as the application's opening leaves it.
    timeSignatureFromComponents(recording.timeSigNumerator(), recording.timeSigDenominator(), mTimeSignature);
    if (std::isfinite(recording.bpm()) && recording.bpm() > 0.0f)
        mBpm = recording.bpm();
    if (std::isfinite(recording.timeShift_s()))
        mTimeShift_s = recording.timeShift_s();
    // pack leaves a detail empty when it was not given.
    for (auto [from, to] : {std::make_pair(&recording.tuneName(), &mTuneName),
             std::make_pair(&recording.tuneType(), &mTuneType), std::make_pair(&recording.composedBy(), &mComposer)})
        if (!from->isEmpty())
            *to = *from;
}

bool TuneOptions::read(const QCommandLineParser& parser, QString& error)
{
    if ((parser.isSet(mBpmOption) && !parseBpm(parser.value(mBpmOption), mBpm, error))
        || (parser.isSet(mTimeOption) && !parseTimeSignature(parser.value(mTimeOption), mTimeSignature, error))
        || (parser.isSet(mShiftOption) && !parseTimeShift(parser.value(mShiftOption), mTimeShift_s, error)))
        return false;

    mRounding = parser.isSet(mRoundOption);

    if (parser.isSet(mBarsPerRowOption)) {
        bool ok = false;
        mBarsPerRow = parser.value(mBarsPerRowOption).toInt(&ok);
        if (!ok || mBarsPerRow < 1) {
            error = QString("--bars-per-row needs a whole number from 1, not \"%1\"")
                        .arg(parser.value(mBarsPerRowOption));
            return false;
        }
    }

    for (auto [option, value] : {std::make_pair(&mNameOption, &mTuneName), std::make_pair(&mTypeOption, &mTuneType),
             std::make_pair(&mComposerOption, &mComposer)})
        if (parser.isSet(*option))
            *value = parser.value(*option);
    mBwwPath = parser.value(mBwwOption);
    return true;
}

PipeTuneModel TuneOptions::quantize(const NoteMap& melody, const NoteMap& grace, Beat* beat) const
{
    int numerator = 4;
    int denominator = 4;
    timeSignatureComponents(mTimeSignature, numerator, denominator);
    PipeTuneQuantizer quantizer;
    quantizer.setTimeSignature(numerator, denominator);
    quantizer.setCrotchetDuration_s(getCrotchetDuration_s(mBpm, numerator, denominator));
    quantizer.setRounding(mRounding);
    quantizer.setBarsPerRow(mBarsPerRow);
    quantizer.quantize(mTimeShift_s, melody, grace);
    if (beat) {
        beat->duration_s = quantizer.groupDuration_s();
        beat->perBar = quantizer.groupsPerBar();
    }
    return quantizer.getModel();
}

QByteArray TuneOptions::bwwText(const PipeTuneModel& model) const
{
    BmwWriter writer;
    writer.setTuneName(mTuneName.toStdString());
    writer.setTuneType(mTuneType.toStdString());
    writer.setComposer(mComposer.toStdString());
    return QByteArray::fromStdString(writer.write(model));
}

bool TuneOptions::writeBww(const PipeTuneModel& model, const QString& path, QString& error) const
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        error = file.errorString();
        return false;
    }
    file.write(bwwText(model));
    return true;
}
