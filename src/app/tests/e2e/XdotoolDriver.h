#pragma once

#include <QString>
#include <QStringList>

// Drives a display with real X input through xdotool: keys go through the XTEST extension,
// as a keyboard's would, to the window that has the focus.
class XdotoolDriver {
public:
    explicit XdotoolDriver(QString display);

    // Empty when xdotool is installed; otherwise why the tests that need it skip.
    static QString unavailableReason();

    // The first visible window whose title matches the regular expression, waiting for one
    // for up to timeout_ms; 0 with a message if none came.
    unsigned long findWindow(const QString& titlePattern, int timeout_ms, QString& error) const;
    // Gives the window the keyboard focus and waits until the server reports it there.
    bool focus(unsigned long window, QString& error) const;
    // Presses and releases keys, e.g. "space", on whichever window has the focus.
    bool key(const QString& keys, QString& error) const;

private:
    bool run(const QStringList& arguments, int timeout_ms, QString& out, QString& error) const;

    QString mDisplay;
};
