#include "monitor/AlarmEvaluation.h"
#include "store/DeviceFile.h"
#include "store/DeviceSettingsCheck.h"
#include "store/DeviceStore.h"
#include "store/IniFile.h"
#include "tests/support/QuietActions.h"
#include "tests/support/TestSupport.h"

#include <QDir>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace cz;
using namespace cz::test;

namespace {

// A device added by hand: what the add-device flow builds before its first save.
int addDevice(DeviceStore &s, const QByteArray &name, int probes)
{
    QDir().mkpath(QFile::decodeName(s.folder().devices()));
    auto d = newDeviceRecord(s.folder().root, name, "Model R4", 80, probes);
    for (int i = 0; i < probes; ++i) {
        ProbeRecord *p = d->probe(i);
        p->HighAlarmTemp = 90;
        p->LowAlarmTemp = 40;
        p->ChartDataColor = defaultChartColor(i);
        p->ChartDataSymbol = defaultChartSymbol(i);
    }
    return s.addDevice(std::move(d));
}

QList<QByteArray> keysOf(const QByteArray &text)
{
    QList<QByteArray> keys;
    for (const QByteArray &line : text.split('\n')) {
        const int eq = line.indexOf('=');
        if (eq > 0 && !line.startsWith(';'))
            keys.append(line.left(eq));
    }
    return keys;
}

} // namespace

TEST(DeviceFile, ANewDeviceFileIsTheTemplateTextFollowedByEveryKeyInOrder)
{
    DataFolderFixture f;
    DeviceStore &s = f.store();
    s.readProgramSettings();
    writeFile(f.path("Templates/DeviceTemplate.txt"), "; head\r\n[Device]\r\n; device keys follow\r\n");
    writeFile(f.path("Templates/ProbeTemplate.txt"), "[ProbeXX]\r\n; ProbeXX keys follow\r\n");
    const int slot = addDevice(s, "Lab", 2);
    ASSERT_TRUE(s.writeDeviceFile(slot, true));

    const QByteArray text = readFile(f.path("Devices/Lab.ini"));
    const QByteArray banner2 = "\r\n;################################\r\n;  Probe02\r\n;################################\r\n";
    EXPECT_TRUE(text.startsWith("; head\r\n[Device]\r\n; device keys follow\r\nDevicePort=80\r\nProbeCount=2\r\n"
                                "UseProxy=0\r\nLastContactTimeVal=0\r\nDisplayUnits=0\r\nQueryInterval=30\r\n"
                                "DeviceName=Lab\r\n"));
    EXPECT_TRUE(text.contains("PlotLineWidth=1\r\n\r\n;################################\r\n;  Probe01\r\n"
                              ";################################\r\n[Probe01]\r\n; ProbeXX keys follow\r\n"
                              "DeviceNumber=0\r\nProbeNumber=1\r\n"));
    EXPECT_TRUE(text.contains(banner2 + "[Probe02]\r\n; ProbeXX keys follow\r\nDeviceNumber=0\r\nProbeNumber=2\r\n"));

    const QList<QByteArray> keys = keysOf(text);
    ASSERT_EQ(keys.size(), 31 + 2 * 83);  // CurrentTemp has no reading and is left out
    EXPECT_EQ(keys[30], "PlotLineWidth");
    EXPECT_EQ(keys[31 + 52], "HighAlarmTemp");
    EXPECT_EQ(keys[31 + 56], "HighestTemp");
    EXPECT_EQ(keys[31 + 82], "LastSwitchCloseDate");
    EXPECT_TRUE(text.contains("HighAlarmTemp=90.00\r\n"));
    EXPECT_TRUE(text.contains("ChartDataColor=4210816\r\n"));
    EXPECT_FALSE(text.contains("CurrentTemp="));

    // Adding a device is logged, and afterwards every device key is due again.
    EXPECT_EQ(f.log.messagesFor(s.deviceForUpdate(0)->probe(1)->LogFile.bytes()), QList<QByteArray>{"New device added."});
    EXPECT_TRUE(s.deviceForUpdate(0)->Changed.all());
    EXPECT_TRUE(s.deviceForUpdate(0)->probe(0)->Changed.isEmpty());
    EXPECT_EQ(s.status().text(), "Status: monitoring devices...");
}

