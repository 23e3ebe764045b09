#pragma once

#include "store/Clock.h"
#include "store/DeviceStore.h"
#include "store/ProbeLog.h"
#include "tests/support/ManualClock.h"

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>
#include <utility>
#include <vector>

namespace cz::test {

QByteArray readFile(const QByteArray &path);
void writeFile(const QByteArray &path, const QByteArray &bytes);
// Copies folder `from` with everything in it to `to`.
void copyFolder(const QString &from, const QString &to);
bool exists(const QByteArray &path);

// Event-log lines the store asked for, in order.
class RecordingLog : public ProbeLogSink {
public:
    void appendProbeLog(const QByteArray &path, const QByteArray &message) override
    {
        lines.emplace_back(path, message);
    }
    std::vector<std::pair<QByteArray, QByteArray>> lines;
    QList<QByteArray> messagesFor(const QByteArray &path) const;
};

// A fresh data folder and the program state on it, with the messages the
// engine has for the operator.
class DataFolderFixture {
public:
    DataFolderFixture();
    ~DataFolderFixture();
    QByteArray root() const { return QFile::encodeName(dir.path()); }
    QByteArray path(const char *relative) const { return root() + '/' + relative; }
    // A new DeviceStore on the folder (as a program start would make).
    DeviceStore &restart();
    DeviceStore &store() { return *store_; }

    QTemporaryDir dir;
    ManualClock clock{1794661509};  // Sat Nov 14 2026 13:05:09 UTC
    RecordingLog log;
    QStringList messages;

    ProgramStatus status;

private:
    std::unique_ptr<DeviceStore> store_;
};

// The program in the build folder, and its standard output read until
// `text` shows (20 s at most, or until it ends).
QString programPath();
bool waitForOutput(QProcess &p, const QByteArray &text, QByteArray &seen);

// Makes every write past `bytes` fail as on a full disk while alive.
class FileSizeLimit {
public:
    explicit FileSizeLimit(long bytes);
    ~FileSizeLimit();

private:
    long old_;
};

} // namespace cz::test
