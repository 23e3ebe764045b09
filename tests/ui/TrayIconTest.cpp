// The tray icon: what its picture and tooltip say of the site, and what its
// menu does with the window.
#include "monitor/AlarmEvaluation.h"
#include "store/DeviceStore.h"
#include "tests/support/QuietActions.h"
#include "tests/ui/SessionBus.h"
#include "tests/ui/WindowFixture.h"
#include "ui/desktop/DesktopPresence.h"
#include "ui/list/DeviceListPage.h"
#include "ui/list/ProbeStatusWindows.h"
#include "ui/widgets/ColorSwatch.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QTabWidget>
#include <QTest>
#include <QVBoxLayout>

#include <gtest/gtest.h>

using namespace cz;
using namespace cz::test;

namespace {

QImage imageOf(const SiteSummary &s, const ProgramSettings &settings)
{
    return trayPicture(s, settings, 32).toImage();
}

// A notification as a desktop's notification server draws one: the
// program's picture, the summary in bold and the body.
void notificationPicture(const NotificationService::Shown &n, const QPixmap &icon, WindowFixture &f,
                         const QString &name)
{
    QFrame bubble;
    bubble.setFrameShape(QFrame::Box);
    bubble.setStyleSheet(QStringLiteral("QFrame { background: #2b2b2b; color: white; }"));
    auto *row = new QHBoxLayout(&bubble);
    auto *picture = new QLabel(&bubble);
    picture->setPixmap(icon);
    row->addWidget(picture, 0, Qt::AlignTop);
    auto *text = new QVBoxLayout;
    auto *summary = new QLabel(QStringLiteral("<b>%1</b>").arg(n.summary.toHtmlEscaped()), &bubble);
    text->addWidget(summary);
    text->addWidget(new QLabel(n.body, &bubble));
    text->addWidget(new QLabel(QStringLiteral("Corvanta Zephtra"), &bubble));
    row->addLayout(text, 1);
    bubble.resize(380, 96);
    f.picture(bubble, name);
}

} // namespace

TEST(TrayIcon, ItsPictureAndTooltipShowTheWorstOfAllEnabledProbes)
{
    WindowFixture f;
    DeviceStore &store = f.store();
    for (int slot = 0; slot < store.deviceCount(); ++slot)
        for (int i = 0; i < store.device(slot)->probeSlots(); ++i)
            store.deviceForUpdate(slot)->probe(i)->AlarmState = AlarmState::Normal;
    TrayIcon tray(store);
    tray.refresh();
    EXPECT_EQ(tray.summary().worst, SiteSummary::Worst::Normal);
    EXPECT_EQ(tray.toolTip(), "Corvanta Zephtra\nAll probes normal");
    const QImage normal = imageOf(tray.summary(), store.settings);

    NoAlertActions actions;
    AlarmEvaluation evaluation(actions);
    // Rack A Intake: caution at 80; Rack B Intake: alarm at 85.
    evaluation.evaluateProbeValue(store, 0, 0, "82.0", f.clock.now(), 1);
    tray.refresh();
    EXPECT_EQ(tray.summary().worst, SiteSummary::Worst::Caution);
    EXPECT_EQ(tray.toolTip(), "Corvanta Zephtra\n1 probe in caution");
    const QImage caution = imageOf(tray.summary(), store.settings);

    DeviceRecord &greenhouse = *store.deviceForUpdate(2);
    greenhouse.QueryFailureCount = greenhouse.QueryFailThreshold;
    tray.refresh();
    EXPECT_EQ(tray.summary().worst, SiteSummary::Worst::NotAnswering);
    EXPECT_EQ(tray.toolTip(), "Corvanta Zephtra\n1 probe in caution; 1 device not answering");
    const QImage silent = imageOf(tray.summary(), store.settings);

    for (int i = 0; i < 2; ++i)
        evaluation.evaluateProbeValue(store, 0, 2, "90.0", f.clock.now(), 1);
    // A disabled probe in alarm counts for nothing.
    store.deviceForUpdate(1)->probe(0)->ProbeEnabled = 0;
    store.deviceForUpdate(1)->probe(0)->AlarmState = AlarmState::HighAlarm;
    tray.refresh();
    EXPECT_EQ(tray.summary().worst, SiteSummary::Worst::Alarm);
    EXPECT_EQ(tray.toolTip(), "Corvanta Zephtra\n1 probe in alarm, 1 in caution; 1 device not answering");
    const QImage alarm = imageOf(tray.summary(), store.settings);

    // Four different pictures, each in the program's own state colour.
    const QList<QImage> all{normal, caution, silent, alarm};
    for (int a = 0; a < all.size(); ++a)
        for (int b = a + 1; b < all.size(); ++b)
            EXPECT_NE(all[a], all[b]) << a << " and " << b;
    auto fillOf = [](const QImage &image) { return image.pixelColor(5, 16); };
    EXPECT_EQ(fillOf(normal), colorFromSetting(store.settings.NormalColor));
    EXPECT_EQ(fillOf(caution), colorFromSetting(store.settings.HighCautionColor));
    store.settings.HighAlarmColor = 0xFF0000;  // blue, as BGR
    EXPECT_EQ(imageOf(tray.summary(), store.settings).pixelColor(8, 16), QColor(Qt::blue));

    QWidget strip;
    auto *row = new QHBoxLayout(&strip);
    for (const QImage &image : all) {
        auto *l = new QLabel(&strip);
        l->setPixmap(QPixmap::fromImage(image.scaled(64, 64)));
        row->addWidget(l);
    }
    f.picture(strip, QStringLiteral("tray-states.png"));
}

