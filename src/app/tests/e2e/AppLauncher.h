#pragma once

#include <QString>
#include <QTemporaryDir>

#include <sys/types.h>

// Starts the application as a user would, on an X display, but with a home of its own: a
// fresh temporary HOME and XDG folders, so its settings and autosaves start empty and are
// found where the application puts them. The PulseAudio variables pass through, so it
// reaches the test daemon. stdout and stderr go to a log file. A process still running when
// this goes out of scope is killed.
class AppLauncher {
public:
    explicit AppLauncher(QString program);
    ~AppLauncher();
    AppLauncher(const AppLauncher&) = delete;
    AppLauncher& operator=(const AppLauncher&) = delete;

    bool start(const QString& display, QString& error);
    pid_t pid() const { return mPid; }
    bool running();
    // False if it is still running at timeout_ms.
    bool waitForExit(int timeout_ms);
    // Once exited: whether it returned from main or called exit, and with what.
    bool exitedNormally() const;
    int exitCode() const;
    // "exit status 0", "killed by signal 11 (Segmentation fault)", "still running".
    QString exitDescription() const;

    QString home() const;
    QString configHome() const;
    // Where the application's settings go: QSettings("Kesto Technology", "Ceolmark").
    QString settingsFile() const;
    // The autosave folder's default under the fresh home.
    QString autosaveFolder() const;
    QString logFile() const;
    QString log() const;

private:
    QString mProgram;
    QTemporaryDir mRoot;
    pid_t mPid = -1;
    bool mExited = false;
    int mStatus = 0;
};
