#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>

// Runs the built ceolmark-cli as a child process, as a user or a script would.
struct CliRun {
    int exitCode = -1; // -1 when it did not finish normally
    QString out;
    QString err;
};

inline CliRun runCli(const QStringList& arguments)
{
    QProcess process;
    process.start(CEOLMARK_CLI, arguments);
    CliRun run;
    if (!process.waitForFinished(-1) || process.exitStatus() != QProcess::NormalExit)
        return run;
    run.exitCode = process.exitCode();
    run.out = QString::fromUtf8(process.readAllStandardOutput());
    run.err = QString::fromUtf8(process.readAllStandardError());
    return run;
}