TEST(TrayIcon, ItsMenuShowsTheWindowAndItsExitAsksTheCloseQuestion)
{
    WindowFixture f;
    PrivateSessionBus bus;
    DesktopPresence desktop(*f.sheet, f.store(), f.engine->queryCycle(), f.engine->evaluation(),
                            bus.connect(QStringLiteral("client")));
    MainWindow &window = *f.sheet;
    QMenu &menu = desktop.tray().menu();
    QStringList texts;
    for (QAction *a : menu.actions())
        if (!a->isSeparator())
            texts << a->text();
    EXPECT_EQ(texts, (QStringList{"Show Corvanta Zephtra", "Device List", "Exit"}));

    window.hide();
    pageTabs(window).setCurrentIndex(2);
    menu.actions()[0]->trigger();
    EXPECT_TRUE(window.isVisible());
    EXPECT_EQ(pageTabs(window).currentIndex(), 2);
    window.showMinimized();
    menu.actions()[1]->trigger();
    EXPECT_FALSE(window.isMinimized());
    EXPECT_EQ(pageTabs(window).currentIndex(), 0);

    f.prompter.answers = {false};
    menu.actions().last()->trigger();
    EXPECT_EQ(f.prompter.questions.last(), "Close the program and stop monitoring devices?");
    EXPECT_TRUE(window.isVisible()) << "answered No: monitoring goes on";

    menu.popup(QPoint(0, 0));
    EXPECT_TRUE(QTest::qWaitFor([&] { return menu.isVisible(); }, 2000));
    f.picture(menu, QStringLiteral("tray-menu.png"));
    menu.hide();
}

TEST(TrayIcon, AClickedNotificationOpensItsProbesStatusWindow)
{
    WindowFixture f;
    PrivateSessionBus bus;
    NotificationService service(bus.connect(QStringLiteral("service")));
    ASSERT_TRUE(service.registered());
    DesktopPresence desktop(*f.sheet, f.store(), f.engine->queryCycle(), f.engine->evaluation(),
                            bus.connect(QStringLiteral("client")));
    // Rack A Intake (alarm at 85 after two readings) reads 91.
    f.sim.device(0).probes[0].scenario = devsim::Scenario{};
    f.sim.device(0).probes[0].scenario.value = 91;
    for (int i = 0; i < 3; ++i) {
        f.clock.advance(5);
        f.tick();
    }
    ASSERT_TRUE(QTest::qWaitFor(
        [&] {
            for (const auto &c : service.calls)
                if (c.summary == "High Alarm: Rack A Intake on Server Room")
                    return true;
            return false;
        },
        10000));
    NotificationService::Shown alarm;
    for (const auto &c : service.calls)
        if (c.summary == "High Alarm: Rack A Intake on Server Room")
            alarm = c;
    EXPECT_EQ(alarm.body, "Reading 91.0 °F, threshold 85 °F");
    SiteSummary alarmSummary;
    alarmSummary.worst = SiteSummary::Worst::Alarm;
    alarmSummary.shownState = AlarmState::HighAlarm;
    notificationPicture(alarm, trayPicture(alarmSummary, f.store().settings, 48), f, QStringLiteral("notification.png"));

    ProbeStatusWindows &windows = deviceListPage(*f.sheet).statusWindows();
    ASSERT_EQ(windows.openCount(), 0);
    service.click(alarm.id);
    ASSERT_TRUE(QTest::qWaitFor([&] { return windows.openCount() == 1; }, 10000));
    EXPECT_EQ(windows.window(0)->windowTitle(), "Rack A Intake");
    EXPECT_TRUE(windows.window(0)->isVisible()) << "also while the main window is hidden";
    windows.closeAll();
}
