// Data files for a stretch of time already past, laid out as the program
// writes them as it goes: the lines of the day of `to` in the data folder,
// earlier days' in the folder named for their date. The demo's first day
// of history and the benchmarks' full months are made this way. A file
// that exists keeps every line it has: only the lines before its first
// one are added in front of them.
#pragma once

#include <QByteArray>
#include <QStringList>

#include <cstdint>
#include <functional>

namespace cz {

class DeviceStore;

// What was done to the files.
struct PastDataReport {
    int filesCreated = 0;
    qint64 linesWritten = 0;
    QStringList extended; // existing files given earlier lines in front of their own
    QStringList left;     // existing files left as they were
};

// One line every `interval` seconds from `from` up to `to` for every
// enabled probe of device `slot` (when it logs), the reading given by
// `text(probeIndex, time)`. Files are written whole and atomically; false
// with `error` set when one cannot be.
bool writePastDataFiles(const DeviceStore &store, int slot, std::int64_t from, std::int64_t to, int interval,
                        const std::function<QByteArray(int probeIndex, std::int64_t time)> &text,
                        QString *error = nullptr, PastDataReport *report = nullptr);

} // namespace cz
