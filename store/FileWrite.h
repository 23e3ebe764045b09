// Whole-buffer and atomic file writes.
#pragma once

#include <QByteArray>
#include <QString>

namespace cz {

// Writes all of `bytes` to `fd`; 0, or the errno of the failure.
int writeFully(int fd, const QByteArray &bytes);

// Writes `bytes` to `path` through a temporary file in the same folder,
// flushed to disk before it replaces the old file, so that a crash or a
// full disk leaves the old file whole.
bool writeFileAtomically(const QString &path, const QByteArray &bytes, QString *error);

} // namespace cz
