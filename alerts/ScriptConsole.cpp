#include "alerts/ScriptConsole.h"

#include <QFile>

#include <cerrno>

namespace cz {

ScriptConsole::ScriptConsole(QObject *parent) : QObject(parent)
{
    process_.setProcessChannelMode(QProcess::MergedChannels);
    connect(&process_, &QProcess::readyReadStandardOutput, this,
            [this] { emit output(process_.readAllStandardOutput()); });
    connect(&process_, &QProcess::finished, this, [this](int code) { emit finished(code); });
}

ScriptConsole::~ScriptConsole()
{
    stop();
}

int ScriptConsole::start(const QByteArray &scriptPath, const QByteArray &workingFolder)
{
    if (running())
        return EBUSY;
    process_.setWorkingDirectory(QFile::decodeName(workingFolder));
    process_.start(QStringLiteral("/bin/sh"), {QFile::decodeName(scriptPath)});
    if (!process_.waitForStarted(5000))
        return process_.error() == QProcess::FailedToStart ? ENOENT : EIO;
    return 0;
}

void ScriptConsole::continueScript()
{
    if (running())
        process_.write("\n");
}

void ScriptConsole::stop()
{
    if (!running())
        return;
    process_.kill();
    process_.waitForFinished(2000);
}

} // namespace cz
