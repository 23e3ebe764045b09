// Adding devices from the window: "Add A Device" typed or filled in by
// "Auto Configure" from a simulated device, the confirmation windows, the
// probe sheet, and the new device monitored at once.
#include "tests/ui/ConfigFixture.h"
#include "tests/ui/DialogDriver.h"
#include "tests/ui/WindowFixture.h"
#include "tools/devsim/SimDevice.h"
#include "ui/config/AddDeviceDialog.h"
#include "ui/config/AutoConfigDetailsDialog.h"
#include "ui/config/DeviceSettingsDialog.h"
#include "ui/config/ProbeSettingsPage.h"
#include "ui/config/ProbeSettingsSheet.h"
#include "ui/list/DeviceListPage.h"
#include "ui/list/ProbeTableModel.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTabWidget>
#include <QTcpServer>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include <functional>

using namespace cz;
using namespace cz::test;

namespace {


// "Add A Device" from the list page, with `act` run in it.
void addDevice(WindowFixture &f, std::function<void(AddDeviceDialog &)> act)
{
    f.sheet->show();
    whenShown<AddDeviceDialog>(act);
    QTest::mouseClick(&button(deviceListPage(*f.sheet), "Add A Device"), Qt::LeftButton);
    QApplication::processEvents(); // the queued request opens the dialog
}

int simulated(WindowFixture &f, devsim::SimDevice device)
{
    device.port = 0;
    return f.sim.port(f.sim.addDevice(device));
}

// Types address and port and presses "Auto Configure"; `confirm` runs in
// the confirmation window. (The demo devices are at 127.0.0.1 too, so
// these tests start on an empty data folder.)
template <class Confirm>
void autoConfigure(AddDeviceDialog &d, int port, std::function<void(Confirm &)> confirm)
{
    type(field(d, "The IP address or domain name for this device:"), "127.0.0.1");
    type(field(d, "Internet query port (normally port 80):"), QString::number(port));
    whenShown<Confirm>(confirm);
    QTest::mouseClick(&button(d, "Auto Configure"), Qt::LeftButton);
}

QStringList probeNames(const DeviceRecord &d)
{
    QStringList names;
    for (int i = 0; i < d.probeSlots(); ++i)
        names << d.probe(i)->ProbeName.str();
    return names;
}

} // namespace

