#include "Screenshot.h"

#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QStandardPaths>

QString Screenshot::unavailableReason()
{
    if (QStandardPaths::findExecutable("import").isEmpty())
        return "ImageMagick's import is not installed (Debian package imagemagick)";
    return QString();
}

bool Screenshot::ofScreen(const QString& display, const QString& pngPath, QString& error)
{
    return import(display, "root", pngPath, error);
}

bool Screenshot::ofWindow(const QString& display, unsigned long window, const QString& pngPath, QString& error)
{
    return import(display, QString::number(window), pngPath, error);
}

bool Screenshot::import(const QString& display, const QString& window, const QString& pngPath, QString& error)
{
    const QString why = unavailableReason();
    if (!why.isEmpty()) {
        error = why;
        return false;
    }
    QProcess import;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("DISPLAY", display);
    environment.remove("XAUTHORITY");
    import.setProcessEnvironment(environment);
    import.start("import", {"-display", display, "-window", window, "png:" + pngPath});
    if (!import.waitForFinished(30000) || import.exitStatus() != QProcess::NormalExit || import.exitCode() != 0) {
        error = "import failed: " + QString::fromUtf8(import.readAllStandardError());
        import.kill();
        return false;
    }
    // A PNG starts with its signature; anything else is not the picture asked for.
    QFile file(pngPath);
    if (!file.open(QIODevice::ReadOnly) || file.read(8) != QByteArray("\x89PNG\r\n\x1a\n", 8)) {
        error = "import wrote no PNG to " + pngPath;
        return false;
    }
    return true;
}
