// The programs of the build folder run as their own processes: the device
// simulator, and what the kernel says of a process.
#pragma once

#include <QList>
#include <QProcess>
#include <QStringList>

namespace cz::test {

// Starts corvanta-devsim from `binFolder` with `arguments` and returns the
// ports it serves, in device order; empty when it did not start.
QList<int> startSimulator(QProcess &simulator, const QString &binFolder, const QStringList &arguments);

// Resident memory of process `pid` (0: this one) in KiB; -1 when unknown.
long residentKiB(qint64 pid = 0);

// Descriptors process `pid` holds open.
int openFiles(qint64 pid);

} // namespace cz::test
