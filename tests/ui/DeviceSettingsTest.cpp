// "Configure A Device" and its e-mail details, driven as an operator drives
// them, against the demo data folder and its simulated devices.
#include "alerts/ScriptConsole.h"
#include "tests/support/MailTestSupport.h"
#include "tests/ui/ConfigFixture.h"
#include "ui/config/QueryFailureEmailDialog.h"
#include "ui/list/DeviceListPage.h"
#include "ui/list/ProbeListView.h"
#include "ui/widgets/ScriptConsoleWindow.h"

#include <QApplication>
#include <QJsonArray>

#include <gtest/gtest.h>

using namespace cz;
using namespace cz::test;

namespace {

const QString kName = QStringLiteral("Device Name:");
const QString kAddress = QStringLiteral("The IP address or domain name for this device:");
const QString kPort = QStringLiteral("Internet query port (normally port 80):");
const QString kInterval = QStringLiteral("Device Query Interval");
const QString kDialer = QStringLiteral("Enable voice dialer for this device on this serial port:");
const QString kQueryFailAlert = QStringLiteral("Send an alert message if this device does not respond for");
const QString kEmailDetails = QStringLiteral("Email Recipient and Configuration Details");

} // namespace

TEST(ConfigureDevice, RenameIntervalAndDialerAreCommittedAndTheOldFileStays)
{
    WindowFixture f;
    f.sheet->show();
    const QByteArray oldFile = deviceFile(f, "Server Room");
    configure(f, 0, [&](DeviceSettingsDialog &d) {
        EXPECT_EQ(d.windowTitle(), "Configure A Device");
        EXPECT_EQ(field(d, kName).text(), "Server Room");
        EXPECT_EQ(field(d, "Device Model:").text(), "Model R4");
        EXPECT_EQ(list(d, kInterval).currentText(), "5 secs.");
        EXPECT_FALSE(button(d, "Update").isEnabled());
        EXPECT_FALSE(field(d, "Proxy server IP address or domain name:").isEnabled());
        EXPECT_EQ(unnamedControls(d), QStringList());
        retype(field(d, kName), "Server Hall");
        EXPECT_TRUE(button(d, "Update").isEnabled());
        choose(list(d, kInterval), 4); // "1 min."
        click(d, kDialer);
        choose(list(d, kDialer), 2);
        EXPECT_TRUE(list(d, kDialer).currentText().startsWith("COM3 (/dev/ttyS2)"));
        click(d, "Update");
    });
    ASSERT_EQ(f.prompter.told.size(), 1);
    EXPECT_TRUE(f.prompter.told[0].startsWith("You have changed the device name.\n\nPlease note that all logs"));
    const DeviceRecord &d = *f.store().device(0);
    EXPECT_EQ(d.DeviceName.bytes(), "Server Hall");
    EXPECT_EQ(d.QueryInterval, 60);
    EXPECT_EQ(d.EnableDialer, 1);
    EXPECT_EQ(d.DialerPort, 3);
    EXPECT_EQ(deviceFile(f, "Server Room"), oldFile);
    const QByteArray file = deviceFile(f, "Server Hall");
    EXPECT_TRUE(file.contains("DeviceName=Server Hall\r\n"));
    EXPECT_TRUE(file.contains("QueryInterval=60\r\n"));
    EXPECT_TRUE(file.contains("EnableDialer=1\r\n"));
    EXPECT_TRUE(file.contains("DialerPort=3\r\n"));
    EXPECT_TRUE(file.contains("LogFile=" + f.store().folder().logs() + "/Server Hall-Probe01-(Rack A Intake).log"));
    const QByteArray settings = readFile(f.store().folder().settingsFile());
    EXPECT_TRUE(settings.contains("Device001=Server Hall\r\nDevice002=Lab Freezers\r\n")) << settings.constData();
    EXPECT_EQ(pageTabs(*f.sheet).tabText(1), "Server Hall");
    const QByteArray joined = readFile(d.probe(0)->LogFile.bytes());
    EXPECT_TRUE(joined.contains("QueryInterval saved as \"60\"\r\n")) << joined.constData();
    EXPECT_TRUE(joined.contains("DialerPort saved as \"3\"\r\n"));
}

