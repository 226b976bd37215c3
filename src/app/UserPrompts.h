#pragma once

#include <QByteArray>
#include <QString>

class AppSettings;
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
    // The settings dialog on settings; true, with settings changed, if the player accepted.
    virtual bool editSettings(QWidget* parent, AppSettings& settings) = 0;
    // The tune details (name, type, composer, metre, tempo, rounding, time shift) of settings.
    virtual bool editTuneDetails(QWidget* parent, AppSettings& settings) = 0;
    // Plays audio (16-bit mono PCM) in the playback dialog until the player closes it.
    virtual void playAudio(QWidget* parent, int sampleRate_Hz, const QString& device, const QByteArray& audio) = 0;
};