TEST(DeviceFile, MissingTemplatesAreReportedAndTheFileStillHoldsEveryKey)
{
    DataFolderFixture f;
    DeviceStore &s = f.store();
    const int slot = addDevice(s, "Bare", 1);
    ASSERT_TRUE(s.writeDeviceFile(slot, true));
    EXPECT_EQ(f.messages, (QStringList{"Error reading device template file.\n", "Error reading probe template file.\n"}));
    const QByteArray text = readFile(f.path("Devices/Bare.ini"));
    EXPECT_EQ(keysOf(text).size(), 31 + 83);
    EXPECT_TRUE(text.contains(";################################\r\n\r\n[Device]\r\nDevicePort=80\r\n"));
    EXPECT_TRUE(text.contains("PlotLineWidth=1\r\n\r\n[Probe01]\r\nDeviceNumber=0\r\n"));
}

TEST(DeviceFile, EveryProbeXXSectionHeaderOfTheProbeTemplateIsNumbered)
{
    const QByteArray dir = QFile::encodeName(QDir::tempPath()) + "/cz-template-test";
    QDir().mkpath(QFile::decodeName(dir));
    writeFile(dir + "/DeviceTemplate.txt", "[Device]\r\n");
    writeFile(dir + "/ProbeTemplate.txt", "[ProbeXX]\r\n; see [ProbeXX] and ProbeXX\r\n");
    QStringList errors;
    const QByteArray text = deviceFileSkeleton(dir, 2, &errors);
    EXPECT_TRUE(errors.isEmpty());
    EXPECT_TRUE(text.contains("[Probe01]\r\n; see [Probe01] and ProbeXX\r\n"));
    EXPECT_TRUE(text.contains("[Probe02]\r\n; see [Probe02] and ProbeXX\r\n"));
    QDir(QFile::decodeName(dir)).removeRecursively();
}

TEST(DeviceFile, OnlyChangedKeysAreSavedAndEachIsLoggedToEnabledProbes)
{
    DataFolderFixture f;
    DeviceStore &s = f.store();
    const int slot = addDevice(s, "Lab", 2);
    ASSERT_TRUE(s.writeDeviceFile(slot, true));
    DeviceRecord &d = *s.deviceForUpdate(slot);
    d.Changed.clear();
    d.probe(1)->ProbeEnabled = 0;
    QByteArray before = readFile(f.path("Devices/Lab.ini"));
    f.log.lines.clear();

    d.DevicePort = 8082;
    d.LastContactTimeVal = 1794661500;
    d.markChanged("DevicePort", "LastContactTimeVal");
    d.probe(0)->HighAlarmTemp = 95.5;
    d.probe(0)->markChanged("HighAlarmTemp");
    d.probe(1)->ProbeName = "Exhaust";
    d.probe(1)->markChanged("ProbeName");
    ASSERT_TRUE(s.writeDeviceFile(slot, false));

    before.replace("DevicePort=80\r\n", "DevicePort=8082\r\n");
    before.replace("LastContactTimeVal=0\r\n", "LastContactTimeVal=1794661500\r\n");
    const qsizetype first = before.indexOf("HighAlarmTemp=90.00\r\n");  // probe 1's
    before.replace(first, 21, "HighAlarmTemp=95.50\r\n");
    before.replace("ProbeName=Probe 2\r\n", "ProbeName=Exhaust\r\n");
    EXPECT_EQ(readFile(f.path("Devices/Lab.ini")), before);

    const QByteArray log1 = d.probe(0)->LogFile.bytes();
    EXPECT_EQ(f.log.messagesFor(log1), (QList<QByteArray>{"DevicePort saved as \"8082\"", "HighAlarmTemp saved as \"95.50\""}));
    EXPECT_TRUE(f.log.messagesFor(d.probe(1)->LogFile.bytes()).isEmpty());  // disabled probe
    EXPECT_TRUE(d.Changed.isEmpty());
    EXPECT_TRUE(d.probe(0)->Changed.isEmpty());

    // Nothing changed: nothing is written or logged.
    f.log.lines.clear();
    ASSERT_TRUE(s.writeDeviceFile(slot, false));
    EXPECT_TRUE(f.log.lines.empty());
}

