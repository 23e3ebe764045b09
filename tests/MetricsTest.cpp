// The metrics page as Prometheus scrapes it: the program runs headless
// against simulated devices, and the page is fetched over loopback.
#include "net/MetricsServer.h"
#include "tests/support/NetTestSupport.h"
#include "tests/support/Processes.h"
#include "tests/support/TestSupport.h"

#include <QDir>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcess>
#include <QTcpServer>

#include <gtest/gtest.h>

#include <csignal>

using namespace cz;
using namespace cz::test;

namespace {

struct Scrape {
    int status = 0;
    QByteArray contentType;
    QByteArray body;
};

Scrape fetch(const QString &url)
{
    QNetworkAccessManager manager;
    QNetworkReply *reply = manager.get(QNetworkRequest(QUrl(url)));
    Scrape s;
    if (!waitUntil([reply] { return reply->isFinished(); }, 10000))
        return s;
    s.status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    s.contentType = reply->header(QNetworkRequest::ContentTypeHeader).toByteArray();
    s.body = reply->readAll();
    reply->deleteLater();
    return s;
}

// The value of the series written exactly as `series`, empty when absent.
QByteArray valueOf(const QByteArray &body, const QByteArray &series)
{
    for (const QByteArray &line : body.split('\n'))
        if (line.startsWith(series + ' '))
            return line.mid(series.size() + 1);
    return {};
}

// Scrapes `url` into `s` until `series` has `value`, for `ms` at most.
bool scrapeUntil(const QString &url, const QByteArray &series, const QByteArray &value, Scrape &s, int ms)
{
    return waitUntil(
        [&] {
            s = fetch(url);
            return valueOf(s.body, series) == value;
        },
        ms);
}

// A simulator process serving one device; its port.
QByteArray startSimulator(QProcess &sim, const QByteArray &configPath)
{
    const QList<int> ports = test::startSimulator(sim, QStringLiteral(CZ_BIN_DIR), {"--config", QFile::decodeName(configPath)});
    return ports.isEmpty() ? QByteArray() : QByteArray::number(ports.first());
}

QByteArray deviceFile(const QByteArray &name, const QByteArray &port, const QByteArray &probes)
{
    return "[Device]\r\nDeviceName=" + name + "\r\nDeviceModel=Model R4\r\nDeviceAddress=127.0.0.1\r\nDevicePort=" +
           port + "\r\nQueryInterval=1\r\nLoggingEnabled=0\r\n" + probes;
}


// The program's metrics address from its output ("Metrics: http://...").
QString metricsUrl(const QByteArray &out)
{
    const int at = out.indexOf("Metrics: ");
    return at < 0 ? QString() : QString::fromUtf8(out.mid(at + 9, out.indexOf('\n', at) - at - 9));
}

class MetricsProgram : public ::testing::Test {
protected:
    void TearDown() override
    {
        for (QProcess *p : {&program, &simA, &simB}) {
            if (p->state() != QProcess::NotRunning) {
                ::kill(pid_t(p->processId()), SIGTERM);
                if (!p->waitForFinished(20000))
                    p->kill();
            }
        }
    }

