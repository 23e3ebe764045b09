// Quoting for the shell scripts the alerts write: names and subjects may
// come from a device, so every argument is single-quoted.
#pragma once

#include <QByteArray>

namespace cz {

// 'text' with every ' written as '\'' (POSIX sh single quoting).
QByteArray shellQuote(const QByteArray &text);

} // namespace cz
