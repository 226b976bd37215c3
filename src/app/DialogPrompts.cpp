#include "DialogPrompts.h"

#include "AppSettings.h"
#include "AudioPlaybackDialog.h"
#include "SettingsDialog.h"
#include "TuneDetailsDialog.h"

#include <QFileDialog>
#include <QMessageBox>

void DialogPrompts::warning(QWidget* parent, const QString& title, const QString& text)
{
    QMessageBox::warning(parent, title, text);
}

QString DialogPrompts::getSaveFileName(
    QWidget* parent, const QString& caption, const QString& dir, const QString& filter, QString* selectedFilter)
{
    return QFileDialog::getSaveFileName(parent, caption, dir, filter, selectedFilter);
}

QString DialogPrompts::getOpenFileName(
    QWidget* parent, const QString& caption, const QString& dir, const QString& filter)
{
    return QFileDialog::getOpenFileName(parent, caption, dir, filter);
}

bool DialogPrompts::editSettings(QWidget* parent, AppSettings& settings)
{
    SettingsDialog dialog(parent);
    dialog.setValue(settings);
    dialog.initialise(true);
    if (dialog.exec() != QDialog::Accepted)
        return false;
    settings = dialog.value();
    return true;
}

bool DialogPrompts::editTuneDetails(QWidget* parent, AppSettings& settings)
{
    TuneDetailsDialog dialog(parent);
    dialog.initialise(settings.tuneName, settings.tuneType, settings.composer, settings.timeSignature,
        int(settings.bpm), settings.isRounded, settings.timeShift_s);
    if (dialog.exec() != QDialog::Accepted)
        return false;
    settings.tuneName = dialog.tuneName();
    settings.tuneType = dialog.tuneType();
    settings.composer = dialog.composer();
    settings.timeSignature = dialog.timeSignature();
    settings.bpm = float(dialog.bpm());
    settings.isRounded = dialog.isRounded();
    settings.timeShift_s = dialog.timeShift_s();
    return true;
}

void DialogPrompts::playAudio(QWidget* parent, int sampleRate_Hz, const QString& device, const QByteArray& audio)
{
    AudioPlaybackDialog dialog(parent);
    dialog.initialise(sampleRate_Hz, device, audio);
    dialog.exec();
}
