// Ten minutes of monitoring 256 devices of 16 probes, each queried every
// 5 s over loopback HTTP, with the clock moved by hand one second per tick
// so the run takes as long as the work does. It crosses midnight, so the
// daily log rollover is part of it. Reports the CPU time of a query cycle
// (tick, walk, replies, alarm evaluation, logs and history samples), the
// resident memory at start, and what completely full histories take.
#include "bench/BenchSupport.h"
#include "monitor/AlarmEvaluation.h"
#include "monitor/AlertActions.h"
#include "monitor/QueryCycle.h"
#include "net/HttpSession.h"
#include "store/CFormat.h"
#include "store/DeviceStore.h"
#include "store/LogFiles.h"
#include "tests/support/ManualClock.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <vector>

using namespace cz;

namespace {

constexpr int kDevices = 256;
constexpr int kInterval = 5;
constexpr int kSimulatedSeconds = 600;

class CountingActions final : public AlertActions {
public:
    void playSound(DeviceStore &, const QByteArray &) override { ++count; }
    void sendAlarmEmail(DeviceStore &, int, int, double) override { ++count; }
    void triggerVoiceDialer(DeviceStore &, int, int) override { ++count; }
    void runAlertProgram(DeviceStore &, int, int, const QByteArray &) override { ++count; }
    int count = 0;
};

std::size_t historyBytes(const DeviceStore &state)
{
    std::size_t bytes = 0;
    for (int slot = 0; slot < state.deviceCount(); ++slot) {
        const DeviceRecord *d = state.device(slot);
        bytes += d->Times.allocatedBytes();
        for (int i = 0; i < d->probeSlots(); ++i)
            if (const ProbeRecord *p = d->probe(i))
                bytes += p->Values.allocatedBytes();
    }
    return bytes;
}

void fillHistories(DeviceStore &state)
{
    for (int slot = 0; slot < state.deviceCount(); ++slot) {
        DeviceRecord *d = state.deviceForUpdate(slot);
        for (int k = 0; k < TimeHistory::kLength; ++k)
            d->Times.append(double(k));
        for (int i = 0; i < d->probeSlots(); ++i)
            if (ProbeRecord *p = d->probe(i))
                for (int k = 0; k < ValueHistory::kLength; ++k)
                    p->Values.append(70.5);
    }
}

double mb(double bytes)
{
    return bytes / 1e6;
}

} // namespace

int main(int argc, char **argv)
{
    std::setlocale(LC_NUMERIC, "C");
    QCoreApplication app(argc, argv);

    const long residentBeforeLoad = bench::residentKiB();
    QProcess simulator;
    const QList<int> ports =
        bench::startSimulator(simulator, {"--generate", QString::number(kDevices), "--probes", "16", "--model",
                                          "Model R16"});
    if (ports.size() != kDevices)
        return 1;
    QTemporaryDir dir;
    const DataFolder folder{QFile::encodeName(dir.path())};
    bench::writeDataFolder(folder, ports);

    ManualClock clock(QDateTime(QDate(2026, 11, 22), QTime(23, 55)).toSecsSinceEpoch());
    EventLog log(clock);
    ProgramStatus status;
    DeviceStore state(folder, clock, log, status);
    state.readProgramSettings();
    for (int slot = 0; slot < state.deviceCount(); ++slot)
        state.deviceForUpdate(slot)->QueryInterval = kInterval;
    state.currentDateText = dateText(clock.now());
    HttpSession session;
    CountingActions actions;
    AlarmEvaluation evaluation(actions);
    int events = 0;
    QObject::connect(&evaluation, &AlarmEvaluation::eventLogged, [&](int, int, const QByteArray &) { ++events; });
    QueryCycle cycle(state, session);
    cycle.setEvaluation(&evaluation);
    int answered = 0, failed = 0;
    QObject::connect(&cycle, &QueryCycle::queryFinished, [&](int, int result) { ++(result == 1 ? answered : failed); });
    const long residentAtStart = bench::residentKiB();
    const std::size_t historyAtStart = historyBytes(state);

    std::vector<double> cycleCpu, cycleWall;
    double firstCpu = -1, rolloverCpu = 0;
    const double runCpuStart = bench::processCpuMs();
    for (int second = 0; second < kSimulatedSeconds; ++second) {
        const double cpu = bench::processCpuMs();
        QElapsedTimer wall;
        wall.start();
        const QByteArray day = state.currentDateText;
        cycle.tick();
        if (cycle.queriesInFlight() == 0) {
            clock.advance(1);
            continue;
        }
        while (cycle.queriesInFlight() > 0)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        QCoreApplication::processEvents();
        // The first cycle creates every log and data file, and the one after
        // midnight moves yesterday's away and creates them again: both are
        // reported apart.
        if (firstCpu < 0)
            firstCpu = bench::processCpuMs() - cpu;
        else if (state.currentDateText != day)
            rolloverCpu = bench::processCpuMs() - cpu;
        else
            cycleCpu.push_back(bench::processCpuMs() - cpu), cycleWall.push_back(double(wall.nsecsElapsed()) / 1e6);
        clock.advance(1);
    }
    const double runCpu = bench::processCpuMs() - runCpuStart - rolloverCpu - firstCpu;
    const long residentAfterRun = bench::residentKiB();
    const std::size_t historyAfterRun = historyBytes(state);
    simulator.kill();
    simulator.waitForFinished();
    const int cycles = kSimulatedSeconds / kInterval;
    if (failed > 0 || answered != cycles * kDevices) {
        std::fprintf(stderr, "%d queries answered, %d failed (%s)\n", answered, failed, qPrintable(status.text()));
        return 1;
    }

    std::printf("query cycles: %d devices x 16 probes every %d s, %d simulated seconds, %d cycles\n", kDevices,
                kInterval, kSimulatedSeconds, cycles);
    std::printf("  per cycle: %d CSV lines, %.0f alarm-event log lines; %d alert actions in all\n", kDevices * 16,
                events / double(cycles), actions.count);
    std::printf("  CPU per cycle: %.1f ms mean, %.1f ms median, %.1f ms worst (target under 50 ms)\n",
                runCpu / double(cycleCpu.size()), bench::median(cycleCpu), *std::max_element(cycleCpu.begin(), cycleCpu.end()));
    std::printf("  wall time per cycle: %.1f ms median\n", bench::median(cycleWall));
    std::printf("  the first cycle, which creates %d files: %.1f ms CPU\n", 2 * kDevices * 16, firstCpu);
    std::printf("  the cycle after midnight, which also moves them into the day's folders: %.1f ms CPU\n",
                rolloverCpu);
    std::printf("  resident memory at start: %.1f MB (%.1f MB before the data folder was written; target under 150 MB)\n",
                residentAtStart / 1024.0, residentBeforeLoad / 1024.0);
    std::printf("  history storage at start: %zu bytes; after the run: %.1f MB; resident then: %.1f MB\n",
                historyAtStart, mb(double(historyAfterRun)), residentAfterRun / 1024.0);
    std::fflush(stdout);

    fillHistories(state);
    const std::size_t historyFull = historyBytes(state);
    const long residentFull = bench::residentKiB();
    std::printf("  completely full histories of a steady reading (86,400 samples x %d probes and %d time "
                "histories; bench_history fills them as sensors would): %.1f MB; resident then: %.1f MB\n",
                kDevices * 16, kDevices, mb(double(historyFull)), residentFull / 1024.0);
    return 0;
}
