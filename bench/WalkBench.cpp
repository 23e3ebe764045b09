// One full device walk over 256 simulated devices of 16 probes on loopback,
// beside a raw parallel fetch of the same 256 pages by curl, and the longest
// stall of the event loop while the walk runs.
#include "AppState.h"
#include "BenchSupport.h"
#include "CFormat.h"
#include "DeviceQueryClient.h"
#include "EventLog.h"
#include "HttpSession.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <vector>

using namespace cz;

namespace {

constexpr int kRuns = 7;

void addDevices(AppState &s, const QList<int> &ports)
{
    s.readProgramSettings();
    s.currentDateText = dateText(s.clock().now());
    for (int d = 0; d < ports.size(); ++d) {
        auto dev = newDeviceRecord(s.folder().root, "Sim " + QByteArray::number(d + 1), "Model R16", ports[d],
                                   kMaxProbes);
        resetRunState(*dev, d, s.folder().root);
        s.devices[std::size_t(d)] = std::move(dev);
    }
    s.deviceCount = int(ports.size());
}

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
    AppState state(DataFolder{QFile::encodeName(dir.path())}, SystemClock::instance(), log);
    addDevices(state, ports);
    HttpSession session;
    DeviceQueryClient client(state, session);

    // The event loop's longest gap between 1 ms ticks while a walk runs.
    QElapsedTimer sinceTick;
    qint64 longestGap = 0;
    QTimer ticker;
    ticker.setInterval(1);
    QObject::connect(&ticker, &QTimer::timeout, [&] {
        longestGap = std::max(longestGap, sinceTick.nsecsElapsed());
        sinceTick.restart();
    });

    std::vector<double> walks;
    std::vector<double> stalls;
    for (int run = 0; run < kRuns; ++run) {
        for (int d = 0; d < state.deviceCount; ++d)
            state.device(d)->QueryDue = 1;
        int result = -1;
        QMetaObject::Connection c = QObject::connect(&client, &DeviceQueryClient::walkFinished, [&](int r) { result = r; });
        QElapsedTimer timer;
        timer.start();
        longestGap = 0;
        sinceTick.start();
        ticker.start();
        client.QueryDevices(1);
        while (result < 0)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        walks.push_back(double(timer.nsecsElapsed()) / 1e6);
        ticker.stop();
        stalls.push_back(double(longestGap) / 1e6);
        QObject::disconnect(c);
        if (result != 1 || state.status() != "Status: monitoring devices...") {
            std::fprintf(stderr, "walk failed: %s\n", qPrintable(state.status()));
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

    const double walk = bench::median(walks), fetch = bench::median(raw);
    std::printf("walk, 256 devices x 16 probes (median of %d): %.1f ms\n", kRuns, walk);
    std::printf("curl --parallel --parallel-max 16, same 256 pages: %.1f ms\n", fetch);
    std::printf("walk / raw fetch: %.2f (target at most 2)\n", walk / fetch);
    std::printf("longest event-loop stall during a walk: %.1f ms (median of runs), %.1f ms (worst run); target under 20 ms\n",
                bench::median(stalls), *std::max_element(stalls.begin(), stalls.end()));
    return 0;
}
