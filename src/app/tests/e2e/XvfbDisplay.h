#pragma once

#include <QProcess>
#include <QString>

// A virtual X screen of its own (Xvfb, 1280x800, 24 bits) on a display number the server
// picks as free, so that tests never meet a user's display or each other. Stopped when it
// goes out of scope.
class XvfbDisplay {
public:
    XvfbDisplay() = default;
    ~XvfbDisplay();
    XvfbDisplay(const XvfbDisplay&) = delete;
    XvfbDisplay& operator=(const XvfbDisplay&) = delete;

    // Empty when Xvfb is installed; otherwise why the tests that need a screen skip.
    static QString unavailableReason();

    // False with a message when the server did not come up within timeout_ms.
    bool start(QString& error, int timeout_ms = 20000);
    void stop();
    // ":N" once started.
    const QString& name() const { return mName; }

private:
    QProcess mServer;
    QString mName;
};
