// What reaches the disk stays whole and private: interrupted saves, a full
// disk, file modes, and texts and numbers that would break a file.
#include "net/AutoConfiguration.h"
#include "store/CFormat.h"
#include "store/DeviceFile.h"
#include "store/FileWrite.h"
#include "store/IniFile.h"
#include "tests/support/NetTestSupport.h"

#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QRandomGenerator>
#include <QThread>

#include <gtest/gtest.h>

#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace cz;
using namespace cz::test;

namespace {

mode_t modeOf(const QByteArray &path)
{
    struct stat st {};
    return ::stat(path.constData(), &st) == 0 ? (st.st_mode & 0777) : 0;
}

// `count` devices of 4 probes at a port where nothing listens, each queried
// every second, so that every shutdown has every device file to save.
void writeDevices(DataFolderFixture &f, int count)
{
    DeviceStore &s = f.store();
    s.readProgramSettings();
    for (int d = 0; d < count; ++d) {
        auto device = newDeviceRecord(f.root(), "Device " + QByteArray::number(d + 1), "Model R4", 1, 4);
        device->QueryInterval = 1;
        s.writeDeviceFile(s.addDevice(std::move(device)), true);
    }
    s.writeDevicesSection();
}

QStringList leftovers(const QByteArray &folder)
{
    return QDir(QFile::decodeName(folder)).entryList({"*.czsave-*"}, QDir::Files | QDir::Hidden);
}

} // namespace

TEST(FileSafety, AKillDuringASaveLeavesEveryFileWholeAndTheNextStartCleansUp)
{
    DataFolderFixture f;
    writeDevices(f, 40);
    int killedWhileSaving = 0;
    for (int round = 0; round < 20; ++round) {
        QProcess program;
        program.start(programPath(), {"--headless", "--data-dir", f.dir.path()});
        QByteArray out;
        ASSERT_TRUE(waitForOutput(program, "Status: querying devices...", out)) << out.constData();
        ::kill(pid_t(program.processId()), SIGTERM);
        QThread::usleep(QRandomGenerator::global()->bounded(30000u));
        ::kill(pid_t(program.processId()), SIGKILL);
        ASSERT_TRUE(program.waitForFinished(20000));
        killedWhileSaving += program.exitStatus() == QProcess::CrashExit ? 1 : 0;

        const IniFile settings(readFile(f.path("Corvanta Zephtra.ini")));
        for (int d = 1; d <= 40; ++d) {
            const QByteArray name = "Device " + QByteArray::number(d);
            ASSERT_EQ(settings.readString("Devices", "Device" + QByteArray::number(d).rightJustified(3, '0'), "", 65),
                      name);
            const QByteArray text = readFile(f.path("Devices/") + name + ".ini");
            const IniFile device(text);
            ASSERT_EQ(device.readString("Device", "DeviceName", "", 65), name) << "round " << round;
            ASSERT_EQ(device.readInt("Device", "ProbeCount", 0), 4);
            ASSERT_EQ(device.readInt("Probe04", "ProbeNumber", 0), 4) << "round " << round << ": " << name.constData();
            ASSERT_TRUE(text.endsWith("\r\n"));
        }
    }
    EXPECT_GT(killedWhileSaving, 0);

    // What the kills left behind goes at the next start; nothing else does.
    writeFile(f.path("Devices/.notes.czsave-keep"), "mine");
    writeFile(f.path("Devices/Device 1.ini.ABC123"), "mine");
    writeFile(f.path(".Corvanta Zephtra.ini.czsave-Ab12Cd"), "left by a crash");
    QProcess program;
    program.start(programPath(), {"--headless", "--data-dir", f.dir.path()});
    QByteArray out;
    ASSERT_TRUE(waitForOutput(program, "Devices loaded: 40", out)) << out.constData();
    ::kill(pid_t(program.processId()), SIGTERM);
    ASSERT_TRUE(program.waitForFinished(30000));
    EXPECT_EQ(program.exitCode(), 0);
    EXPECT_EQ(leftovers(f.root()), QStringList());
    EXPECT_EQ(leftovers(f.path("Devices")), QStringList{".notes.czsave-keep"});
    EXPECT_TRUE(exists(f.path("Devices/Device 1.ini.ABC123")));
}

