#pragma once

#include <QString>

class QWidget;

// The window's modal questions and warnings, behind one interface so that a test can answer
// them at once instead of blocking in a dialog's exec(). Interface thread only.
class UserPrompts {
public:
    virtual ~UserPrompts() = default;

    virtual void warning(QWidget* parent, const QString& title, const QString& text) = 0;
    // The chosen file name, or empty if the player cancelled. selectedFilter may be null.
    virtual QString getSaveFileName(
        QWidget* parent, const QString& caption, const QString& dir, const QString& filter, QString* selectedFilter)
        = 0;
    virtual QString getOpenFileName(QWidget* parent, const QString& caption, const QString& dir, const QString& filter)
        = 0;
};