    // Two devices, each on its own simulator, so that one can go away.
    void startDevices()
    {
        writeFile(f.path("a.json"), R"({"devices": [{"model": "Model R4", "name": "Rack",
            "probes": [{"name": "Intake", "scenario": {"kind": "constant", "value": 90.5}},
                       {"name": "Door", "type": "Switch", "scenario": {"kind": "constant", "value": 1}},
                       {"name": "Spare", "scenario": {"kind": "constant", "value": 70}}]}]})");
        writeFile(f.path("b.json"), R"({"devices": [{"model": "Model R4", "name": "Cellar",
            "probes": [{"name": "Air", "type": "Humidity", "scenario": {"kind": "constant", "value": 47}}]}]})");
        portA = startSimulator(simA, f.path("a.json"));
        portB = startSimulator(simB, f.path("b.json"));
        ASSERT_FALSE(portA.isEmpty());
        ASSERT_FALSE(portB.isEmpty());
        QDir().mkpath(QFile::decodeName(f.path("Devices")));
        writeFile(f.path("Devices/Server Room.ini"),
                  deviceFile("Server Room", portA,
                             "ProbeCount=3\r\n"
                             "[Probe01]\r\nProbeNumber=1\r\nProbeName=Rack \"A\" \\ 1\r\nGroupName=Hall\r\n"
                             "ProbeEnabled=1\r\nProbeType=0\r\nDisplayUnits=1\r\n"
                             "HighAlarmTemp=30.00\r\nHighCautionTemp=28.00\r\nLowCautionTemp=10.00\r\n"
                             "LowAlarmTemp=5.00\r\nConsecutiveAlarmThreshold=2\r\nClearMargin=0.50\r\n"
                             "[Probe02]\r\nProbeNumber=2\r\nProbeName=Door\r\nProbeEnabled=1\r\nProbeType=3\r\n"
                             "[Probe03]\r\nProbeNumber=3\r\nProbeName=Spare\r\nProbeEnabled=0\r\nProbeType=0\r\n"));
        writeFile(f.path("Devices/Cellar.ini"),
                  deviceFile("Cellar", portB,
                             "ProbeCount=1\r\n[Probe01]\r\nProbeNumber=1\r\nProbeName=Air\r\nProbeEnabled=1\r\n"
                             "ProbeType=1\r\nHighAlarmHumidity=90\r\nHighCautionHumidity=80\r\n"
                             "LowCautionHumidity=20\r\nLowAlarmHumidity=10\r\n"));
    }

    void startProgram(const QStringList &extra, const QByteArray &settings)
    {
        writeFile(f.path("Corvanta Zephtra.ini"),
                  "[Devices]\r\nDevice001=Server Room\r\nDevice002=Cellar\r\n" + settings);
        program.start(programPath(), QStringList{"--headless", "--data-dir", f.dir.path()} + extra);
        ASSERT_TRUE(waitForOutput(program, "Press Ctrl+C", out)) << out.constData();
    }

    DataFolderFixture f;
    QProcess simA, simB, program;
    QByteArray portA, portB, out;
};

const QByteArray kRackIntake = R"({device="Server Room",probe="1",name="Rack \"A\" \\ 1",group="Hall",)"
                               R"(type="temperature",units="celsius"})";
const QByteArray kRackDoor = R"({device="Server Room",probe="2",name="Door",group="",type="switch",units="closed"})";
const QByteArray kRackSpare =
    R"({device="Server Room",probe="3",name="Spare",group="",type="temperature",units="fahrenheit"})";
const QByteArray kCellarAir = R"({device="Cellar",probe="1",name="Air",group="",type="humidity",units="percent"})";

} // namespace

