// The program on a desktop, read from outside as the desktop reads it: an
// X server, a session bus with a tray host and a notification service, and
// a simulated device whose probe is in alarm.
#include "tests/support/NetTestSupport.h"
#include "tests/support/Processes.h"
#include "tests/support/TestSupport.h"
#include "tests/ui/SessionBus.h"

#include <QFile>
#include <QTest>

#include <gtest/gtest.h>

using namespace cz;
using namespace cz::test;

namespace {

// An X server of its own on the first free display from :70.
struct XServer {
    XServer()
    {
        for (int n = 70; n < 90 && display.isEmpty(); ++n) {
            if (QFile::exists(QStringLiteral("/tmp/.X11-unix/X%1").arg(n)) ||
                QFile::exists(QStringLiteral("/tmp/.X%1-lock").arg(n)))
                continue;
            process.start(QStringLiteral("Xvfb"), {QStringLiteral(":%1").arg(n), "-screen", "0", "1024x768x24",
                                                   "-nolisten", "tcp"});
            if (process.waitForStarted(5000) &&
                QTest::qWaitFor([&] { return QFile::exists(QStringLiteral("/tmp/.X11-unix/X%1").arg(n)); }, 5000))
                display = QStringLiteral(":%1").arg(n);
            else
                process.kill(), process.waitForFinished(2000);
        }
    }
    ~XServer()
    {
        process.terminate();
        process.waitForFinished(5000);
    }
    QProcess process;
    QString display;
};

} // namespace

TEST(DesktopProgram, StartsInTheTrayAndTellsTheDesktopOfItsAlarm)
{
    XServer x;
    ASSERT_FALSE(x.display.isEmpty()) << "Xvfb (package xvfb) is needed";
    PrivateSessionBus bus;
    ASSERT_TRUE(bus.started()) << "dbus-daemon (package dbus-daemon) is needed";
    NotificationService notifications(bus.connect(QStringLiteral("notifications")));
    TrayHost host(bus.connect(QStringLiteral("tray")));
    ASSERT_TRUE(notifications.registered());
    ASSERT_TRUE(host.registered());

    DataFolderFixture f;
    devsim::DeviceSimulator sim;
    const quint16 port = sim.port(sim.addDevice(simDevice("Model R4", {90.5, 70}, "Rack")));
    QDir().mkpath(f.dir.path() + "/Devices");
    writeFile(f.path("Devices/Rack.ini"),
              "[Device]\r\nDeviceName=Rack\r\nDeviceModel=Model R4\r\nDeviceAddress=127.0.0.1\r\nDevicePort=" +
                  QByteArray::number(port) +
                  "\r\nQueryInterval=1\r\nProbeCount=2\r\n"
                  "[Probe01]\r\nProbeNumber=1\r\nProbeName=Intake\r\nProbeEnabled=1\r\nProbeType=0\r\n"
                  "HighAlarmTemp=85.00\r\nHighCautionTemp=80.00\r\nLowCautionTemp=50.00\r\nLowAlarmTemp=40.00\r\n"
                  "ConsecutiveAlarmThreshold=1\r\n"
                  "[Probe02]\r\nProbeNumber=2\r\nProbeName=Exhaust\r\nProbeEnabled=1\r\nProbeType=0\r\n"
                  "HighAlarmTemp=85.00\r\nHighCautionTemp=80.00\r\nLowCautionTemp=50.00\r\nLowAlarmTemp=40.00\r\n");
    writeFile(f.path("Corvanta Zephtra.ini"), "[Program]\r\nStartMinimized=1\r\n[Devices]\r\nDevice001=Rack\r\n");
    const QByteArray settingsBefore = readFile(f.path("Corvanta Zephtra.ini"));

    QProcess program;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("DISPLAY", x.display);
    env.insert("QT_QPA_PLATFORM", "xcb");
    env.insert("DBUS_SESSION_BUS_ADDRESS", bus.address());
    env.remove("XDG_CURRENT_DESKTOP");
    env.remove("QT_QPA_PLATFORMTHEME");
    program.setProcessEnvironment(env);
    program.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    program.start(programPath(), {"-nosplash", "--data-dir", f.dir.path()});
    ASSERT_TRUE(program.waitForStarted(10000));

    // Its icon registers with the tray host and says what is wrong.
    ASSERT_TRUE(QTest::qWaitFor([&] { return !host.items().isEmpty(); }, 30000)) << "no tray icon registered";
    TrayHost::Item item;
    EXPECT_TRUE(QTest::qWaitFor(
        [&] {
            item = host.read(host.items().first());
            return (item.toolTipTitle + '\n' + item.toolTipText).contains("1 probe in alarm");
        },
        30000))
        << qPrintable(item.toolTipTitle) << " / " << qPrintable(item.toolTipText);
    QStringList labels;
    for (const auto &[label, id] : item.menu)
        labels << label;
    EXPECT_EQ(labels, (QStringList{"Show Corvanta Zephtra", "Device List", "Exit"}));

    // The alarm reaches the notification service, critical.
    EXPECT_TRUE(QTest::qWaitFor(
        [&] {
            for (const auto &c : notifications.calls)
                if (c.summary == "High Alarm: Intake on Rack")
                    return c.urgency == 2 && c.body == "Reading 90.5 °F, threshold 85 °F";
            return false;
        },
        30000))
        << (notifications.calls.isEmpty() ? "no notification" : qPrintable(notifications.calls.last().summary));

    // Stopped from outside while it sits in the tray, it saves and ends.
    program.terminate();
    ASSERT_TRUE(program.waitForFinished(30000));
    EXPECT_EQ(program.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(program.exitCode(), 0);
    const QByteArray settings = readFile(f.path("Corvanta Zephtra.ini"));
    EXPECT_FALSE(settings.contains("ShowTrayIcon")) << "a setting left on is not written";
    EXPECT_TRUE(settings.contains("StartMinimized=1\r\n"));
    EXPECT_TRUE(readFile(f.path("Devices/Rack.ini")).contains("HighestTemp=90.50\r\n"));
}
