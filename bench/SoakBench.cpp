// Ten minutes of real time monitoring 256 simulated devices of 16 probes,
// each queried every 5 s, while a quarter of them misbehave in every way a
// device can (refused, silent, trickling, 4 s late, garbage, HTTP 500, reset
// connections, NUL bytes, 5 MB replies). Reports how late the healthy
// devices' data lines came at worst, the longest stall of the event loop,
// and how resident memory grew after the first minute.
// SOAK_SECONDS sets the length (600).
#include "bench/BenchSupport.h"
#include "monitor/AlarmEvaluation.h"
#include "monitor/AlertActions.h"
#include "monitor/QueryCycle.h"
#include "net/HttpSession.h"
#include "store/CFormat.h"
#include "store/DeviceStore.h"
#include "store/LogFiles.h"
#include "store/SystemClock.h"
#include "tests/support/QuietActions.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <vector>

using namespace cz;

namespace {

constexpr int kDevices = 256;
constexpr int kProbes = 16;
constexpr int kInterval = 5;
// One device in four misbehaves, each in one of these ways.
const char *const kFaults[] = {"refuse", "hang", "trickle", "slow", "garbage", "http500", "reset", "nul", "huge"};

bool misbehaves(int device)
{
    return device % 4 == 3;
}

QByteArray simulatorConfig()
{
    QJsonArray devices;
    for (int d = 0; d < kDevices; ++d) {
        QJsonArray probes;
        for (int i = 0; i < kProbes; ++i)
            probes.append(QJsonObject{{"name", QStringLiteral("Probe %1").arg(i + 1)},
                                      {"scenario", QJsonObject{{"kind", "sine"}, {"value", 65}, {"amplitude", 10},
                                                               {"period", 120 + i}}}});
        QJsonObject device{{"model", "Model R16"}, {"name", QStringLiteral("Device %1").arg(d + 1)}, {"probes", probes}};
        if (misbehaves(d)) {
            const char *fault = kFaults[(d / 4) % std::size(kFaults)];
            device["fault"] = fault;
            device["faultMs"] = QByteArray(fault) == "slow" ? 4000 : 2000;
        }
        devices.append(device);
    }
    return QJsonDocument(QJsonObject{{"devices", devices}}).toJson(QJsonDocument::Compact);
}

} // namespace

int main(int argc, char **argv)
{
    std::setlocale(LC_NUMERIC, "C");
    QCoreApplication app(argc, argv);
    const int seconds = std::max(70, qEnvironmentVariableIntValue("SOAK_SECONDS") ?: 600);

    QTemporaryDir dir;
    QFile config(dir.filePath("devices.json"));
    config.open(QIODevice::WriteOnly);
    config.write(simulatorConfig());
    config.close();
    QProcess simulator;
    const QList<int> ports = bench::startSimulator(simulator, {"--config", config.fileName()});
    if (ports.size() != kDevices)
        return 1;
    const DataFolder folder{QFile::encodeName(dir.filePath("data"))};
    bench::writeDataFolder(folder, ports);

    EventLog log(SystemClock::instance());
    ProgramStatus status;
    DeviceStore store(folder, SystemClock::instance(), log, status);
    store.readProgramSettings();
    for (int slot = 0; slot < store.deviceCount(); ++slot) {
        DeviceRecord &d = *store.deviceForUpdate(slot);
        d.QueryInterval = kInterval;
        d.LogQueryFailures = 1;
    }
    store.currentDateText = dateText(SystemClock::instance().now());
    HttpSession session;
    test::NoAlertActions actions;
    AlarmEvaluation evaluation(actions);
    QueryCycle cycle(store, session);
    cycle.setEvaluation(&evaluation);

    // When each healthy device's data lines were written.
    QElapsedTimer clock;
    clock.start();
    std::vector<qint64> lastApplied(kDevices, -1);
    qint64 worstLatenessMs = 0;
    int worstDevice = -1;
    long healthyReplies = 0, failedQueries = 0;
    QObject::connect(&cycle, &QueryCycle::replyApplied, [&](int slot) {
        if (misbehaves(slot))
            return;
        const qint64 now = clock.elapsed();
        if (lastApplied[std::size_t(slot)] >= 0) {
            const qint64 late = now - lastApplied[std::size_t(slot)] - kInterval * 1000;
            if (late > worstLatenessMs)
                worstLatenessMs = late, worstDevice = slot;
        }
        lastApplied[std::size_t(slot)] = now;
        ++healthyReplies;
    });
    QObject::connect(&cycle, &QueryCycle::queryFinished, [&](int slot, int result) {
        failedQueries += !misbehaves(slot) && result == 0 ? 1 : 0;
    });

    bench::StallMeter firstCycleStalls;
    firstCycleStalls.start();
    cycle.start();
    while (clock.elapsed() < 4000)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    firstCycleStalls.stop();
    const double firstStall = firstCycleStalls.longestMs();

    bench::StallMeter stalls;
    stalls.start();
    long residentAfterMinute = 0;
    while (clock.elapsed() < qint64(seconds) * 1000) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
        if (!residentAfterMinute && clock.elapsed() >= 60000)
            residentAfterMinute = bench::residentKiB();
    }
    stalls.stop();
    cycle.stop();
    const long residentAtEnd = bench::residentKiB();
    simulator.kill();
    simulator.waitForFinished();

    // Every healthy device's data file, one line per answered query.
    long csvLines = 0;
    for (int slot = 0; slot < store.deviceCount(); ++slot) {
        if (misbehaves(slot))
            continue;
        QFile csv(QFile::decodeName(store.device(slot)->probe(0)->DataLogFile.bytes()));
        csv.open(QIODevice::ReadOnly);
        csvLines += csv.readAll().count("\r\n");
    }
    const int healthy = kDevices - kDevices / 4;
    std::printf("soak: %d devices x %d probes every %d s for %d s of real time, %d of them misbehaving\n", kDevices,
                kProbes, kInterval, seconds, kDevices / 4);
    std::printf("  healthy devices: %ld replies applied (%.1f per device; %d expected), %ld failed queries, "
                "%ld data lines of probe 1\n",
                healthyReplies, double(healthyReplies) / healthy, seconds / kInterval, failedQueries, csvLines);
    std::printf("  worst lateness of a healthy device's data line after its 5 s interval: %lld ms (device %d; "
                "target under 1500 ms)\n",
                static_cast<long long>(worstLatenessMs), worstDevice + 1);
    std::printf("  longest event-loop stall: first cycle %.1f ms, afterwards %.1f ms (target under 20 ms)\n",
                firstStall, stalls.longestMs());
    std::printf("  resident memory after the first minute %.1f MB, at the end %.1f MB: %+.1f %% (target under 5 %%)\n",
                residentAfterMinute / 1024.0, residentAtEnd / 1024.0,
                100.0 * double(residentAtEnd - residentAfterMinute) / double(residentAfterMinute));
    return 0;
}
