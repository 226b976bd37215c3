#include "MuseScoreImport.h"

#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QXmlStreamReader>

#include <map>

namespace {

QString mscorePath() { return QStandardPaths::findExecutable("mscore3"); }

// Reads one <note> element; the reader stands on its start.
void readNote(QXmlStreamReader& xml, MuseScoreImport::Bar& bar, int& graces)
{
    bool grace = false;
    bool rest = false;
    QString step, octave, type;
    int alter = 0;
    int dots = 0;
    while (xml.readNextStartElement()) {
        const QStringRef name = xml.name();
        if (name == QLatin1String("grace")) {
            grace = true;
            xml.skipCurrentElement();
        } else if (name == QLatin1String("rest")) {
            rest = true;
            xml.skipCurrentElement();
        } else if (name == QLatin1String("pitch")) {
            while (xml.readNextStartElement()) {
                if (xml.name() == QLatin1String("step"))
                    step = xml.readElementText();
                else if (xml.name() == QLatin1String("alter"))
                    alter = xml.readElementText().toInt();
                else if (xml.name() == QLatin1String("octave"))
                    octave = xml.readElementText();
                else
                    xml.skipCurrentElement();
            }
        } else if (name == QLatin1String("type")) {
            type = xml.readElementText();
        } else if (name == QLatin1String("dot")) {
            ++dots;
            xml.skipCurrentElement();
        } else {
            xml.skipCurrentElement();
        }
    }
    if (rest) {
        ++bar.rests;
    } else if (grace) {
        ++graces;
    } else {
        bar.notes.push_back(
            (step + (alter == 1 ? "#" : "") + octave + " " + type).toStdString() + std::string(dots, '.'));
        bar.graceCounts.push_back(graces);
        graces = 0;
    }
}

} // namespace

bool MuseScoreImport::available() { return !mscorePath().isEmpty(); }

bool MuseScoreImport::import(const QString& bwwPath, QString& error)
{
    mBars.clear();
    mUnknownTokens.clear();
    QTemporaryDir dir;
    const QString xmlPath = dir.filePath("out.musicxml");

    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("QT_QPA_PLATFORM", "offscreen");
    environment.insert("XDG_RUNTIME_DIR", dir.path());
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(mscorePath(), {"-o", xmlPath, bwwPath});
    // MuseScore takes a fraction of a second; two minutes only guards against a hang.
    if (!process.waitForFinished(120000) || process.exitStatus() != QProcess::NormalExit) {
        error = "mscore3 did not finish";
        return false;
    }
    const QString log = QString::fromUtf8(process.readAll());
    if (process.exitCode() != 0) {
        error = "mscore3 failed: " + log.right(500);
        return false;
    }

    const QStringList headerWords = {"Bagpipe", "Music", "Writer", "Gold:1.0"};
    const QRegularExpression unknown("type:  UNKNOWN  value: ' (.*) '");
    for (auto match = unknown.globalMatch(log); match.hasNext();) {
        const QString word = match.next().captured(1);
        if (!headerWords.contains(word))
            mUnknownTokens << word;
    }

    QFile file(xmlPath);
    if (!file.open(QIODevice::ReadOnly)) {
        error = "no MusicXML written: " + file.errorString();
        return false;
    }
    QXmlStreamReader xml(&file);
    int graces = 0;
    while (!xml.atEnd()) {
        xml.readNext();
        if (!xml.isStartElement())
            continue;
        if (xml.name() == QLatin1String("measure"))
            mBars.emplace_back();
        else if (xml.name() == QLatin1String("note") && !mBars.empty())
            readNote(xml, mBars.back(), graces);
    }
    if (xml.hasError()) {
        error = "MusicXML unreadable: " + xml.errorString();
        return false;
    }
    return true;
}

std::vector<std::string> MuseScoreImport::allNotes() const
{
    std::vector<std::string> notes;
    for (const Bar& bar : mBars)
        notes.insert(notes.end(), bar.notes.begin(), bar.notes.end());
    return notes;
}

std::vector<int> MuseScoreImport::allGraceCounts() const
{
    std::vector<int> counts;
    for (const Bar& bar : mBars)
        counts.insert(counts.end(), bar.graceCounts.begin(), bar.graceCounts.end());
    return counts;
}

std::string museScoreNote(const std::string& noteText, int duration, int dots)
{
    static const std::map<std::string, std::string> pitches = {{"LG", "G4"}, {"LA", "A4"}, {"B", "B4"}, {"C", "C#5"},
        {"D", "D5"}, {"E", "E5"}, {"F", "F#5"}, {"HG", "G5"}, {"HA", "A5"}};
    static const std::map<int, std::string> types
        = {{1, "whole"}, {2, "half"}, {4, "quarter"}, {8, "eighth"}, {16, "16th"}, {32, "32nd"}};
    const auto pitch = pitches.find(noteText);
    const auto type = types.find(duration);
    return (pitch == pitches.end() ? "?" : pitch->second) + " " + (type == types.end() ? "?" : type->second)
        + std::string(std::max(dots, 0), '.');
}