TEST(AddDevice, AutoConfiguringAnR4AddsItAndItsFirstQueryIsSilent)
{
    WindowFixture f(WindowFixture::Start::EmptyFolder);
    f.sheet->show();
    devsim::SimDevice sim = simDevice("Model R4", {72, 150, 71, 70}, "Attic");
    sim.serial = "SN4-77";
    const int port = simulated(f, sim);
    bool sheetShown = false;
    addDevice(f, [&](AddDeviceDialog &d) {
        EXPECT_EQ(d.windowTitle(), "Add A Device");
        EXPECT_EQ(field(d, "Internet query port (normally port 80):").text(), "80");
        EXPECT_EQ(list(d, "Device Model:").currentIndex(), -1);
        EXPECT_EQ(list(d, "Device Query Interval").currentText(), "30 secs.");
        EXPECT_FALSE(field(d, "Proxy server IP address or domain name:").isEnabled());
        EXPECT_EQ(unnamedControls(d), QStringList());
        check(button(d, "Data and status logging enabled for this device."), true);
        autoConfigure<AutoConfigDetailsDialog>(d, port, [&](AutoConfigDetailsDialog &c) {
            EXPECT_EQ(c.windowTitle(), "Automatic Configuration Details");
            EXPECT_EQ(unnamedControls(c), QStringList());
            QStringList shown;
            for (QLineEdit *e : c.findChildren<QLineEdit *>())
                shown << e->text();
            EXPECT_TRUE(shown.contains("Attic"));
            EXPECT_TRUE(shown.contains("SN4-77"));
            EXPECT_TRUE(shown.contains("Model R4"));
            EXPECT_TRUE(shown.contains("Probe 2"));
            EXPECT_TRUE(shown.contains("Fahrenheit (F)"));
            whenShown<ProbeSettingsSheet>([&](ProbeSettingsSheet &sheet) {
                sheetShown = true;
                EXPECT_EQ(sheet.windowTitle(), "Attic");
                EXPECT_EQ(probePageCount(sheet), 4);
                ProbeSettingsPage &p2 = probePage(sheet, 1);
                pageTabs(sheet).setCurrentIndex(1);
                threshold(p2, 0).setEditText("100");
                threshold(p2, 1).setEditText("90");
                threshold(p2, 2).setEditText("40");
                threshold(p2, 3).setEditText("30");
                QTest::mouseClick(&button(sheet, "OK"), Qt::LeftButton);
            });
            QTest::mouseClick(&button(c, "OK"), Qt::LeftButton);
        });
    });
    ASSERT_TRUE(sheetShown) << f.prompter.told.join("|").toStdString();
    ASSERT_EQ(f.store().deviceCount(), 1);
    const DeviceRecord &d = *f.store().device(0);
    EXPECT_EQ(d.DeviceName.bytes(), "Attic");
    EXPECT_EQ(d.DeviceModel.bytes(), "Model R4");
    EXPECT_EQ(d.DeviceSerial.bytes(), "SN4-77");
    EXPECT_EQ(probeNames(d), (QStringList{"Probe 1", "Probe 2", "Probe 3", "Probe 4"}));
    EXPECT_EQ(pageTabs(*f.sheet).tabText(1), "Attic");
    const QByteArray settings = readFile(f.store().folder().settingsFile());
    EXPECT_TRUE(settings.contains("Device001=Attic\r\n")) << settings.constData();
    const QByteArray file = readFile(f.store().folder().deviceFile("Attic"));
    EXPECT_TRUE(file.contains("[Probe04]"));
    EXPECT_TRUE(file.contains("HighAlarmTemp=100.00\r\n"));
    EXPECT_TRUE(file.contains("EmailAlarmSubject=Corvanta $ALARM_STATE on $DEVICE_NAME:$PROBE_NAME\r\n"));
    EXPECT_TRUE(file.contains("DeviceAddress=127.0.0.1\r\n"));
    const QByteArray log = readFile(d.probe(1)->LogFile.bytes());
    EXPECT_TRUE(log.contains("New device added.\r\n")) << log.constData();
    EXPECT_TRUE(d.probe(1)->LogFile.bytes().endsWith("/Logs/Attic-Probe02-(Probe 2).log"));

    // The first query ran at once: readings in, no alarm raised though
    // probe 2 reads 150 over its 100.
    ASSERT_TRUE(waitUntil([&] { return d.probe(1)->CurrentTemp != kNoTemp; }));
    EXPECT_EQ(d.probe(1)->CurrentTemp, 150.0);
    EXPECT_EQ(d.probe(1)->HighAlarmSent, 0);
    EXPECT_FALSE(readFile(d.probe(1)->LogFile.bytes()).contains("alarm"));
    EXPECT_TRUE(waitUntil([&] { return deviceListPage(*f.sheet).model().rowCount() == 4; }));
    // A later query alerts.
    f.clock.advance(60);
    f.tick();
    EXPECT_TRUE(waitUntil([&] { return d.probe(1)->HighAlarmSent == 1; }));
}

TEST(AddDevice, AddForTheCombinedSensorGivesTwelveTemperatureProbesInFourGroups)
{
    WindowFixture f;
    addDevice(f, [&](AddDeviceDialog &d) {
        QTest::mouseClick(&button(d, "Add"), Qt::LeftButton);
        EXPECT_EQ(f.prompter.told.value(0), "Please select a device model.\n");
        EXPECT_TRUE(d.isVisible());
        type(field(d, "The IP address or domain name for this device:"), "127.0.0.1");
        type(field(d, "Device Name:"), "Shed");
        choose(list(d, "Device Model:"), 2);
        whenShown<ProbeSettingsSheet>([&](ProbeSettingsSheet &sheet) {
            EXPECT_EQ(probePageCount(sheet), 12);
            const DeviceRecord &s = sheet.edited();
            for (int i = 0; i < 12; ++i) {
                EXPECT_EQ(s.probe(i)->ProbeType, ProbeType::Temperature);
                EXPECT_EQ(s.probe(i)->GroupNumber, i / 3 + 1);
                EXPECT_EQ(s.probe(i)->GroupName.bytes(), "Group 1");
                EXPECT_EQ(s.probe(i)->ProbeName.str(), QString::asprintf("Probe %02d", i + 1));
                EXPECT_EQ(s.probe(i)->ChartDataColor, defaultChartColor(i));
            }
            QTest::mouseClick(&button(sheet, "Cancel"), Qt::LeftButton);
        });
        QTest::mouseClick(&button(d, "Add"), Qt::LeftButton);
        // Cancelling the sheet comes back here with the fields as typed.
        EXPECT_TRUE(d.isVisible());
        EXPECT_EQ(field(d, "Device Name:").text(), "Shed");
        EXPECT_EQ(list(d, "Device Model:").currentText(), "Model RM1");
        d.reject();
    });
    EXPECT_EQ(f.store().deviceCount(), 4);
    EXPECT_FALSE(exists(f.store().folder().deviceFile("Shed")));
}

