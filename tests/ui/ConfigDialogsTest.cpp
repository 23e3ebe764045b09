// Configuring a device from the window: "Configure A Device", its e-mail
// details, the probe sheet and its dialogs, driven as an operator drives
// them, against the demo data folder and its simulated devices.
#include "AlertOptionsDlg.h"
#include "CfgDeviceDlg.h"
#include "DeviceCfgEmailDlg.h"
#include "DeviceConfigPage.h"
#include "DeviceConfigSheet.h"
#include "DeviceListPage.h"
#include "EmailSubjectDlg.h"
#include "FormWidgets.h"
#include "MailTestSupport.h"
#include "ProbeListView.h"
#include "ScriptConsole.h"
#include "DialogDriver.h"
#include "WindowFixture.h"

#include <QAccessible>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include <functional>

using namespace cz;
using namespace cz::test;

namespace {


void retype(QLineEdit *edit, const QString &text)
{
    edit->setFocus();
    edit->selectAll();
    QTest::keyClick(edit, Qt::Key_Delete);
    QTest::keyClicks(edit, text);
}


// Configure A Device on device `slot`, with `act` run in the dialog.
void configure(WindowFixture &f, int slot, std::function<void(CCfgDeviceDlg &)> act)
{
    whenShown<CCfgDeviceDlg>(act);
    f.sheet->configureDevice(slot);
}

// The probe sheet opened from "Configure Probes", with `act` run in it.
void inProbeSheet(CCfgDeviceDlg &dialog, std::function<void(CDeviceConfigSheet &)> act)
{
    whenShown<CDeviceConfigSheet>(act);
    QTest::mouseClick(dialog.probesButton, Qt::LeftButton);
}

QByteArray deviceFile(WindowFixture &f, const char *name)
{
    return readFile(f.store().folder().deviceFile(name));
}

} // namespace

