// Whole-buffer and atomic file writes.
#pragma once

#include <QByteArray>
#include <QString>

#include <sys/types.h>

namespace cz {

// Files that can hold a password are created readable by their owner only.
inline constexpr mode_t kPrivateFileMode = 0600;
inline constexpr mode_t kPublicFileMode = 0644;

// Writes all of `bytes` to `fd`; 0, or the errno of the failure, with
// `written` (when given) the bytes that went in before it.
int writeFully(int fd, const QByteArray &bytes, qsizetype *written = nullptr);

// Writes `bytes` to `path` through a temporary file in the same folder,
// flushed to disk before it replaces the old file, and the folder flushed
// after, so that a crash, a power loss or a full disk leaves the old file
// whole. The file keeps the mode it had; a new one gets `newFileMode`.
bool writeFileAtomically(const QString &path, const QByteArray &bytes, QString *error,
                         mode_t newFileMode = kPublicFileMode);

// Removes the temporary files that saves interrupted by a crash left in
// `folder`; nothing else is touched. Returns how many were removed.
int removeInterruptedSaves(const QByteArray &folder);

} // namespace cz