TEST(ConfigureDevice, ShortIntervalsWarnAndAreKept)
{
    WindowFixture f;
    configure(f, 1, [&](DeviceSettingsDialog &d) {
        QComboBox &interval = list(d, kInterval);
        interval.setFocus();
        choose(interval, 3);
        EXPECT_TRUE(f.prompter.told.isEmpty());
        choose(interval, 0);
        ASSERT_EQ(f.prompter.told.size(), 1);
        EXPECT_EQ(f.prompter.told[0], "Setting the query interval to a value\nless than 30 seconds may increase the\n"
                                      "number of failed queries due to device\nresponse time limits and network "
                                      "latency.\n");
        EXPECT_EQ(d.working().QueryInterval, 5);
        click(d, "Update");
    });
    EXPECT_EQ(f.store().device(1)->QueryInterval, 5);
    EXPECT_TRUE(deviceFile(f, "Lab Freezers").contains("QueryInterval=5\r\n"));
}

TEST(ConfigureDevice, CancelAsksAndLeavesEveryFileAsItWas)
{
    WindowFixture f;
    const QByteArray before = deviceFile(f, "Server Room");
    const QByteArray settings = readFile(f.store().folder().settingsFile());
    bool stillOpenAfterNo = false;
    configure(f, 0, [&](DeviceSettingsDialog &d) {
        retype(field(d, kName), "Elsewhere");
        check(button(d, "Data and status logging enabled for this device."), false);
        f.prompter.answers = {false};
        click(d, "Cancel");
        stillOpenAfterNo = d.isVisible();
        f.prompter.answers = {true};
        QTest::keyClick(&d, Qt::Key_Escape);
    });
    EXPECT_TRUE(stillOpenAfterNo);
    EXPECT_EQ(f.prompter.questions,
              QStringList(2, "This will discard any changes you may have made\nto this device or its probe "
                             "configuration.\n\nAre you sure?"));
    EXPECT_EQ(deviceFile(f, "Server Room"), before);
    EXPECT_FALSE(exists(f.store().folder().deviceFile("Elsewhere")));
    EXPECT_EQ(readFile(f.store().folder().settingsFile()), settings);
    EXPECT_EQ(f.store().device(0)->LoggingEnabled, 1);
}

TEST(ConfigureDevice, UpdateRefusesBadFieldsNamingThemAndWritesNothing)
{
    WindowFixture f;
    const QByteArray before = deviceFile(f, "Server Room");
    configure(f, 0, [&](DeviceSettingsDialog &d) {
        const auto refusal = [&](const std::function<void()> &edit) {
            f.prompter.told.clear();
            edit();
            click(d, "Update");
            EXPECT_TRUE(d.isVisible());
            return f.prompter.told.value(0);
        };
        QLineEdit &name = field(d, kName);
        EXPECT_TRUE(refusal([&] { retype(name, ""); }).startsWith("\"Device Name:\" is empty"));
        EXPECT_TRUE(refusal([&] { retype(name, "a/b"); }).startsWith("\"Device Name:\" The device name \"a/b\""));
        EXPECT_TRUE(refusal([&] { retype(name, "greenhouse"); }).contains("Another device is already named \"Greenhouse\""));
        EXPECT_TRUE(refusal([&] { retype(name, " Server Room"); })
                        .startsWith("\"Device Name:\" may not begin or end with a blank, nor be enclosed in quotes"));
        retype(name, "Server Room");
        QLineEdit &port = field(d, kPort);
        EXPECT_TRUE(refusal([&] { retype(port, ""); }).startsWith("\"Internet query port (normally port 80):\""));
        EXPECT_TRUE(refusal([&] { retype(port, "70000"); }).contains("from 1 to 65535"));
        retype(port, "80");
        EXPECT_TRUE(refusal([&] { retype(field(d, kAddress), "10.0.0.1 x"); })
                        .startsWith("\"The IP address or domain name for this device:\" may not contain blanks"));
        retype(field(d, kAddress), "127.0.0.1");
        QTest::mouseClick(
            control<YesNoField>(d, "Corvanta Zephtra contacts the device through an Internet proxy server:").yesButton(),
            Qt::LeftButton);
        QLineEdit &proxyPort = field(d, "Proxy server port:");
        EXPECT_TRUE(proxyPort.isEnabled());
        EXPECT_TRUE(refusal([&] { retype(proxyPort, "0"); }).startsWith("\"Proxy server port:\""));
        EXPECT_EQ(field(d, "Proxy server password:").echoMode(), QLineEdit::Password);
        f.prompter.answers = {true};
        d.reject();
    });
    EXPECT_EQ(deviceFile(f, "Server Room"), before);
}