TEST(FileSafety, AFullDiskStopsNeitherMonitoringNorTheShutdownAndDamagesNoFile)
{
    DataFolderFixture f;
    writeFile(f.path("sim.json"), R"({"devices": [{"model": "Model R4", "name": "Lab",
        "probes": [{"name": "Intake", "scenario": {"kind": "sine", "value": 70, "amplitude": 5, "period": 4}}]}]})");
    QProcess sim;
    sim.start(QStringLiteral(CZ_BIN_DIR "/corvanta-devsim"), {"--config", f.dir.filePath("sim.json")});
    QByteArray simOut;
    ASSERT_TRUE(waitForOutput(sim, "ready\n", simOut)) << simOut.constData();
    DeviceStore &s = f.store();
    s.readProgramSettings();
    auto device = newDeviceRecord(f.root(), "Lab", "Model R4", simOut.split(' ')[0].toInt(), 1);
    device->QueryInterval = 1;
    s.writeDeviceFile(s.addDevice(std::move(device)), true);
    s.writeDevicesSection();
    const QByteArray before = readFile(f.path("Devices/Lab.ini"));

    // No file may grow past 200 bytes: the data file fills up after a few
    // lines, and the device file (several kilobytes) can no longer be saved.
    QProcess program;
    program.setChildProcessModifier([] {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{200, 200};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    });
    program.start(programPath(), {"--headless", "--data-dir", f.dir.path()});
    QByteArray out;
    const QByteArray csv = f.path("Data/Lab-Probe01-(Probe 1).csv");
    QElapsedTimer t;
    t.start();
    while (readFile(csv).size() < 180 && t.elapsed() < 30000) {
        program.waitForReadyRead(200);
        out += program.readAllStandardOutput();
    }
    ASSERT_GE(readFile(csv).size(), 180);
    // Monitoring goes on with the disk full.
    const int queries = int(out.count("Status: querying devices..."));
    ASSERT_TRUE(waitForOutput(program, "Status: monitoring devices...", out));
    out.clear();
    ASSERT_TRUE(waitForOutput(program, "Status: querying devices...", out));
    EXPECT_GT(queries, 0);

    ::kill(pid_t(program.processId()), SIGTERM);
    ASSERT_TRUE(program.waitForFinished(20000));
    EXPECT_EQ(program.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(program.exitCode(), 0);
    const QByteArray errors = program.readAllStandardError();
    EXPECT_TRUE(errors.contains("could not be saved")) << errors.constData();
    // The device file that could not be saved is the one from before.
    EXPECT_EQ(readFile(f.path("Devices/Lab.ini")), before);
    EXPECT_EQ(leftovers(f.path("Devices")), QStringList());
    // The data file holds whole lines only.
    const QByteArray lines = readFile(csv);
    EXPECT_TRUE(lines.endsWith("\r\n"));
    EXPECT_EQ(lines.size() % 24, 0) << lines.constData(); // "11-14-26,13:05:09,70.0\r\n"
    sim.kill();
    sim.waitForFinished();
}

TEST(FileSafety, FilesThatCanHoldAPasswordAreTheOwnersAloneEvenIfTheyWereNot)
{
    DataFolderFixture f;
    QStringList notes;
    QObject::connect(&f.status, &ProgramStatus::noted, [&](const QString &text) { notes << text; });
    writeDevices(f, 2);
    EXPECT_EQ(modeOf(f.path("Devices/Device 1.ini")), 0600u);
    EXPECT_EQ(modeOf(f.path("Corvanta Zephtra.ini")), 0644u);
    EXPECT_TRUE(notes.isEmpty());

    // A device file someone made readable to the group: the next save takes
    // that back, and says so once.
    ::chmod(f.path("Devices/Device 2.ini").constData(), 0640);
    DeviceRecord *d = f.store().deviceForUpdate(1);
    for (int interval : {45, 50}) {
        d->QueryInterval = interval;
        d->markChanged("QueryInterval");
        ASSERT_TRUE(f.store().writeDeviceFile(1, false));
    }
    EXPECT_EQ(modeOf(f.path("Devices/Device 2.ini")), 0600u);
    EXPECT_TRUE(readFile(f.path("Devices/Device 2.ini")).contains("QueryInterval=50\r\n"));
    EXPECT_EQ(notes, QStringList{"\"" + QString::fromUtf8(f.path("Devices/Device 2.ini")) +
                                 "\" could be read by other users; as it can hold passwords, it is now readable by its "
                                 "owner only."});

    // A file that holds no password keeps the mode it was given.
    ::chmod(f.path("Corvanta Zephtra.ini").constData(), 0664);
    ASSERT_TRUE(f.store().writeProgramSettings());
    EXPECT_EQ(modeOf(f.path("Corvanta Zephtra.ini")), 0664u);
}

