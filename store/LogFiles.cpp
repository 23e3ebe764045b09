#include "store/LogFiles.h"

#include "store/CFormat.h"
#include "store/Clock.h"
#include "store/FileWrite.h"

#include <fcntl.h>
#include <unistd.h>

namespace cz {
namespace {

void appendToFile(const QByteArray &path, const QByteArray &bytes)
{
    if (path.isEmpty())
        return;
    // A new file gets the mode the umask gives, as any program's would.
    const int fd = ::open(path.constData(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
    if (fd < 0)
        return;
    // On a full disk an entry may go in part: take it back, so the file
    // holds whole lines only.
    qsizetype written = 0;
    if (writeFully(fd, bytes, &written) != 0 && written > 0) {
        const off_t end = ::lseek(fd, 0, SEEK_END);
        if (end >= written)
            (void)::ftruncate(fd, end - written);
    }
    ::close(fd);
}

// "<date> <time>: " of now.
QByteArray entryPrefix(const Clock &clock)
{
    const std::int64_t now = clock.now();
    return dateText(now) + ' ' + clockText(now) + ": ";
}

} // namespace

void appendProbeLog(const Clock &clock, const QByteArray &path, const QByteArray &message)
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

void appendErrorLog(const Clock &clock, const QByteArray &path, const QByteArray &message)
{
    appendToFile(path, entryPrefix(clock) + message);
}

void appendDataLine(const QByteArray &path, const QByteArray &date, const QByteArray &time,
                    const QByteArray &displayText)
{
    appendToFile(path, date + ',' + time + ',' + displayText + "\r\n");
}

} // namespace cz