TEST(ConfigureDevice, KeyboardAloneOpensTheDialogFromTheList)
{
    WindowFixture f;
    f.sheet->show();
    auto &list = *f.sheet->findChild<ProbeListView *>();
    list.setFocus();
    QTest::keyClick(&list, Qt::Key_Down);
    DeviceListPage &page = *f.sheet->findChild<DeviceListPage *>();
    QAbstractButton &configure = button(page, "Configure Selected Device");
    EXPECT_TRUE(configure.isEnabled());
    bool opened = false;
    whenShown<DeviceSettingsDialog>([&](DeviceSettingsDialog &d) {
        opened = true;
        f.prompter.answers = {true};
        QTest::keyClick(&d, Qt::Key_Escape);
    });
    configure.setFocus();
    QTest::keyClick(&configure, Qt::Key_Space);
    EXPECT_TRUE(waitUntil([&] { return opened && !QApplication::activeModalWidget(); }, 5000));
}

TEST(ConfigureDevice, TestDialerUsesThePortBeingEdited)
{
    WindowFixture f;
    f.store().settings.SerialPortPattern = "/dev/corvanta-test-port%d";
    configure(f, 0, [&](DeviceSettingsDialog &d) {
        click(d, kDialer);
        choose(list(d, kDialer), 6);
        EXPECT_EQ(list(d, kDialer).currentText(), "COM7 (/dev/corvanta-test-port6)");
        click(d, "Test Dialer");
        f.prompter.answers = {true};
        d.reject();
    });
    const QByteArray log = readFile(f.store().device(0)->probe(0)->LogFile.bytes());
    EXPECT_TRUE(log.contains("Error initializing /dev/corvanta-test-port6 for device 0.\r\n")) << log.constData();
    EXPECT_EQ(f.store().device(0)->DialerPort, 1); // cancelled: the device keeps its port
}

