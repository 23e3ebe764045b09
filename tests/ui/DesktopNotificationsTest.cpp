// Desktop notifications of alerts, sent over a session bus of the test's
// own to a notification service written here, as a desktop would get them.
#include "monitor/AlarmEvaluation.h"
#include "store/DeviceStore.h"
#include "tests/support/NetTestSupport.h"
#include "tests/support/QuietActions.h"
#include "tests/ui/SessionBus.h"
#include "ui/desktop/DesktopNotifier.h"

#include <QTest>

#include <gtest/gtest.h>

using namespace cz;
using namespace cz::test;

namespace {

// Three devices of four temperature probes (85/80/50/40, one reading in the
// band raises its alert), readings fed to the alarm evaluation, and its
// alerts told to the desktop.
struct DesktopFixture : DataFolderFixture {
    explicit DesktopFixture(bool withService = true)
        : service(withService ? bus.connect(QStringLiteral("service")) : QDBusConnection(QString())),
          evaluation(actions), notifier(store(), clock, bus.connect(QStringLiteral("client")))
    {
        store().readProgramSettings();
        for (const char *name : {"Server Room", "Lab", "Cold Store"}) {
            DeviceRecord &d = addDevice(store(), name, "Model R4", 80,
                                        {ProbeType::Temperature, ProbeType::Temperature, ProbeType::Temperature,
                                         ProbeType::Humidity});
            for (int i = 0; i < 4; ++i) {
                ProbeRecord &p = *d.probe(i);
                p.ConsecutiveAlarmThreshold = 1;
                p.HighAlarmTemp = 85, p.HighCautionTemp = 80, p.LowCautionTemp = 50, p.LowAlarmTemp = 40;
                p.HighAlarmHumidity = 90, p.HighCautionHumidity = 70, p.LowCautionHumidity = 20,
                p.LowAlarmHumidity = 10;
            }
        }
        QObject::connect(&evaluation, &AlarmEvaluation::alertRaised, &notifier, &DesktopNotifier::probeAlert);
    }
    // Device `slot`'s probe reads `text`; a second later by the clock.
    void read(int slot, int probe, const QByteArray &text)
    {
        clock.advance(1);
        DeviceRecord &d = *store().deviceForUpdate(slot);
        d.probe(probe)->CurrentValueText = text;  // as the reply sets it
        evaluation.evaluateProbeValue(store(), slot, probe, text, clock.now(), 1);
    }
    bool waitForCalls(int n)
    {
        return QTest::qWaitFor([&] { return int(service.calls.size()) >= n; }, 10000);
    }

    PrivateSessionBus bus;
    NotificationService service;
    NoAlertActions actions;
    AlarmEvaluation evaluation;
    DesktopNotifier notifier;
};

} // namespace

TEST(DesktopNotifications, EachAlertIsOneNotificationAndAClickAsksForItsProbe)
{
    DesktopFixture f;
    ASSERT_TRUE(f.bus.started());
    ASSERT_TRUE(f.service.registered());
    QList<std::pair<quint64, int>> opened;
    QObject::connect(&f.notifier, &DesktopNotifier::probeActivated,
                     [&](quint64 id, int probe) { opened.append({id, probe}); });

    f.read(0, 0, "70.0");
    f.read(0, 0, "90.5");
    f.read(1, 1, "82.0");
    f.read(2, 3, "75.0");
    f.read(0, 0, "71.2");
    ASSERT_TRUE(f.waitForCalls(4));
    const auto &c = f.service.calls;
    EXPECT_EQ(c[0].summary, "High Alarm: P1 on Server Room");
    EXPECT_EQ(c[0].body, "Reading 90.5 °F, threshold 85 °F");
    EXPECT_EQ(c[0].urgency, 2) << "alarms are critical";
    EXPECT_EQ(c[0].app, "Corvanta Zephtra");
    EXPECT_EQ(c[0].icon, "corvanta-zephtra");
    EXPECT_TRUE(c[0].actions.contains("default"));
    EXPECT_EQ(c[1].summary, "High Caution: P2 on Lab");
    EXPECT_EQ(c[1].urgency, 1);
    EXPECT_EQ(c[2].summary, "High Caution: P4 on Cold Store");
    EXPECT_EQ(c[2].body, "Reading 75.0 % RH, threshold 70 % RH");
    EXPECT_EQ(c[3].summary, "Clear: P1 on Server Room");
    EXPECT_EQ(c[3].body, "Reading 71.2 °F, back to normal");
    EXPECT_EQ(c[3].urgency, 1);
    QTest::qWait(100);
    EXPECT_EQ(f.service.calls.size(), 4) << "one notification for each alert";

    f.service.click(c[1].id);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !opened.isEmpty(); }, 10000));
    EXPECT_EQ(opened.first(), (std::pair<quint64, int>(f.store().device(1)->id, 1)));
}

