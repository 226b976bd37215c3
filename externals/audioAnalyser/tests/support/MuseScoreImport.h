#pragma once

#include <QString>
#include <QStringList>

#include <string>
#include <vector>

// Reads a .bww file with MuseScore 3 (mscore3, converting to MusicXML), an outside reader of the
// format, and reports what it made of it. For tests; uses the calling thread and blocks.
class MuseScoreImport {
public:
    // One bar as MuseScore read it: melody notes as "C#5 eighth." (pitch, type, one "." per
    // dot) and, for each, the number of grace notes before it.
    struct Bar {
        std::vector<std::string> notes;
        std::vector<int> graceCounts;
        int rests = 0;
    };

    // True when mscore3 is on the PATH.
    static bool available();

    // Converts bwwPath; false with a message when mscore3 fails or its output cannot be read.
    bool import(const QString& bwwPath, QString& error);

    const std::vector<Bar>& bars() const { return mBars; }
    // Words the reader's lexer did not know, apart from those of the format's first header line,
    // which it reads word by word.
    const QStringList& unknownTokens() const { return mUnknownTokens; }
    // The notes of all bars in order.
    std::vector<std::string> allNotes() const;
    std::vector<int> allGraceCounts() const;

private:
    std::vector<Bar> mBars;
    QStringList mUnknownTokens;
};

// "C#5 eighth." for a melody note named by its short text (LG..HA) with an Item duration (1..32)
// and dots, in the key of the .bww header (F and C sharp).
std::string museScoreNote(const std::string& noteText, int duration, int dots);