TEST_F(MetricsProgram, ServesReadingsAlarmsAndDeviceHealthAndShowsAStoppedDeviceAsDown)
{
    startDevices();
    startProgram({"--metrics-address", "127.0.0.1:0"}, {});
    ASSERT_TRUE(waitForOutput(program, "Metrics: ", out)) << out.constData();
    ASSERT_TRUE(waitForOutput(program, "/metrics\n", out)) << out.constData();
    const QString url = metricsUrl(out);
    ASSERT_TRUE(url.startsWith("http://127.0.0.1:")) << qPrintable(url);

    // 90.5 °F read in Celsius, twice over the high alarm: the alarm is
    // raised once.
    ASSERT_TRUE(waitForOutput(program, "Probe reported a High Alarm condition (value 32.50", out)) << out.constData();
    Scrape s;
    ASSERT_TRUE(scrapeUntil(url, "corvanta_alerts_total{kind=\"alarm\"}", "1", s, 20000))
        << s.body.constData();
    // The cellar is polled on its own and may answer a little later.
    ASSERT_TRUE(scrapeUntil(url, "corvanta_probe_value" + kCellarAir, "47", s, 20000)) << s.body.constData();
    EXPECT_EQ(valueOf(s.body, "corvanta_alerts_total{kind=\"alarm\"}"), "1");
    EXPECT_EQ(s.status, 200);
    EXPECT_EQ(s.contentType, "text/plain; version=0.0.4; charset=utf-8");
    EXPECT_EQ(valueOf(s.body, "corvanta_build_info{version=\"1.41\"}"), "1");
    EXPECT_EQ(valueOf(s.body, "corvanta_devices"), "2");
    EXPECT_EQ(valueOf(s.body, "corvanta_probe_value" + kRackIntake), "32.5");
    EXPECT_EQ(valueOf(s.body, "corvanta_probe_alarm_state" + kRackIntake), "1");
    EXPECT_GE(valueOf(s.body, "corvanta_probe_consecutive_alarms" + kRackIntake).toInt(), 1);
    EXPECT_EQ(valueOf(s.body, "corvanta_probe_value" + kRackDoor), "1");
    EXPECT_EQ(valueOf(s.body, "corvanta_probe_enabled" + kRackSpare), "0");
    EXPECT_EQ(valueOf(s.body, "corvanta_probe_value" + kRackSpare), "") << "a disabled probe has no reading";
    EXPECT_EQ(valueOf(s.body, "corvanta_probe_value" + kCellarAir), "47");
    EXPECT_EQ(valueOf(s.body, "corvanta_probe_alarm_state" + kCellarAir), "0");
    EXPECT_EQ(valueOf(s.body, "corvanta_probe_clear_margin" + kRackIntake), "0.5");
    EXPECT_EQ(valueOf(s.body, "corvanta_probe_clear_margin" + kCellarAir), "0");
    EXPECT_EQ(valueOf(s.body, "corvanta_probe_clear_margin" + kRackDoor), "") << "a switch has no margin";
    for (const char *device : {"Server Room", "Cellar"}) {
        const QByteArray labels = QByteArray("{device=\"") + device + "\"}";
        EXPECT_EQ(valueOf(s.body, "corvanta_device_up" + labels), "1") << device;
        EXPECT_GE(valueOf(s.body, "corvanta_device_queries_total" + labels).toInt(), 1) << device;
        EXPECT_EQ(valueOf(s.body, "corvanta_device_failed_attempts_total" + labels), "0") << device;
        const double duration = valueOf(s.body, "corvanta_device_last_query_duration_seconds" + labels).toDouble();
        EXPECT_GT(duration, 0) << device;
        EXPECT_GT(valueOf(s.body, "corvanta_device_last_contact_timestamp_seconds" + labels).toLongLong(), 1.7e9);
    }

    // Prometheus's own checker accepts the page, escapes and all.
    QProcess promtool;
    promtool.start(QStringLiteral("promtool"), {"check", "metrics"});
    ASSERT_TRUE(promtool.waitForStarted(10000)) << "promtool (Debian's prometheus package) is needed";
    promtool.write(s.body);
    promtool.closeWriteChannel();
    ASSERT_TRUE(promtool.waitForFinished(30000));
    EXPECT_EQ(promtool.exitCode(), 0) << promtool.readAllStandardOutput().constData()
                                      << promtool.readAllStandardError().constData();

    // The cellar's device goes away mid-run: it shows as down, with its
    // failed attempts counted; the other device stays up.
    simB.kill();
    simB.waitForFinished();
    ASSERT_TRUE(scrapeUntil(url, "corvanta_device_up{device=\"Cellar\"}", "0", s, 60000))
        << s.body.constData();
    EXPECT_GE(valueOf(s.body, "corvanta_device_failed_attempts_total{device=\"Cellar\"}").toInt(), 3);
    EXPECT_EQ(valueOf(s.body, "corvanta_device_up{device=\"Server Room\"}"), "1");
    EXPECT_EQ(valueOf(s.body, "corvanta_probe_value" + kRackIntake), "32.5");

    // Anything but the page is not found.
    EXPECT_EQ(fetch(QString(url).replace("/metrics", "/nothing")).status, 404);
}

TEST_F(MetricsProgram, TheSettingServesOnLoopbackWhenOnlyAPortIsGiven)
{
    startDevices();
    const quint16 port = freeLoopbackPort();
    startProgram({}, "[Program]\r\nMetricsAddress=" + QByteArray::number(port) + "\r\n");
    ASSERT_TRUE(waitForOutput(program, "/metrics\n", out)) << out.constData();
    EXPECT_EQ(metricsUrl(out), QStringLiteral("http://127.0.0.1:%1/metrics").arg(port));
    const Scrape s = fetch(metricsUrl(out));
    EXPECT_EQ(s.status, 200);
    EXPECT_TRUE(s.body.contains("corvanta_device_up{device=\"Cellar\"}"));

    // The setting is kept as written when the program saves.
    ::kill(pid_t(program.processId()), SIGTERM);
    ASSERT_TRUE(program.waitForFinished(20000));
    EXPECT_EQ(program.exitCode(), 0);
    EXPECT_TRUE(readFile(f.path("Corvanta Zephtra.ini"))
                    .contains("\r\nMetricsAddress=" + QByteArray::number(port) + "\r\n"));
}

