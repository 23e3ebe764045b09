#include "tools/devsim/DemoHistory.h"

#include "net/DeviceUrl.h"
#include "net/ReplyParser.h"
#include "store/DataFolder.h"
#include "store/DeviceStore.h"
#include "store/LogFiles.h"
#include "store/PastDataFiles.h"
#include "store/ProgramStatus.h"
#include "store/SystemClock.h"

#include <QDir>
#include <QFile>
#include <QLockFile>

namespace devsim {

int writeDemoHistory(const QString &dataFolder, const QList<SimDevice> &devices, std::int64_t now, int hours,
                     QString &error, cz::PastDataReport &report)
{
    if (!QDir(dataFolder).exists()) {
        error = QStringLiteral("no data folder %1").arg(dataFolder);
        return -1;
    }
    const cz::DataFolder folder{QFile::encodeName(dataFolder)};
    // The program's own instance lock: a running program appends to these
    // files, and one started meanwhile waits for the history to be whole.
    QLockFile lock(QFile::decodeName(folder.lockFile()));
    lock.setStaleLockTime(0);
    if (!lock.tryLock(0)) {
        error = lock.error() == QLockFile::LockFailedError
                    ? QStringLiteral("%1 is in use by a running Corvanta Zephtra; stop it first, nothing was written")
                          .arg(dataFolder)
                    : QStringLiteral("cannot lock %1, nothing was written").arg(dataFolder);
        return -1;
    }
    cz::EventLog log(cz::SystemClock::instance());
    cz::ProgramStatus status;
    cz::DeviceStore store(folder, cz::SystemClock::instance(), log, status);
    store.readProgramSettings();
    int written = 0;
    for (int slot = 0; slot < store.deviceCount(); ++slot) {
        const cz::DeviceRecord &device = *store.device(slot);
        const auto sim = std::find_if(devices.begin(), devices.end(),
                                      [&](const SimDevice &d) { return d.port == device.DevicePort; });
        if (sim == devices.end())
            continue;
        // Each query's reply is read as the program reads it; a sample time
        // on the device's interval.
        const int interval = std::max(1, device.QueryInterval);
        const std::int64_t to = now - now % interval;
        const std::int64_t from = to - std::int64_t(hours) * 3600;
        const QByteArray page = cz::isMultiSensorModel(device.DeviceModel.bytes()) ? "/data" : "/temp";
        std::int64_t parsedAt = -1;
        cz::ParsedReply reply;
        auto text = [&](int probe, std::int64_t t) -> QByteArray {
            if (t != parsedAt) {
                reply = cz::parseDeviceReply(device, sim->page(page, double(t)));
                parsedAt = t;
            }
            if (std::size_t(probe) >= reply.fields.size())
                return "n/a";
            return cz::probeDisplayText(device.probe(probe)->ProbeType, reply.fields[std::size_t(probe)]);
        };
        if (!cz::writePastDataFiles(store, slot, from, to, interval, text, &error, &report))
            return -1;
        ++written;
    }
    return written;
}

} // namespace devsim
