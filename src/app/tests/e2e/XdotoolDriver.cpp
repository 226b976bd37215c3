#include "XdotoolDriver.h"

#include <QProcess>
#include <QProcessEnvironment>
#include <QStandardPaths>

XdotoolDriver::XdotoolDriver(QString display)
    : mDisplay(display)
{
}

QString XdotoolDriver::unavailableReason()
{
    if (QStandardPaths::findExecutable("xdotool").isEmpty())
        return "xdotool is not installed (Debian package xdotool; scripts/install-deps.sh --test installs it)";
    return QString();
}

bool XdotoolDriver::run(const QStringList& arguments, int timeout_ms, QString& out, QString& error) const
{
    QProcess xdotool;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("DISPLAY", mDisplay);
    environment.remove("XAUTHORITY");
    xdotool.setProcessEnvironment(environment);
    xdotool.start("xdotool", arguments);
    // --sync waits without end; the timeout turns a window that never comes into a failure.
    if (!xdotool.waitForFinished(timeout_ms)) {
        xdotool.kill();
        xdotool.waitForFinished(5000);
        error = "xdotool " + arguments.join(' ') + " did not finish within " + QString::number(timeout_ms) + " ms";
        return false;
    }
    out = QString::fromUtf8(xdotool.readAllStandardOutput());
    if (xdotool.exitStatus() != QProcess::NormalExit || xdotool.exitCode() != 0) {
        error = "xdotool " + arguments.join(' ') + " failed: " + QString::fromUtf8(xdotool.readAllStandardError());
        return false;
    }
    return true;
}

unsigned long XdotoolDriver::findWindow(const QString& titlePattern, int timeout_ms, QString& error) const
{
    QString out;
    if (!run({"search", "--sync", "--onlyvisible", "--name", titlePattern}, timeout_ms, out, error))
        return 0;
    bool ok = false;
    const unsigned long window = out.section('\n', 0, 0).trimmed().toULong(&ok);
    if (!ok || window == 0) {
        error = "xdotool search printed " + out;
        return 0;
    }
    return window;
}

bool XdotoolDriver::focus(unsigned long window, QString& error) const
{
    // windowfocus, not windowactivate: there is no window manager to honour
    // _NET_ACTIVE_WINDOW, and the focus is what the keys need.
    QString out;
    return run({"windowfocus", "--sync", QString::number(window)}, 20000, out, error);
}

bool XdotoolDriver::key(const QString& keys, QString& error) const
{
    // No --window: that would send synthetic events with XSendEvent instead of XTEST.
    QString out;
    return run({"key", keys}, 20000, out, error);
}