// A window edits a copy made a while ago; monitoring went on meanwhile.
TEST(DeviceFile, CommittingAnEditedCopyTakesItsSettingsAndKeepsWhatMonitoringLearnt)
{
    DataFolderFixture f;
    DeviceStore &s = f.store();
    const int slot = addDevice(s, "Lab", 2);
    ASSERT_TRUE(s.writeDeviceFile(slot, true));
    DeviceRecord &live = *s.deviceForUpdate(slot);
    live.Changed.clear();
    f.log.lines.clear();

    DeviceRecord edited;
    copyDeviceRecord(&edited, live);
    for (int i = 0; i < 2; ++i) {
        edited.Probes[std::size_t(i)] = std::make_unique<ProbeRecord>();
        copyProbeRecord(edited.probe(i), *live.probe(i));
    }
    edited.QueryInterval = 60;
    edited.DeviceName = "Lab 2";
    edited.probe(1)->HighAlarmTemp = 99;

    // Readings that came in while the window was open.
    live.LastContactTimeVal = 1794661500;
    live.probe(1)->CurrentTemp = 91.5;
    live.probe(1)->AlarmState = AlarmState::HighAlarm;
    live.probe(1)->Values.append(91.5);
    const ProbeRecord *probeBefore = live.probe(1);

    QList<int> changed;
    QObject::connect(&s, &DeviceStore::deviceChanged, [&](int slot) { changed << slot; });
    ASSERT_TRUE(s.commitDevice(slot, edited));
    EXPECT_EQ(changed, QList<int>{slot});
    EXPECT_EQ(live.QueryInterval, 60);
    EXPECT_EQ(live.DeviceName.bytes(), "Lab 2");
    EXPECT_TRUE(live.probe(1)->LogFile.bytes().contains("/Lab 2-Probe02-"));
    EXPECT_TRUE(live.probe(1)->DataLogFile.bytes().contains("/Lab 2-Probe02-"));
    EXPECT_EQ(live.LastContactTimeVal, 1794661500);
    EXPECT_EQ(live.probe(1), probeBefore); // the list's rows still point at it
    EXPECT_EQ(live.probe(1)->HighAlarmTemp, 99.0);
    EXPECT_EQ(live.probe(1)->CurrentTemp, 91.5);
    EXPECT_EQ(live.probe(1)->AlarmState, AlarmState::HighAlarm);
    EXPECT_EQ(live.probe(1)->Values.newest(), 91.5f);
    // The old file stays as it was; the new one holds every key.
    EXPECT_TRUE(readFile(f.path("Devices/Lab.ini")).contains("QueryInterval=30\r\n"));
    const QByteArray file = readFile(f.path("Devices/Lab 2.ini"));
    EXPECT_TRUE(file.contains("QueryInterval=60\r\n"));
    EXPECT_TRUE(file.contains("HighAlarmTemp=99.00\r\n"));
    EXPECT_TRUE(file.contains("CurrentTemp=91.50\r\n"));
    EXPECT_TRUE(readFile(f.path("Corvanta Zephtra.ini")).contains("Device001=Lab 2\r\n"));
    const QList<QByteArray> logged = f.log.messagesFor(live.probe(1)->LogFile.bytes());
    ASSERT_EQ(logged.size(), 4);
    EXPECT_EQ(logged[0], "DeviceName saved as \"Lab 2\"");
    EXPECT_TRUE(logged[1].startsWith("LogFile saved as \"")) << logged[1].constData();
    EXPECT_EQ(logged[2], "QueryInterval saved as \"60\"");
    EXPECT_EQ(logged[3], "HighAlarmTemp saved as \"99.00\"");
    EXPECT_TRUE(live.Changed.isEmpty());
}

