#pragma once

#include <QString>
#include <QStringList>

// The files the program loads from its own folder: the click sounds, the help page, the
// example recordings and the terms of use. Any thread once the application object exists.
class AppFolder {
public:
    // The program's folder with a trailing "/".
    static QString path();
    // A file or folder in it, e.g. "sounds/click1.wav" or "examples/".
    static QString file(const QString& relative);
    // Which of the files the program needs are not in dir (with a trailing "/"): the names
    // relative to dir. The examples folder counts as missing when it holds no recording.
    static QStringList missing(const QString& dir);
};
