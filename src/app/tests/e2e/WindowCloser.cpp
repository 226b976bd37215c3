#include "WindowCloser.h"

// Xlib last: its macros (None, Bool, Status) clash with names in other headers.
#include <X11/Xatom.h>
#include <X11/Xlib.h>

namespace {
int gLastXError = 0;

int recordError(Display*, XErrorEvent* event)
{
    gLastXError = event->error_code;
    return 0;
}
} // namespace

bool WindowCloser::requestClose(const QString& display, unsigned long window, QString& error)
{
    Display* connection = XOpenDisplay(display.toLocal8Bit().constData());
    if (!connection) {
        error = "cannot open display " + display;
        return false;
    }
    // Xlib's default handler ends the process on an error; a missing window is a test failure.
    gLastXError = 0;
    XErrorHandler previous = XSetErrorHandler(recordError);
    const Atom protocols = XInternAtom(connection, "WM_PROTOCOLS", False);
    const Atom deleteWindow = XInternAtom(connection, "WM_DELETE_WINDOW", False);

    Atom* offered = nullptr;
    int count = 0;
    bool takesDelete = false;
    if (XGetWMProtocols(connection, window, &offered, &count)) {
        for (int i = 0; i < count; ++i)
            takesDelete = takesDelete || offered[i] == deleteWindow;
        XFree(offered);
    }
    bool sent = false;
    if (takesDelete) {
        XEvent event{};
        event.xclient.type = ClientMessage;
        event.xclient.window = window;
        event.xclient.message_type = protocols;
        event.xclient.format = 32;
        event.xclient.data.l[0] = long(deleteWindow);
        event.xclient.data.l[1] = CurrentTime;
        sent = XSendEvent(connection, window, False, NoEventMask, &event) != 0;
    }
    // Delivers the event and collects any error before the handler goes.
    XSync(connection, False);
    const int xError = gLastXError;
    XSetErrorHandler(previous);
    XCloseDisplay(connection);

    if (xError != 0) {
        error = QString("X error %1 on window %2").arg(xError).arg(window);
        return false;
    }
    if (!takesDelete) {
        error = QString("window %1 does not list WM_DELETE_WINDOW in WM_PROTOCOLS").arg(window);
        return false;
    }
    if (!sent) {
        error = "XSendEvent failed";
        return false;
    }
    return true;
}
