// The file commands: open, save in five forms, autosaves, examples, help and about.

#include "MainWindow.h"

#include "AppFolder.h"
#include "AutosaveFolder.h"
#include "BmwWriter.h"
#include "TimeSignature.h"
#include "UserPrompts.h"
#include "WaveFile.h"

#include <QComboBox>
#include <QCoreApplication>
#include <QDebug>
#include <QDesktopServices>
#include <QDoubleSpinBox>
#include <QFile>
#include <QFileInfo>
#include <QMessageBox>
#include <QSaveFile>
#include <QUrl>

namespace {
QString filter(const char* text, const char* extension) { return QString(text).arg(extension); }
} // namespace

const QString MainWindow::cmkFilter = filter("Ceolmark files (*.%1)", "cmk");
const QString MainWindow::bwwFilter = filter("BWW Files (*.%1)", "bww");
const QString MainWindow::pngScoreFilter = filter("PNG Image Files of Sheet Music (*.%1)", "png");
const QString MainWindow::pngTimingFilter = filter("PNG Image Files of Timing View (*.%1)", "png");
const QString MainWindow::wavFilter = filter("WAVE audio files (*.%1)", "wav");

void MainWindow::onOpen()
{
    const QString name
        = mPrompts->getOpenFileName(this, "Select Ceolmark file", mSettings.lastSaveRawFileName, cmkFilter);
    if (!name.isEmpty())
        openCmk(name, true);
}

void MainWindow::onOpenAutosave()
{
    qDebug() << mSettings.lastAutoSaveFileName;
    const QString start = mSettings.lastAutoSaveFileName.contains(mSettings.autoSaveDir)
        ? mSettings.lastAutoSaveFileName
        : mSettings.autoSaveDir;
    const QString name = mPrompts->getOpenFileName(this, "Select Ceolmark file", start, cmkFilter);
    if (name.isEmpty())
        return;
    openCmk(name, false);
    if (name.contains(mSettings.autoSaveDir))
        mSettings.lastAutoSaveFileName = name;
}

void MainWindow::onOpenExample()
{
    const QString folder = AppFolder::file("examples/");
    if (!QFileInfo(folder).isDir()) {
        mPrompts->warning(this, "No examples", QString("The example recordings are missing: %1").arg(folder));
        return;
    }
    const QString name = mPrompts->getOpenFileName(this, "Select Example Ceolmark file", folder, cmkFilter);
    if (!name.isEmpty())
        openCmk(name, false);
}

bool MainWindow::openCmk(const QString& path, bool rememberPath)
{
    if (rememberPath)
        mSettings.lastSaveRawFileName = path;
    // The work being left is kept.
    autosave();
    // Read into a copy: a file that can't be used leaves the open one as it was.
    KestoFileCmk file;
    QString error;
    if (!file.open(path, error)) {
        mPrompts->warning(
            this, "Unable to open file", QString("There was a problem trying to open the file: %1").arg(error));
        return false;
    }
    if (file.recordingFrequency_Hz() != mSettings.recordingFrequency_Hz) {
        mPrompts->warning(this, "Different recording frequency",
            QString("This file has been recorded with an audio sampling frequency of %1 Hz, but your current "
                    "setting is %2 Hz\nTo open this file you will need to use the same frequency\n(see "
                    "Tools->Settings->Advanced)")
                .arg(file.recordingFrequency_Hz())
                .arg(mSettings.recordingFrequency_Hz));
        return false;
    }
    if (file.audioData().isEmpty()) {
        mPrompts->warning(this, "Empty recording", QString("The file holds no audio: %1").arg(path));
        return false;
    }
    mOpenFile = file;
    mSettings.tuneName = file.tuneName();
    mSettings.tuneType = file.tuneType();
    mSettings.composer = file.composedBy();
    TimeSignature signature = TimeSignature4_4;
    if (timeSignatureFromComponents(file.timeSigNumerator(), file.timeSigDenominator(), signature))
        mSettings.timeSignature = signature;
    mSettings.bpm = file.bpm();
    mSettings.timeShift_s = file.timeShift_s();
    setCalibratedTuning(file.chanterTuning());
    applyGeneralSettings();
    playbackData(file.audioData());
    return true;
}

