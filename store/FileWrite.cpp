#include "store/FileWrite.h"

#include <QFile>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace cz {

namespace {

// ".<name>.czsave-XXXXXX" beside the file being saved: hidden, and a name no
// operator's file has, so that only these are cleaned up after a crash.
constexpr char kTempMarker[] = ".czsave-";
constexpr int kTempRandomLength = 6;

QByteArray tempTemplate(const QByteArray &target)
{
    const qsizetype slash = target.lastIndexOf('/');
    return target.left(slash + 1) + '.' + target.mid(slash + 1) + kTempMarker + "XXXXXX";
}

bool isInterruptedSave(const QByteArray &name)
{
    const qsizetype marker = name.lastIndexOf(kTempMarker);
    return name.startsWith('.') && marker > 1 &&
           name.size() == marker + qsizetype(sizeof kTempMarker - 1) + kTempRandomLength;
}

void syncFolderOf(const QByteArray &path)
{
    const qsizetype slash = path.lastIndexOf('/');
    const QByteArray folder = slash > 0 ? path.left(slash) : QByteArray(slash == 0 ? "/" : ".");
    const int fd = ::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd >= 0) {
        ::fsync(fd);
        ::close(fd);
    }
}

// The file a path leads to through symbolic links (the path itself when it
// is none, or a link leads nowhere readable).
QByteArray linkTarget(const QByteArray &path)
{
    QByteArray p = path;
    for (int hops = 0; hops < 40; ++hops) {
        struct stat st {};
        if (::lstat(p.constData(), &st) != 0 || !S_ISLNK(st.st_mode))
            return p;
        QByteArray link(PATH_MAX, '\0');
        const ssize_t n = ::readlink(p.constData(), link.data(), std::size_t(link.size()));
        if (n <= 0 || n >= link.size())
            return p;
        link.truncate(n);
        if (!link.startsWith('/'))
            link = p.left(p.lastIndexOf('/') + 1) + link;
        p = link;
    }
    return p;
}

} // namespace

mode_t newFileMode()
{
    // Read, not set and put back: another thread may be creating a file.
    mode_t mask = 022;
    bool found = false;
    const int fd = ::open("/proc/self/status", O_RDONLY | O_CLOEXEC);
    if (fd >= 0) {
        char buf[4096];
        const ssize_t n = ::read(fd, buf, sizeof buf - 1);
        ::close(fd);
        if (n > 0) {
            buf[n] = '\0';
            if (const char *line = std::strstr(buf, "\nUmask:")) {
                mask = mode_t(std::strtoul(line + 7, nullptr, 8));
                found = true;
            }
        }
    }
    if (!found) {
        mask = ::umask(022);
        ::umask(mask);
    }
    return 0666 & ~mask;
}

int writeFully(int fd, const QByteArray &bytes, qsizetype *written)
{
    const char *p = bytes.constData();
    qsizetype left = bytes.size();
    int error = 0;
    while (left > 0) {
        const ssize_t n = ::write(fd, p, std::size_t(left));
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0) {
            error = n < 0 ? errno : ENOSPC;
            break;
        }
        p += n;
        left -= n;
    }
    if (written)
        *written = bytes.size() - left;
    return error;
}

bool writeFileAtomically(const QString &path, const QByteArray &bytes, QString *error, FileAccess access,
                         bool *narrowed)
{
    auto fail = [error](int e) {
        if (error)
            *error = QString::fromLocal8Bit(std::strerror(e));
        return false;
    };
    const QByteArray target = linkTarget(QFile::encodeName(path));
    struct stat existing {};
    const bool exists = ::stat(target.constData(), &existing) == 0;
    const mode_t oldMode = existing.st_mode & 07777;
    mode_t mode = exists ? oldMode : newFileMode();
    if (access == FileAccess::OwnerOnly)
        mode = kPrivateFileMode;
    if (narrowed)
        *narrowed = exists && access == FileAccess::OwnerOnly && (oldMode & 077) != 0;
    QByteArray temp = tempTemplate(target);
    const int fd = ::mkstemp(temp.data());
    if (fd < 0)
        return fail(errno);
    int e = writeFully(fd, bytes);
    if (!e && ::fchmod(fd, mode) != 0)
        e = errno;
    if (!e && ::fsync(fd) != 0)
        e = errno;
    if (::close(fd) != 0 && !e)
        e = errno;
    if (!e && ::rename(temp.constData(), target.constData()) != 0)
        e = errno;
    if (e) {
        ::unlink(temp.constData());
        return fail(e);
    }
    syncFolderOf(target);
    return true;
}

int removeInterruptedSaves(const QByteArray &folder)
{
    DIR *dir = ::opendir(folder.constData());
    if (!dir)
        return 0;
    int removed = 0;
    while (const dirent *entry = ::readdir(dir)) {
        const QByteArray name(entry->d_name);
        if (!isInterruptedSave(name))
            continue;
        const QByteArray path = folder + '/' + name;
        struct stat st {};
        if (::lstat(path.constData(), &st) == 0 && S_ISREG(st.st_mode) && ::unlink(path.constData()) == 0)
            ++removed;
    }
    ::closedir(dir);
    return removed;
}

QString narrowedFileNotice(const QString &path)
{
    return QStringLiteral("\"%1\" could be read by other users; as it can hold passwords, it is now readable by "
                          "its owner only.")
        .arg(path);
}

} // namespace cz