// What a reading changes is saved at the next save, each extreme with both
// keys that hold its time, and logged key by key.
TEST(DeviceFile, AReadingSavesTheValueEachNewExtremeAndBothOfItsTimeKeys)
{
    DataFolderFixture f;
    DeviceStore &s = f.store();
    const int slot = addDevice(s, "Lab", 2);
    ASSERT_TRUE(s.writeDeviceFile(slot, true));
    DeviceRecord &d = *s.deviceForUpdate(slot);
    d.Changed.clear();
    d.LoggingEnabled = 1;
    d.probe(1)->HighCautionTemp = 85, d.probe(1)->LowCautionTemp = 50; // a normal reading
    f.log.lines.clear();
    NoAlertActions actions;
    AlarmEvaluation evaluation(actions);
    evaluation.evaluateProbeValue(s, slot, 1, "77.25", 1794661509, 1);
    ASSERT_TRUE(s.writeDeviceFile(slot, false));

    const QByteArray file = readFile(f.path("Devices/Lab.ini"));
    const QByteArray probe2 = file.mid(file.indexOf("[Probe02]"));
    for (const char *line : {"CurrentTemp=77.25\r\n", "HighestTemp=77.25\r\n", "HighestTempTimeVal=1794661509\r\n",
                             "HighestTempDate=1794661509\r\n", "LowestTemp=1794661509\r\n",
                             "LowestTempTimeVal=1794661509\r\n", "LowestTempDate=1794661509\r\n"})
        EXPECT_TRUE(probe2.contains(line)) << line;
    EXPECT_FALSE(file.left(file.indexOf("[Probe02]")).contains("CurrentTemp=")) << "probe 1 had no reading";
    EXPECT_EQ(f.log.messagesFor(d.probe(1)->LogFile.bytes()),
              (QList<QByteArray>{"HighestTempTimeVal saved as \"1794661509\"",
                                 "LowestTempTimeVal saved as \"1794661509\"", "CurrentTemp saved as \"77.25\"",
                                 "HighestTemp saved as \"77.25\"", "HighestTempDate saved as \"1794661509\"",
                                 "LowestTemp saved as \"1794661509\"", "LowestTempDate saved as \"1794661509\""}));
}

TEST(DeviceFile, TemperaturesWithoutAReadingAreNotWritten)
{
    DataFolderFixture f;
    DeviceStore &s = f.store();
    const int slot = addDevice(s, "Lab", 1);
    DeviceRecord &d = *s.deviceForUpdate(slot);
    d.probe(0)->CurrentTemp = 70.25;
    ASSERT_TRUE(s.writeDeviceFile(slot, true));
    d.Changed.clear();
    d.probe(0)->CurrentTemp = kNoTemp;
    d.probe(0)->markChanged("CurrentTemp");
    ASSERT_TRUE(s.writeDeviceFile(slot, false));
    EXPECT_TRUE(readFile(f.path("Devices/Lab.ini")).contains("CurrentTemp=70.25\r\n"));
}

TEST(DeviceFile, TheLowestTempKeyHoldsTheLowestTemperaturesTime)
{
    DataFolderFixture f;
    DeviceStore &s = f.store();
    const int slot = addDevice(s, "Lab", 1);
    ProbeRecord &p = *s.deviceForUpdate(slot)->probe(0);
    p.LowestTemp = 55.5;
    p.LowestTempTimeVal = 1794661000;
    ASSERT_TRUE(s.writeDeviceFile(slot, true));
    const QByteArray text = readFile(f.path("Devices/Lab.ini"));
    EXPECT_TRUE(text.contains("\r\nLowestTemp=1794661000\r\nLowestTempDate=1794661000\r\n"));

    writeFile(f.path("Corvanta Zephtra.ini"), "[Devices]\r\nDevice001=Lab\r\n");
    f.restart().readProgramSettings();
    EXPECT_EQ(f.store().deviceForUpdate(0)->probe(0)->LowestTemp, 1794661000.0);
}

