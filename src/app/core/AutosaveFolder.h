#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>

// Naming and rotation of the autosaved recordings (.cmk) in the autosave folder. Stateless;
// any thread, though the window calls it on the interface thread before each autosave.
class AutosaveFolder {
public:
    // tuneName with every character other than ASCII letters, digits and blanks removed (full
    // stops, apostrophes, ...), so the name is safe in a file name on every platform.
    static QString cleanedName(const QString& tuneName);
    // "<dir>/<yyyy-MMM-dd_hh-mm-ss>[_<cleanedName>].cmk" with the English month abbreviation,
    // whatever the user's locale; no tune part when tuneName is empty.
    static QString fileName(const QString& dir, const QDateTime& now, const QString& tuneName);
    // Deletes the oldest writable .cmk files in dir (by modification time) until count - 1 are
    // left, making room for the next autosave. count <= 0: nothing is deleted. Other files are
    // never touched. Returns the paths deleted.
    static QStringList rotate(const QString& dir, int count);
};
