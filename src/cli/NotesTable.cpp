#include "NotesTable.h"

#include "CeolmarkUtils.h"

#include <QFile>
#include <QSaveFile>
#include <QStringList>

#include <cmath>

const char* const NotesTable::kHeader = "start_s\tduration_s\tname\tkind";

namespace {

const char kMelody[] = "melody";
const char kGrace[] = "grace";

bool readSeconds(const QString& text, float& value_s)
{
    bool ok = false;
    value_s = text.toFloat(&ok);
    return ok && std::isfinite(value_s);
}

} // namespace

QString NotesTable::toText(const NoteMap& melody, const NoteMap& grace)
{
    QString text = QString(kHeader) + "\n";
    for (const PipeNote& note : combineMelodyAndGraceNotes(melody, grace)) {
        text += QString("%1\t%2\t%3\t%4\n")
                    .arg(double(note.start_s()), 0, 'f', 4)
                    .arg(double(note.duration_s()), 0, 'f', 4)
                    .arg(QString::fromStdString(toString(note.noteName())))
                    .arg(isMelodyNote(note.noteName()) ? kMelody : kGrace);
    }
    return text;
}

bool NotesTable::write(const QString& path, const NoteMap& melody, const NoteMap& grace, QString& error)
{
    // A save file, so that a failed write leaves an earlier table as it was.
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        error = file.errorString();
        return false;
    }
    file.write(toText(melody, grace).toUtf8());
    if (!file.commit()) {
        error = file.errorString();
        return false;
    }
    return true;
}

bool NotesTable::fromText(const QString& text, NoteMap& melody, NoteMap& grace, QString& error)
{
    const QStringList lines = text.split('\n');
    auto fail = [&error](int lineIndex, const QString& message) {
        error = QString("line %1: %2").arg(lineIndex + 1).arg(message);
        return false;
    };
    if (lines.value(0).trimmed() != kHeader)
        return fail(0, QString("expected the header \"%1\"").arg(QString(kHeader).replace('\t', ' ')));

    for (int i = 1; i < lines.size(); ++i) {
        const QString line = lines[i].trimmed();
        if (line.isEmpty())
            continue;
        const QStringList fields = line.split('\t');
        if (fields.size() != 4)
            return fail(i, QString("expected 4 tab-separated fields, got %1").arg(fields.size()));
        float start_s = 0.0f;
        float duration_s = 0.0f;
        if (!readSeconds(fields[0], start_s))
            return fail(i, QString("start \"%1\" is not a number of seconds").arg(fields[0]));
        if (!readSeconds(fields[1], duration_s) || duration_s < 0.0f)
            return fail(i, QString("duration \"%1\" is not a number of seconds").arg(fields[1]));
        const PipeNoteName name = pipeNoteNameFromString(fields[2].toStdString());
        // The transcriber can leave a gracing it could not name; it has nothing to write in a
        // score, but the file is still a good one.
        if (name == Unknown && fields[2] == QLatin1String("Unknown") && fields[3] == kGrace)
            continue;
        if (name == Unknown)
            return fail(i, QString("\"%1\" is not a note name").arg(fields[2]));
        const QString kind = isMelodyNote(name) ? kMelody : kGrace;
        if (fields[3] != kind)
            return fail(i, QString("%1 is a %2 note, not \"%3\"").arg(fields[2], kind, fields[3]));
        (isMelodyNote(name) ? melody : grace).insert({start_s, PipeNote(name, start_s, duration_s)});
    }
    return true;
}

bool NotesTable::read(const QString& path, NoteMap& melody, NoteMap& grace, QString& error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        error = file.errorString();
        return false;
    }
    return fromText(QString::fromUtf8(file.readAll()), melody, grace, error);
}