TEST(DeviceFile, ReadingAppliesDateKeysAndTheStartOfRunResets)
{
    DataFolderFixture f;
    writeFile(f.path("Corvanta Zephtra.ini"), "[Devices]\r\nDevice001=Lab\r\n");
    QDir().mkpath(QFile::decodeName(f.path("Devices")));
    writeFile(f.path("Devices/Lab.ini"),
              "[Device]\nProbeCount=1\nDeviceName=Lab\nLastContactTimeVal=1794000000\nQueryInterval=5\n"
              "[Probe01]\nProbeNumber=1\nProbeName=In/Out\nAlarmState=1\nConsecutiveAlarmCount=7\n"
              "HighestTempTimeVal=100\nHighestTempDate=200\nLowestTempTimeVal=300\n"
              "HighestHumidity=55\nCurrentTemp=77.70\nSwitchState=8\nLastAlarmSetTimeVal=400\n"
              "HighAlarmHumidity=45.9\nDataLogFile=/elsewhere.csv\n");
    DeviceStore &s = f.store();
    s.readProgramSettings();
    const DeviceRecord &d = *s.deviceForUpdate(0);
    const ProbeRecord &p = *d.probe(0);
    EXPECT_EQ(d.LastContactTimeVal, 0);
    EXPECT_EQ(d.QueryInterval, 5);
    EXPECT_EQ(p.HighestTempTimeVal, 200);  // the Date key wins
    EXPECT_EQ(p.LowestTempTimeVal, 0);     // no Date key: no time
    EXPECT_EQ(p.HighestHumidity, 55);
    EXPECT_EQ(p.HighAlarmHumidity, 45);
    EXPECT_EQ(p.AlarmState, AlarmState::Normal);
    EXPECT_EQ(p.ConsecutiveAlarmCount, 0);
    EXPECT_EQ(p.CurrentTemp, kNoTemp);
    EXPECT_EQ(p.SwitchState, kSwitchUnknown);
    EXPECT_EQ(p.LastAlarmSetTimeVal, 0);
    EXPECT_EQ(p.CurrentValueText.bytes(), "n/a");
    EXPECT_EQ(p.ChartDataColor, 0x404080);
    EXPECT_EQ(p.DataLogFile.bytes(), f.root() + "/Data/Lab-Probe01-(In_Out).csv");
    EXPECT_EQ(p.LogFile.bytes(), f.root() + "/Logs/Lab-Probe01-(In_Out).log");
}

TEST(DeviceFile, ProbeCountsOutsideOneToSixteenAreClamped)
{
    DataFolderFixture f;
    writeFile(f.path("Corvanta Zephtra.ini"), "[Devices]\r\nDevice001=None\r\nDevice002=Neg\r\nDevice003=Many\r\n");
    QDir().mkpath(QFile::decodeName(f.path("Devices")));
    writeFile(f.path("Devices/None.ini"), "[Device]\r\nProbeCount=0\r\n");
    writeFile(f.path("Devices/Neg.ini"), "[Device]\r\nProbeCount=-3\r\n");
    writeFile(f.path("Devices/Many.ini"), "[Device]\r\nProbeCount=99\r\n");
    DeviceStore &s = f.store();
    s.readProgramSettings();
    ASSERT_EQ(s.deviceCount(), 3);
    EXPECT_EQ(s.deviceForUpdate(0)->probeSlots(), 0);
    EXPECT_EQ(s.deviceForUpdate(1)->probeSlots(), 0);
    EXPECT_EQ(s.deviceForUpdate(2)->ProbeCount, 16);
    EXPECT_NE(s.deviceForUpdate(2)->probe(15), nullptr);
}

TEST(DeviceFile, HandWrittenHexadecimalCountsAndFlagsKeepTheirProbes)
{
    DataFolderFixture f;
    writeFile(f.path("Corvanta Zephtra.ini"), "[Devices]\r\nDevice001=Hex\r\n");
    QDir().mkpath(QFile::decodeName(f.path("Devices")));
    writeFile(f.path("Devices/Hex.ini"), "[Device]\r\nProbeCount=0x4\r\nDevicePort=0x1F90\r\n"
                                         "[Probe01]\r\nProbeEnabled=0x1\r\n[Probe02]\r\nProbeEnabled=0b0\r\n");
    DeviceStore &s = f.store();
    s.readProgramSettings();
    ASSERT_EQ(s.deviceCount(), 1);
    const DeviceRecord &d = *s.deviceForUpdate(0);
    EXPECT_EQ(d.ProbeCount, 4);
    EXPECT_EQ(d.probeSlots(), 4);
    EXPECT_EQ(d.DevicePort, 8080);
    EXPECT_TRUE(d.probe(0)->ProbeEnabled);
    EXPECT_FALSE(d.probe(1)->ProbeEnabled);
}

TEST(DeviceFile, DeletingADeviceCompactsTheSlotsAndRewritesTheList)
{
    DataFolderFixture f;
    DeviceStore &s = f.store();
    s.readProgramSettings();
    for (const char *name : {"A", "B", "C"})
        s.writeDeviceFile(addDevice(s, name, 1), true);
    ASSERT_TRUE(s.writeDevicesSection());
    int removed = -1;
    QObject::connect(&s, &DeviceStore::deviceRemoved, [&removed](int slot) { removed = slot; });
    ASSERT_TRUE(s.deleteDevice(1));
    EXPECT_EQ(removed, 1);
    EXPECT_EQ(s.deviceCount(), 2);
    EXPECT_EQ(s.deviceForUpdate(1)->DeviceName.bytes(), "C");
    EXPECT_EQ(s.deviceForUpdate(1)->probe(0)->DeviceNumber, 1);
    EXPECT_FALSE(exists(f.path("Devices/B.ini")));
    EXPECT_TRUE(readFile(f.path("Corvanta Zephtra.ini")).endsWith("[Devices]\r\nDevice001=A\r\nDevice002=C\r\n"));
    s.deleteDevice(0);
    s.deleteDevice(0);
    EXPECT_TRUE(readFile(f.path("Corvanta Zephtra.ini")).endsWith("[Devices]\r\n"));
}

