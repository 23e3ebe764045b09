// Loading and saving a full data folder: 256 devices of 16 probes.
#include "bench/BenchSupport.h"
#include "store/DeviceFile.h"
#include "store/DeviceStore.h"
#include "store/LogFiles.h"
#include "store/SystemClock.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <chrono>
#include <clocale>
#include <cstdio>
#include <string>

using namespace cz;

namespace {

double msSince(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

void markEveryKeyChanged(DeviceStore &state)
{
    for (int d = 0; d < state.deviceCount(); ++d) {
        state.deviceForUpdate(d)->Changed.markAll();
        for (int i = 0; i < kMaxProbes; ++i)
            state.deviceForUpdate(d)->probe(i)->Changed.markAll();
    }
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    std::setlocale(LC_NUMERIC, "C");
    const SystemClock &clock = SystemClock::instance();
    // Child run: only load the folder and report the memory it takes.
    if (argc == 3 && std::string(argv[1]) == "--memory") {
        EventLog log(clock);
        const long before = bench::residentKiB();
        ProgramStatus status;
    DeviceStore state(DataFolder{argv[2]}, clock, log, status);
        state.readProgramSettings();
        std::printf("  resident memory after loading:         %8.1f MB (%.1f MB before loading)\n",
                    bench::residentKiB() / 1024.0, before / 1024.0);
        return 0;
    }

    QTemporaryDir dir;
    const DataFolder folder{QFile::encodeName(dir.path())};
    EventLog log(clock);
    QList<int> ports;
    for (int d = 0; d < kMaxDevices; ++d)
        ports.append(20000 + d);
    bench::writeDataFolder(folder, ports);

    ProgramStatus status;
    DeviceStore state(folder, clock, log, status);
    auto t = std::chrono::steady_clock::now();
    state.readProgramSettings();
    const double loadMs = msSince(t);

    // Shutdown after a monitoring run: the readings and extremes changed.
    for (int d = 0; d < state.deviceCount(); ++d)
        for (int i = 0; i < kMaxProbes; ++i) {
            ProbeRecord &p = *state.deviceForUpdate(d)->probe(i);
            p.CurrentTemp = 71.5;
            p.HighestTemp = 72.5;
            p.HighestTempTimeVal = clock.now();
            p.markChanged("CurrentTemp", "HighestTemp", "StateOrCount");
        }
    t = std::chrono::steady_clock::now();
    state.writeProgramSettings();
    state.writeAllDeviceFiles();
    const double saveChangedMs = msSince(t);

    markEveryKeyChanged(state);
    t = std::chrono::steady_clock::now();
    state.writeAllDeviceFiles();
    const double saveAllMs = msSince(t);

    markEveryKeyChanged(state);
    for (int d = 0; d < state.deviceCount(); ++d)
        state.deviceForUpdate(d)->LoggingEnabled = 0;
    t = std::chrono::steady_clock::now();
    state.writeAllDeviceFiles();
    const double saveAllQuietMs = msSince(t);

    std::printf("store benchmark: %d devices x %d probes\n", state.deviceCount(), kMaxProbes);
    std::printf("  load settings and every device file:   %8.1f ms\n", loadMs);
    std::fflush(stdout);
    QProcess child;
    child.setProcessChannelMode(QProcess::ForwardedChannels);
    child.start(QCoreApplication::applicationFilePath(), {"--memory", dir.path()});
    child.waitForFinished(-1);
    std::printf("  save, readings and extremes changed:   %8.1f ms (event lines written for every saved key)\n",
                saveChangedMs);
    std::printf("  save, every key of every device:       %8.1f ms (and %d event lines)\n", saveAllMs,
                state.deviceCount() * kMaxProbes * (31 + 83));
    std::printf("  the same with logging off:             %8.1f ms\n", saveAllQuietMs);
    return 0;
}
