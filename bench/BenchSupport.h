// Pieces the benchmarks share: a simulator process serving generated
// devices, a data folder of such devices, the process's resident memory, medians.
#pragma once

#include "store/DataFolder.h"
#include "store/DeviceStore.h"
#include "store/LogFiles.h"
#include "tests/support/Processes.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QList>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>
#include <QTimer>

#include <functional>
#include <vector>

namespace cz::bench {

// Starts corvanta-devsim (next to the benchmark) with `arguments` and
// returns the ports it serves, in device order; empty when it did not start.
inline QList<int> startSimulator(QProcess &simulator, const QStringList &arguments)
{
    return test::startSimulator(simulator, QCoreApplication::applicationDirPath(), arguments);
}
using test::residentKiB;

// Writes a data folder of one "Model R16" device of 16 probes per port
// (temperatures, or the types given), logging on, thresholds 40/50/73/74
// and an e-mail after 3 readings.
void writeDataFolder(const DataFolder &folder, const QList<int> &ports, const std::vector<ProbeType> &types = {});

// Writes `days` of data lines, one per `interval` seconds up to `now`, for
// every probe of the first `devices` devices of `store`, the days before
// today in the dated folders the rollover makes. `text(slot, probe, t)`
// gives each line's reading.
void writeDataFiles(const DeviceStore &store, int devices, std::int64_t now, int interval, int days,
                    const std::function<QByteArray(int slot, int probe, std::int64_t t)> &text);

// A temporary data folder of `devices` such devices, read by a store on
// the system clock.
struct FolderStore {
    explicit FolderStore(int devices);
    QTemporaryDir dir;
    DataFolder folder;
    EventLog log;
    ProgramStatus status;
    DeviceStore store;
};

// CPU time of this process, every thread, in milliseconds.
double processCpuMs();

double median(std::vector<double> v);

// The longest gap between the ticks of a 1 ms timer: how long the event
// loop was held up at worst while the meter ran.
class StallMeter {
public:
    StallMeter();
    void start();
    void stop() { ticker_.stop(); }
    double longestMs() const { return longestMs_; }

private:
    QTimer ticker_;
    QElapsedTimer sinceTick_;
    double longestMs_ = 0;
};

} // namespace cz::bench
