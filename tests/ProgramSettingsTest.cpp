#include "store/DeviceFile.h"
#include "store/DeviceStore.h"
#include "tests/support/TestSupport.h"

#include <QDir>

#include <gtest/gtest.h>

using namespace cz;
using namespace cz::test;

TEST(ProgramSettings, FirstStartMakesEveryFolderAndInstallsTheShippedFiles)
{
    DataFolderFixture f;
    f.store().readProgramSettings();
    for (const char *folder : {"Devices", "Logs", "Save", "Data", "Help", "Templates", "Sounds"})
        EXPECT_TRUE(QFileInfo(QFile::decodeName(f.path(folder))).isDir()) << folder;
    EXPECT_TRUE(f.messages.isEmpty());
    EXPECT_EQ(f.store().deviceCount(), 0);
    EXPECT_EQ(f.store().settings.NormalColor, 65280);
    EXPECT_EQ(f.store().settings.YAxis1Color, 8438015);
    EXPECT_EQ(f.store().settings.Columns[40].Title.bytes(), "Switch Close Time");
    EXPECT_EQ(f.store().settings.Columns[12].Width, 109);

    const QByteArray email = readFile(f.path("Templates/DefaultEmailTemplate.txt"));
    for (const char *var : {"$CURRENT_VALUE", "$ALARM_STATE", "$ALARM_DATE", "$ALARM_TIME", "$THRESH_EXCEEDED",
                            "$PROBE_NAME", "$DEVICE_NAME", "$PROBE_NUMBER", "$GROUP_NAME", "$CONSECUTIVE_COUNT",
                            "$CONSECUTIVE_THRESH"})
        EXPECT_TRUE(email.contains(var)) << var;
    EXPECT_TRUE(readFile(f.path("Templates/ProbeTemplate.txt")).contains("[ProbeXX]"));
    EXPECT_TRUE(readFile(f.path("Templates/DeviceTemplate.txt")).contains("[Device]"));
    EXPECT_TRUE(readFile(f.path("Help/CorvantaZephtra_Help.html")).contains("</html>"));

    // An operator's own template is never replaced.
    writeFile(f.path("Templates/DeviceTemplate.txt"), "[Device]\r\n; mine\r\n");
    f.restart().readProgramSettings();
    EXPECT_EQ(readFile(f.path("Templates/DeviceTemplate.txt")), "[Device]\r\n; mine\r\n");
}

TEST(ProgramSettings, DevicesWithGapsFillConsecutiveSlotsAndKeysAbove256AreIgnored)
{
    DataFolderFixture f;
    writeFile(f.path("Corvanta Zephtra.ini"),
              "[Devices]\r\nDevice001=Alpha\r\nDevice003=Gamma\r\nDevice256=Last\r\nDevice257=TooFar\r\n");
    DeviceStore &s = f.store();
    s.readProgramSettings();
    ASSERT_EQ(s.deviceCount(), 3);
    EXPECT_EQ(s.deviceForUpdate(0)->DeviceName.bytes(), "Alpha");
    EXPECT_EQ(s.deviceForUpdate(1)->DeviceName.bytes(), "Gamma");
    EXPECT_EQ(s.deviceForUpdate(2)->DeviceName.bytes(), "Last");
    // Missing device files give devices with the file defaults.
    EXPECT_EQ(s.deviceForUpdate(1)->DevicePort, 80);
    EXPECT_EQ(s.deviceForUpdate(1)->ProbeCount, 4);
    EXPECT_EQ(s.deviceForUpdate(1)->probe(3)->DeviceNumber, 1);
}

