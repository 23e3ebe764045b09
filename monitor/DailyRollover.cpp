#include "monitor/DailyRollover.h"

#include "store/CFormat.h"
#include "store/DeviceStore.h"

#include <cerrno>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

namespace cz {
namespace {

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

void rollOverDailyFiles(DeviceStore &store)
{
    const QByteArray today = dateText(store.clock().now());
    if (store.currentDateText == today)
        return;
    const QByteArray old = store.currentDateText;
    store.currentDateText = today;
    if (old.isEmpty())
        return;  // no day recorded yet: nothing belongs to an earlier one
    const DataFolder &f = store.folder();
    ensureFolder(f.data());
    ensureFolder(f.data() + '/' + old);
    moveFilesInto(f.data(), f.data() + '/' + old);
    ensureFolder(f.logs() + '/' + old);
    moveFilesInto(f.logs(), f.logs() + '/' + old);
}

} // namespace cz