TEST(QueryFailureEmail, DetailsAreEditedAndTheTestScriptSendsThroughARealServer)
{
    SmtpServer server;
    ASSERT_TRUE(server.running());
    WindowFixture f;
    f.store().deviceForUpdate(1)->EmailSubjectText = "";
    f.store().deviceForUpdate(1)->EmailBodyText = "";
    configure(f, 1, [&](DeviceSettingsDialog &d) {
        EXPECT_FALSE(button(d, kEmailDetails).isEnabled());
        click(d, kQueryFailAlert);
        EXPECT_TRUE(button(d, kEmailDetails).isEnabled());
        choose(list(d, "consecutive queries."), 4);
        whenShown<QueryFailureEmailDialog>([&](QueryFailureEmailDialog &e) {
            EXPECT_EQ(e.windowTitle(), "Device Query Failure Email Configuration Details");
            EXPECT_EQ(field(e, "Subject line for query failure message:").text(), "Corvanta Query Failure");
            EXPECT_EQ(field(e, "Email body text for query failure message:").text(),
                      "The device named $DEVICE_NAME has not responded for $QUERY_THRESH minutes.");
            EXPECT_EQ(field(e, "SMTP Server Password:").echoMode(), QLineEdit::Password);
            EXPECT_EQ(unnamedControls(e), QStringList());
            click(e, "Send Test Email Message");
            EXPECT_EQ(f.prompter.told.value(0), "Please designate an SMTP server for outgoing mail.");
            QTest::keyClicks(&field(e, "SMTP Server:"), "127.0.0.1");
            retype(field(e, "Port:"), "");
            click(e, "Send Test Email Message");
            EXPECT_EQ(f.prompter.told.value(1), "Please designate an SMTP port for outgoing mail.");
            QTest::keyClicks(&field(e, "Port:"), QString::number(server.port()));
            QTest::keyClicks(&field(e, "Email To Address (or list):"), "ops@lab.example, oncall@lab.example");
            QTest::keyClicks(&field(e, "Email From Address:"), "monitor@lab.example");
            click(e, "Send Test Email Message");
            ASSERT_TRUE(waitUntil([&] { return f.console->isVisible(); }));
            for (int sent = 1; sent <= 2; ++sent) {
                EXPECT_TRUE(waitUntil([&] { return f.console->text().count("Press any key") == sent; }, 20000))
                    << f.console->text().toStdString();
                click(*f.console, "Continue");
            }
            EXPECT_TRUE(waitUntil([&] { return !f.console->console().running(); }));
            click(e, "OK");
        });
        click(d, kEmailDetails);
        click(d, "Update");
    });
    const QByteArray script = readFile(f.store().folder().root + "/email_test.sh");
    const QByteArray mailer = QFile::encodeName(QStringLiteral(CZ_BIN_DIR "/corvanta-mailer"));
    const QByteArray expected =
        "#!/bin/sh\n\n'" + mailer + "' '" + f.store().folder().emailBodyFile() + "' -server '127.0.0.1' -port " +
        QByteArray::number(server.port()) +
        " -to 'ops@lab.example' -mailfrom 'monitor@lab.example' -s 'TEST -- Corvanta Query Failure' -noh2 -q -debug\n";
    EXPECT_TRUE(script.startsWith(expected)) << script.constData();
    EXPECT_TRUE(script.contains("echo 'Press any key to test the next recipient in the list, or CTRL-C to abort.'\n"));
    EXPECT_TRUE(script.contains("echo 'This is the last entry in the list.'\necho 'Press any key to exit...'\n"));
    const QList<QJsonObject> mail = server.waitForMessages(2);
    ASSERT_EQ(mail.size(), 2);
    EXPECT_EQ(mail[0]["subject"].toString(), "TEST -- Corvanta Query Failure");
    EXPECT_EQ(mail[1]["body"].toString().trimmed(), "The device named Lab Freezers has not responded for 5 minutes.");
    const DeviceRecord &d = *f.store().device(1);
    EXPECT_EQ(d.SendQueryFailMessage, 1);
    EXPECT_EQ(d.QueryFailThreshold, 5);
    EXPECT_EQ(d.SMTPServerPort, server.port());
    const QByteArray file = deviceFile(f, "Lab Freezers");
    EXPECT_TRUE(file.contains("EmailToAddress=ops@lab.example, oncall@lab.example\r\n"));
    EXPECT_TRUE(file.contains("EmailSubjectText=Corvanta Query Failure\r\n"));
}

TEST(QueryFailureEmail, CancelPutsBackWhatWasThere)
{
    WindowFixture f;
    configure(f, 1, [&](DeviceSettingsDialog &d) {
        click(d, kQueryFailAlert);
        whenShown<QueryFailureEmailDialog>([&](QueryFailureEmailDialog &e) {
            retype(field(e, "SMTP Server:"), "mail.elsewhere");
            click(e, "Cancel");
        });
        click(d, kEmailDetails);
        EXPECT_EQ(d.working().SMTPServerName.bytes(), f.store().device(1)->SMTPServerName.bytes());
        f.prompter.answers = {true};
        d.reject();
    });
}
