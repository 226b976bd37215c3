#include "AppFolder.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

QString AppFolder::path() { return QCoreApplication::applicationDirPath() + "/"; }

QString AppFolder::file(const QString& relative) { return path() + relative; }

QStringList AppFolder::missing(const QString& dir)
{
    QStringList missing;
    for (const char* name : {"sounds/click1.wav", "sounds/click2.wav", "help/index.html", "terms-of-use.txt"})
        if (!QFileInfo(dir + name).isFile())
            missing << name;
    if (QDir(dir + "examples/").entryList({"*.cmk"}, QDir::Files).isEmpty())
        missing << "examples/";
    return missing;
}
