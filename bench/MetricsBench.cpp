// The metrics page of a full program (256 devices of 16 probes): what
// building it holds up the event loop, its size, and a whole scrape over
// loopback.
#include "bench/BenchSupport.h"
#include "monitor/MetricsExposition.h"
#include "monitor/QueryCycle.h"
#include "net/HttpSession.h"
#include "net/MetricsServer.h"
#include "store/Records.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QNetworkAccessManager>
#include <QNetworkReply>

#include <clocale>
#include <cstdio>
#include <vector>

using namespace cz;

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    std::setlocale(LC_NUMERIC, "C");
    bench::FolderStore folder(256);
    DeviceStore &store = folder.store;
    for (int slot = 0; slot < store.deviceCount(); ++slot)
        for (int i = 0; i < 16; ++i)
            store.deviceForUpdate(slot)->probe(i)->CurrentTemp = 45.25 + (slot + i) % 30;
    HttpSession session;
    QueryCycle cycle(store, session);
    ProgramMetrics program;
    program.version = "1.41";

    std::vector<double> build;
    qsizetype bytes = 0;
    for (int run = 0; run < 21; ++run) {
        QElapsedTimer t;
        t.start();
        bytes = metricsExposition(store, cycle, program).size();
        build.push_back(double(t.nsecsElapsed()) / 1e6);
    }
    std::printf("metrics page of %d devices, %d probes: %.0f KiB, built in median %.2f ms (target < 25)\n",
                store.deviceCount(), store.deviceCount() * 16, double(bytes) / 1024, bench::median(build));

    MetricsServer server([&] { return metricsExposition(store, cycle, program); });
    QString error;
    if (!server.listen({QHostAddress(QHostAddress::LocalHost), 0}, &error)) {
        std::fprintf(stderr, "%s\n", qPrintable(error));
        return 1;
    }
    QNetworkAccessManager manager;
    std::vector<double> scrape;
    for (int run = 0; run < 11; ++run) {
        QElapsedTimer t;
        t.start();
        QNetworkReply *reply = manager.get(QNetworkRequest(QUrl(server.url())));
        while (!reply->isFinished())
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 100);
        scrape.push_back(double(t.nsecsElapsed()) / 1e6);
        reply->deleteLater();
    }
    std::printf("whole scrape over loopback: median %.2f ms\n", bench::median(scrape));
    return 0;
}
