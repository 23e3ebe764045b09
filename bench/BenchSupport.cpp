#include "bench/BenchSupport.h"

#include "store/DeviceStore.h"
#include "store/LogFiles.h"
#include "store/PastDataFiles.h"
#include "store/SystemClock.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <string>

namespace cz::bench {

void writeDataFolder(const DataFolder &folder, const QList<int> &ports, const std::vector<ProbeType> &types)
{
    EventLog log(SystemClock::instance());
    ProgramStatus status;
    DeviceStore s(folder, SystemClock::instance(), log, status);
    s.readProgramSettings();
    for (int d = 0; d < ports.size(); ++d) {
        auto dev = newDeviceRecord(folder.root, "Device " + QByteArray::number(d + 1), "Model R16", ports[d],
                                   kMaxProbes);
        for (int i = 0; i < kMaxProbes; ++i) {
            ProbeRecord *p = dev->probe(i);
            if (std::size_t(i) < types.size())
                p->ProbeType = types[std::size_t(i)];
            p->HighAlarmTemp = 74;
            p->HighCautionTemp = 73;
            p->LowCautionTemp = 50;
            p->LowAlarmTemp = 40;
            p->ConsecutiveAlarmThreshold = 3;
            p->SendAlarmEmail = 1;
            p->CurrentTemp = 70.5;
        }
        s.writeDeviceFile(s.addDevice(std::move(dev)), true);
    }
    s.writeDevicesSection();
}

void writeDataFiles(const DeviceStore &store, int devices, std::int64_t now, int interval, int days,
                    const std::function<QByteArray(int slot, int probe, std::int64_t t)> &text)
{
    const std::int64_t first = now - std::int64_t(interval) * (std::int64_t(days) * 86400 / interval);
    for (int slot = 0; slot < devices && slot < store.deviceCount(); ++slot) {
        QString error;
        if (!writePastDataFiles(store, slot, first, now, interval,
                                [&](int probe, std::int64_t t) { return text(slot, probe, t); }, &error))
            std::fprintf(stderr, "data files: %s\n", qPrintable(error));
    }
}

namespace {

DataFolder filledFolder(const QTemporaryDir &dir, int devices)
{
    const DataFolder folder{QFile::encodeName(dir.path())};
    QList<int> ports;
    for (int d = 0; d < devices; ++d)
        ports.append(20000 + d);
    writeDataFolder(folder, ports);
    return folder;
}

} // namespace

FolderStore::FolderStore(int devices)
    : folder(filledFolder(dir, devices)), log(SystemClock::instance()),
      store(folder, SystemClock::instance(), log, status)
{
    store.readProgramSettings();
}

double processCpuMs()
{
    timespec t{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return double(t.tv_sec) * 1e3 + double(t.tv_nsec) / 1e6;
}

double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

StallMeter::StallMeter()
{
    ticker_.setInterval(1);
    ticker_.setTimerType(Qt::PreciseTimer);
    QObject::connect(&ticker_, &QTimer::timeout, [this] {
        longestMs_ = std::max(longestMs_, double(sinceTick_.nsecsElapsed()) / 1e6);
        sinceTick_.restart();
    });
}

void StallMeter::start()
{
    longestMs_ = 0;
    sinceTick_.start();
    ticker_.start();
}

} // namespace cz::bench