// A probe name as a device's "/config" page could send it.
// The program as a user with umask 027 runs it, with a device file that is
// a symbolic link into a folder of the user's own.
TEST(FileSafety, NewFilesTakeTheUmaskAndASavedLinkStaysALink)
{
    DataFolderFixture f;
    QDir().mkpath(QFile::decodeName(f.path("Devices")));
    QDir().mkpath(QFile::decodeName(f.path("kept")));
    writeFile(f.path("Corvanta Zephtra.ini"), "[Devices]\r\nDevice001=Lab\r\n");
    const QByteArray original = "[Device]\r\nDeviceName=Lab\r\nProbeCount=1\r\nLoggingEnabled=1\r\n"
                                "[Probe01]\r\nProbeNumber=1\r\nProbeName=Intake\r\nProbeEnabled=1\r\n";
    writeFile(f.path("kept/Lab.ini"), original);
    ::chmod(f.path("kept/Lab.ini").constData(), 0600);
    ASSERT_EQ(::symlink("../kept/Lab.ini", f.path("Devices/Lab.ini").constData()), 0);

    QProcess program;
    program.setChildProcessModifier([] { ::umask(027); });
    program.start(programPath(), {"--headless", "--data-dir", f.dir.path()});
    QByteArray out;
    ASSERT_TRUE(waitForOutput(program, "Press Ctrl+C", out)) << out.constData();
    ::kill(pid_t(program.processId()), SIGTERM);
    ASSERT_TRUE(program.waitForFinished(20000));
    ASSERT_EQ(program.exitCode(), 0);

    auto mode = [&](const char *relative) {
        struct stat st {};
        return ::lstat(f.path(relative).constData(), &st) == 0 ? int(st.st_mode & 07777) : -1;
    };
    EXPECT_EQ(mode("Templates/DeviceTemplate.txt"), 0640);
    EXPECT_EQ(mode("Templates/DefaultEmailTemplate.txt"), 0640);
    EXPECT_EQ(mode("Help/CorvantaZephtra_Help.html"), 0640);
    EXPECT_EQ(mode("Logs/Lab-Probe01-(Intake).log"), 0640);
    // An existing file keeps its mode; one that can hold a password is the owner's.
    EXPECT_EQ(mode("kept/Lab.ini"), 0600);

    struct stat link {};
    ASSERT_EQ(::lstat(f.path("Devices/Lab.ini").constData(), &link), 0);
    EXPECT_TRUE(S_ISLNK(link.st_mode));
    const QByteArray saved = readFile(f.path("kept/Lab.ini"));
    EXPECT_NE(saved, original);
    EXPECT_TRUE(saved.contains("LastContactTimeVal=")) << saved.constData();
    EXPECT_TRUE(QDir(QFile::decodeName(f.path("Devices"))).entryList(QDir::Files | QDir::Hidden).size() == 1);
}

TEST(FileSafety, AFileSavedAnewTakesTheUmaskModeAndOnlyPasswordFilesAreNarrowed)
{
    DataFolderFixture f;
    const mode_t before = ::umask(027);
    const QString shared = f.dir.filePath("shared.txt"), secret = f.dir.filePath("secret.ini");
    ASSERT_TRUE(writeFileAtomically(shared, "a", nullptr));
    ASSERT_TRUE(writeFileAtomically(secret, "b", nullptr, FileAccess::OwnerOnly));
    ::umask(before);
    struct stat st {};
    ASSERT_EQ(::stat(QFile::encodeName(shared).constData(), &st), 0);
    EXPECT_EQ(st.st_mode & 07777, 0640u);
    ASSERT_EQ(::stat(QFile::encodeName(secret).constData(), &st), 0);
    EXPECT_EQ(st.st_mode & 07777, 0600u);
}