TEST(ProgramSettings, AHandWrittenFileKeepsCommentsAndUnknownKeysAndDevicesIsLeftAlone)
{
    DataFolderFixture f;
    const QByteArray original = "; written by hand\n[Program]\nShowDisabledProbes = 1\nHighAlarmColor=16711680\n"
                                "ListColumn07Enabled=0\nMyOwnKey=keep\n\n[Devices]\n; list\nDevice002=Lab\n";
    writeFile(f.path("Corvanta Zephtra.ini"), original);
    DeviceStore &s = f.store();
    s.readProgramSettings();
    EXPECT_EQ(s.settings.ShowDisabledProbes, 1);
    EXPECT_EQ(s.settings.HighAlarmColor, 16711680);
    EXPECT_EQ(s.settings.Columns[7].Enabled, 0);
    s.settings.Columns[7].Width = 0;
    ASSERT_TRUE(s.writeProgramSettings());
    EXPECT_EQ(s.status().text(), "Status: writing program configuration data...");

    const QByteArray saved = readFile(f.path("Corvanta Zephtra.ini"));
    EXPECT_TRUE(saved.startsWith("; written by hand\r\n[Program]\r\nShowDisabledProbes=1\r\nHighAlarmColor=16711680\r\n"
                                 "ListColumn07Enabled=0\r\nMyOwnKey=keep\r\nStartMinimized=0\r\n"));
    EXPECT_TRUE(saved.contains("\r\nListColumn07Width=0\r\n"));
    EXPECT_TRUE(saved.contains("\r\nListColumn40Title=Switch Close Time\r\n"));
    EXPECT_TRUE(saved.endsWith("\r\n\r\n[Devices]\r\n; list\r\nDevice002=Lab\r\n"));
    EXPECT_FALSE(saved.contains("\n\n"));  // every line ends in CR LF

    f.restart().readProgramSettings();
    EXPECT_EQ(f.store().settings.Columns[7].Enabled, 0);
    EXPECT_EQ(f.store().settings.Columns[7].Width, 0);
}

TEST(ProgramSettings, AFolderThatCannotBeMadeIsReportedAndReadingGoesOn)
{
    DataFolderFixture f;
    writeFile(f.path("Logs"), "a file where the folder should be");
    writeFile(f.path("Corvanta Zephtra.ini"), "[Devices]\r\nDevice001=Lab\r\n");
    QDir().mkpath(QFile::decodeName(f.path("Devices")));
    writeFile(f.path("Devices/Lab.ini"), "[Device]\r\nDeviceName=Lab\r\n");
    f.store().readProgramSettings();
    EXPECT_EQ(f.messages, QStringList{"The installation of Corvanta Zephtra is incomplete (log dir).\n"
                                      " Please contact Varnholt Technical Support."});
    EXPECT_EQ(f.store().deviceCount(), 1);
    EXPECT_TRUE(QFileInfo(QFile::decodeName(f.path("Sounds"))).isDir());
}

TEST(ProgramSettings, ADamagedSettingsFileLoadsWithDefaults)
{
    DataFolderFixture f;
    QByteArray junk;
    for (int i = 0; i < 20000; ++i)
        junk += char((i * 131) % 256);
    junk += '\n' + QByteArray(10 * 1024 * 1024, 'q');
    writeFile(f.path("Corvanta Zephtra.ini"), junk);
    f.store().readProgramSettings();
    EXPECT_EQ(f.store().settings.HighAlarmColor, 255);
    EXPECT_EQ(f.store().settings.TemperatureHighMargin, 10);
}

TEST(ProgramSettings, TheTrayAndNotificationKeysAreWrittenOnlyOnceTurnedOff)
{
    DataFolderFixture f;
    DeviceStore &s = f.store();
    s.readProgramSettings();
    EXPECT_EQ(s.settings.ShowTrayIcon, 1);
    EXPECT_EQ(s.settings.DesktopNotifications, 1);
    ASSERT_TRUE(s.writeProgramSettings());
    const QByteArray untouched = readFile(f.path("Corvanta Zephtra.ini"));
    EXPECT_FALSE(untouched.contains("ShowTrayIcon"));
    EXPECT_FALSE(untouched.contains("DesktopNotifications"));

    s.settings.DesktopNotifications = 0;
    ASSERT_TRUE(s.writeProgramSettings());
    EXPECT_TRUE(readFile(f.path("Corvanta Zephtra.ini")).contains("\r\nDesktopNotifications=0\r\n"));
    DeviceStore &again = f.restart();
    again.readProgramSettings();
    EXPECT_EQ(again.settings.DesktopNotifications, 0);
    EXPECT_EQ(again.settings.ShowTrayIcon, 1);
    // Turned on again, the key says so rather than going.
    again.settings.DesktopNotifications = 1;
    ASSERT_TRUE(again.writeProgramSettings());
    const QByteArray saved = readFile(f.path("Corvanta Zephtra.ini"));
    EXPECT_TRUE(saved.contains("\r\nDesktopNotifications=1\r\n"));
    EXPECT_FALSE(saved.contains("ShowTrayIcon"));
}
