// The device charts (offscreen platform, a 1000 x 700 page): redraws of a
// 16-probe month and hour, zoom and slider steps, the event-loop cost of a
// whole cycle's samples with 256 devices, the memory the pages add to full
// histories, and refilling the histories from 30 days of data files.
#include "alerts/SoundPlayer.h"
#include "app/Engine.h"
#include "bench/BenchSupport.h"
#include "monitor/HistoryLoader.h"
#include "monitor/QueryCycle.h"
#include "store/DeviceStore.h"
#include "tests/support/ManualClock.h"
#include "ui/chart/ChartPage.h"
#include "ui/MessageBoxPrompter.h"
#include "ui/Prompter.h"
#include "ui/widgets/DialogFileChooser.h"
#include "ui/widgets/FileChooser.h"
#include "ui/WindowContext.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QSlider>
#include <QTabWidget>
#include <QTemporaryDir>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

using namespace cz;

namespace {

class Silence final : public SoundPlayer {
public:
    void play(const QByteArray &) override {}
};

constexpr int kInterval = 30;
constexpr std::int64_t kStart = 1794661509;

double timeMs(const std::function<void()> &work)
{
    QElapsedTimer t;
    t.start();
    work();
    return double(t.nsecsElapsed()) / 1e6;
}

} // namespace

