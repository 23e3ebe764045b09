#include "EventLog.h"

#include "AppState.h"
#include "CFormat.h"
#include "Clock.h"
#include "DataFolder.h"
#include "FileWrite.h"

#include <cerrno>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace cz {
namespace {

// Opens, appends and closes at every entry, so other programs may read or
// move the file between entries. A file that cannot be opened is skipped.
void appendToFile(const QByteArray &path, const QByteArray &bytes)
{
    if (path.isEmpty())
        return;
    const int fd = ::open(path.constData(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
    if (fd < 0)
        return;
    writeFully(fd, bytes);
    ::close(fd);
}

// "<date> <time>: " of now.
QByteArray entryPrefix(const Clock &clock)
{
    const std::int64_t now = clock.now();
    return dateText(now) + ' ' + clockText(now) + ": ";
}

// Moves `from` to `to` unless something of that name is already there.
void moveIfFree(const QByteArray &from, const QByteArray &to)
{
    if (::renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_NOREPLACE) == 0)
        return;
    if (errno != EINVAL && errno != ENOSYS)
        return;
    struct stat st {};
    if (::lstat(to.constData(), &st) != 0)
        ::rename(from.constData(), to.constData());
}

void moveFilesInto(const QByteArray &folder, const QByteArray &target)
{
    DIR *dir = ::opendir(folder.constData());
    if (!dir)
        return;
    while (const dirent *entry = ::readdir(dir)) {
        const QByteArray name(entry->d_name);
        if (name == "." || name == "..")
            continue;
        const QByteArray from = folder + '/' + name;
        struct stat st {};
        if (::lstat(from.constData(), &st) != 0 || S_ISDIR(st.st_mode))
            continue;
        moveIfFree(from, target + '/' + name);
    }
    ::closedir(dir);
}

} // namespace

void AppendProbeLog(const Clock &clock, const QByteArray &path, const QByteArray &message)
{
    appendToFile(path, entryPrefix(clock) + message + "\r\n");
}

void EventLog::appendProbeLogLines(const QByteArray &path, const QList<QByteArray> &messages)
{
    const QByteArray prefix = entryPrefix(clock_);
    QByteArray lines;
    for (const QByteArray &m : messages)
        lines += prefix + m + "\r\n";
    appendToFile(path, lines);
}

void AppendErrorLog(const Clock &clock, const QByteArray &path, const QByteArray &message)
{
    appendToFile(path, entryPrefix(clock) + message);
}

void AppendDataLine(const QByteArray &path, const QByteArray &date, const QByteArray &time,
                    const QByteArray &displayText)
{
    appendToFile(path, date + ',' + time + ',' + displayText + "\r\n");
}

void RollOverDailyFiles(AppState &app)
{
    const QByteArray today = dateText(app.clock().now());
    if (app.currentDateText == today)
        return;
    const QByteArray old = app.currentDateText;
    app.currentDateText = today;
    if (old.isEmpty())
        return;  // no day recorded yet: nothing belongs to an earlier one
    const DataFolder &f = app.folder();
    ensureFolder(f.data());
    ensureFolder(f.data() + '/' + old);
    moveFilesInto(f.data(), f.data() + '/' + old);
    ensureFolder(f.logs() + '/' + old);
    moveFilesInto(f.logs(), f.logs() + '/' + old);
}

} // namespace cz
