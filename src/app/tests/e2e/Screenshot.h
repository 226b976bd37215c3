#pragma once

#include <QString>

// PNG pictures of an X display, through ImageMagick's import.
class Screenshot {
public:
    // Empty when ImageMagick's import is installed; otherwise why no picture can be taken.
    static QString unavailableReason();
    // The whole screen.
    static bool ofScreen(const QString& display, const QString& pngPath, QString& error);
    // One window, as it shows on the screen.
    static bool ofWindow(const QString& display, unsigned long window, const QString& pngPath, QString& error);

private:
    static bool import(const QString& display, const QString& window, const QString& pngPath, QString& error);
};
