// Device names and the texts of a device: what a rename changes, which
// names are refused, and values that must come back from the file exactly.
#include "store/DeviceFile.h"
#include "store/DeviceSettingsCheck.h"
#include "store/DeviceStore.h"
#include "tests/support/ManualClock.h"
#include "tests/support/NetTestSupport.h"

#include <QDir>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace cz;
using namespace cz::test;

namespace {

// A device of one temperature probe named "P1"; its slot.
int addProbeDevice(DeviceStore &store, const QByteArray &name)
{
    addDevice(store, name, "Model R4", 80, {ProbeType::Temperature});
    return store.deviceCount() - 1;
}

} // namespace

// Only the device-name part of each file name follows a rename: folders
// that hold the name, and names such as "Logs" or "Data", are left alone.
TEST(DeviceNames, ARenameChangesTheDeviceNameInTheFileNamesOnly)
{
    QTemporaryDir top;
    const QByteArray root = QFile::encodeName(top.path()) + "/Lab/Data/Logs";
    QDir().mkpath(QFile::decodeName(root));
    ManualClock clock{1794661509};
    RecordingLog log;
    ProgramStatus status;
    DeviceStore s(DataFolder{root}, clock, log, status);
    s.readProgramSettings();
    struct Rename {
        QByteArray from, to;
    };
    for (const Rename &r : {Rename{"Lab", "Lab 2"}, Rename{"Logs", "Racks"}, Rename{"Data", "Cellar"},
                            Rename{"Probe", "Sensor"}}) {
        const int slot = addProbeDevice(s, r.from);
        ASSERT_TRUE(s.writeDeviceFile(slot, true));
        ASSERT_TRUE(s.renameDevice(slot, r.to));
        const ProbeRecord &p = *s.device(slot)->probe(0);
        EXPECT_EQ(p.LogFile.bytes(), root + "/Logs/" + r.to + "-Probe01-(P1).log");
        EXPECT_EQ(p.DataLogFile.bytes(), root + "/Data/" + r.to + "-Probe01-(P1).csv");
        // The same through the configuration window's commit.
        auto edited = workingCopy(*s.device(slot));
        edited->DeviceName = r.from;
        ASSERT_TRUE(s.commitDevice(slot, *edited));
        EXPECT_EQ(s.device(slot)->probe(0)->DataLogFile.bytes(), root + "/Data/" + r.from + "-Probe01-(P1).csv");
        s.deleteDevice(slot);
    }
    // A log file named by the operator in another way is left as it is.
    const int slot = addProbeDevice(s, "Lab");
    auto edited = workingCopy(*s.device(slot));
    edited->probe(0)->LogFile = root + "/Logs/Lab events.log";
    ASSERT_TRUE(s.commitDevice(slot, *edited));
    ASSERT_TRUE(s.renameDevice(slot, "Lab 3"));
    EXPECT_EQ(s.device(slot)->probe(0)->LogFile.bytes(), root + "/Logs/Lab events.log");
}

