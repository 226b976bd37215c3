#pragma once

#include "PipeNote.h"

#include <QString>

// The notes file of ceolmark-cli: what transcribe writes and score reads. UTF-8 text, a header
// line "start_s<TAB>duration_s<TAB>name<TAB>kind", then one note per line in playing order:
// start and duration in seconds with four decimals, the note's short text (LA, gg, dbla,
// strlg) and "melody" or "grace". Called from the main thread only.
class NotesTable {
public:
    static const char* const kHeader;

    // Both maps as the file's text, "\n" line ends.
    static QString toText(const NoteMap& melody, const NoteMap& grace);
    // Replaces the file; false with a message when it cannot be written.
    static bool write(const QString& path, const NoteMap& melody, const NoteMap& grace, QString& error);

    // Adds the notes of text to the two maps. False with "line N: ..." in error at the first line
    // it cannot read; the maps may then hold the lines before it.
    static bool fromText(const QString& text, NoteMap& melody, NoteMap& grace, QString& error);
    static bool read(const QString& path, NoteMap& melody, NoteMap& grace, QString& error);
};
