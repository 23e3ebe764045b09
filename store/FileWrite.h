// Whole-buffer and atomic file writes.
#pragma once

#include <QByteArray>
#include <QString>

#include <sys/types.h>

namespace cz {

// Who may read a saved file. Files that can hold a password (device files,
// mail scripts and their working files) are the owner's alone, even when
// they were once saved with a wider mode; other files keep the mode they
// have, and a new one gets the mode the user's umask gives.
enum class FileAccess { Shared, OwnerOnly };
inline constexpr mode_t kPrivateFileMode = 0600;

// The mode a new shared file gets: 0666 less the process's umask.
mode_t newFileMode();

// Writes all of `bytes` to `fd`; 0, or the errno of the failure, with
// `written` (when given) the bytes that went in before it.
int writeFully(int fd, const QByteArray &bytes, qsizetype *written = nullptr);

// Writes `bytes` to `path` through a temporary file in the same folder,
// flushed to disk before it replaces the old file, and the folder flushed
// after, so that a crash, a power loss or a full disk leaves the old file
// whole. A symbolic link stays: the file it leads to is the one replaced. `narrowed` (when given) tells whether an owner-only file had been
// readable by others until now.
bool writeFileAtomically(const QString &path, const QByteArray &bytes, QString *error,
                         FileAccess access = FileAccess::Shared, bool *narrowed = nullptr);

// The notice for a file that was readable by others and is now the owner's
// alone.
QString narrowedFileNotice(const QString &path);

// Removes the temporary files that saves interrupted by a crash left in
// `folder`; nothing else is touched. Returns how many were removed.
int removeInterruptedSaves(const QByteArray &folder);

} // namespace cz