int main(int argc, char **argv)
{
    ::setenv("QT_QPA_PLATFORM", "offscreen", 0);
    QApplication qt(argc, argv);
    std::setlocale(LC_NUMERIC, "C");
    QTemporaryDir dir;
    const DataFolder folder{QFile::encodeName(dir.path())};
    QList<int> ports;
    for (int d = 0; d < kMaxDevices; ++d)
        ports.append(1);
    bench::writeDataFolder(folder, ports);

    ManualClock clock(kStart);
    Silence sound;
    CommandLine cl;
    cl.dataDir = dir.path();
    Engine engine(cl, QCoreApplication::applicationDirPath(), clock, sound);
    engine.startUp();
    DeviceStore &store = engine.store();
    for (int slot = 0; slot < store.deviceCount(); ++slot)
        store.deviceForUpdate(slot)->QueryInterval = kInterval;

    // --- Refilling the histories from the data files ----------------------
    const int loadDevices = std::clamp(qEnvironmentVariableIntValue("CHART_LOAD_DEVICES"), 0, kMaxDevices);
    const int devicesToLoad = loadDevices > 0 ? loadDevices : 16;
    const double writeMs = timeMs([&] {
        bench::writeDataFiles(store, devicesToLoad, kStart, kInterval, 30, [](int, int probe, std::int64_t t) {
            return QByteArray::number(60.0 + double((t / kInterval + probe) % 200) / 10.0, 'f', 1);
        });
    });
    std::printf("data files: %d devices x 16 probes x 30 days at 30 s written in %.0f ms\n", devicesToLoad, writeMs);
    {
        for (int slot = devicesToLoad; slot < store.deviceCount(); ++slot)
            store.deviceForUpdate(slot)->LoggingEnabled = 0;
        HistoryLoader loader(store);
        bench::StallMeter stalls;
        bool done = false;
        QObject::connect(&loader, &HistoryLoader::finished, [&] { done = true; });
        QElapsedTimer t;
        t.start();
        stalls.start();
        loader.start(double(kStart));
        const double startMs = double(t.nsecsElapsed()) / 1e6;
        while (!done)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
        stalls.stop();
        std::printf("history load: %d devices in %.0f ms (%.0f ms per device on %d threads); start() returned in "
                    "%.2f ms, longest event-loop stall %.1f ms\n",
                    devicesToLoad, double(t.elapsed()), double(t.elapsed()) / devicesToLoad,
                    QThread::idealThreadCount(), startMs, stalls.longestMs());
        for (int slot = 0; slot < store.deviceCount(); ++slot)
            store.deviceForUpdate(slot)->LoggingEnabled = 1;
    }

    // --- Full histories ------------------------------------------------------
    for (int slot = 0; slot < store.deviceCount(); ++slot) {
        DeviceRecord &d = *store.deviceForUpdate(slot);
        d.Times.clear();
        for (int i = 0; i < d.probeSlots(); ++i)
            d.probe(i)->Values.clear();
        d.NextSampleTime = double(kStart - std::int64_t(kInterval) * 86400);
        for (int k = 0; k < 86400; ++k) {
            for (int i = 0; i < d.probeSlots(); ++i)
                d.probe(i)->CurrentTemp = 55 + i + 10 * std::sin((k + slot) / 300.0);
            appendHistorySample(d, true, d.NextSampleTime);
        }
    }
    std::size_t historyBytes = 0;
    for (int slot = 0; slot < store.deviceCount(); ++slot) {
        const DeviceRecord &d = *store.device(slot);
        historyBytes += d.Times.allocatedBytes();
        for (int i = 0; i < d.probeSlots(); ++i)
            historyBytes += d.probe(i)->Values.allocatedBytes();
    }
    const long histories = long(historyBytes / 1024);
    const long beforePages = bench::residentKiB();

    MessageBoxPrompter prompter;
    DialogFileChooser files;
    WindowContext context{store, prompter, files, engine.alerts().emailQueue(), engine.alerts().dialer(), sound,
                          engine.session(), [](const QByteArray &) { return 0; }};
    QTabWidget tabs;
    tabs.resize(1000, 700);
    std::vector<ChartPage *> pages;
    for (int slot = 0; slot < store.deviceCount(); ++slot) {
        pages.push_back(new ChartPage(context, *store.device(slot), &tabs));
        tabs.addTab(pages.back(), QString::number(slot));
    }
    tabs.show();
    ChartPage &page = *pages[0];
    page.activate();
    QApplication::processEvents();

    auto medianOf = [](int runs, const std::function<void()> &work) {
        std::vector<double> v;
        for (int r = 0; r < runs; ++r)
            v.push_back(timeMs(work));
        return bench::median(v);
    };
    page.selectTimeSpan(7);  // 30 days
    const double month = medianOf(21, [&] { page.draw(); });
    const long pagesKiB = bench::residentKiB() - beforePages;
    std::printf("redraw, 16 probes x 86,400 samples (30 days): median %.2f ms (target < 16)\n", month);
    page.selectTimeSpan(4);
    const double hour = medianOf(21, [&] { page.draw(); });
    std::printf("redraw, 16 probes, 1 hour: median %.2f ms (target < 4)\n", hour);
    page.selectTimeSpan(0);
    const double minutes = medianOf(21, [&] { page.draw(); });
    std::printf("redraw, 16 probes, 5 minutes: median %.2f ms (target < 16)\n", minutes);
    page.selectTimeSpan(5);
    const double zoom = medianOf(21, [&] {
        page.zoomTo(ViewPort{0.25, 0.1, 0.5, 0.8}, false);
        page.resetChart();
    }) / 2;
    const double slide = medianOf(21, [&] {
        auto &slider = *page.findChild<QSlider *>();
        slider.setValue(slider.value() - 1);
    });
    std::printf("zoom step (24 hours at 30 s): median %.2f ms; slider step: median %.2f ms (target < 16)\n", zoom,
                slide);

    page.selectTimeSpan(4);  // 1 hour
    page.activate();
    std::vector<double> cycles;
    for (int run = 0; run < 11; ++run) {
        clock.advance(kInterval);
        for (int slot = 0; slot < store.deviceCount(); ++slot)
            appendHistorySample(*store.deviceForUpdate(slot), true, double(clock.nowMs()) / 1000.0);
        double hidden = 0, shown = 0, loop = 0;
        cycles.push_back(timeMs([&] {
            hidden = timeMs([&] {
                for (std::size_t k = 1; k < pages.size(); ++k)
                    pages[k]->appendSample();
            });
            shown = timeMs([&] { pages[0]->appendSample(); });
            loop = timeMs([&] { QApplication::processEvents(); });
        }));
        if (getenv("CHART_DETAIL"))
            std::printf("  hidden %.2f shown %.2f loop %.2f\n", hidden, shown, loop);
    }
    std::printf("a cycle's samples to 256 pages, one on screen (1 hour): median %.2f ms (target < 2)\n",
                bench::median(cycles));
    std::printf("memory: full histories of 256 x 16 probes %ld MiB; 256 chart pages, one drawn over 30 days, add "
                "%ld MiB resident (target under 150 MiB: the pages keep no copy of the histories)\n",
                histories / 1024, pagesKiB / 1024);
    return 0;
}
