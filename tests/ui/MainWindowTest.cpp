// The main window on the engine: the close question and the saving close,
// and pictures of the window with the demo devices.
#include "alerts/SoundPlayer.h"
#include "tests/ui/ScriptedPrompter.h"
#include "tests/ui/WindowFixture.h"
#include "monitor/HistoryLoader.h"
#include "tools/devsim/DemoHistory.h"
#include "tools/devsim/SimDevice.h"
#include "ui/chart/ChartPage.h"
#include "ui/chart/ChartPlot.h"
#include "ui/list/DeviceListPage.h"
#include "ui/list/ProbeCells.h"
#include "ui/list/ProbeListView.h"
#include "ui/list/ProbeTableModel.h"
#include "ui/SplashWindow.h"

#include <QCoreApplication>
#include <QDir>
#include <QLabel>
#include <QTabWidget>

#include <gtest/gtest.h>

using namespace cz;
using namespace cz::test;

namespace {

// Seconds since 1970 when the demo's door stands open and its rack intake
// swings above 80 °F, whatever the time zone.
constexpr double kDoorOpenMoment = 1794612360;

} // namespace

TEST(MainWindow, ShowsEveryDeviceAndItsProbesLive)
{
    WindowFixture f;
    MainWindow &sheet = *f.sheet;
    ASSERT_EQ(pageTabs(sheet).count(), 5);
    EXPECT_EQ(pageTabs(sheet).tabText(0), "Device List");
    EXPECT_EQ(pageTabs(sheet).tabText(1), "Server Room");
    EXPECT_EQ(sheet.minimumSize(), QSize(764, 674));
    sheet.placeCentred();
    sheet.show();

    // A moment when Rack A Intake is at the top of its swing (caution) and
    // the door is open (a switch alarm); the rest normal.
    f.sim.freezeTime(kDoorOpenMoment);
    f.tick();
    f.clock.advance(5);
    f.tick();
    EXPECT_EQ(control<QLabel>(sheet, "statusLine").text(), "Status: monitoring devices...");
    ProbeTableModel &model = deviceListPage(sheet).model();
    QStringList states;
    for (int row = 0; row < model.rowCount(); ++row)
        states << model.index(row, model.columnOfKind(ColumnKind::AlarmStateKind)).data().toString();
    EXPECT_TRUE(states.contains("Alarm High"));
    EXPECT_TRUE(states.contains("Caution High"));
    EXPECT_TRUE(states.contains("Normal"));
    f.picture(sheet, "main-window.png");
    pageTabs(sheet).setCurrentIndex(1);
    f.picture(sheet, "device-page.png");
    SplashWindow splash;
    f.picture(splash, "splash.png");
}

TEST(MainWindow, ClosingAsksThenSavesAndLogsTheShutdown)
{
    WindowFixture f;
    MainWindow &sheet = *f.sheet;
    sheet.show();
    f.prompter.answers = {false};
    EXPECT_FALSE(sheet.close());
    EXPECT_EQ(f.prompter.questions, QStringList{"Close the program and stop monitoring devices?"});
    EXPECT_EQ(f.engine->status().ShuttingDown, 0);

    f.sim.freezeTime(kDoorOpenMoment);
    f.tick();
    f.prompter.answers = {true};
    EXPECT_TRUE(sheet.close());
    EXPECT_EQ(f.engine->status().ShuttingDown, 1);
    EXPECT_EQ(control<QLabel>(sheet, "statusLine").text(), "Status: shutting down...");
    const DeviceRecord &d = *f.engine->store().device(0);
    const QByteArray log = readFile(d.probe(0)->LogFile.bytes());
    EXPECT_TRUE(log.endsWith("Corvanta Zephtra program shutting down.\r\n")) << log.constData();
    // The extremes of the run are in the device file.
    const QByteArray file = readFile(f.engine->store().folder().deviceFile("Server Room"));
    const QByteArray reading = f.sim.device(0).valueText(f.sim.device(0).probes[0], kDoorOpenMoment);
    EXPECT_TRUE(file.contains("HighestTemp=" + reading + "0\r\n")) << reading.constData() << file.constData();
}

TEST(MainWindow, TheDemoChartsShowADayAtOnce)
{
    WindowFixture f;
    QList<devsim::SimDevice> devices;
    QString error;
    ASSERT_TRUE(devsim::loadSimConfig(QStringLiteral(CZ_SOURCE_DIR "/tools/devsim/demo.json"), devices, error));
    PastDataReport report;
    ASSERT_EQ(devsim::writeDemoHistory(f.dir.path(), devices, f.clock.now(), 24, error, report), 4) << qPrintable(error);
    MainWindow &sheet = *f.sheet;
    sheet.placeCentred();
    sheet.show();
    HistoryLoader history(f.store());
    bool done = false;
    QObject::connect(&history, &HistoryLoader::deviceLoaded, &sheet, [&sheet](int slot) {
        if (ChartPage *page = sheet.devicePage(slot))
            page->appendSample();
    });
    QObject::connect(&history, &HistoryLoader::finished, [&] { done = true; });
    history.start(double(f.clock.now()));
    ASSERT_TRUE(waitUntil([&] { return done; }));

    pageTabs(sheet).setCurrentIndex(1);
    ChartPage &page = *sheet.devicePage(0);
    QComboBox &span = list(page, "Chart Time Span:");
    choose(span, span.findText("24 hours"));
    QCoreApplication::processEvents();
    int drawn = 0;
    for (const QCPGraphData &point : *page.findChild<ChartPlot *>()->seriesGraph(0)->data())
        drawn += std::isnan(point.value) ? 0 : 1;
    EXPECT_GT(drawn, 500) << "a whole day of the rack intake";
    f.picture(sheet, "demo-24-hours.png");
}
