#include "AppLauncher.h"

#include "PollUntil.h"

#include <QDir>
#include <QFile>
#include <QProcessEnvironment>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <vector>

AppLauncher::AppLauncher(QString program)
    : mProgram(program)
{
}

AppLauncher::~AppLauncher()
{
    if (mPid > 0 && running()) {
        kill(mPid, SIGKILL);
        waitForExit(10000);
    }
}

QString AppLauncher::home() const { return mRoot.filePath("home"); }
QString AppLauncher::configHome() const { return home() + "/.config"; }
QString AppLauncher::settingsFile() const { return configHome() + "/Kesto Technology/Ceolmark.conf"; }
QString AppLauncher::autosaveFolder() const { return home() + "/Documents/Ceolmark/autosave"; }
QString AppLauncher::logFile() const { return mRoot.filePath("app.log"); }

QString AppLauncher::log() const
{
    QFile file(logFile());
    if (!file.open(QIODevice::ReadOnly))
        return QString();
    return QString::fromUtf8(file.readAll());
}

bool AppLauncher::start(const QString& display, QString& error)
{
    if (!mRoot.isValid()) {
        error = "no temporary folder: " + mRoot.errorString();
        return false;
    }
    const QString runtime = mRoot.filePath("runtime");
    for (const QString& dir : {home(), configHome(), home() + "/.local/share", home() + "/.cache", runtime})
        QDir().mkpath(dir);
    QFile::setPermissions(runtime, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);

    // Everything of the caller's but its home, its display and its Qt platform (the other
    // tests run offscreen); PULSE_* stay so that the test daemon is the default device.
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const QString& name : environment.keys())
        if (name.startsWith("XDG_") || name == "XAUTHORITY" || name == "SESSION_MANAGER")
            environment.remove(name);
    environment.insert("HOME", home());
    environment.insert("XDG_CONFIG_HOME", configHome());
    environment.insert("XDG_DATA_HOME", home() + "/.local/share");
    environment.insert("XDG_CACHE_HOME", home() + "/.cache");
    environment.insert("XDG_RUNTIME_DIR", runtime);
    environment.insert("DISPLAY", display);
    environment.insert("QT_QPA_PLATFORM", "xcb");

    std::vector<QByteArray> strings;
    for (const QString& entry : environment.toStringList())
        strings.push_back(entry.toLocal8Bit());
    std::vector<char*> envp;
    for (QByteArray& entry : strings)
        envp.push_back(entry.data());
    envp.push_back(nullptr);
    QByteArray program = mProgram.toLocal8Bit();
    char* argv[] = {program.data(), nullptr};

    // posix_spawn rather than QProcess: waitpid's status tells a signal's number.
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    const QByteArray log = logFile().toLocal8Bit();
    posix_spawn_file_actions_addopen(&actions, 1, log.constData(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_adddup2(&actions, 1, 2);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    const int result = posix_spawn(&mPid, program.constData(), &actions, nullptr, argv, envp.data());
    posix_spawn_file_actions_destroy(&actions);
    if (result != 0) {
        mPid = -1;
        error = "cannot start " + mProgram + ": " + QString::fromLocal8Bit(std::strerror(result));
        return false;
    }
    mExited = false;
    return true;
}

bool AppLauncher::running()
{
    if (mPid <= 0 || mExited)
        return false;
    int status = 0;
    const pid_t done = waitpid(mPid, &status, WNOHANG);
    if (done == mPid) {
        mExited = true;
        mStatus = status;
    }
    return !mExited;
}

bool AppLauncher::waitForExit(int timeout_ms)
{
    return pollUntil([this] { return !running(); }, timeout_ms);
}

bool AppLauncher::exitedNormally() const { return mExited && WIFEXITED(mStatus); }

int AppLauncher::exitCode() const { return exitedNormally() ? WEXITSTATUS(mStatus) : -1; }

QString AppLauncher::exitDescription() const
{
    if (!mExited)
        return "still running";
    if (WIFEXITED(mStatus))
        return QString("exit status %1").arg(WEXITSTATUS(mStatus));
    if (WIFSIGNALED(mStatus))
        return QString("killed by signal %1 (%2)%3")
            .arg(WTERMSIG(mStatus))
            .arg(QString::fromLocal8Bit(strsignal(WTERMSIG(mStatus))))
            .arg(WCOREDUMP(mStatus) ? ", core dumped" : "");
    return QString("wait status %1").arg(mStatus);
}