TEST(ConfigureDevice, RenameIntervalAndDialerAreCommittedAndTheOldFileStays)
{
    WindowFixture f;
    f.sheet->show();
    const QByteArray oldFile = deviceFile(f, "Server Room");
    configure(f, 0, [&](CCfgDeviceDlg &d) {
        EXPECT_EQ(d.windowTitle(), "Configure A Device");
        EXPECT_EQ(d.name->text(), "Server Room");
        EXPECT_EQ(d.model->text(), "Model R4");
        EXPECT_EQ(d.interval->currentText(), "5 secs.");
        EXPECT_FALSE(d.updateButton->isEnabled());
        EXPECT_FALSE(d.proxyAddress->isEnabled());
        EXPECT_EQ(unnamedControls(d), QStringList());
        retype(d.name, "Server Hall");
        EXPECT_TRUE(d.updateButton->isEnabled());
        d.interval->setCurrentIndex(4); // "1 min."
        QTest::mouseClick(d.dialer, Qt::LeftButton);
        d.dialerPort->setCurrentIndex(2);
        EXPECT_TRUE(d.dialerPort->currentText().startsWith("COM3 (/dev/ttyS2)"));
        QTest::mouseClick(d.updateButton, Qt::LeftButton);
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
    EXPECT_EQ(f.sheet->tabs().tabText(1), "Server Hall");
    const QByteArray joined = readFile(d.probe(0)->LogFile.bytes());
    EXPECT_TRUE(joined.contains("QueryInterval saved as \"60\"\r\n")) << joined.constData();
    EXPECT_TRUE(joined.contains("DialerPort saved as \"3\"\r\n"));
}

TEST(ConfigureDevice, ShortIntervalsWarnAndAreKept)
{
    WindowFixture f;
    configure(f, 1, [&](CCfgDeviceDlg &d) {
        d.interval->setFocus();
        d.interval->setCurrentIndex(3);
        EXPECT_TRUE(f.prompter.told.isEmpty());
        d.interval->setCurrentIndex(0);
        ASSERT_EQ(f.prompter.told.size(), 1);
        EXPECT_EQ(f.prompter.told[0], "Setting the query interval to a value\nless than 30 seconds may increase the\n"
                                      "number of failed queries due to device\nresponse time limits and network "
                                      "latency.\n");
        EXPECT_EQ(d.working().QueryInterval, 5);
        QTest::mouseClick(d.updateButton, Qt::LeftButton);
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
    configure(f, 0, [&](CCfgDeviceDlg &d) {
        retype(d.name, "Elsewhere");
        d.logging->setChecked(false);
        f.prompter.answers = {false};
        QTest::mouseClick(d.cancelButton, Qt::LeftButton);
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
    configure(f, 0, [&](CCfgDeviceDlg &d) {
        const auto refusal = [&](const std::function<void()> &edit) {
            f.prompter.told.clear();
            edit();
            QTest::mouseClick(d.updateButton, Qt::LeftButton);
            EXPECT_TRUE(d.isVisible());
            return f.prompter.told.value(0);
        };
        EXPECT_TRUE(refusal([&] { retype(d.name, ""); }).startsWith("\"Device Name:\" is empty"));
        EXPECT_TRUE(refusal([&] { retype(d.name, "a/b"); }).startsWith("\"Device Name:\" The device name \"a/b\""));
        EXPECT_TRUE(refusal([&] { retype(d.name, "greenhouse"); })
                        .contains("Another device is already named \"Greenhouse\""));
        retype(d.name, "Server Room");
        EXPECT_TRUE(refusal([&] { retype(d.port, ""); }).startsWith("\"Internet query port (normally port 80):\""));
        EXPECT_TRUE(refusal([&] { retype(d.port, "70000"); }).contains("from 1 to 65535"));
        retype(d.port, "80");
        EXPECT_TRUE(refusal([&] { retype(d.address, "10.0.0.1 x"); })
                        .startsWith("\"The IP address or domain name for this device:\" may not contain blanks"));
        retype(d.address, "127.0.0.1");
        QTest::mouseClick(d.useProxy->yesButton(), Qt::LeftButton);
        EXPECT_TRUE(d.proxyPort->isEnabled());
        EXPECT_TRUE(refusal([&] { retype(d.proxyPort, "0"); }).startsWith("\"Proxy server port:\""));
        EXPECT_EQ(d.proxyPassword->echoMode(), QLineEdit::Password);
        f.prompter.answers = {true};
        d.reject();
    });
    EXPECT_EQ(deviceFile(f, "Server Room"), before);
}

TEST(ConfigureDevice, TheDeviceIsPolledWithItsOldSettingsWhileItsWindowsAreOpen)
{
    WindowFixture f;
    f.sim.freezeTime(50);
    f.tick();
    const DeviceRecord &live = *f.store().device(0);
    const double highAlarmBefore = live.probe(0)->HighAlarmTemp;
    std::int64_t contactWhileOpen = 0;
    double highAlarmWhileOpen = 0;
    configure(f, 0, [&](CCfgDeviceDlg &d) {
        inProbeSheet(d, [&](CDeviceConfigSheet &sheet) {
            CDeviceConfigPage &page = *sheet.page(0);
            page.thresholds[0]->setFocus();
            page.thresholds[0]->setEditText("120");
            f.clock.advance(10);
            f.tick();
            contactWhileOpen = live.LastContactTimeVal;
            highAlarmWhileOpen = live.probe(0)->HighAlarmTemp;
            QTest::mouseClick(sheet.okButton, Qt::LeftButton);
        });
        f.clock.advance(10);
        f.tick();
        EXPECT_EQ(live.probe(0)->HighAlarmTemp, highAlarmBefore);
        QTest::mouseClick(d.updateButton, Qt::LeftButton);
    });
    EXPECT_EQ(contactWhileOpen, 1794661519);
    EXPECT_EQ(highAlarmWhileOpen, highAlarmBefore);
    EXPECT_EQ(live.LastContactTimeVal, 1794661529);
    EXPECT_EQ(live.probe(0)->HighAlarmTemp, 120.0);
    EXPECT_TRUE(deviceFile(f, "Server Room").contains("HighAlarmTemp=120.00\r\n"));
    EXPECT_TRUE(readFile(live.probe(0)->LogFile.bytes()).contains("HighAlarmTemp saved as \"120.00\"\r\n"));
    // Monitoring carried on with the probe's readings all the while.
    EXPECT_NE(live.probe(0)->CurrentTemp, kNoTemp);
}

TEST(ProbeSheet, ChangingUnitsAsksOnceRefillsTheListsAndOKTakesThem)
{
    WindowFixture f;
    configure(f, 0, [&](CCfgDeviceDlg &d) {
        inProbeSheet(d, [&](CDeviceConfigSheet &sheet) {
            EXPECT_EQ(sheet.windowTitle(), "Server Room");
            EXPECT_EQ(sheet.pageCount(), 4);
            CDeviceConfigPage &page = *sheet.page(0);
            EXPECT_EQ(page.thresholds[0]->currentText(), "85");
            EXPECT_EQ(page.unitLabels[0]->text(), "deg. F");
            EXPECT_EQ(unnamedControls(page), QStringList());

            f.prompter.answers = {false};
            QTest::mouseClick(page.unitButtons[3], Qt::LeftButton);
            EXPECT_TRUE(page.unitButtons[0]->isChecked());
            EXPECT_EQ(page.probe().DisplayUnits, DisplayUnits::F);
            EXPECT_EQ(page.thresholds[0]->count(), 712);

            f.prompter.answers = {true};
            QTest::mouseClick(page.unitButtons[3], Qt::LeftButton);
            ASSERT_EQ(f.prompter.questions.size(), 2);
            EXPECT_EQ(f.prompter.questions[1],
                      "This device reports its display units as type \"F\" (Fahrenheit scale).\nCorvanta can convert "
                      "from that scale to Kelvin, but the display will\ndiffer from the default web page values that "
                      "are displayed when the\ndevice is queried with a web browser.\n\nIf you want Corvanta Zephtra "
                      "to convert the values, press the \"Yes\" button.");
            EXPECT_EQ(page.probe().DisplayUnits, DisplayUnits::R);
            EXPECT_EQ(page.unitLabels[2]->text(), "deg. R");
            for (QComboBox *list : page.thresholds) {
                EXPECT_EQ(list->count(), 573 - 178 + 1);
                EXPECT_EQ(list->itemText(0), "178");
                EXPECT_EQ(list->currentIndex(), 178);
                EXPECT_EQ(list->currentText(), "356");
            }
            // The stored thresholds wait for OK.
            EXPECT_EQ(page.probe().HighAlarmTemp, 85.0);
            QTest::mouseClick(page.unitButtons[1], Qt::LeftButton);
            EXPECT_EQ(f.prompter.questions.size(), 2); // asked no more
            EXPECT_EQ(page.thresholds[0]->itemText(0), "-95");
            EXPECT_EQ(page.thresholds[0]->currentText(), "0");
            QTest::mouseClick(page.unitButtons[3], Qt::LeftButton);
            QTest::mouseClick(sheet.okButton, Qt::LeftButton);
        });
        const ProbeRecord &edited = *d.working().probe(0);
        EXPECT_EQ(edited.DisplayUnits, DisplayUnits::R);
        EXPECT_EQ(edited.HighAlarmTemp, 356.0);
        EXPECT_EQ(edited.LowAlarmTemp, 356.0);
        f.prompter.answers = {true};
        d.reject();
    });
}

TEST(ProbeSheet, ThresholdsTakeOnlyWhatTheirTypeAllows)
{
    WindowFixture f;
    configure(f, 2, [&](CCfgDeviceDlg &d) {
        inProbeSheet(d, [&](CDeviceConfigSheet &sheet) {
            QApplication::setActiveWindow(&sheet);
            CDeviceConfigPage &temperature = *sheet.page(0);
            QComboBox *high = temperature.thresholds[0];
            high->setFocus();
            high->lineEdit()->selectAll();
            QTest::keyClick(high->lineEdit(), Qt::Key_Delete);
            QTest::keyClicks(high->lineEdit(), "-");
            const double before = temperature.probe().HighAlarmTemp;
            EXPECT_EQ(temperature.probe().HighAlarmTemp, before);
            QTest::keyClicks(high->lineEdit(), "x");
            EXPECT_EQ(high->currentText(), "-");
            high->lineEdit()->selectAll();
            QTest::keyClicks(high->lineEdit(), "12.34");
            EXPECT_EQ(high->currentText(), "12.3");
            EXPECT_DOUBLE_EQ(temperature.probe().HighAlarmTemp, 12.3);
            QTest::keyClick(high->lineEdit(), Qt::Key_Tab);
            EXPECT_EQ(high->currentText(), "12.3");
            EXPECT_GE(high->findText("12.3"), 0);
            high->setEditText("-4.0");
            EXPECT_EQ(temperature.probe().HighAlarmTemp, -4.0);

            // Greenhouse: probe 3 measures humidity, probe 4 wetness.
            int humidityPage = -1;
            for (int i = 0; i < sheet.pageCount(); ++i)
                if (f.store().device(2)->probe(i)->ProbeType == ProbeType::Humidity)
                    humidityPage = i;
            ASSERT_GE(humidityPage, 0);
            sheet.tabs().setCurrentIndex(humidityPage);
            CDeviceConfigPage &humidity = *sheet.page(humidityPage);
            EXPECT_EQ(humidity.unitLabels[0]->text(), "% RH");
            EXPECT_FALSE(humidity.unitButtons[0]->isEnabled());
            QComboBox *low = humidity.thresholds[3];
            low->setFocus();
            low->lineEdit()->selectAll();
            QTest::keyClicks(low->lineEdit(), "1234");
            EXPECT_EQ(low->currentText(), "123");
            EXPECT_EQ(humidity.probe().LowAlarmHumidity, 123);
            low->lineEdit()->selectAll();
            QTest::keyClicks(low->lineEdit(), "4.5");
            EXPECT_EQ(humidity.probe().LowAlarmHumidity, 45);
            QTest::keyClick(low->lineEdit(), Qt::Key_Tab);
            EXPECT_EQ(low->currentIndex(), 45);
            QTest::mouseClick(sheet.cancelButton, Qt::LeftButton);
        });
        // Cancel kept nothing of the sheet.
        EXPECT_EQ(d.working().probe(0)->HighAlarmTemp, f.store().device(2)->probe(0)->HighAlarmTemp);
        f.prompter.answers = {true};
        d.reject();
    });
}

TEST(ProbeSheet, ApplyToAllReachesOnlyProbesOfTheSameTypeForThresholds)
{
    WindowFixture f;
    configure(f, 0, [&](CCfgDeviceDlg &d) {
        inProbeSheet(d, [&](CDeviceConfigSheet &sheet) {
            CDeviceConfigPage &page = *sheet.page(0);
            page.thresholds[0]->setEditText("99");
            page.consecutive->setCurrentIndex(4);
            f.prompter.answers = {true};
            QTest::mouseClick(page.applyThresholds, Qt::LeftButton);
            EXPECT_EQ(f.prompter.questions.last(),
                      "This will change all of the parameters enclosed in the\n\"Alarm Thresholds\" box for all "
                      "Temperature probes\n(on this device) to the values displayed on this page.\n\nAre you sure?");
            QTest::mouseClick(page.alarmSound->yesButton(), Qt::LeftButton);
            page.alarmSoundFile->setText("/tmp/alarm.wav");
            f.prompter.answers = {false};
            QTest::mouseClick(page.applySounds, Qt::LeftButton);
            EXPECT_EQ(f.prompter.questions.last(),
                      "This will change all of the parameters enclosed in the\n\"Sounds\" box for all probes\n(on "
                      "this device) to the values displayed on this page.\n\nAre you sure?");
            sheet.tabs().setCurrentIndex(1);
            EXPECT_EQ(sheet.page(1)->thresholds[0]->currentText(), "99");
            EXPECT_EQ(sheet.page(1)->consecutive->currentText(), "5");
            EXPECT_TRUE(sheet.page(1)->alarmSoundFile->text().isEmpty());
            QTest::mouseClick(sheet.okButton, Qt::LeftButton);
        });
        const DeviceRecord &w = d.working();
        EXPECT_EQ(w.probe(1)->HighAlarmTemp, 99.0);
        EXPECT_EQ(w.probe(2)->HighAlarmTemp, 99.0);
        EXPECT_EQ(w.probe(2)->ConsecutiveAlarmThreshold, 5);
        EXPECT_EQ(w.probe(3)->ProbeType, ProbeType::Switch);
        EXPECT_NE(w.probe(3)->HighAlarmTemp, 99.0);
        EXPECT_NE(w.probe(3)->ConsecutiveAlarmThreshold, 5);
        f.prompter.answers = {true};
        d.reject();
    });
}

TEST(ProbeSheet, EmailFieldsFollowTheThreeQuestionsAndPagesAreRepairedOnOpening)
{
    WindowFixture f;
    configure(f, 0, [&](CCfgDeviceDlg &d) {
        d.working().probe(1)->EmailTemplate = "";
        d.working().probe(1)->SMTPPort = 0;
        inProbeSheet(d, [&](CDeviceConfigSheet &sheet) {
            sheet.tabs().setCurrentIndex(1);
            CDeviceConfigPage &page = *sheet.page(1);
            EXPECT_EQ(page.emailTemplate->text().toUtf8(), f.store().folder().defaultEmailTemplate());
            EXPECT_EQ(page.smtpPort->text(), "25");
            for (YesNoField *q : {page.alarmEmail, page.cautionEmail, page.clearEmail})
                QTest::mouseClick(q->noButton(), Qt::LeftButton);
            for (QWidget *w : std::initializer_list<QWidget *>{page.emailTo, page.emailFrom, page.smtpServer,
                                                               page.smtpUser, page.smtpPassword, page.emailTemplate,
                                                               page.testEmail, page.customizeSubjects})
                EXPECT_FALSE(w->isEnabled());
            QTest::mouseClick(page.cautionEmail->yesButton(), Qt::LeftButton);
            EXPECT_TRUE(page.emailTo->isEnabled());
            EXPECT_TRUE(page.testEmail->isEnabled());
            EXPECT_EQ(page.smtpPassword->echoMode(), QLineEdit::Password);

            f.files.answers = {QStringLiteral("/tmp/list.txt"), QString(), QStringLiteral("/x/Alarm.wav")};
            QTest::mouseClick(page.browseRecipients, Qt::LeftButton);
            QTest::mouseClick(page.browseLog, Qt::LeftButton);
            QTest::mouseClick(page.browseAlarmSound, Qt::LeftButton);
            EXPECT_EQ(page.emailTo->text(), "/tmp/list.txt");
            EXPECT_EQ(page.logFile->text(), page.probe().LogFile.str()); // cancelled: unchanged
            EXPECT_EQ(page.probe().AlarmSoundFile.bytes(), "/x/Alarm.wav");
            ASSERT_EQ(f.files.asked.size(), 3);
            EXPECT_EQ(f.files.asked[0].title, "Email Distribution List Selector");
            EXPECT_EQ(f.files.asked[0].filters, QStringList{"Text Files (*.txt)"});
            EXPECT_EQ(f.files.asked[1].title, "Probe Data Log File Selector");
            EXPECT_EQ(f.files.asked[1].folder.toUtf8(), f.store().folder().logs());
            EXPECT_EQ(f.files.asked[2].title, "Alarm Sound File Selector");
            EXPECT_EQ(f.files.asked[2].filters, QStringList{"Wave Files (*.wav)"});
            EXPECT_EQ(f.files.asked[2].file.toUtf8(), f.store().folder().sounds() + "/Alarm.wav");
            QTest::mouseClick(page.testAlarmSound, Qt::LeftButton);
            EXPECT_EQ(f.sound.played, QList<QByteArray>{"/x/Alarm.wav"});

            whenShown<CEmailSubjectDlg>([](CEmailSubjectDlg &s) {
                EXPECT_EQ(s.windowTitle(), "Email Subject Lines");
                s.cautionSubject->setText("Careful: $PROBE_NAME");
                s.accept();
            });
            QTest::mouseClick(page.customizeSubjects, Qt::LeftButton);
            EXPECT_EQ(page.probe().EmailCautionSubject.bytes(), "Careful: $PROBE_NAME");
            QTest::mouseClick(sheet.okButton, Qt::LeftButton);
        });
        EXPECT_EQ(d.working().probe(1)->SMTPPort, 25);
        EXPECT_EQ(d.working().probe(1)->SendCautionEmail, 1);
        QTest::mouseClick(d.updateButton, Qt::LeftButton);
    });
    const QByteArray file = deviceFile(f, "Server Room");
    EXPECT_TRUE(file.contains("EmailCautionSubject=Careful: $PROBE_NAME\r\n"));
    EXPECT_TRUE(file.contains("EmailTo=/tmp/list.txt\r\n"));
}

TEST(AlertOptions, QuotesProgramsOnOpeningAndGreysTheDialerWhenTheDeviceHasNone)
{
    WindowFixture f;
    configure(f, 0, [&](CCfgDeviceDlg &d) {
        ProbeRecord &p = *d.working().probe(0);
        p.RunProgramAlarm = 1;
        p.ProgramAlarm = "/usr/local/bin/page-oncall -x";
        p.RunProgramCaution = 0;
        p.ProgramCaution = "/usr/bin/true";
        p.TriggerDialerAlarm = 1;
        inProbeSheet(d, [&](CDeviceConfigSheet &sheet) {
            CDeviceConfigPage &page = *sheet.page(0);
            whenShown<CAlertOptionsDlg>([&](CAlertOptionsDlg &o) {
                EXPECT_EQ(o.windowTitle(), "Additional Alert Options");
                EXPECT_EQ(page.probe().ProgramAlarm.bytes(), "\"/usr/local/bin/page-oncall -x\"");
                EXPECT_EQ(o.alarm.program->text(), "\"/usr/local/bin/page-oncall -x\"");
                EXPECT_TRUE(o.alarm.run->isChecked());
                EXPECT_FALSE(o.caution.program->isEnabled());
                EXPECT_FALSE(o.caution.browse->isEnabled());
                EXPECT_EQ(page.probe().ProgramCaution.bytes(), "/usr/bin/true");
                for (auto *c : {&o.alarm, &o.caution, &o.cleared}) {
                    EXPECT_FALSE(c->dialer->isEnabled());
                    EXPECT_FALSE(c->dialer->isChecked());
                }
                EXPECT_EQ(unnamedControls(o), QStringList());
                QTest::mouseClick(o.caution.run, Qt::LeftButton);
                EXPECT_TRUE(o.caution.browse->isEnabled());
                f.files.answers = {QStringLiteral("/opt/alert tools/notify")};
                QTest::mouseClick(o.caution.browse, Qt::LeftButton);
                EXPECT_EQ(f.files.asked.last().title, "Select an executable program");
                EXPECT_EQ(f.files.asked.last().filters,
                          (QStringList{"Executable Files (*)", "All Files (*)"}));
                EXPECT_TRUE(f.files.asked.last().executablesOnly);
                QTest::mouseClick(o.okButton, Qt::LeftButton);
            });
            QTest::mouseClick(page.moreOptions, Qt::LeftButton);
            EXPECT_EQ(page.probe().TriggerDialerAlarm, 0);
            EXPECT_EQ(page.probe().RunProgramCaution, 1);
            EXPECT_EQ(page.probe().ProgramCaution.bytes(), "\"/opt/alert tools/notify\"");
            QTest::mouseClick(sheet.okButton, Qt::LeftButton);
        });
        QTest::mouseClick(d.updateButton, Qt::LeftButton);
    });
    const QByteArray file = deviceFile(f, "Server Room");
    // Quoted once more in the file, so that its own quotes come back on reading.
    EXPECT_TRUE(file.contains("ProgramCaution=\"\"/opt/alert tools/notify\"\"\r\n")) << file.constData();
    EXPECT_TRUE(file.contains("RunProgramCaution=1\r\n"));
    const QByteArray log = readFile(f.store().device(0)->probe(0)->LogFile.bytes());
    EXPECT_TRUE(log.contains("ProgramCaution saved as \"\"/opt/alert tools/notify\"\"\r\n")) << log.constData();
}

TEST(AlertOptions, DialerBoxesShowTheProbesFlagsWhenTheDeviceHasADialer)
{
    WindowFixture f;
    configure(f, 0, [&](CCfgDeviceDlg &d) {
        QTest::mouseClick(d.dialer, Qt::LeftButton);
        d.working().probe(0)->TriggerDialerCaution = 1;
        inProbeSheet(d, [&](CDeviceConfigSheet &sheet) {
            whenShown<CAlertOptionsDlg>([&](CAlertOptionsDlg &o) {
                EXPECT_TRUE(o.alarm.dialer->isEnabled());
                EXPECT_TRUE(o.caution.dialer->isChecked());
                EXPECT_FALSE(o.alarm.dialer->isChecked());
                o.cancelButton->click();
            });
            QTest::mouseClick(sheet.page(0)->moreOptions, Qt::LeftButton);
            sheet.reject();
        });
        f.prompter.answers = {true};
        d.reject();
    });
}

TEST(QueryFailureEmail, DetailsAreEditedAndTheTestScriptSendsThroughARealServer)
{
    SmtpServer server;
    ASSERT_TRUE(server.running());
    WindowFixture f;
    configure(f, 1, [&](CCfgDeviceDlg &d) {
        EXPECT_FALSE(d.emailDetails->isEnabled());
        QTest::mouseClick(d.queryFailAlert, Qt::LeftButton);
        EXPECT_TRUE(d.emailDetails->isEnabled());
        d.queryFailCount->setCurrentIndex(4);
        d.working().EmailSubjectText = "";
        d.working().EmailBodyText = "";
        whenShown<CDeviceCfgEmailDlg>([&](CDeviceCfgEmailDlg &e) {
            EXPECT_EQ(e.windowTitle(), "Device Query Failure Email Configuration Details");
            EXPECT_EQ(e.subject->text(), "Corvanta Query Failure");
            EXPECT_EQ(e.body->text(), "The device named $DEVICE_NAME has not responded for $QUERY_THRESH minutes.");
            EXPECT_EQ(e.password->echoMode(), QLineEdit::Password);
            EXPECT_EQ(unnamedControls(e), QStringList());
            QTest::mouseClick(e.testButton, Qt::LeftButton);
            EXPECT_EQ(f.prompter.told.value(0), "Please designate an SMTP server for outgoing mail.");
            QTest::keyClicks(e.server, "127.0.0.1");
            retype(e.port, "");
            QTest::mouseClick(e.testButton, Qt::LeftButton);
            EXPECT_EQ(f.prompter.told.value(1), "Please designate an SMTP port for outgoing mail.");
            QTest::keyClicks(e.port, QString::number(server.port()));
            QTest::keyClicks(e.to, "ops@lab.example, oncall@lab.example");
            QTest::keyClicks(e.from, "monitor@lab.example");
            QTest::mouseClick(e.testButton, Qt::LeftButton);
            ASSERT_TRUE(waitUntil([&] { return f.console->isVisible(); }));
            for (int sent = 1; sent <= 2; ++sent) {
                EXPECT_TRUE(waitUntil([&] { return f.console->text().count("Press any key") == sent; }, 20000))
                    << f.console->text().toStdString();
                QTest::mouseClick(f.console->continueButton(), Qt::LeftButton);
            }
            EXPECT_TRUE(waitUntil([&] { return !f.console->console().running(); }));
            QTest::mouseClick(e.okButton, Qt::LeftButton);
        });
        QTest::mouseClick(d.emailDetails, Qt::LeftButton);
        QTest::mouseClick(d.updateButton, Qt::LeftButton);
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

TEST(ConfigureDevice, KeyboardAloneOpensTheDialogFromTheList)
{
    WindowFixture f;
    f.sheet->show();
    ProbeListView &list = f.sheet->deviceList().list();
    list.setFocus();
    QTest::keyClick(&list, Qt::Key_Down);
    EXPECT_TRUE(f.sheet->deviceList().configureButton->isEnabled());
    bool opened = false;
    whenShown<CCfgDeviceDlg>([&](CCfgDeviceDlg &d) {
        opened = true;
        f.prompter.answers = {true};
        QTest::keyClick(&d, Qt::Key_Escape);
    });
    f.sheet->deviceList().configureButton->setFocus();
    QTest::keyClick(f.sheet->deviceList().configureButton, Qt::Key_Space);
    EXPECT_TRUE(waitUntil([&] { return opened && !QApplication::activeModalWidget(); }, 5000));
}

TEST(ConfigPictures, EveryConfigurationWindowAt1024By768)
{
    WindowFixture f;
    configure(f, 2, [&](CCfgDeviceDlg &d) {
        QTest::mouseClick(d.queryFailAlert, Qt::LeftButton);
        QTest::mouseClick(d.dialer, Qt::LeftButton);
        EXPECT_LE(d.sizeHint().width(), 1024);
        EXPECT_LE(d.sizeHint().height(), 768);
        d.resize(d.sizeHint());
        f.picture(d, "configure-device.png");
        whenShown<CDeviceCfgEmailDlg>([&](CDeviceCfgEmailDlg &e) {
            EXPECT_LE(e.sizeHint().width(), 1024);
            e.resize(e.sizeHint());
            f.picture(e, "query-failure-email.png");
            e.reject();
        });
        QTest::mouseClick(d.emailDetails, Qt::LeftButton);
        inProbeSheet(d, [&](CDeviceConfigSheet &sheet) {
            sheet.resize(1000, 730);
            const char *names[] = {"temperature", "humidity", "wetness", "switch"};
            bool shown[4] = {};
            for (int i = 0; i < sheet.pageCount(); ++i) {
                const int type = int(sheet.scratch().probe(i)->ProbeType);
                if (shown[type])
                    continue;
                shown[type] = true;
                sheet.tabs().setCurrentIndex(i);
                QCoreApplication::processEvents();
                f.picture(sheet, QStringLiteral("probe-page-%1.png").arg(QLatin1String(names[type])));
            }
            // A switch probe: the condition list in place of the thresholds.
            CDeviceConfigPage &page = *sheet.page(sheet.tabs().currentIndex());
            QTest::mouseClick(page.typeButtons[3], Qt::LeftButton);
            EXPECT_TRUE(page.switchCondition->isVisible());
            EXPECT_FALSE(page.thresholds[0]->isVisible());
            EXPECT_EQ(unnamedControls(page), QStringList());
            f.picture(sheet, QStringLiteral("probe-page-switch.png"));
            whenShown<CAlertOptionsDlg>([&](CAlertOptionsDlg &o) {
                o.resize(o.sizeHint());
                f.picture(o, "alert-options.png");
                o.reject();
            });
            QTest::mouseClick(page.moreOptions, Qt::LeftButton);
            QTest::mouseClick(page.alarmEmail->yesButton(), Qt::LeftButton);
            whenShown<CEmailSubjectDlg>([&](CEmailSubjectDlg &s) {
                EXPECT_EQ(unnamedControls(s), QStringList());
                s.resize(s.sizeHint());
                f.picture(s, "email-subjects.png");
                s.reject();
            });
            QTest::mouseClick(page.customizeSubjects, Qt::LeftButton);
            sheet.reject();
        });
        f.prompter.answers = {true};
        d.reject();
    });
}

TEST(ConfigureDevice, TestDialerUsesThePortBeingEdited)
{
    WindowFixture f;
    f.store().settings.SerialPortPattern = "/dev/corvanta-test-port%d";
    configure(f, 0, [&](CCfgDeviceDlg &d) {
        QTest::mouseClick(d.dialer, Qt::LeftButton);
        d.dialerPort->setCurrentIndex(6);
        EXPECT_EQ(d.dialerPort->currentText(), "COM7 (/dev/corvanta-test-port6)");
        QTest::mouseClick(d.testDialer, Qt::LeftButton);
        f.prompter.answers = {true};
        d.reject();
    });
    const QByteArray log = readFile(f.store().device(0)->probe(0)->LogFile.bytes());
    EXPECT_TRUE(log.contains("Error initializing /dev/corvanta-test-port6 for device 0.\r\n")) << log.constData();
    EXPECT_EQ(f.store().device(0)->DialerPort, 1); // cancelled: the device keeps its port
}
