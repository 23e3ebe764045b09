// One query of every device, 256 simulated devices of 16 probes on
// loopback, beside a raw parallel fetch of the same 256 pages by curl, and
// the longest stall of the event loop meanwhile. The first cycle after
// start-up, which creates every probe's data file, is measured apart.
#include "bench/BenchSupport.h"
#include "monitor/QueryCycle.h"
#include "net/HttpSession.h"
#include "store/CFormat.h"
#include "store/DeviceStore.h"
#include "store/LogFiles.h"
#include "store/SystemClock.h"
#include "tests/support/ManualClock.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <vector>

using namespace cz;

namespace {

constexpr int kRuns = 7;

void addDevices(DeviceStore &s, const QList<int> &ports)
{
    s.readProgramSettings();
    s.currentDateText = dateText(s.clock().now());
    for (int d = 0; d < ports.size(); ++d) {
        auto dev = newDeviceRecord(s.folder().root, "Sim " + QByteArray::number(d + 1), "Model R16", ports[d],
                                   kMaxProbes);
        resetRunState(*dev, d, s.folder().root);
        dev->QueryInterval = 5;
        s.addDevice(std::move(dev));
    }
}

struct Cycle {
    double ms;
    double stallMs;
};

} // namespace

int main(int argc, char **argv)
{
    std::setlocale(LC_NUMERIC, "C");
    QCoreApplication app(argc, argv);

    QProcess simulator;
    const QList<int> ports =
        bench::startSimulator(simulator, {"--generate", "256", "--probes", "16", "--model", "Model R16"});
    if (ports.size() != 256)
        return 1;

    QTemporaryDir dir;
    EventLog log(SystemClock::instance());
    ManualClock clock(SystemClock::instance().now());
    ProgramStatus status;
    DeviceStore store(DataFolder{QFile::encodeName(dir.path())}, clock, log, status);
    addDevices(store, ports);
    HttpSession session;
    QueryCycle cycle(store, session);
    int finished = 0, answered = 0;
    QObject::connect(&cycle, &QueryCycle::queryFinished, [&](int, int result) {
        ++finished;
        answered += result;
    });

    bench::StallMeter stalls;
    auto runCycle = [&]() -> Cycle {
        finished = answered = 0;
        QElapsedTimer timer;
        timer.start();
        stalls.start();
        cycle.tick();
        while (finished < store.deviceCount())
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        const Cycle c{double(timer.nsecsElapsed()) / 1e6, stalls.longestMs()};
        stalls.stop();
        clock.advance(5);
        return c;
    };

    const Cycle first = runCycle();
    std::vector<double> times, stallTimes;
    for (int run = 0; run < kRuns; ++run) {
        const Cycle c = runCycle();
        times.push_back(c.ms);
        stallTimes.push_back(c.stallMs);
        if (answered != store.deviceCount() || status.text() != "Status: monitoring devices...") {
            std::fprintf(stderr, "cycle failed: %d answered, %s\n", answered, qPrintable(status.text()));
            return 1;
        }
    }

    // The same 256 pages fetched by curl, 16 at a time.
    QFile config(dir.filePath("curl.cfg"));
    config.open(QIODevice::WriteOnly);
    for (int port : ports)
        config.write("url = \"http://127.0.0.1:" + QByteArray::number(port) + "/temp\"\noutput = \"/dev/null\"\n");
    config.close();
    std::vector<double> raw;
    for (int run = 0; run < kRuns; ++run) {
        QProcess curl;
        QElapsedTimer timer;
        timer.start();
        curl.start("curl", {"--parallel", "--parallel-max", "16", "-s", "-K", config.fileName()});
        curl.waitForFinished(60000);
        raw.push_back(double(timer.nsecsElapsed()) / 1e6);
        if (curl.exitCode() != 0) {
            std::fprintf(stderr, "curl failed: %s\n", curl.readAllStandardError().constData());
            return 1;
        }
    }
    simulator.kill();
    simulator.waitForFinished();

    const double walk = bench::median(times), fetch = bench::median(raw);
    std::printf("first cycle after start-up (creates 4,096 data files): %.1f ms, longest event-loop stall %.1f ms "
                "(target under 20 ms)\n",
                first.ms, first.stallMs);
    std::printf("one query of all 256 devices x 16 probes (median of %d): %.1f ms\n", kRuns, walk);
    std::printf("curl --parallel --parallel-max 16, same 256 pages: %.1f ms\n", fetch);
    std::printf("queries / raw fetch: %.2f (target at most 2)\n", walk / fetch);
    std::printf("longest event-loop stall during a cycle: %.1f ms (median of runs), %.1f ms (worst run); target under "
                "20 ms\n",
                bench::median(stallTimes), *std::max_element(stallTimes.begin(), stallTimes.end()));
    return 0;
}
