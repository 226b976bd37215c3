#pragma once

#include <QString>

// Closes a top-level window as a window manager does when its close button is clicked: a
// WM_DELETE_WINDOW ClientMessage under WM_PROTOCOLS, sent to the window itself. The client
// stays connected and decides what to do, unlike destroying the window (xdotool's
// windowclose on Debian 12) or killing the client (windowkill).
class WindowCloser {
public:
    // False with a message if the display cannot be opened, the window does not exist or
    // does not take WM_DELETE_WINDOW (a window manager would then kill its client).
    static bool requestClose(const QString& display, unsigned long window, QString& error);
};