TEST(AddDevice, TheCombinedSensorInKelvinAndAPModelInCelsiusAreConfiguredFromTheDevice)
{
    WindowFixture f(WindowFixture::Start::EmptyFolder);
    devsim::SimDevice p4 = simDevice("Model P4", {21, 22, 23, 24}, "Fridge");
    p4.units = 'C';
    const int p4Port = simulated(f, p4);
    bool p4Confirmed = false;
    addDevice(f, [&](AddDeviceDialog &d) {
        autoConfigure<AutoConfigDetailsDialog>(d, p4Port, [&](AutoConfigDetailsDialog &c) {
            p4Confirmed = true;
            f.picture(c, "autoconf-4-probes.png");
            whenShown<ProbeSettingsSheet>([&](ProbeSettingsSheet &sheet) {
                EXPECT_EQ(sheet.edited().DisplayUnits, DisplayUnits::F); // the P models end as F
                sheet.reject();
            });
            button(c, "OK").click();
        });
        EXPECT_TRUE(waitUntil([&] { return p4Confirmed && QApplication::activeModalWidget() == &d; }));
        d.reject();
    });
    EXPECT_TRUE(f.prompter.told.isEmpty()) << f.prompter.told.join('|').toStdString();
    EXPECT_TRUE(f.prompter.questions.isEmpty()) << f.prompter.questions.join('|').toStdString();
    devsim::SimDevice r16 = devsim::SimDevice::generated("Model R16", 16, 2);
    const int r16Port = simulated(f, r16);
    addDevice(f, [&](AddDeviceDialog &d) {
        autoConfigure<AutoConfigDetailsDialog>(d, r16Port, [&](AutoConfigDetailsDialog &c) {
            EXPECT_LE(c.sizeHint().height(), 768);
            f.picture(c, "autoconf-16-probes.png");
            button(c, "Cancel").click();
        });
        EXPECT_TRUE(waitUntil([&] { return !d.busy() && QApplication::activeModalWidget() == &d; }));
        d.resize(d.sizeHint());
        f.picture(d, "add-device.png");
        d.reject();
    });
    devsim::SimDevice rm = devsim::SimDevice::generated("Model RM1", 12, 1);
    rm.units = 'K';
    rm.name = "Greenhouse 2";
    const int rmPort = simulated(f, rm);
    addDevice(f, [&](AddDeviceDialog &d) {
        autoConfigure<AutoConfigDetailsDialog>(d, rmPort, [&](AutoConfigDetailsDialog &c) {
            QStringList shown;
            for (QLineEdit *e : c.findChildren<QLineEdit *>())
                shown << e->text();
            EXPECT_TRUE(shown.contains("Kelvin (K)")) << shown.join('|').toStdString();
            EXPECT_EQ(unnamedControls(c), QStringList());
            EXPECT_TRUE(shown.contains("Group A"));
            EXPECT_TRUE(shown.contains("2.1"));
            f.picture(c, "autoconf-rm1.png");
            whenShown<ProbeSettingsSheet>([&](ProbeSettingsSheet &sheet) {
                const DeviceRecord &s = sheet.edited();
                EXPECT_EQ(s.DisplayUnits, DisplayUnits::K);
                EXPECT_EQ(s.probe(1)->ProbeType, ProbeType::Humidity);
                EXPECT_EQ(s.probe(2)->ProbeType, ProbeType::Wetness);
                EXPECT_EQ(s.probe(3)->GroupName.bytes(), "Group B");
                EXPECT_EQ(s.probe(0)->DisplayUnits, DisplayUnits::K);
                QTest::mouseClick(&button(sheet, "OK"), Qt::LeftButton);
            });
            button(c, "OK").click();
        });
    });
    // Only this one was added: the others were cancelled.
    ASSERT_EQ(f.store().deviceCount(), 1);
    EXPECT_EQ(f.store().device(0)->DisplayUnits, DisplayUnits::K);
    EXPECT_EQ(f.store().device(0)->DeviceVersion.bytes(), "2.1");

}

