// What a field shows is what is saved, however the text got there: set
// through the accessibility interface (dictation, switch access), pasted,
// or typed.
#include "tests/ui/ConfigFixture.h"
#include "tests/ui/DialogDriver.h"
#include "tests/ui/WindowFixture.h"
#include "ui/config/AddDeviceDialog.h"
#include "ui/list/DeviceListPage.h"

#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QRadioButton>

#include <gtest/gtest.h>

using namespace cz;
using namespace cz::test;

namespace {

const QString kName = QStringLiteral("Device Name:");
const QString kAddress = QStringLiteral("The IP address or domain name for this device:");
const QString kInterval = QStringLiteral("Device Query Interval");

} // namespace

TEST(AccessibleEdits, ADeviceNamedThroughTheAccessibilityInterfaceIsAddedUnderThatName)
{
    WindowFixture f;
    f.sheet->show();
    whenShown<AddDeviceDialog>([&](AddDeviceDialog &d) {
        setByAccessibility(field(d, kAddress), "127.0.0.1");
        setByAccessibility(field(d, kName), "Dictated Lab");
        setByAccessibility(field(d, "Internet query port (normally port 80):"), "18099");
        list(d, "Device Model:").setCurrentIndex(0); // chosen without "activated"
        whenShown<ProbeSettingsSheet>([&](ProbeSettingsSheet &sheet) {
            EXPECT_EQ(sheet.edited().DeviceName.bytes(), "Dictated Lab");
            click(sheet, "OK");
        });
        QTest::mouseClick(&button(d, "Add"), Qt::LeftButton);
    });
    click(deviceListPage(*f.sheet), "Add A Device");
    QApplication::processEvents();
    EXPECT_TRUE(f.prompter.told.filter("is empty").isEmpty()) << f.prompter.told.join('|').toStdString();
    ASSERT_EQ(f.store().deviceCount(), 5);
    const DeviceRecord &added = *f.store().device(4);
    EXPECT_EQ(added.DeviceName.bytes(), "Dictated Lab");
    EXPECT_EQ(added.DevicePort, 18099);
    EXPECT_TRUE(deviceFile(f, "Dictated Lab").contains("DeviceName=Dictated Lab\r\n"));
}

TEST(AccessibleEdits, BoxesAnswersListsAndPastedTextChangedWithoutTheMouseAreSaved)
{
    WindowFixture f;
    f.sheet->show();
    bool wasLogging = false;
    configure(f, 0, [&](DeviceSettingsDialog &d) {
        // Filling the dialog changed nothing.
        EXPECT_FALSE(button(d, "Update").isEnabled());
        QLineEdit &name = field(d, kName);
        name.selectAll();
        QApplication::clipboard()->setText("Pasted Room");
        name.paste();
        auto &useProxy = control<QRadioButton>(
            d, "Corvanta Zephtra contacts the device through an Internet proxy server:");
        toggleByAccessibility(useProxy);
        setByAccessibility(field(d, "Proxy server IP address or domain name:"), "127.0.0.1");
        setByAccessibility(field(d, "Proxy server port:"), "3128");
        list(d, kInterval).setCurrentIndex(4); // "1 min."
        QCheckBox *logging = nullptr;
        for (QCheckBox *box : d.findChildren<QCheckBox *>())
            if (box->text().startsWith("Log all"))
                logging = box;
        ASSERT_NE(logging, nullptr);
        wasLogging = logging->isChecked();
        toggleByAccessibility(*logging);
        EXPECT_TRUE(button(d, "Update").isEnabled());
        actByAccessibility(button(d, "Update"), QAccessibleActionInterface::pressAction());
        EXPECT_TRUE(waitUntil([&] { return !d.isVisible(); }, 5000));
    });
    const DeviceRecord &d = *f.store().device(0);
    EXPECT_EQ(d.DeviceName.bytes(), "Pasted Room");
    EXPECT_EQ(d.UseProxy, 1);
    EXPECT_EQ(d.ProxyServerAddress.bytes(), "127.0.0.1");
    EXPECT_EQ(d.ProxyServerPort, 3128);
    EXPECT_EQ(d.QueryInterval, 60);
    EXPECT_EQ(d.LogQueryFailures, wasLogging ? 0 : 1);
    const QByteArray file = deviceFile(f, "Pasted Room");
    EXPECT_TRUE(file.contains("UseProxy=1\r\n"));
    EXPECT_TRUE(file.contains("ProxyServerPort=3128\r\n"));
    EXPECT_TRUE(file.contains("QueryInterval=60\r\n"));
}
