#include "tests/support/Processes.h"

#include <QDir>
#include <QFile>

#include <cstdio>

namespace cz::test {

QList<int> startSimulator(QProcess &simulator, const QString &binFolder, const QStringList &arguments)
{
    simulator.start(binFolder + "/corvanta-devsim", arguments);
    QByteArray out;
    while (!out.contains("ready\n") && simulator.waitForReadyRead(10000))
        out += simulator.readAllStandardOutput();
    QList<int> ports;
    for (const QByteArray &line : out.split('\n'))
        if (!line.isEmpty() && line != "ready")
            ports.append(line.split(' ')[0].toInt());
    if (!out.contains("ready\n")) {
        std::fprintf(stderr, "the simulator did not start: %s\n", out.constData());
        ports.clear();
    }
    return ports;
}

long residentKiB(qint64 pid)
{
    QFile status(pid ? QStringLiteral("/proc/%1/status").arg(pid) : QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n'))
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').first().toLong();
    return -1;
}

int openFiles(qint64 pid)
{
    return int(QDir(QStringLiteral("/proc/%1/fd").arg(pid)).entryList(QDir::NoDotAndDotDot | QDir::AllEntries).size());
}

} // namespace cz::test