TEST(FileSafety, LineBreaksFromADeviceCannotAddAKey)
{
    DataFolderFixture f;
    FetchedConfiguration fetched;
    ASSERT_TRUE(parseDeviceConfiguration("SN1|Lab|Model R4|1|1|Inlet\r\nProgramAlarm=/bin/evil\r\n[Probe02]", "", DisplayUnits::F,
                                         fetched));
    EXPECT_EQ(fetched.probeNames[0].bytes(), "Inlet  ProgramAlarm=/bin/evil  [Probe02]");

    f.store().readProgramSettings();
    auto device = newDeviceRecord(f.root(), "Lab", "Model R4", 80, 1);
    device->probe(0)->ProbeName = fetched.probeNames[0].bytes();
    device->probe(0)->Notes = QByteArray("note\nEmailTo=x@evil.example\0after", 33);
    f.store().writeDeviceFile(f.store().addDevice(std::move(device)), true);

    const IniFile saved(readFile(f.path("Devices/Lab.ini")));
    EXPECT_EQ(saved.readString("Probe01", "ProgramAlarm", "", 1025), "");
    EXPECT_EQ(saved.readString("Probe01", "EmailTo", "", 261), "");
    EXPECT_FALSE(saved.hasSection("Probe02"));
    EXPECT_EQ(saved.readString("Probe01", "Notes", "", 1025), "note EmailTo=x@evil.example");

    // The INI writer takes no line break from anyone.
    IniFile ini;
    ini.setValue("Device", "DeviceName", "Lab\r\nUseProxy=1");
    EXPECT_EQ(ini.text(), "[Device]\r\nDeviceName=Lab  UseProxy=1\r\n");
}

TEST(FileSafety, LongNumbersSaturateAndProfileIntegersWrapAt32Bits)
{
    EXPECT_EQ(parseInteger("18446744073709551620"), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(parseInteger("-99999999999999999999999"), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(parseInteger("9223372036854775807"), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(parseInteger("9223372036854775806x"), std::numeric_limits<std::int64_t>::max() - 1);
    EXPECT_EQ(parseInt32("18446744073709551620"), std::numeric_limits<std::int32_t>::max());
    EXPECT_EQ(parseInt32("4294967297"), std::numeric_limits<std::int32_t>::max());

    DataFolderFixture f;
    QDir().mkpath(QFile::decodeName(f.path("Devices")));
    writeFile(f.path("Corvanta Zephtra.ini"), "[Devices]\r\nDevice001=Big\r\n");
    writeFile(f.path("Devices/Big.ini"), "[Device]\r\nDeviceName=Big\r\nProbeCount=18446744073709551620\r\n"
                                         "QueryInterval=18446744073709551620\r\nDevicePort=-18446744073709551620\r\n"
                                         "[Probe01]\r\nLowestTemp=18446744073709551620\r\n");
    f.store().readProgramSettings();
    const DeviceRecord *d = f.store().device(0);
    ASSERT_NE(d, nullptr);
    // 2^64 + 4 wraps to 4, as the private-profile integer read does.
    EXPECT_EQ(d->ProbeCount, 4);
    EXPECT_EQ(d->QueryInterval, 4);
    EXPECT_EQ(d->DevicePort, -4);
}

TEST(FileSafety, ANameHoldingPercentSignsShowsAsTyped)
{
    DataFolderFixture f;
    QDir().mkpath(QFile::decodeName(f.path("Devices")));
    writeFile(f.path("Corvanta Zephtra.ini"), "[Devices]\r\nDevice001=Rack %2 %1\r\n");
    writeFile(f.path("Devices/Rack %2 %1.ini"), "[Device]\r\nDeviceName=Rack %2 %1\r\nProbeCount=1\r\n");
    QStringList statuses;
    QObject::connect(&f.status, &ProgramStatus::changed, [&](const QString &s) { statuses << s; });
    f.store().readProgramSettings();
    EXPECT_TRUE(statuses.contains("Status: reading device info for Rack %2 %1..."));
    EXPECT_TRUE(statuses.contains("Status: reading device info for Rack %2 %1 probe 1..."));
}
