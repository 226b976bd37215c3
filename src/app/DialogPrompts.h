#pragma once

#include "UserPrompts.h"

// The real dialogs.
class DialogPrompts : public UserPrompts {
public:
    void warning(QWidget* parent, const QString& title, const QString& text) override;
    QString getSaveFileName(QWidget* parent, const QString& caption, const QString& dir, const QString& filter,
        QString* selectedFilter) override;
    QString getOpenFileName(
        QWidget* parent, const QString& caption, const QString& dir, const QString& filter) override;
    bool editSettings(QWidget* parent, AppSettings& settings) override;
    bool editTuneDetails(QWidget* parent, AppSettings& settings) override;
    void playAudio(QWidget* parent, int sampleRate_Hz, const QString& device, const QByteArray& audio) override;
};
