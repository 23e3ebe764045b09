#include "FileWrite.h"

#include <QFile>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace cz {

int writeFully(int fd, const QByteArray &bytes)
{
    const char *p = bytes.constData();
    qsizetype left = bytes.size();
    while (left > 0) {
        const ssize_t n = ::write(fd, p, std::size_t(left));
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return n < 0 ? errno : ENOSPC;
        p += n;
        left -= n;
    }
    return 0;
}

bool writeFileAtomically(const QString &path, const QByteArray &bytes, QString *error)
{
    auto fail = [error](const QString &what) {
        if (error)
            *error = what;
        return false;
    };
    const QByteArray target = QFile::encodeName(path);
    QByteArray temp = target + ".XXXXXX";
    const int fd = ::mkstemp(temp.data());
    if (fd < 0)
        return fail(QString::fromLocal8Bit(std::strerror(errno)));
    if (const int e = writeFully(fd, bytes)) {
        ::close(fd);
        ::unlink(temp.constData());
        return fail(QString::fromLocal8Bit(std::strerror(e)));
    }
    ::fchmod(fd, 0644);
    const int synced = ::fsync(fd) == 0 ? 0 : errno;
    const int closed = ::close(fd) == 0 ? 0 : errno;
    if (synced || closed) {
        ::unlink(temp.constData());
        return fail(QString::fromLocal8Bit(std::strerror(synced ? synced : closed)));
    }
    if (::rename(temp.constData(), target.constData()) != 0) {
        const int e = errno;
        ::unlink(temp.constData());
        return fail(QString::fromLocal8Bit(std::strerror(e)));
    }
    return true;
}

} // namespace cz
