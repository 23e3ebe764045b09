#include "tests/support/TestSupport.h"

#include <QDir>
#include <QElapsedTimer>
#include <QProcess>

#include <gtest/gtest.h>

#include <csignal>

using namespace cz::test;

namespace {

const QString kProgram = programPath();

} // namespace

TEST(Headless, StartsOnceLogsTheStartAndSavesEverythingOnSigterm)
{
    DataFolderFixture f;
    QDir().mkpath(QFile::decodeName(f.path("Devices")));
    writeFile(f.path("Corvanta Zephtra.ini"), "; mine\r\n[Devices]\r\nDevice001=Lab\r\n");
    writeFile(f.path("Devices/Lab.ini"),
              "[Device]\r\nDeviceName=Lab\r\nProbeCount=2\r\nLoggingEnabled=1\r\n"
              "[Probe01]\r\nProbeNumber=1\r\nProbeName=Intake\r\nProbeEnabled=1\r\n"
              "[Probe02]\r\nProbeNumber=2\r\nProbeName=Spare\r\nProbeEnabled=0\r\n");

    QProcess first;
    first.start(kProgram, {"--headless", "--data-dir", f.dir.path()});
    QByteArray out;
    ASSERT_TRUE(waitForOutput(first, "Press Ctrl+C", out)) << out.constData();
    EXPECT_TRUE(out.contains("Devices loaded: 1"));
    EXPECT_TRUE(out.contains("Lab"));

    QProcess second;
    second.start(kProgram, {"--headless", "--data-dir", f.dir.path()});
    ASSERT_TRUE(second.waitForFinished(20000));
    EXPECT_NE(second.exitCode(), 0);
    EXPECT_EQ(second.readAllStandardError(), "Corvanta Zephtra is already running!\n");

    const QByteArray log = f.path("Logs/Lab-Probe01-(Intake).log");
    EXPECT_TRUE(readFile(log).endsWith(": Corvanta Zephtra program starting.\r\n"));
    EXPECT_FALSE(exists(f.path("Logs/Lab-Probe02-(Spare).log")));

    ::kill(pid_t(first.processId()), SIGTERM);
    ASSERT_TRUE(first.waitForFinished(20000));
    EXPECT_EQ(first.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(first.exitCode(), 0);
    EXPECT_TRUE(readFile(log).endsWith(": Corvanta Zephtra program shutting down.\r\n"));
    const QByteArray settings = readFile(f.path("Corvanta Zephtra.ini"));
    EXPECT_TRUE(settings.startsWith("; mine\r\n[Devices]\r\nDevice001=Lab\r\n\r\n[Program]\r\nStartMinimized=0\r\n"));
    EXPECT_TRUE(exists(f.path("Templates/ProbeTemplate.txt")));

    // The lock went with the program: a new one starts and stops on SIGINT.
    QProcess third;
    third.start(kProgram, {"--headless", "--data-dir", f.dir.path()});
    QByteArray out3;
    ASSERT_TRUE(waitForOutput(third, "Press Ctrl+C", out3));
    ::kill(pid_t(third.processId()), SIGINT);
    ASSERT_TRUE(third.waitForFinished(20000));
    EXPECT_EQ(third.exitCode(), 0);
}

TEST(Headless, MonitorsADeviceEndToEndAndSavesItsStateOnSigterm)
{
    DataFolderFixture f;
    writeFile(f.path("sim.json"), R"({"devices": [{"model": "Model R4", "name": "Lab",
        "probes": [{"name": "Intake", "scenario": {"kind": "constant", "value": 90.5}},
                   {"name": "Door", "type": "Switch", "scenario": {"kind": "constant", "value": 1}}]}]})");
    QProcess sim;
    sim.start(QStringLiteral(CZ_BIN_DIR "/corvanta-devsim"), {"--config", f.dir.filePath("sim.json")});
    QByteArray simOut;
    ASSERT_TRUE(waitForOutput(sim, "ready\n", simOut)) << simOut.constData();
    const QByteArray port = simOut.split(' ')[0];

    QDir().mkpath(QFile::decodeName(f.path("Devices")));
    writeFile(f.path("Corvanta Zephtra.ini"), "[Devices]\r\nDevice001=Lab\r\n");
    writeFile(f.path("Devices/Lab.ini"),
              "[Device]\r\nDeviceName=Lab\r\nDeviceModel=Model R4\r\nDeviceAddress=127.0.0.1\r\nDevicePort=" + port +
                  "\r\nProbeCount=2\r\nQueryInterval=1\r\nLoggingEnabled=1\r\n"
                  "[Probe01]\r\nProbeNumber=1\r\nProbeName=Intake\r\nProbeEnabled=1\r\nProbeType=0\r\n"
                  "HighAlarmTemp=85.00\r\nHighCautionTemp=80.00\r\nLowCautionTemp=50.00\r\nLowAlarmTemp=40.00\r\n"
                  "ConsecutiveAlarmThreshold=2\r\n"
                  "[Probe02]\r\nProbeNumber=2\r\nProbeName=Door\r\nProbeEnabled=1\r\nProbeType=3\r\n");

    QProcess program;
    program.start(kProgram, {"--headless", "--data-dir", f.dir.path()});
    QByteArray out;
    ASSERT_TRUE(waitForOutput(program, "Status: querying devices...", out)) << out.constData();
    ASSERT_TRUE(waitForOutput(program, "Lab probe 01 (Intake): Probe reported a High Alarm condition (value 90.50, "
                                       "threshold 85.00)\n", out))
        << out.constData();
    ::kill(pid_t(program.processId()), SIGTERM);
    ASSERT_TRUE(program.waitForFinished(20000));
    EXPECT_EQ(program.exitCode(), 0);
    sim.kill();
    sim.waitForFinished();

    const QByteArray log = readFile(f.path("Logs/Lab-Probe01-(Intake).log"));
    EXPECT_TRUE(log.contains(": Probe reported a High Alarm condition (value 90.50, threshold 85.00)\r\n"));
    EXPECT_TRUE(readFile(f.path("Data/Lab-Probe01-(Intake).csv")).endsWith(",90.5\r\n"));
    EXPECT_TRUE(readFile(f.path("Data/Lab-Probe02-(Door).csv")).endsWith(",Closed\r\n"));
    const QByteArray device = readFile(f.path("Devices/Lab.ini"));
    EXPECT_TRUE(device.contains("\r\nAlarmState=1\r\n")) << device.constData();
    EXPECT_TRUE(device.contains("\r\nHighestTemp=90.50\r\n")) << device.constData();
    EXPECT_TRUE(device.contains("\r\nCurrentTemp=90.50\r\n")) << device.constData();
    EXPECT_TRUE(device.contains("\r\nLastContactTimeVal=")) << device.constData();
}
