#include "KestoFileCmk.h"

#include <QDomDocument>
#include <QFile>
#include <QSaveFile>
#include <QtEndian>
#include <QXmlStreamReader>

#include <cmath>
#include <limits>

const QString cmkFileId = QStringLiteral("kesto_cmk");

namespace {

const char* const kRootName = "KestoFileCmk";
const int kHeaderSize_B = 20;
const int kMagicSize_B = 12;
const qint32 kFormatVersion = 1;

// QDomDocument writes any tag name it is given, valid or not, so a bad key would make a
// file that no longer parses. A name is valid when it alone makes a well-formed element.
bool isValidElementName(const QString& name)
{
    QXmlStreamReader reader(QLatin1Char('<') + name + QStringLiteral("/>"));
    bool sawElement = false;
    while (!reader.atEnd()) {
        if (reader.readNext() == QXmlStreamReader::StartElement) {
            if (sawElement || reader.qualifiedName() != name)
                return false;
            sawElement = true;
        }
    }
    return sawElement && !reader.hasError();
}

QString floatText(float value) { return QString::number(value, 'g', 6); }

void appendTextElement(QDomDocument& document, QDomElement& parent, const QString& name, const QString& text)
{
    QDomElement element = document.createElement(name);
    element.appendChild(document.createTextNode(text));
    parent.appendChild(element);
}

bool readText(const QDomElement& root, const char* name, QString& value)
{
    const QDomElement element = root.firstChildElement(name);
    if (element.isNull())
        return false;
    value = element.text();
    return true;
}

bool readInt(const QDomElement& root, const char* name, int& value)
{
    QString text;
    if (!readText(root, name, text))
        return false;
    bool ok = false;
    const int number = text.toInt(&ok, 10);
    if (!ok)
        return false;
    value = number;
    return true;
}

bool readFloat(const QDomElement& root, const char* name, float& value)
{
    QString text;
    if (!readText(root, name, text))
        return false;
    bool ok = false;
    const float number = text.toFloat(&ok);
    if (!ok)
        return false;
    value = number;
    return true;
}

} // namespace

std::vector<int16_t> KestoFileCmk::samples() const
{
    std::vector<int16_t> samples(sampleCount());
    qFromLittleEndian<qint16>(mAudioData.constData(), samples.size(), samples.data());
    return samples;
}

void KestoFileCmk::setSamples(const std::vector<int16_t>& samples)
{
    mAudioData.resize(int(samples.size() * 2));
    qToLittleEndian<qint16>(samples.data(), samples.size(), mAudioData.data());
}

double KestoFileCmk::duration_s() const
{
    return mRecordingFrequency_Hz > 0 ? double(sampleCount()) / mRecordingFrequency_Hz : 0.0;
}

std::string KestoFileCmk::calibrationKey(PipeTuning::ReferenceNote note)
{
    return toString(referenceNoteToNoteName(note));
}

PipeTuning KestoFileCmk::chanterTuning() const
{
    PipeTuning::FrequencyMap frequencies;
    for (int index = 0; index < 9; ++index) {
        const PipeTuning::ReferenceNote note = PipeTuning::noteIndexToReferenceNote(index);
        const auto found = mNoteFrequencies.find(calibrationKey(note));
        frequencies[note] = found == mNoteFrequencies.end() ? 0.0f : found->second;
    }
    PipeTuning tuning;
    tuning.setTuningScheme(PipeTuning::Measured, frequencies);
    return tuning;
}

void KestoFileCmk::setChanterTuning(const PipeTuning& tuning)
{
    mNoteFrequencies.clear();
    for (const auto& entry : tuning.getNoteCentreFrequencies())
        mNoteFrequencies[calibrationKey(entry.first)] = entry.second;
}

void KestoFileCmk::clear() { *this = KestoFileCmk(); }