TEST(DesktopNotifications, AStormBecomesOneSummaryThatFollowsIt)
{
    DesktopFixture f;
    ASSERT_TRUE(f.service.registered());
    // Twelve probes go into alarm within seconds.
    for (int slot = 0; slot < 3; ++slot)
        for (int probe = 0; probe < 3; ++probe)
            f.read(slot, probe, "95.0");
    for (int slot = 0; slot < 3; ++slot)
        f.read(slot, 3, "95");
    ASSERT_TRUE(QTest::qWaitFor(
        [&] {
            const auto screen = f.service.onScreen();
            return screen.size() == 1 && screen[0].summary == "12 probes in alarm on 3 devices";
        },
        10000))
        << qPrintable(f.service.calls.last().summary) << " " << f.service.onScreen().size();
    const NotificationService::Shown summary = f.service.onScreen().first();
    EXPECT_EQ(summary.urgency, 2);
    EXPECT_EQ(summary.body, "Server Room, Lab, Cold Store");
    // Five went out on their own before the storm took them in.
    EXPECT_EQ(f.service.calls.first().summary, "High Alarm: P1 on Server Room");
    int single = 0;
    for (const auto &c : f.service.calls)
        single += c.summary.startsWith("High Alarm: ") ? 1 : 0;
    EXPECT_EQ(single, DesktopNotifier::kStormCount);

    // More of the same storm updates the summary in place.
    f.read(0, 0, "70.0");
    f.read(1, 0, "82.0");
    ASSERT_TRUE(QTest::qWaitFor(
        [&] {
            const auto screen = f.service.onScreen();
            return screen.size() == 1 &&
                   screen[0].summary == "12 probes in alarm, 1 in caution, 1 cleared on 3 devices";
        },
        10000))
        << qPrintable(f.service.onScreen().value(0).summary);
    EXPECT_EQ(f.service.onScreen().first().id, summary.id);

    // Ten quiet seconds end the storm: the next alert is shown on its own.
    f.clock.advance(11);
    f.read(2, 0, "30.0");
    const int before = int(f.service.calls.size());
    ASSERT_TRUE(f.waitForCalls(before + 1));
    EXPECT_EQ(f.service.calls.last().summary, "Low Alarm: P1 on Cold Store");
    EXPECT_EQ(f.service.calls.last().replaces, 0u);
}

TEST(DesktopNotifications, ASummaryWhoseCallFailsIsShownAfterABackOff)
{
    DesktopFixture f;
    ASSERT_TRUE(f.service.registered());
    for (int probe = 0; probe < 3; ++probe)
        f.read(0, probe, "95.0");
    f.read(1, 0, "95.0");
    f.read(1, 1, "95.0");
    ASSERT_TRUE(f.waitForCalls(DesktopNotifier::kStormCount));
    // The storm's first summary fails, and so does its first retry; the
    // singles it took in are closed all the same.
    f.service.failNext = 2;
    f.read(1, 2, "95.0");
    ASSERT_TRUE(QTest::qWaitFor([&] { return f.service.failed == 2; }, 10000));
    EXPECT_TRUE(f.service.onScreen().isEmpty());
    ASSERT_TRUE(QTest::qWaitFor(
        [&] {
            const auto screen = f.service.onScreen();
            return screen.size() == 1 && screen[0].summary == "6 probes in alarm on 2 devices";
        },
        10000))
        << f.service.onScreen().size();
}

