#include "tests/support/NetTestSupport.h"

#include <QProcess>
#include <QTemporaryFile>

#include <gtest/gtest.h>

using namespace cz;
using namespace cz::test;

namespace {

// The simulator program, started with `args`; its port lines are read.
struct SimulatorProcess {
    explicit SimulatorProcess(const QStringList &args)
    {
        process.start(QStringLiteral(CZ_BIN_DIR "/corvanta-devsim"), args);
        process.waitForStarted();
        while (!output.contains("ready\n") && process.waitForReadyRead(5000))
            output += process.readAllStandardOutput();
    }
    ~SimulatorProcess()
    {
        process.kill();
        process.waitForFinished();
    }
    QByteArray output;
    QProcess process;
};

PageResult fetch(HttpSession &session, const QByteArray &url)
{
    PageResult result;
    bool done = false;
    session.fetchPage(url, {}, nullptr, [&](const PageResult &r) {
        result = r;
        done = true;
    });
    EXPECT_TRUE(waitUntil([&] { return done; }));
    return result;
}

} // namespace

TEST(DeviceSimulator, TheProgramServesItsDevicesAndObeysTheControlPort)
{
    QTemporaryFile config;
    ASSERT_TRUE(config.open());
    config.write(R"({"devices": [
        {"model": "Model P16", "name": "Cellar", "units": "C",
         "probes": [{"name": "North", "scenario": {"kind": "step", "value": 11, "at": 100, "after": 19.5}},
                    {"name": "Door", "type": "Switch", "scenario": {"kind": "toggle", "period": 10}}]}]})");
    config.close();
    SimulatorProcess sim({"--config", config.fileName(), "--control-port", "0"});
    const QList<QByteArray> lines = sim.output.split('\n');
    ASSERT_GE(lines.size(), 3) << sim.output.constData();
    const QByteArray device = "http://127.0.0.1:" + lines[0].split(' ')[0];
    const QByteArray control = "http://127.0.0.1:" + lines[1].split(' ')[1];

    HttpSession session;
    session.setTimeouts(1000, 1000, 5000);
    EXPECT_EQ(fetch(session, control + "/time?freeze=5").reply, "5\n");
    EXPECT_EQ(fetch(session, device + "/temp").reply, "North|11.0|Door|1");
    EXPECT_EQ(fetch(session, device + "/config").reply, "SN0001|Cellar|Model P16|2|1|North|2|Door");
    EXPECT_TRUE(fetch(session, device + "/").reply.contains("11.0&deg;C</td>"));
    EXPECT_EQ(fetch(session, control + "/time?freeze=115").reply, "115\n");
    EXPECT_EQ(fetch(session, device + "/temp").reply, "North|19.5|Door|-1");

    EXPECT_EQ(fetch(session, control + "/probe?port=" + lines[0].split(' ')[0] + "&probe=1&kind=constant&value=-4.25")
                  .reply,
              "ok\n");
    EXPECT_EQ(fetch(session, device + "/temp").reply, "North|-4.3|Door|-1");

    EXPECT_EQ(fetch(session, control + "/fault?port=" + lines[0].split(' ')[0] + "&kind=refuse").reply, "ok\n");
    const PageResult refused = fetch(session, device + "/temp");
    EXPECT_FALSE(refused.fetched());
    EXPECT_EQ(refused.failedAttempts.value(2), "A connection with the server could not be established\r\n");
    fetch(session, control + "/fault?port=" + lines[0].split(' ')[0] + "&kind=none");
    EXPECT_EQ(fetch(session, device + "/temp").reply, "North|-4.3|Door|-1");
    EXPECT_EQ(fetch(session, control + "/fault?port=1&kind=none").failedAttempts.size(), 0);
    EXPECT_TRUE(fetch(session, control + "/requests?port=" + lines[0].split(' ')[0]).reply.startsWith("GET /temp HTTP/1.1\n"));
}

TEST(DeviceSimulator, GarbageRepliesHoldNulBytesThatEndTheReplyText)
{
    NetFixture f;
    f.sim.addDevice(simDevice("Model R4", {1}));
    f.sim.setFault(0, devsim::Fault::Garbage);
    const PageResult r = fetch(f.session, "http://127.0.0.1:" + QByteArray::number(f.sim.port(0)) + "/temp");
    EXPECT_TRUE(r.fetched());
    EXPECT_EQ(r.reply.size(), 7); // the eighth byte is a NUL
}