TEST(AddDevice, UnsupportedDevicesAndRefusedConnectionsAreReportedAndLogged)
{
    WindowFixture f(WindowFixture::Start::EmptyFolder);
    const int x9 = simulated(f, simDevice("Model X9", {70}, "Odd"));
    addDevice(f, [&](AddDeviceDialog &d) {
        check(button(d, "Log all device query failures."), true);
        type(field(d, "The IP address or domain name for this device:"), "127.0.0.1");
        type(field(d, "Internet query port (normally port 80):"), QString::number(x9));
        QTest::mouseClick(&button(d, "Auto Configure"), Qt::LeftButton);
        EXPECT_TRUE(d.busy());
        EXPECT_TRUE(control<QLabel>(d, "progress").isVisible());
        EXPECT_EQ(control<QLabel>(d, "progress").text(), "Contacting the device...");
        EXPECT_FALSE(button(d, "Add").isEnabled());
        EXPECT_TRUE(waitUntil([&] { return !f.prompter.told.isEmpty(); }));
        const QString expected = "This is an unsupported device or the query failed.\nPlease verify the device "
                                 "connection and type.\n\nDetails about the error returned by the communications\n"
                                 "module can be found in the error log here:\n\n" +
                                 QString::fromUtf8(f.store().folder().autoConfigErrorLog());
        EXPECT_EQ(f.prompter.told.value(0), expected);
        EXPECT_TRUE(button(d, "Add").isEnabled());

        // Nothing listens on this port: three refusals, then the same message.
        QTcpServer closed;
        ASSERT_TRUE(closed.listen(QHostAddress::LocalHost));
        const quint16 refused = closed.serverPort();
        closed.close();
        type(field(d, "Internet query port (normally port 80):"), QString::number(refused));
        QTest::mouseClick(&button(d, "Auto Configure"), Qt::LeftButton);
        EXPECT_TRUE(waitUntil([&] { return f.prompter.told.size() == 2; }));
        EXPECT_EQ(f.prompter.told.value(1), expected);
        d.reject();
    });
    EXPECT_EQ(f.store().deviceCount(), 0);
    const QByteArray log = readFile(f.store().folder().autoConfigErrorLog());
    EXPECT_EQ(log.count("This is an unsupported device or the query failed."), 2) << log.constData();
    const QByteArray internet = readFile(f.store().folder().internetErrorLog());
    EXPECT_EQ(internet.count("A connection with the server could not be established"), 3) << internet.constData();
}

TEST(AddDevice, ASlowDeviceCanBeAbandonedAndTheDialogStaysResponsive)
{
    WindowFixture f;
    const int index = f.sim.addDevice(simDevice("Model R4", {70}, "Slow"));
    f.sim.setFault(index, devsim::Fault::Hang);
    addDevice(f, [&](AddDeviceDialog &d) {
        type(field(d, "The IP address or domain name for this device:"), "localhost");
        type(field(d, "Internet query port (normally port 80):"), QString::number(f.sim.port(index)));
        QTest::mouseClick(&button(d, "Auto Configure"), Qt::LeftButton);
        EXPECT_TRUE(d.busy());
        QTest::qWait(200);
        // Other devices go on being polled meanwhile.
        f.tick();
        EXPECT_NE(f.store().device(0)->LastContactTimeVal, 0);
        QTest::mouseClick(&button(d, "Cancel"), Qt::LeftButton);
        EXPECT_FALSE(d.busy());
        EXPECT_TRUE(d.isVisible());
        EXPECT_TRUE(button(d, "Auto Configure").isEnabled());
        d.reject();
    });
    EXPECT_TRUE(f.prompter.told.isEmpty());
}

TEST(AddDevice, AKnownAddressOffersToReconfigureThatDevice)
{
    WindowFixture f;
    bool configureOpened = false;
    addDevice(f, [&](AddDeviceDialog &d) {
        type(field(d, "The IP address or domain name for this device:"), "127.0.0.1");
        f.prompter.answers = {false};
        QTest::mouseClick(&button(d, "Auto Configure"), Qt::LeftButton);
        EXPECT_EQ(f.prompter.questions.value(0), "CAUTION: A device with this address has\nalready been configured in "
                                                 "Corvanta Zephtra.\n\nWould you like to reconfigure that device?");
        EXPECT_TRUE(d.isVisible());
        EXPECT_FALSE(d.busy());
        f.prompter.answers = {true};
        whenShown<DeviceSettingsDialog>([&](DeviceSettingsDialog &c) {
            configureOpened = true;
            EXPECT_EQ(field(c, "Device Name:").text(), "Server Room");
            f.prompter.answers = {true};
            c.reject();
        });
        QTest::mouseClick(&button(d, "Auto Configure"), Qt::LeftButton);
    });
    EXPECT_TRUE(waitUntil([&] { return configureOpened; }, 5000));
}

