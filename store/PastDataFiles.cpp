#include "store/PastDataFiles.h"

#include "store/CFormat.h"
#include "store/DeviceStore.h"
#include "store/FileWrite.h"

#include <QDir>
#include <QFileInfo>

#include <vector>

namespace cz {

bool writePastDataFiles(const DeviceStore &store, int slot, std::int64_t from, std::int64_t to, int interval,
                        const std::function<QByteArray(int probeIndex, std::int64_t time)> &text, QString *error)
{
    const DeviceRecord *d = store.device(slot);
    if (!d || !d->LoggingEnabled || interval <= 0)
        return true;
    const QString data = QFile::decodeName(store.folder().data());
    const QByteArray lastDay = dateText(to);
    std::vector<int> probes;
    for (int i = 0; i < d->probeSlots(); ++i)
        if (d->probe(i) && d->probe(i)->ProbeEnabled)
            probes.push_back(i);
    std::vector<QByteArray> lines(probes.size());
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
            if (!writeFileAtomically(folder + '/' + name, lines[k], error))
                return false;
            lines[k].clear();
        }
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
        for (std::size_t k = 0; k < probes.size(); ++k)
            lines[k] += stamp + text(probes[k], t) + "\r\n";
    }
    return flush();
}

} // namespace cz