bool KestoFileCmk::operator==(const KestoFileCmk& other) const
{
    // Floats compare numerically, so a NaN makes two recordings differ.
    return mAudioData == other.mAudioData && mRecordingFrequency_Hz == other.mRecordingFrequency_Hz
        && mTuneName == other.mTuneName && mTuneType == other.mTuneType && mComposedBy == other.mComposedBy
        && mTimeSigNumerator == other.mTimeSigNumerator && mTimeSigDenominator == other.mTimeSigDenominator
        && mBpm == other.mBpm && mTimeShift_s == other.mTimeShift_s && mNoteFrequencies == other.mNoteFrequencies
        && mRecordedAppVersion == other.mRecordedAppVersion && mRecordedTime == other.mRecordedTime
        && mRecordedInstallId == other.mRecordedInstallId && mAppVersion == other.mAppVersion
        && mFileCreationTime == other.mFileCreationTime && mFileCreationInstallId == other.mFileCreationInstallId;
}

QString KestoFileCmk::toXml() const
{
    QDomDocument document(kRootName);
    QDomElement root = document.createElement(kRootName);
    document.appendChild(root);

    appendTextElement(document, root, "audioDataSize_B", QString::number(mAudioData.size()));
    appendTextElement(document, root, "recordingFrequency_Hz", QString::number(mRecordingFrequency_Hz));
    appendTextElement(document, root, "tuneName", mTuneName);
    appendTextElement(document, root, "tuneType", mTuneType);
    appendTextElement(document, root, "composedBy", mComposedBy);
    appendTextElement(document, root, "timeSigNumerator", QString::number(mTimeSigNumerator));
    appendTextElement(document, root, "timeSigDenominator", QString::number(mTimeSigDenominator));
    appendTextElement(document, root, "bpm", floatText(mBpm));
    appendTextElement(document, root, "timeShift_s", floatText(mTimeShift_s));

    QDomElement calibration = document.createElement("chanterCalibration");
    for (const auto& entry : mNoteFrequencies) {
        const QString key = QString::fromStdString(entry.first);
        if (!isValidElementName(key))
            return QStringLiteral("Error: Invalid note freq XML tag:  %1").arg(key);
        appendTextElement(document, calibration, key, floatText(entry.second));
    }
    root.appendChild(calibration);

    appendTextElement(document, root, "recordedAppVersion", QString::number(mRecordedAppVersion));
    appendTextElement(document, root, "recordedTime", mRecordedTime);
    appendTextElement(document, root, "recordedInstallId", mRecordedInstallId);
    appendTextElement(document, root, "appVersion", QString::number(mAppVersion));
    appendTextElement(document, root, "fileCreationTime", mFileCreationTime);
    appendTextElement(document, root, "fileCreationInstallId", mFileCreationInstallId);
    return document.toString(1);
}

bool KestoFileCmk::fromXml(QString xml, QString& /*error*/)
{
    clear();
    QDomDocument document;
    // A parse error leaves no document element, which the root test below catches.
    document.setContent(xml);
    const QDomElement root = document.documentElement();
    if (root.tagName() != kRootName)
        return false;

    if (!readInt(root, "audioDataSize_B", mAudioDataSize)
        || !readInt(root, "recordingFrequency_Hz", mRecordingFrequency_Hz) || !readText(root, "tuneName", mTuneName)
        || !readText(root, "tuneType", mTuneType) || !readText(root, "composedBy", mComposedBy)
        || !readInt(root, "timeSigNumerator", mTimeSigNumerator)
        || !readInt(root, "timeSigDenominator", mTimeSigDenominator) || !readFloat(root, "bpm", mBpm))
        return false;

    // The one optional element: files from before the time shift have none, and a bad value
    // reads as toFloat's 0.
    const QDomElement timeShift = root.firstChildElement("timeShift_s");
    if (!timeShift.isNull())
        mTimeShift_s = timeShift.text().toFloat();

    const QDomElement calibration = root.firstChildElement("chanterCalibration");
    if (calibration.isNull())
        return false;
    for (QDomNode node = calibration.firstChild(); !node.isNull(); node = node.nextSibling()) {
        const QDomElement note = node.toElement();
        if (note.isNull())
            continue;
        bool ok = false;
        const float frequency_Hz = note.text().toFloat(&ok);
        if (!ok)
            return false;
        mNoteFrequencies[note.tagName().toStdString()] = frequency_Hz;
    }

    return readInt(root, "recordedAppVersion", mRecordedAppVersion) && readText(root, "recordedTime", mRecordedTime)
        && readText(root, "recordedInstallId", mRecordedInstallId) && readInt(root, "appVersion", mAppVersion)
        && readText(root, "fileCreationTime", mFileCreationTime)
        && readText(root, "fileCreationInstallId", mFileCreationInstallId);
}

