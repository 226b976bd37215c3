#include "AutosaveFolder.h"

#include <QDir>
#include <QFile>
#include <QFileInfoList>
#include <QLocale>
#include <QRegularExpression>

QString AutosaveFolder::cleanedName(const QString& tuneName)
{
    static const QRegularExpression kUnsafe(QStringLiteral("[^a-zA-Z\\d\\s]"));
    return QString(tuneName).remove(kUnsafe);
}

QString AutosaveFolder::fileName(const QString& dir, const QDateTime& now, const QString& tuneName)
{
    const QString stamp = QLocale::c().toString(now, QStringLiteral("yyyy-MMM-dd_hh-mm-ss"));
    const QString tune = tuneName.isEmpty() ? QString() : QStringLiteral("_") + cleanedName(tuneName);
    return QStringLiteral("%1/%2%3.cmk").arg(dir, stamp, tune);
}

QStringList AutosaveFolder::rotate(const QString& dir, int count)
{
    QStringList deleted;
    if (count <= 0)
        return deleted;
    QFileInfoList files = QDir(dir).entryInfoList({QStringLiteral("*.cmk")}, QDir::Files | QDir::Writable, QDir::Time);
    // Newest first, so the oldest is at the back.
    while (files.size() >= count) {
        const QString path = files.takeLast().absoluteFilePath();
        if (QFile::remove(path))
            deleted.append(path);
    }
    return deleted;
}