TEST(AddDevice, BadInputIsRefusedAtAddAndNothingIsWritten)
{
    WindowFixture f;
    const QByteArray settings = readFile(f.store().folder().settingsFile());
    addDevice(f, [&](AddDeviceDialog &d) {
        choose(list(d, "Device Model:"), 0);
        const auto refusal = [&](const char *address, const char *name, const char *port) {
            f.prompter.told.clear();
            type(field(d, "The IP address or domain name for this device:"), address);
            type(field(d, "Device Name:"), name);
            type(field(d, "Internet query port (normally port 80):"), port);
            QTest::mouseClick(&button(d, "Add"), Qt::LeftButton);
            EXPECT_TRUE(waitUntil([&] { return !f.prompter.told.isEmpty(); }, 20000)) << name;
            return f.prompter.told.value(0);
        };
        EXPECT_TRUE(refusal("127.0.0.1", "", "80").startsWith("\"Device Name:\" is empty"));
        EXPECT_TRUE(refusal("127.0.0.1", "..", "80").startsWith("\"Device Name:\" The device name \"..\""));
        EXPECT_TRUE(refusal("127.0.0.1", "Cold Store", "80").contains("Another device is already named"));
        EXPECT_TRUE(refusal("127.0.0.1", "New", "0").contains("from 1 to 65535"));
        EXPECT_TRUE(refusal("no-such-host.invalid", "New", "80")
                        .startsWith("\"The IP address or domain name for this device:\" \"no-such-host.invalid\" "
                                    "could not be found"));
        d.reject();
    });
    EXPECT_EQ(f.store().deviceCount(), 4);
    EXPECT_EQ(readFile(f.store().folder().settingsFile()), settings);
    EXPECT_FALSE(exists(f.store().folder().deviceFile("New")));
}

TEST(AddDevice, AConfigurationWithTooManyProbesIsRefused)
{
    WindowFixture f;
    devsim::SimDevice d20 = simDevice("Model R16", {70}, "Big");
    // The count field says 20.
    for (int i = 1; i < 20; ++i)
        d20.probes.append(d20.probes.first());
    const int port = simulated(f, d20);
    addDevice(f, [&](AddDeviceDialog &d) {
        type(field(d, "The IP address or domain name for this device:"), "localhost");
        type(field(d, "Internet query port (normally port 80):"), QString::number(port));
        QTest::mouseClick(&button(d, "Auto Configure"), Qt::LeftButton);
        EXPECT_TRUE(waitUntil([&] { return !f.prompter.told.isEmpty(); }));
        EXPECT_TRUE(f.prompter.told.value(0).startsWith("The device reports 20 probes")) << f.prompter.told.value(0).toStdString();
        d.reject();
    });
    EXPECT_EQ(f.store().deviceCount(), 4);
}

TEST(AddDevice, AnEmptyDataFolderSaysHowToAddTheFirstDevice)
{
    WindowFixture f(WindowFixture::Start::EmptyFolder);
    f.sheet->show();
    EXPECT_EQ(f.store().deviceCount(), 0);
    QStringList texts;
    for (QLabel *l : deviceListPage(*f.sheet).findChildren<QLabel *>())
        if (l->isVisible())
            texts << l->text();
    EXPECT_TRUE(texts.contains("No devices yet: press \"Add A Device\", type the device's address and port, then "
                               "press \"Auto Configure\"."))
        << texts.join('|').toStdString();
    f.picture(*f.sheet, "first-run.png");
    const int port = simulated(f, simDevice("Model R4", {70, 71, 72, 73}, "First"));
    addDevice(f, [&](AddDeviceDialog &d) {
        autoConfigure<AutoConfigDetailsDialog>(d, port, [&](AutoConfigDetailsDialog &c) {
            whenShown<ProbeSettingsSheet>([](ProbeSettingsSheet &sheet) { button(sheet, "OK").click(); });
            button(c, "OK").click();
        });
    });
    ASSERT_EQ(f.store().deviceCount(), 1);
    EXPECT_TRUE(readFile(f.store().folder().settingsFile()).contains("Device001=First\r\n"));
    for (QLabel *l : deviceListPage(*f.sheet).findChildren<QLabel *>())
        EXPECT_FALSE(l->isVisible() && l->text().startsWith("No devices yet"));
}
