#include "XvfbDisplay.h"

#include <QDeadlineTimer>
#include <QStandardPaths>

XvfbDisplay::~XvfbDisplay() { stop(); }

QString XvfbDisplay::unavailableReason()
{
    if (QStandardPaths::findExecutable("Xvfb").isEmpty())
        return "Xvfb is not installed (Debian package xvfb; scripts/install-deps.sh --test installs it)";
    return QString();
}

bool XvfbDisplay::start(QString& error, int timeout_ms)
{
    // -displayfd: the server takes the first free number and writes it to our stdout once it
    // accepts connections, so neither a guess nor a lock-file race is needed. -noreset: the
    // screen stays as it is between clients.
    mServer.setProcessChannelMode(QProcess::SeparateChannels);
    mServer.setStandardErrorFile(QProcess::nullDevice());
    mServer.start("Xvfb", {"-displayfd", "1", "-screen", "0", "1280x800x24", "-nolisten", "tcp", "-noreset"});
    if (!mServer.waitForStarted(timeout_ms)) {
        error = "Xvfb did not start: " + mServer.errorString();
        return false;
    }
    QDeadlineTimer deadline(timeout_ms);
    QByteArray out;
    while (!out.contains('\n')) {
        if (deadline.hasExpired() || mServer.state() != QProcess::Running) {
            error = "Xvfb gave no display number";
            stop();
            return false;
        }
        mServer.waitForReadyRead(int(deadline.remainingTime()));
        out += mServer.readAllStandardOutput();
    }
    bool ok = false;
    const int number = out.trimmed().toInt(&ok);
    if (!ok) {
        error = "Xvfb wrote " + QString::fromUtf8(out) + " instead of a display number";
        stop();
        return false;
    }
    mName = ":" + QString::number(number);
    return true;
}

void XvfbDisplay::stop()
{
    if (mServer.state() == QProcess::NotRunning)
        return;
    mServer.terminate();
    if (!mServer.waitForFinished(10000)) {
        mServer.kill();
        mServer.waitForFinished(10000);
    }
}
