// A device that stops answering, end to end: the program runs headless
// against a simulator process and a real mail server; the simulator is
// killed and later started again on the same port.
#include "tests/support/MailTestSupport.h"
#include "tests/support/Processes.h"
#include "tests/support/TestSupport.h"

#include <QDir>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QThread>

#include <gtest/gtest.h>

#include <csignal>

using namespace cz;
using namespace cz::test;

namespace {

// Starts the simulator with one device on `port` (0: a free one); returns
// the port it serves, 0 on failure.
quint16 startSimulator(QProcess &sim, const DataFolderFixture &f, quint16 port)
{
    writeFile(f.path("sim.json"), R"({"devices": [{"model": "Model R4", "name": "Lab", "port": )" +
                                      QByteArray::number(port) +
                                      R"(, "probes": [{"name": "Intake", "scenario": {"kind": "constant", "value": 70}}]}]})");
    const QList<int> ports = test::startSimulator(sim, QStringLiteral(CZ_BIN_DIR), {"--config", f.dir.filePath("sim.json")});
    return ports.isEmpty() ? 0 : quint16(ports.first());
}

} // namespace

TEST(DeviceOutage, OneAlertMailPerOutageAndOneResolvedMailWhenTheDeviceIsBack)
{
    SmtpServer server;
    ASSERT_TRUE(server.running());
    DataFolderFixture f;
    QProcess sim;
    const quint16 port = startSimulator(sim, f, 0);
    ASSERT_NE(port, 0);

    // The file names no subject or body: the defaults are sent.
    QDir().mkpath(QFile::decodeName(f.path("Devices")));
    writeFile(f.path("Corvanta Zephtra.ini"), "[Devices]\r\nDevice001=Lab\r\n");
    writeFile(f.path("Devices/Lab.ini"),
              "[Device]\r\nDeviceName=Lab\r\nDeviceModel=Model R4\r\nDeviceAddress=127.0.0.1\r\nDevicePort=" +
                  QByteArray::number(port) +
                  "\r\nProbeCount=1\r\nQueryInterval=1\r\nLogQueryFailures=1\r\nQueryFailThreshold=3\r\n"
                  "SendQueryFailMessage=1\r\nSMTPServerName=127.0.0.1\r\nSMTPServerPort=" +
                  QByteArray::number(server.port()) +
                  "\r\nEmailFromAddress=monitor@lab.example\r\nEmailToAddress=ops@lab.example\r\n"
                  "[Probe01]\r\nProbeNumber=1\r\nProbeName=Intake\r\nProbeEnabled=1\r\n");

    QProcess program;
    program.start(programPath(), {"--headless", "--data-dir", f.dir.path()});
    QByteArray out;
    ASSERT_TRUE(waitForOutput(program, "Status: monitoring devices...", out)) << out.constData();

    sim.kill();
    sim.waitForFinished();
    ASSERT_TRUE(waitForOutput(program, "ERROR: Lab did not answer 3 queries in a row", out)) << out.constData();
    QList<QJsonObject> mail = server.waitForMessages(1);
    ASSERT_EQ(mail.size(), 1);
    EXPECT_EQ(mail[0]["subject"].toString(), "Corvanta Query Failure");
    EXPECT_EQ(mail[0]["body"].toString().trimmed(), "The device named Lab has not responded for 3 minutes.");
    EXPECT_EQ(mail[0]["to"].toArray().first().toString(), "ops@lab.example");

    // Dead for a few more queries: nothing more is sent.
    QThread::msleep(4000);
    EXPECT_EQ(server.messages().size(), 1);

    ASSERT_EQ(startSimulator(sim, f, port), port);
    ASSERT_TRUE(waitForOutput(program, "Status: Lab answers again after ", out)) << out.constData();
    mail = server.waitForMessages(2);
    ASSERT_EQ(mail.size(), 2);
    EXPECT_EQ(mail[1]["subject"].toString(), "Resolved: Corvanta Query Failure");
    const QString body = mail[1]["body"].toString().trimmed();
    EXPECT_TRUE(body.startsWith("The device named Lab answers again after ")) << body.toStdString();
    EXPECT_TRUE(body.contains(" failed queries; it did not answer for ")) << body.toStdString();
    const QByteArray errors = readFile(f.path("InternetError.log"));
    EXPECT_EQ(errors.count(": The device Lab answers again after "), 1) << errors.constData();
    EXPECT_TRUE(errors.contains(": A connection with the server could not be established\r\n"));

    ::kill(pid_t(program.processId()), SIGTERM);
    ASSERT_TRUE(program.waitForFinished(20000));
    EXPECT_EQ(program.exitCode(), 0);
    EXPECT_EQ(server.messages().size(), 2);
    sim.kill();
    sim.waitForFinished();
}