TEST_F(MetricsProgram, AnAddressThatCannotBeServedIsReportedAndMonitoringGoesOn)
{
    startDevices();
    QTcpServer taken;
    ASSERT_TRUE(taken.listen(QHostAddress::LocalHost));
    startProgram({"--metrics-address", QStringLiteral("127.0.0.1:%1").arg(taken.serverPort())}, {});
    ASSERT_TRUE(waitForOutput(program, "Probe reported a High Alarm condition", out)) << out.constData();
    const QByteArray errors = program.readAllStandardError();
    EXPECT_TRUE(errors.contains("Metrics cannot be served at 127.0.0.1:")) << errors.constData();
    EXPECT_FALSE(out.contains("Metrics: "));
}

TEST_F(MetricsProgram, TheWindowedProgramServesThePageToo)
{
    startDevices();
    const quint16 port = freeLoopbackPort();
    writeFile(f.path("Corvanta Zephtra.ini"), "[Devices]\r\nDevice001=Server Room\r\nDevice002=Cellar\r\n");
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("QT_QPA_PLATFORM", "offscreen");
    program.setProcessEnvironment(env);
    program.start(programPath(), {"-nosplash", "--data-dir", f.dir.path(), "--metrics-address", QString::number(port)});
    const QString url = QStringLiteral("http://127.0.0.1:%1/metrics").arg(port);
    Scrape s;
    ASSERT_TRUE(scrapeUntil(url, "corvanta_probe_value" + kCellarAir, "47", s, 30000))
        << s.body.constData() << program.readAllStandardError().constData();
    EXPECT_TRUE(scrapeUntil(url, "corvanta_device_up{device=\"Server Room\"}", "1", s, 20000));
}

TEST(MetricsCommandLine, AnAddressThatIsNoIpAddressIsRefusedBeforeAnythingStarts)
{
    DataFolderFixture f;
    QProcess program;
    program.start(programPath(), {"--headless", "--data-dir", f.dir.path(), "--metrics-address", "example.org:9464"});
    ASSERT_TRUE(program.waitForFinished(20000));
    EXPECT_EQ(program.exitCode(), 2);
    EXPECT_TRUE(program.readAllStandardError().startsWith(
        "corvanta-zephtra: \"example.org:9464\" is not a metrics address: the host must be an IP address or "
        "localhost.\n"));
    EXPECT_FALSE(exists(f.path("Corvanta Zephtra.ini")));
}

TEST(MetricsCommandLine, OnlyAnAddressWrittenOutReachesBeyondLoopback)
{
    struct Case {
        const char *text;
        const char *host;  // nullptr: refused
        quint16 port;
    };
    const Case cases[] = {
        {"9464", "127.0.0.1", 9464},      {":9464", "127.0.0.1", 9464},   {" localhost:80 ", "127.0.0.1", 80},
        {"0.0.0.0:9464", "0.0.0.0", 9464}, {"[::1]:9464", "::1", 9464},    {"[::]:0", "::", 0},
        {"192.0.2.7:1", "192.0.2.7", 1},   {"70000", nullptr, 0},          {"", nullptr, 0},
        {"lab-pc:9464", nullptr, 0},       {"127.0.0.1:", nullptr, 0},     {"127.0.0.1:x", nullptr, 0},
    };
    for (const Case &c : cases) {
        MetricsAddress address;
        QString error;
        const bool ok = parseMetricsAddress(QString::fromUtf8(c.text), &address, &error);
        EXPECT_EQ(ok, c.host != nullptr) << c.text;
        if (ok) {
            EXPECT_EQ(address.host, QHostAddress(QString::fromLatin1(c.host))) << c.text;
            EXPECT_EQ(address.port, c.port) << c.text;
        } else {
            EXPECT_TRUE(error.contains("is not a metrics address")) << c.text;
        }
    }
}