TEST(DesktopNotifications, ASummaryUpdatedHundredsOfTimesStillOpensWhenClickedAndIdsStayFew)
{
    DesktopFixture f;
    ASSERT_TRUE(f.service.registered());
    f.notifier.setSummaryDelay(1);
    int clicked = 0;
    QObject::connect(&f.notifier, &DesktopNotifier::summaryActivated, [&] { ++clicked; });
    for (int k = 0; k < 6; ++k)
        f.read(k / 3, k % 3, "95.0");
    // A probe goes in and out of alarm 260 times, each
    // update awaited: the summary is replaced in place every time.
    for (int k = 0; k < 260; ++k) {
        const int before = int(f.service.calls.size());
        f.read(2, 0, k % 2 ? "95.0" : "70.0");
        ASSERT_TRUE(f.waitForCalls(before + 1)) << k;
    }
    const auto screen = f.service.onScreen();
    ASSERT_EQ(screen.size(), 1);
    EXPECT_LE(f.notifier.rememberedNotifications(), int(screen.size()) + DesktopNotifier::kStormCount);
    f.service.click(screen[0].id);
    EXPECT_TRUE(QTest::qWaitFor([&] { return clicked == 1; }, 10000));
}

TEST(DesktopNotifications, WithoutAServiceNothingGrows)
{
    QtMessageHandler previous = qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    {
        DesktopFixture f(false);
        for (int k = 0; k < 200; ++k) {
            f.read(k % 3, k % 4 == 3 ? 3 : k % 3, k % 2 ? "95" : "70");
            if (k % 20 == 19)
                f.clock.advance(20);  // storms end and begin again
            QCoreApplication::processEvents();
        }
        // Once the failed calls have answered, nothing is kept for them.
        EXPECT_TRUE(QTest::qWaitFor([&] { return f.notifier.rememberedNotifications() == 0; }, 5000))
            << f.notifier.rememberedNotifications();
    }
    qInstallMessageHandler(previous);
}

TEST(DesktopNotifications, WithoutAServiceNothingFailsAndThatIsSaidOnce)
{
    static QStringList warnings;
    warnings.clear();
    const QtMessageHandler previous = qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &m) {
        warnings << m;
    });
    {
        DesktopFixture f(false);
        for (int i = 0; i < 4; ++i) {
            f.read(0, 0, "95.0");
            f.read(0, 0, "70.0");
        }
        QTest::qWait(1500);
        EXPECT_EQ(f.store().device(0)->probe(0)->AlarmState, AlarmState::Normal);
    }
    qInstallMessageHandler(previous);
    ASSERT_EQ(warnings.size(), 1) << qPrintable(warnings.join('\n'));
    EXPECT_TRUE(warnings[0].startsWith("Desktop notifications cannot be shown: ")) << qPrintable(warnings[0]);
}

TEST(DesktopNotifications, TurnedOffNoneIsSent)
{
    DesktopFixture f;
    f.store().settings.DesktopNotifications = 0;
    f.read(0, 0, "95.0");
    f.notifier.deviceStoppedAnswering(1);
    QTest::qWait(300);
    EXPECT_TRUE(f.service.calls.isEmpty());
    f.store().settings.DesktopNotifications = 1;
    f.notifier.deviceStoppedAnswering(1);
    ASSERT_TRUE(f.waitForCalls(1));
    EXPECT_EQ(f.service.calls[0].summary, "Lab does not answer");
}
