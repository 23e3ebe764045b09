// The probe sheet of "Configure A Device" and the dialogs its pages open,
// driven as an operator drives them.
#include "tests/ui/ConfigFixture.h"
#include "ui/config/AlertOptionsDialog.h"
#include "ui/config/EmailSubjectsDialog.h"
#include "store/IniFile.h"
#include "ui/config/ThresholdEntry.h"

#include <QApplication>
#include <QDoubleSpinBox>
#include <QLabel>

#include <gtest/gtest.h>

using namespace cz;
using namespace cz::test;


TEST(ProbeSheet, TheDeviceIsPolledWithItsOldSettingsWhileItsWindowsAreOpen)
{
    WindowFixture f;
    f.sim.freezeTime(50);
    f.tick();
    const DeviceRecord &live = *f.store().device(0);
    const double highAlarmBefore = live.probe(0)->HighAlarmTemp;
    std::int64_t contactWhileOpen = 0;
    double highAlarmWhileOpen = 0;
    configure(f, 0, [&](DeviceSettingsDialog &d) {
        inProbeSheet(d, [&](ProbeSettingsSheet &sheet) {
            ThresholdEntry &high = threshold(probePage(sheet, 0), 0);
            high.setFocus();
            high.setEditText("120");
            f.clock.advance(10);
            f.tick();
            contactWhileOpen = live.LastContactTimeVal;
            highAlarmWhileOpen = live.probe(0)->HighAlarmTemp;
            click(sheet, "OK");
        });
        f.clock.advance(10);
        f.tick();
        EXPECT_EQ(live.probe(0)->HighAlarmTemp, highAlarmBefore);
        click(d, "Update");
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
    configure(f, 0, [&](DeviceSettingsDialog &d) {
        inProbeSheet(d, [&](ProbeSettingsSheet &sheet) {
            EXPECT_EQ(sheet.windowTitle(), "Server Room");
            EXPECT_EQ(probePageCount(sheet), 4);
            ProbeSettingsPage &page = probePage(sheet, 0);
            EXPECT_EQ(threshold(page, 0).currentText(), "85");
            EXPECT_EQ(threshold(page, 0).accessibleDescription(), "deg. F");
            EXPECT_EQ(unnamedControls(page), QStringList());

            f.prompter.answers = {false};
            click(page, "Rankine");
            EXPECT_TRUE(button(page, "Fahrenheit").isChecked());
            EXPECT_EQ(page.probe().DisplayUnits, DisplayUnits::F);
            EXPECT_EQ(threshold(page, 0).count(), 712);

            f.prompter.answers = {true};
            click(page, "Rankine");
            ASSERT_EQ(f.prompter.questions.size(), 2);
            EXPECT_EQ(f.prompter.questions[1],
                      "This device reports its display units as type \"F\" (Fahrenheit scale).\nCorvanta can convert "
                      "from that scale to Kelvin, but the display will\ndiffer from the default web page values that "
                      "are displayed when the\ndevice is queried with a web browser.\n\nIf you want Corvanta Zephtra "
                      "to convert the values, press the \"Yes\" button.");
            EXPECT_EQ(page.probe().DisplayUnits, DisplayUnits::R);
            EXPECT_EQ(threshold(page, 2).accessibleDescription(), "deg. R");
            for (int row = 0; row < 4; ++row) {
                ThresholdEntry &list = threshold(page, row);
                EXPECT_EQ(list.count(), 573 - 178 + 1);
                EXPECT_EQ(list.itemText(0), "178");
                EXPECT_EQ(list.currentIndex(), 178);
                EXPECT_EQ(list.currentText(), "356");
            }
            // The stored thresholds wait for OK.
            EXPECT_EQ(page.probe().HighAlarmTemp, 85.0);
            click(page, "Celsius");
            EXPECT_EQ(f.prompter.questions.size(), 2); // asked no more
            EXPECT_EQ(threshold(page, 0).itemText(0), "-95");
            EXPECT_EQ(threshold(page, 0).currentText(), "0");
            click(page, "Rankine");
            click(sheet, "OK");
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
    configure(f, 2, [&](DeviceSettingsDialog &d) {
        inProbeSheet(d, [&](ProbeSettingsSheet &sheet) {
            QApplication::setActiveWindow(&sheet);
            ProbeSettingsPage &temperature = probePage(sheet, 0);
            ThresholdEntry &high = threshold(temperature, 0);
            high.setFocus();
            high.lineEdit()->selectAll();
            QTest::keyClick(high.lineEdit(), Qt::Key_Delete);
            QTest::keyClicks(high.lineEdit(), "-");
            const double before = temperature.probe().HighAlarmTemp;
            EXPECT_EQ(temperature.probe().HighAlarmTemp, before);
            QTest::keyClicks(high.lineEdit(), "x");
            EXPECT_EQ(high.currentText(), "-");
            high.lineEdit()->selectAll();
            QTest::keyClicks(high.lineEdit(), "12.34");
            EXPECT_EQ(high.currentText(), "12.3");
            EXPECT_DOUBLE_EQ(temperature.probe().HighAlarmTemp, 12.3);
            QTest::keyClick(high.lineEdit(), Qt::Key_Tab);
            EXPECT_EQ(high.currentText(), "12.3");
            EXPECT_GE(high.findText("12.3"), 0);
            high.setEditText("-4.0");
            EXPECT_EQ(temperature.probe().HighAlarmTemp, -4.0);

            // Greenhouse: probe 3 measures humidity, probe 4 wetness.
            int humidityPage = -1;
            for (int i = 0; i < probePageCount(sheet); ++i)
                if (f.store().device(2)->probe(i)->ProbeType == ProbeType::Humidity)
                    humidityPage = i;
            ASSERT_GE(humidityPage, 0);
            pageTabs(sheet).setCurrentIndex(humidityPage);
            ProbeSettingsPage &humidity = probePage(sheet, humidityPage);
            EXPECT_EQ(threshold(humidity, 0).accessibleDescription(), "% RH");
            EXPECT_FALSE(button(humidity, "Fahrenheit").isEnabled());
            ThresholdEntry &low = threshold(humidity, 3);
            low.setFocus();
            low.lineEdit()->selectAll();
            QTest::keyClicks(low.lineEdit(), "1234");
            EXPECT_EQ(low.currentText(), "123");
            EXPECT_EQ(humidity.probe().LowAlarmHumidity, 123);
            low.lineEdit()->selectAll();
            QTest::keyClicks(low.lineEdit(), "4.5");
            EXPECT_EQ(humidity.probe().LowAlarmHumidity, 45);
            QTest::keyClick(low.lineEdit(), Qt::Key_Tab);
            EXPECT_EQ(low.currentIndex(), 45);
            click(sheet, "Cancel");
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
    configure(f, 0, [&](DeviceSettingsDialog &d) {
        inProbeSheet(d, [&](ProbeSettingsSheet &sheet) {
            ProbeSettingsPage &page = probePage(sheet, 0);
            threshold(page, 0).setEditText("99");
            choose(list(page, "Consecutive alarm threshold:"), 4);
            f.prompter.answers = {true};
            click(page, "Apply to all probes of this type on this device");
            EXPECT_EQ(f.prompter.questions.last(),
                      "This will change all of the parameters enclosed in the\n\"Alarm Thresholds\" box for all "
                      "Temperature probes\n(on this device) to the values displayed on this page.\n\nAre you sure?");
            QTest::mouseClick(control<YesNoField>(page, "Sound on alarm:").yesButton(), Qt::LeftButton);
            type(field(page, "Alarm sound:"), "/tmp/alarm.wav");
            f.prompter.answers = {false};
            click(page, "applySounds");
            EXPECT_EQ(f.prompter.questions.last(),
                      "This will change all of the parameters enclosed in the\n\"Sounds\" box for all probes\n(on "
                      "this device) to the values displayed on this page.\n\nAre you sure?");
            pageTabs(sheet).setCurrentIndex(1);
            ProbeSettingsPage &second = probePage(sheet, 1);
            EXPECT_EQ(threshold(second, 0).currentText(), "99");
            EXPECT_EQ(list(second, "Consecutive alarm threshold:").currentText(), "5");
            EXPECT_TRUE(field(second, "Alarm sound:").text().isEmpty());
            click(sheet, "OK");
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

TEST(ProbeSheet, TheClearMarginFollowsTheThresholdsAndKeepsItsSizeInOtherUnits)
{
    WindowFixture f;
    configure(f, 0, [&](DeviceSettingsDialog &d) {
        inProbeSheet(d, [&](ProbeSettingsSheet &sheet) {
            QApplication::setActiveWindow(&sheet);
            ProbeSettingsPage &page = probePage(sheet, 0);
            auto &margin = control<QDoubleSpinBox>(page, "Clear margin:");
            EXPECT_EQ(margin.accessibleDescription(), "deg. F");
            // Tab goes from the last threshold to the margin.
            ThresholdEntry &lowAlarm = threshold(page, 3);
            lowAlarm.setFocus();
            QTest::keyClick(lowAlarm.lineEdit(), Qt::Key_Tab);
            ASSERT_TRUE(margin.hasFocus());
            QTest::keyClick(&margin, Qt::Key_A, Qt::ControlModifier);
            QTest::keyClicks(&margin, "1.8");
            EXPECT_DOUBLE_EQ(page.probe().ClearMargin, 1.8);

            f.prompter.answers = {true};
            click(page, "Celsius");
            EXPECT_DOUBLE_EQ(page.probe().ClearMargin, 1.0);
            EXPECT_EQ(margin.text(), "1.00");
            EXPECT_EQ(margin.accessibleDescription(), "deg. C");
            click(page, "Fahrenheit");
            EXPECT_DOUBLE_EQ(page.probe().ClearMargin, 1.8);

            f.prompter.answers = {true};
            click(page, "Apply to all probes of this type on this device");
            pageTabs(sheet).setCurrentIndex(1);
            EXPECT_EQ(control<QDoubleSpinBox>(probePage(sheet, 1), "Clear margin:").text(), "1.80");
            click(sheet, "OK");
        });
        click(d, "Update");
    });
    const IniFile file(deviceFile(f, "Server Room"));
    EXPECT_EQ(file.value("Probe01", "ClearMargin"), QByteArray("1.80"));
    EXPECT_EQ(file.value("Probe02", "ClearMargin"), QByteArray("1.80"));
    EXPECT_FALSE(file.value("Probe04", "ClearMargin")) << "the switch keeps no margin";
    EXPECT_EQ(f.store().device(0)->probe(0)->ClearMargin, 1.8);
}

TEST(ProbeSheet, EmailFieldsFollowTheThreeQuestionsAndPagesAreRepairedOnOpening)
{
    WindowFixture f;
    f.store().deviceForUpdate(0)->probe(1)->EmailTemplate = "";
    f.store().deviceForUpdate(0)->probe(1)->SMTPPort = 0;
    configure(f, 0, [&](DeviceSettingsDialog &d) {
        inProbeSheet(d, [&](ProbeSettingsSheet &sheet) {
            pageTabs(sheet).setCurrentIndex(1);
            ProbeSettingsPage &page = probePage(sheet, 1);
            EXPECT_EQ(field(page, "Email Body Template:").text().toUtf8(), f.store().folder().defaultEmailTemplate());
            EXPECT_EQ(field(page, "Port:").text(), "25");
            for (const char *q : {"Send email message on alarm:", "Send email message on caution:",
                                  "Send email message on clear:"})
                QTest::mouseClick(control<YesNoField>(page, q).noButton(), Qt::LeftButton);
            for (const char *name : {"Email To Address (or list):", "Email From Address:", "SMTP Server:",
                                     "SMTP Server User Name:", "SMTP Server Password:", "Email Body Template:"})
                EXPECT_FALSE(field(page, name).isEnabled()) << name;
            EXPECT_FALSE(button(page, "Send Test Email Message").isEnabled());
            EXPECT_FALSE(button(page, "Customize Subject Lines").isEnabled());
            QTest::mouseClick(control<YesNoField>(page, "Send email message on caution:").yesButton(), Qt::LeftButton);
            EXPECT_TRUE(field(page, "Email To Address (or list):").isEnabled());
            EXPECT_TRUE(button(page, "Send Test Email Message").isEnabled());
            EXPECT_EQ(field(page, "SMTP Server Password:").echoMode(), QLineEdit::Password);

            f.files.answers = {QStringLiteral("/tmp/list.txt"), QString(), QStringLiteral("/x/Alarm.wav")};
            click(page, "browseRecipients");
            click(page, "browseLog");
            click(page, "browseAlarmSound");
            EXPECT_EQ(field(page, "Email To Address (or list):").text(), "/tmp/list.txt");
            EXPECT_EQ(field(page, "Log File:").text(), page.probe().LogFile.str()); // cancelled: unchanged
            EXPECT_EQ(page.probe().AlarmSoundFile.bytes(), "/x/Alarm.wav");
            ASSERT_EQ(f.files.asked.size(), 3);
            EXPECT_EQ(f.files.asked[0].title, "Email Distribution List Selector");
            EXPECT_EQ(f.files.asked[0].filters, QStringList{"Text Files (*.txt)"});
            EXPECT_EQ(f.files.asked[1].title, "Probe Data Log File Selector");
            EXPECT_EQ(f.files.asked[1].folder.toUtf8(), f.store().folder().logs());
            EXPECT_EQ(f.files.asked[2].title, "Alarm Sound File Selector");
            EXPECT_EQ(f.files.asked[2].filters, QStringList{"Wave Files (*.wav)"});
            EXPECT_EQ(f.files.asked[2].file.toUtf8(), f.store().folder().sounds() + "/Alarm.wav");
            click(page, "testAlarmSound");
            EXPECT_EQ(f.sound.played, QList<QByteArray>{"/x/Alarm.wav"});

            whenShown<EmailSubjectsDialog>([](EmailSubjectsDialog &s) {
                EXPECT_EQ(s.windowTitle(), "Email Subject Lines");
                type(field(s, "Caution message:"), "Careful: $PROBE_NAME");
                s.accept();
            });
            click(page, "Customize Subject Lines");
            EXPECT_EQ(page.probe().EmailCautionSubject.bytes(), "Careful: $PROBE_NAME");
            click(sheet, "OK");
        });
        EXPECT_EQ(d.working().probe(1)->SMTPPort, 25);
        EXPECT_EQ(d.working().probe(1)->SendCautionEmail, 1);
        click(d, "Update");
    });
    const QByteArray file = deviceFile(f, "Server Room");
    EXPECT_TRUE(file.contains("EmailCautionSubject=Careful: $PROBE_NAME\r\n"));
    EXPECT_TRUE(file.contains("EmailTo=/tmp/list.txt\r\n"));
}

TEST(AlertOptions, QuotesProgramsOnOpeningAndGreysTheDialerWhenTheDeviceHasNone)
{
    WindowFixture f;
    ProbeRecord &p = *f.store().deviceForUpdate(0)->probe(0);
    p.RunProgramAlarm = 1;
    p.ProgramAlarm = "/usr/local/bin/page-oncall -x";
    p.RunProgramCaution = 0;
    p.ProgramCaution = "/usr/bin/true";
    p.TriggerDialerAlarm = 1;
    const QString alarmRun = QStringLiteral("Run this Windows program when an alarm occurs on this probe:");
    const QString cautionRun = QStringLiteral("Run this Windows program when a caution occurs on this probe:");
    configure(f, 0, [&](DeviceSettingsDialog &d) {
        inProbeSheet(d, [&](ProbeSettingsSheet &sheet) {
            ProbeSettingsPage &page = probePage(sheet, 0);
            whenShown<AlertOptionsDialog>([&](AlertOptionsDialog &o) {
                EXPECT_EQ(o.windowTitle(), "Additional Alert Options");
                EXPECT_EQ(page.probe().ProgramAlarm.bytes(), "\"/usr/local/bin/page-oncall -x\"");
                EXPECT_EQ(field(o, alarmRun).text(), "\"/usr/local/bin/page-oncall -x\"");
                EXPECT_TRUE(button(o, alarmRun).isChecked());
                EXPECT_FALSE(field(o, cautionRun).isEnabled());
                EXPECT_FALSE(button(o, "browseCaution").isEnabled());
                EXPECT_EQ(page.probe().ProgramCaution.bytes(), "/usr/bin/true");
                for (const char *dialer : {"Trigger voice dialer when an alarm occurs on this probe.",
                                           "Trigger voice dialer when a caution occurs on this probe.",
                                           "Trigger voice dialer when an alarm or caution is cleared on this probe."}) {
                    EXPECT_FALSE(button(o, dialer).isEnabled());
                    EXPECT_FALSE(button(o, dialer).isChecked());
                }
                EXPECT_EQ(unnamedControls(o), QStringList());
                click(o, cautionRun);
                EXPECT_TRUE(button(o, "browseCaution").isEnabled());
                f.files.answers = {QStringLiteral("/opt/alert tools/notify")};
                click(o, "browseCaution");
                EXPECT_EQ(f.files.asked.last().title, "Select an executable program");
                EXPECT_EQ(f.files.asked.last().filters, (QStringList{"Executable Files (*)", "All Files (*)"}));
                EXPECT_TRUE(f.files.asked.last().executablesOnly);
                click(o, "OK");
            });
            click(page, "More Options...");
            EXPECT_EQ(page.probe().TriggerDialerAlarm, 0);
            EXPECT_EQ(page.probe().RunProgramCaution, 1);
            EXPECT_EQ(page.probe().ProgramCaution.bytes(), "\"/opt/alert tools/notify\"");
            click(sheet, "OK");
        });
        click(d, "Update");
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
    f.store().deviceForUpdate(0)->probe(0)->TriggerDialerCaution = 1;
    configure(f, 0, [&](DeviceSettingsDialog &d) {
        click(d, "Enable voice dialer for this device on this serial port:");
        inProbeSheet(d, [&](ProbeSettingsSheet &sheet) {
            whenShown<AlertOptionsDialog>([&](AlertOptionsDialog &o) {
                EXPECT_TRUE(button(o, "Trigger voice dialer when an alarm occurs on this probe.").isEnabled());
                EXPECT_TRUE(button(o, "Trigger voice dialer when a caution occurs on this probe.").isChecked());
                EXPECT_FALSE(button(o, "Trigger voice dialer when an alarm occurs on this probe.").isChecked());
                button(o, "Cancel").click();
            });
            click(probePage(sheet, 0), "More Options...");
            sheet.reject();
        });
        f.prompter.answers = {true};
        d.reject();
    });
}
