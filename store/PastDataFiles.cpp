#include "store/PastDataFiles.h"

#include "store/CFormat.h"
#include "store/DeviceStore.h"
#include "store/FileWrite.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <vector>

namespace cz {

namespace {

// One probe's lines of one day, with where each line starts.
struct DayLines {
    QByteArray text;
    std::vector<qsizetype> starts;
};

// Writes `lines` (for `times`) to `path`. An existing file keeps its own
// lines; ours go in front of them only where they are older than its
// first line, and a file whose first line has no readable time is left.
bool writeDay(const QString &path, const DayLines &lines, const std::vector<std::int64_t> &times, QString *error,
              PastDataReport &report)
{
    QFile existing(path);
    if (!existing.exists()) {
        if (!writeFileAtomically(path, lines.text, error))
            return false;
        report.filesCreated += 1;
        report.linesWritten += qint64(times.size());
        return true;
    }
    if (!existing.open(QIODevice::ReadOnly)) {
        report.left.append(path);
        return true;
    }
    const QByteArray own = existing.readAll();
    existing.close();
    const std::optional<std::int64_t> first = dataLineTime(own);
    const auto before = first ? std::lower_bound(times.begin(), times.end(), *first) : times.begin();
    const qsizetype count = before - times.begin();
    if (count == 0) {
        report.left.append(path);
        return true;
    }
    const qsizetype end = std::size_t(count) < lines.starts.size() ? lines.starts[std::size_t(count)] : lines.text.size();
    if (!writeFileAtomically(path, lines.text.left(end) + own, error))
        return false;
    report.extended.append(path);
    report.linesWritten += count;
    return true;
}

} // namespace

bool writePastDataFiles(const DeviceStore &store, int slot, std::int64_t from, std::int64_t to, int interval,
                        const std::function<QByteArray(int probeIndex, std::int64_t time)> &text, QString *error,
                        PastDataReport *report)
{
    const DeviceRecord *d = store.device(slot);
    if (!d || !d->LoggingEnabled || interval <= 0)
        return true;
    PastDataReport ignored;
    PastDataReport &done = report ? *report : ignored;
    const QString data = QFile::decodeName(store.folder().data());
    const QByteArray lastDay = dateText(to);
    std::vector<int> probes;
    for (int i = 0; i < d->probeSlots(); ++i)
        if (d->probe(i) && d->probe(i)->ProbeEnabled)
            probes.push_back(i);
    std::vector<DayLines> lines(probes.size());
    std::vector<std::int64_t> times;
    QByteArray day;
    auto flush = [&]() -> bool {
        if (day.isEmpty())
            return true;
        const QString folder = day == lastDay ? data : data + '/' + QString::fromLatin1(day);
        if (!QDir().mkpath(folder)) {
            if (error)
                *error = QStringLiteral("cannot make the folder %1").arg(folder);
            return false;
        }
        for (std::size_t k = 0; k < probes.size(); ++k) {
            const ProbeRecord &p = *d->probe(probes[k]);
            const QString name = QFileInfo(QFile::decodeName(p.DataLogFile.bytes())).fileName();
            if (!writeDay(folder + '/' + name, lines[k], times, error, done))
                return false;
            lines[k] = {};
        }
        times.clear();
        return true;
    };
    for (std::int64_t t = from; t < to; t += interval) {
        const QByteArray date = dateText(t);
        if (date != day) {
            if (!flush())
                return false;
            day = date;
        }
        const QByteArray stamp = date + ',' + clockText(t) + ',';
        times.push_back(t);
        for (std::size_t k = 0; k < probes.size(); ++k) {
            lines[k].starts.push_back(lines[k].text.size());
            lines[k].text += stamp + text(probes[k], t) + "\r\n";
        }
    }
    return flush();
}

} // namespace cz