TEST(DeviceFile, RenamingKeepsTheOldFileAndPointsTheProbeFilesAtTheNewName)
{
    DataFolderFixture f;
    DeviceStore &s = f.store();
    s.readProgramSettings();
    const int slot = addDevice(s, "Lab", 1);
    s.writeDeviceFile(slot, true);
    s.deviceForUpdate(0)->Changed.clear();
    ASSERT_TRUE(s.renameDevice(slot, "Lab2"));
    EXPECT_TRUE(exists(f.path("Devices/Lab.ini")));
    const QByteArray renamed = readFile(f.path("Devices/Lab2.ini"));
    EXPECT_TRUE(renamed.contains("DeviceName=Lab2\r\n"));
    EXPECT_TRUE(renamed.contains("HighAlarmTemp=90.00\r\n"));
    EXPECT_TRUE(renamed.contains("LogFile=" + f.root() + "/Logs/Lab2-Probe01-(Probe 1).log\r\n"));
    EXPECT_EQ(s.deviceForUpdate(0)->probe(0)->DataLogFile.bytes(), f.root() + "/Data/Lab2-Probe01-(Probe 1).csv");
    EXPECT_TRUE(readFile(f.path("Corvanta Zephtra.ini")).endsWith("[Devices]\r\nDevice001=Lab2\r\n"));
}

// A device file without the query-failure texts reads them as the program
// writes a new device's, so its alert can go out.
TEST(DeviceFile, AbsentKeysTakeTheirDefaults)
{
    DataFolderFixture f;
    QDir().mkpath(QFile::decodeName(f.path("Devices")));
    writeFile(f.path("Corvanta Zephtra.ini"), "[Devices]\r\nDevice001=Lab\r\n");
    writeFile(f.path("Devices/Lab.ini"), "[Device]\r\nDeviceName=Lab\r\nProbeCount=1\r\n[Probe01]\r\nProbeNumber=1\r\n");
    DeviceStore &s = f.store();
    s.readProgramSettings();
    ASSERT_EQ(s.deviceCount(), 1);
    const DeviceRecord &d = *s.device(0);
    EXPECT_EQ(d.EmailSubjectText.bytes(), "Corvanta Query Failure");
    EXPECT_EQ(d.EmailBodyText.bytes(), "The device named $DEVICE_NAME has not responded for $QUERY_THRESH minutes.");
    EXPECT_EQ(d.DevicePort, 80);
    EXPECT_EQ(d.QueryFailThreshold, 3);
    EXPECT_EQ(d.QueryInterval, 30);
    EXPECT_EQ(d.ProxyServerPort, 8080);
    EXPECT_EQ(d.probe(0)->SMTPPort, 25);
    // An empty value is a value, not an absent key.
    writeFile(f.path("Devices/Lab.ini"), "[Device]\r\nDeviceName=Lab\r\nEmailSubjectText=\r\n");
    s.readProgramSettings();
    EXPECT_EQ(s.device(0)->EmailSubjectText.bytes(), "");
}

// A device listed in the settings whose file has gone is reported, and its
// next save writes the whole file again.
TEST(DeviceFile, AListedDeviceWhoseFileIsMissingIsReported)
{
    DataFolderFixture f;
    writeFile(f.path("Corvanta Zephtra.ini"), "[Devices]\r\nDevice001=Lab\r\n");
    DeviceStore &s = f.store();
    s.readProgramSettings();
    ASSERT_EQ(s.deviceCount(), 1);
    ASSERT_EQ(f.messages.size(), 1);
    EXPECT_TRUE(f.messages[0].startsWith("The settings file of device \"Lab\" is missing:\n" +
                                         QString::fromUtf8(f.path("Devices/Lab.ini"))))
        << f.messages[0].toStdString();
    s.deviceForUpdate(0)->markChanged("LastContactTimeVal");
    ASSERT_TRUE(s.writeAllDeviceFiles());
    const QByteArray file = readFile(f.path("Devices/Lab.ini"));
    EXPECT_TRUE(file.contains("\r\nQueryFailThreshold=3\r\n")) << file.constData();
    EXPECT_TRUE(file.contains("\r\n[Probe04]\r\n")) << file.constData();
}