// Passwords and texts with blanks or quotes around them come back from the
// file exactly as they were saved; no password reaches a log.
TEST(DeviceNames, ValuesSurviveARestartExactlyAndPasswordsAreNeverLogged)
{
    DataFolderFixture f;
    DeviceStore &s = f.store();
    s.readProgramSettings();
    const int slot = addProbeDevice(s, "Lab");
    ASSERT_TRUE(s.writeDeviceFile(slot, true));
    ASSERT_TRUE(s.writeDevicesSection());
    f.log.lines.clear();
    auto edited = workingCopy(*s.device(slot));
    edited->SMTPPassword = "  pass word ";
    edited->ProxyServerPassword = "\"quoted\"";
    edited->EmailSubjectText = "'Lab' down";
    edited->EmailBodyText = " $DEVICE_NAME is silent";
    edited->probe(0)->EmailSMTPPass = "'single'";
    edited->probe(0)->Notes = "\"";
    ASSERT_TRUE(s.commitDevice(slot, *edited));

    const QList<QByteArray> logged = f.log.messagesFor(s.device(slot)->probe(0)->LogFile.bytes());
    EXPECT_TRUE(logged.contains("SMTPPassword saved as (hidden)")) << logged.join('|').constData();
    EXPECT_TRUE(logged.contains("ProxyServerPassword saved as (hidden)"));
    EXPECT_TRUE(logged.contains("EmailSMTPPass saved as (hidden)"));
    EXPECT_TRUE(logged.contains("EmailSubjectText saved as \"'Lab' down\""));
    for (const QByteArray &line : logged)
        EXPECT_FALSE(line.contains("pass word") || line.contains("quoted") || line.contains("single")) << line.constData();

    DeviceStore &again = f.restart();
    again.readProgramSettings();
    ASSERT_EQ(again.deviceCount(), 1);
    const DeviceRecord &d = *again.device(0);
    EXPECT_EQ(d.SMTPPassword.bytes(), "  pass word ");
    EXPECT_EQ(d.ProxyServerPassword.bytes(), "\"quoted\"");
    EXPECT_EQ(d.EmailSubjectText.bytes(), "'Lab' down");
    EXPECT_EQ(d.EmailBodyText.bytes(), " $DEVICE_NAME is silent");
    EXPECT_EQ(d.probe(0)->EmailSMTPPass.bytes(), "'single'");
    EXPECT_EQ(d.probe(0)->Notes.bytes(), "\"");
}

TEST(DeviceNames, NamesThatAreNotFileNamesAreRefusedEverywhere)
{
    DataFolderFixture f;
    DeviceStore &s = f.store();
    writeFile(f.path("Corvanta Zephtra.ini"), "[Devices]\r\nDevice001=../escape\r\nDevice002=..\r\nDevice003=Good\r\n");
    s.readProgramSettings();
    ASSERT_EQ(s.deviceCount(), 1);
    EXPECT_EQ(s.deviceForUpdate(0)->DeviceName.bytes(), "Good");
    ASSERT_EQ(f.messages.size(), 3);
    EXPECT_TRUE(f.messages[0].contains("\"../escape\" cannot be used"));
    EXPECT_TRUE(f.messages[2].startsWith("The settings file of device \"Good\" is missing"));

    f.messages.clear();
    EXPECT_FALSE(s.renameDevice(0, "a/b"));
    EXPECT_FALSE(s.renameDevice(0, QByteArray("nul\0byte", 8)));
    EXPECT_FALSE(s.renameDevice(0, "."));
    EXPECT_EQ(f.messages.size(), 3);
    EXPECT_EQ(s.deviceForUpdate(0)->DeviceName.bytes(), "Good");

    s.deviceForUpdate(0)->DeviceName = "../../outside";
    EXPECT_FALSE(s.writeDeviceFile(0, true));
    EXPECT_FALSE(exists(f.root() + "/../outside.ini"));
}

TEST(DeviceNames, ANameWithBlanksOrQuotesAroundItIsRefusedNamingTheField)
{
    DataFolderFixture f;
    DeviceStore &s = f.store();
    s.readProgramSettings();
    auto d = newDeviceRecord(f.root(), "Lab", "Model R4", 80, 1);
    EXPECT_EQ(deviceSettingsProblem(s, -1, *d), QString());
    for (const QByteArray name : {" Lab", "Lab ", "\tLab", "\"Lab\"", "'Lab'"}) {
        d->DeviceName = name;
        const QString problem = deviceSettingsProblem(s, -1, *d);
        EXPECT_TRUE(problem.startsWith("\"Device Name:\" may not begin or end with a blank, nor be enclosed in quotes"))
            << name.constData() << ": " << problem.toStdString();
    }
    for (const QByteArray name : {"Lab \"A\"", "'Lab", "Lab 2"}) {
        d->DeviceName = name;
        EXPECT_EQ(deviceSettingsProblem(s, -1, *d), QString()) << name.constData();
    }
}