void MainWindow::onSaveAs()
{
    if (mCurrentRecording.isEmpty()) {
        mPrompts->warning(this, "Nothing to save", "You have not recorded anything yet");
        return;
    }
    // The pictures and the score are written from the views: both are brought up to date.
    mThrottle.forceFullRedraw();
    onTranscriptionResult(mLastTranscribeTime_s, mLastNotes, mLastGraceNotes, mLastTuning, false);

    const QStringList filters = {cmkFilter, bwwFilter, pngScoreFilter, pngTimingFilter, wavFilter};
    if (!filters.contains(mSettings.lastSaveFilter))
        mSettings.lastSaveFilter = cmkFilter;
    QString selected = mSettings.lastSaveFilter;
    const QString name = mPrompts->getSaveFileName(
        this, "Save current recording as...", getSuggestedFileName(), filters.join(";;"), &selected);
    qDebug() << "Selected filter " << selected;
    if (name.isEmpty())
        return;
    mSettings.lastSaveFilter = selected;
    bool saved = false;
    if (selected == bwwFilter)
        saved = saveBww(name);
    else if (selected == pngScoreFilter)
        saved = saveScorePng(name);
    else if (selected == pngTimingFilter)
        saved = saveTimingPng(name);
    else if (selected == wavFilter)
        saved = saveWav(name);
    else {
        if (saveCmk(name, true))
            mSettings.lastSaveRawFileName = name;
        return;
    }
    if (saved)
        mSettings.lastSaveFileName = name;
}

QString MainWindow::getSuggestedFileName()
{
    if (mSettings.tuneName.isEmpty())
        return mSettings.lastSaveFileName;
    // The stored name loses its punctuation here, at the first save.
    mSettings.tuneName = AutosaveFolder::cleanedName(mSettings.tuneName);
    return QFileInfo(mSettings.lastSaveFileName).absoluteFilePath() + "/" + mSettings.tuneName;
}

bool MainWindow::reportSave(bool saved, const QString& error)
{
    if (!saved)
        mPrompts->warning(
            this, "Unable to save file", QString("There was a problem trying to save the file: %1").arg(error));
    return saved;
}

bool MainWindow::saveWav(const QString& name)
{
    QString error;
    return reportSave(WaveFile::save(name, mCurrentRecording, mSettings.recordingFrequency_Hz, error), error);
}

bool MainWindow::saveBww(const QString& name)
{
    BmwWriter writer;
    writer.setTuneName(mSettings.tuneName.toStdString());
    writer.setTuneType(mSettings.tuneType.toStdString());
    writer.setComposer(mSettings.composer.toStdString());
    // Through a temporary beside it: an existing file is only replaced by a complete one.
    QSaveFile file(name);
    const bool saved = file.open(QIODevice::WriteOnly)
        && file.write(QByteArray::fromStdString(writer.write(mComposer.lastDrawnModel()))) >= 0 && file.commit();
    return reportSave(saved, file.errorString());
}

bool MainWindow::saveScorePng(const QString& name)
{
    QString error;
    return reportSave(mComposer.saveScorePng(name, error), error);
}

bool MainWindow::saveTimingPng(const QString& name)
{
    QString error;
    return reportSave(mComposer.saveTimingPng(name, error), error);
}

void MainWindow::onHelp(bool)
{
    const QString page = AppFolder::file("help/index.html");
    if (!QFileInfo(page).isFile())
        qWarning().noquote() << "Not found beside the program:" << page;
    QDesktopServices::openUrl(QUrl::fromLocalFile(page));
}

void MainWindow::onAbout(bool)
{
    QMessageBox box(QMessageBox::Information, "About Ceolmark", "About Ceolmark", QMessageBox::Ok, this);
    box.setInformativeText(QString("%1<br>Version: %2.%3<br><br>Made by the Ceolmark developers<br>"
                                   "<a href=\"https://ceolmark.example.org\">https://ceolmark.example.org</a>")
                               .arg(QCoreApplication::applicationName())
                               .arg(CEOLMARK_VERSION_MAJOR)
                               .arg(CEOLMARK_VERSION_MINOR));
    box.setDetailedText(mTermsOfUse);
    box.exec();
}