TEST(DeviceFile, AFailedSaveKeepsTheOldFileAndTheChangesForTheNextSave)
{
    DataFolderFixture f;
    DeviceStore &s = f.store();
    const int slot = addDevice(s, "Lab", 4);
    ASSERT_TRUE(s.writeDeviceFile(slot, true));
    DeviceRecord &d = *s.deviceForUpdate(slot);
    d.Changed.clear();
    const QByteArray before = readFile(f.path("Devices/Lab.ini"));
    f.messages.clear();
    d.probe(0)->Notes = QByteArray(1000, 'n');
    d.probe(0)->markChanged("Notes");
    {
        FileSizeLimit full(before.size() / 2);
        EXPECT_FALSE(s.writeDeviceFile(slot, false));
    }
    EXPECT_EQ(readFile(f.path("Devices/Lab.ini")), before);
    ASSERT_EQ(f.messages.size(), 1);
    EXPECT_TRUE(f.messages[0].contains("could not be saved"));
    EXPECT_FALSE(d.probe(0)->Changed.isEmpty());
    EXPECT_TRUE(s.writeDeviceFile(slot, false));
    EXPECT_TRUE(readFile(f.path("Devices/Lab.ini")).contains("Notes=nnnn"));
}

TEST(DeviceFile, EditedKeysAreFoundByComparingWrittenValues)
{
    DeviceRecord live, edited;
    edited.DeviceName = "";  // equal
    edited.SMTPServerName = "";
    edited.QueryInterval = 60;
    edited.EmailSubjectText = "CORVANTA QUERY FAILURE";  // texts compare without case
    markEditedKeys(live, edited);
    EXPECT_EQ(edited.Changed.keys(), QList<QByteArray>{"QueryInterval"});
    ProbeRecord p, q;
    q.HighAlarmTemp = 90;
    q.ProbeEnabled = 1;
    markEditedKeys(p, q);
    EXPECT_EQ(q.Changed.keys(), (QList<QByteArray>{"ProbeEnabled", "HighAlarmTemp"}));
}

TEST(DeviceFile, TheClearMarginIsWrittenOnlyOnceItHasBeenSet)
{
    DataFolderFixture f;
    DeviceStore &s = f.store();
    const int slot = addDevice(s, "Lab", 2);
    ASSERT_TRUE(s.writeDeviceFile(slot, true));
    const QByteArray before = readFile(f.path("Devices/Lab.ini"));
    EXPECT_FALSE(before.contains("ClearMargin"));

    auto commitMargin = [&](double margin) {
        DeviceRecord edited;
        const DeviceRecord &live = *s.device(slot);
        copyDeviceRecord(&edited, live);
        for (int i = 0; i < 2; ++i) {
            edited.Probes[std::size_t(i)] = std::make_unique<ProbeRecord>();
            copyProbeRecord(edited.probe(i), *live.probe(i));
        }
        edited.probe(0)->ClearMargin = margin;
        return s.commitDevice(slot, edited);
    };
    ASSERT_TRUE(commitMargin(0));
    EXPECT_EQ(readFile(f.path("Devices/Lab.ini")), before);
    ASSERT_TRUE(commitMargin(1.5));
    EXPECT_EQ(IniFile(readFile(f.path("Devices/Lab.ini"))).value("Probe01", "ClearMargin"), QByteArray("1.50"));
    // Set back to 0, the key stays and says so, so the file reads back 0.
    ASSERT_TRUE(commitMargin(0));
    const IniFile after(readFile(f.path("Devices/Lab.ini")));
    EXPECT_EQ(after.value("Probe01", "ClearMargin"), QByteArray("0.00"));
    EXPECT_FALSE(after.value("Probe02", "ClearMargin"));
    ProbeRecord read;
    readProbeKeys(after, 0, read);
    EXPECT_EQ(read.ClearMargin, 0.0);
}