bool KestoFileCmk::save(QString path, QString& error) const
{
    const QString xml = toXml();
    if (xml.startsWith(QLatin1String("Error"))) {
        error = xml;
        return false;
    }
    const QByteArray xmlBytes = xml.toUtf8();

    QByteArray header(kHeaderSize_B, '\0');
    const QByteArray magic = cmkFileId.toLatin1();
    std::copy(magic.begin(), magic.end(), header.begin());
    qToLittleEndian<qint32>(kFormatVersion, header.data() + kMagicSize_B);
    qToLittleEndian<qint32>(xmlBytes.size(), header.data() + 16);

    // Unbuffered, so that each write's count tells which part failed; the file only replaces
    // an existing one at commit.
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered)) {
        error = file.errorString();
        return false;
    }
    const QByteArray head = header + xmlBytes;
    if (file.write(head) != head.size()) {
        error = QStringLiteral("Failure during writing");
        return false;
    }
    if (file.write(mAudioData) != mAudioData.size()) {
        error = QStringLiteral("Failure during writing data");
        return false;
    }
    if (!file.commit()) {
        error = file.errorString();
        return false;
    }
    return true;
}

bool KestoFileCmk::open(QString path, QString& error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        error = file.errorString();
        return false;
    }
    // The format's sizes are 32-bit, and a byte array could not hold more anyway.
    if (file.size() > std::numeric_limits<int>::max()) {
        error = QStringLiteral("The file is too large to be a cmk file");
        return false;
    }
    return openData(file.readAll(), error);
}

bool KestoFileCmk::openData(const QByteArray& data, QString& error)
{
    if (data.size() < kHeaderSize_B) {
        error = QStringLiteral("The file appears to be too small.");
        return false;
    }

    QByteArray magic = data.left(kMagicSize_B);
    const int magicEnd = magic.indexOf('\0');
    if (magicEnd >= 0)
        magic.truncate(magicEnd);
    if (QString::fromLatin1(magic) != cmkFileId) {
        error = QStringLiteral("This does not appear to be a cmk file");
        return false;
    }

    // Later versions only add to the XML, so they read as version 1.
    if (qFromLittleEndian<qint32>(data.constData() + kMagicSize_B) < kFormatVersion) {
        error = QStringLiteral("Unknown cmk file version");
        return false;
    }

    const qint32 xmlSize_B = qFromLittleEndian<qint32>(data.constData() + 16);
    if (xmlSize_B < 1 || xmlSize_B >= data.size() - (kHeaderSize_B - 1)) {
        error = QStringLiteral("Corrupt file header size");
        return false;
    }

    // Read as Latin-1 although written as UTF-8, as recording files always have been read:
    // non-ASCII tune details come back altered.
    QByteArray xml = data.mid(kHeaderSize_B, xmlSize_B);
    const int xmlEnd = xml.indexOf('\0');
    if (xmlEnd >= 0)
        xml.truncate(xmlEnd);
    // A negative audio size cannot come from save and would silently read as no audio.
    if (!fromXml(QString::fromLatin1(xml), error) || mAudioDataSize < 0) {
        error = QStringLiteral("Invalid file header");
        return false;
    }

    if (qint64(mAudioDataSize) + xmlSize_B + kHeaderSize_B > data.size()) {
        error = QStringLiteral("File seems to be too small to contain audio");
        return false;
    }
    // Taken from the end, so anything between the XML and the audio is skipped.
    mAudioData = data.right(mAudioDataSize);
    return true;
}
