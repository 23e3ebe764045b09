#include "DeviceFile.h"
#include "DeviceQueryClient.h"
#include "NetTestSupport.h"

#include <gtest/gtest.h>

using namespace cz;
using namespace cz::test;
using devsim::Fault;

namespace {

constexpr auto T = ProbeType::Temperature;

struct WalkFixture : NetFixture {
    WalkFixture() : client(state(), session)
    {
        client.setEvaluation(&evaluation);
        QObject::connect(&client, &DeviceQueryClient::walkFinished, [this](int r) { results.append(r); });
        QObject::connect(&client, &DeviceQueryClient::replyApplied, [this](int s) { applied.append(s); });
        QObject::connect(&client, &DeviceQueryClient::queryFailureAlert, [this](int s) { alerts.append(s); });
    }
    // One whole walk; its result.
    int walk(int notFirstQuery = 1)
    {
        const qsizetype before = results.size();
        EXPECT_TRUE(client.QueryDevices(notFirstQuery));
        EXPECT_TRUE(waitUntil([&] { return results.size() > before; }));
        return results.value(before, -1);
    }
    QByteArray errorLog() { return readFile(state().folder().internetErrorLog()); }
    QStringList paths(int simIndex)
    {
        QStringList out;
        for (const auto &r : sim.requests(simIndex))
            out.append(QString::fromUtf8(r.path));
        return out;
    }

    DeviceQueryClient client;
    RecordingEvaluation evaluation;
    QList<int> results, applied, alerts;
};

} // namespace

TEST(QueryWalk, EachModelIsAskedForItsReadingsPageAndTheRepliesAreParsed)
{
    WalkFixture f;
    f.addSimulated(simDevice("model rm1", {71.6, 45}), {T, ProbeType::Humidity});
    f.addSimulated(simDevice("Model R16", {70.1}), {T});
    f.addSimulated(simDevice("Model X9", {69.9}), {T});
    EXPECT_EQ(f.walk(0), 1);
    EXPECT_EQ(f.paths(0), QStringList{"/data"});
    EXPECT_EQ(f.paths(1), QStringList{"/temp"});
    EXPECT_EQ(f.paths(2), QStringList{"/temp"});
    EXPECT_EQ(f.evaluation.textsFor(0), (QList<QByteArray>{"71.6", "45.0"}));
    EXPECT_EQ(f.evaluation.textsFor(2), QList<QByteArray>{"69.9"});
    EXPECT_EQ(f.evaluation.values[0].notFirstQuery, 0);
    EXPECT_EQ(f.applied, (QList<int>{0, 1, 2}));
    EXPECT_EQ(f.statuses, (QStringList{"Status: querying devices...", "Status: monitoring devices..."}));
    // The request carries the program's agent string.
    EXPECT_TRUE(f.sim.requests(1)[0].userAgent.startsWith("Mozilla/4.0 (compatible; MSIE 6.0;"));
}

TEST(QueryWalk, OnlyDueDevicesAreQueriedAndEachIsStampedWhenItsQueryBegins)
{
    WalkFixture f;
    DeviceRecord &a = f.addSimulated(simDevice("Model R4", {70}), {T});
    DeviceRecord &b = f.addSimulated(simDevice("Model R4", {70}), {T});
    b.QueryDue = 0;
    EXPECT_EQ(f.walk(), 1);
    EXPECT_EQ(a.LastContactTimeVal, f.clock.now());
    EXPECT_TRUE(a.ShownChanges & DeviceBit::LastContactTimeVal);
    EXPECT_EQ(b.LastContactTimeVal, 0);
    EXPECT_TRUE(f.sim.requests(1).isEmpty());
}

TEST(QueryWalk, ThreeRefusedConnectionsEndTheWalkAndLeaveLaterDevicesUntouched)
{
    WalkFixture f;
    f.addSimulated(simDevice("Model R4", {70}), {T});
    DeviceRecord &bad = f.addSimulated(simDevice("Model R4", {70}, "Dead"), {T});
    DeviceRecord &later = f.addSimulated(simDevice("Model R4", {70}), {T});
    f.sim.setFault(1, Fault::Refuse);
    EXPECT_EQ(f.walk(), 0);

    const QByteArray line = "11-14-26 13:05:09: A connection with the server could not be established\r\n";
    EXPECT_EQ(f.errorLog(), line + line + line);
    EXPECT_EQ(f.state().status(), "ERROR: device query failed (attempt #3, check error log...");
    EXPECT_EQ(f.statuses, (QStringList{"Status: querying devices...",
                                       "ERROR: device query failed (attempt #1, check error log...",
                                       "ERROR: device query failed (attempt #2, check error log...",
                                       "ERROR: device query failed (attempt #3, check error log..."}));
    EXPECT_EQ(bad.LastContactTimeVal, f.clock.now());
    // The device after it may have been fetched already, but nothing of it is used.
    EXPECT_EQ(later.LastContactTimeVal, 0);
    EXPECT_EQ(later.probe(0)->CurrentValueText.bytes(), "n/a");
    EXPECT_EQ(f.applied, QList<int>{0});
    EXPECT_EQ(f.evaluation.values.size(), 1u);
}

TEST(QueryWalk, FailuresAreLoggedOnlyWhenTheDeviceAsksForIt)
{
    WalkFixture f;
    DeviceRecord &d = f.addSimulated(simDevice("Model R4", {70}), {T});
    d.LogQueryFailures = 0;
    f.sim.setFault(0, Fault::Refuse);
    EXPECT_EQ(f.walk(), 0);
    EXPECT_FALSE(exists(f.state().folder().internetErrorLog()));
}

TEST(QueryWalk, TwoFailedAttemptsThenAnAnswerIsParsedAndTheErrorsStayLogged)
{
    WalkFixture f;
    f.addSimulated(simDevice("Model R4", {70.5}), {T});
    f.sim.device(0).dropNext = 2;
    EXPECT_EQ(f.walk(), 1);
    EXPECT_EQ(f.sim.requests(0).size(), 3);
    const QByteArray line = "11-14-26 13:05:09: Empty reply from server\r\n";
    EXPECT_EQ(f.errorLog(), line + line);
    EXPECT_EQ(f.evaluation.textsFor(0), QList<QByteArray>{"70.5"});
    // An attempt error stays on the status line after the walk.
    EXPECT_EQ(f.state().status(), "ERROR: device query failed (attempt #2, check error log...");
}

TEST(QueryWalk, ADeviceThatNeverAnswersTimesOut)
{
    WalkFixture f;
    f.addSimulated(simDevice("Model R4", {70}), {T});
    f.sim.setFault(0, Fault::Hang);
    EXPECT_EQ(f.walk(), 0);
    const QByteArray line = "11-14-26 13:05:09: The operation timed out\r\n";
    EXPECT_EQ(f.errorLog(), line + line + line);
}

TEST(QueryWalk, AnUnknownHostIsReportedInTheDevicesWords)
{
    WalkFixture f;
    DeviceRecord &d = f.addSimulated(simDevice("Model R4", {70}), {T});
    d.DeviceAddress = "no-such-host.invalid";
    EXPECT_EQ(f.walk(), 0);
    EXPECT_TRUE(f.errorLog().endsWith(": The server name or address could not be resolved\r\n"));
}

TEST(QueryWalk, ALongReplyIsParsedFromItsFirst2048Bytes)
{
    WalkFixture f;
    devsim::SimDevice big = simDevice("Model R4", {70.1, 70.2});
    f.addSimulated(big, {T, T});
    f.addSimulated(simDevice("Model RM1", {}), {});
    f.sim.setFault(0, Fault::Long);
    EXPECT_EQ(f.walk(), 1);
    // The last field ran into the padding; its leading number still reads.
    EXPECT_EQ(f.evaluation.textsFor(0).value(0), "70.1");
    const QByteArray last = f.evaluation.textsFor(0).value(1);
    EXPECT_TRUE(last.startsWith("70.2|padding-"));
    EXPECT_EQ(last.size(), 2048 - QByteArray("Probe 1|70.1|Probe 2|").size());
    EXPECT_EQ(f.state().device(0)->probe(1)->CurrentValueText.bytes(), "70.2");
}

TEST(QueryWalk, OneBadReplyThenAGoodOneLeavesTheQueryFailedStatus)
{
    WalkFixture f;
    f.addSimulated(simDevice("Model R4", {70, 71}, "Broken"), {T, T});
    f.addSimulated(simDevice("Model R4", {72}, "Fine"), {T});
    f.sim.setFault(0, Fault::Http500);
    EXPECT_EQ(f.walk(), 1);
    EXPECT_EQ(f.state().status(), "ERROR: query failed for Broken");
    EXPECT_EQ(f.applied, QList<int>{1});
    EXPECT_EQ(f.state().device(0)->QueryFailureCount, 1);
    EXPECT_TRUE(f.alerts.isEmpty()); // the threshold (3) is never reached from here
}

TEST(QueryWalk, TheQueryFailureAlertNeedsAThresholdBelowOne)
{
    WalkFixture f;
    DeviceRecord &d = f.addSimulated(simDevice("Model R4", {70, 71}), {T, T});
    f.sim.setFault(0, Fault::Bare);
    f.sim.device(0).probes.removeLast(); // one probe short
    d.QueryFailThreshold = 1;
    EXPECT_EQ(f.walk(), 1);
    EXPECT_TRUE(f.alerts.isEmpty());
    d.QueryFailThreshold = 0;
    EXPECT_EQ(f.walk(), 1);
    EXPECT_EQ(f.alerts, QList<int>{0});
}

TEST(QueryWalk, BareBodiesTruncatedRepliesAndResetsAreReadAsFarAsTheyGo)
{
    WalkFixture f;
    f.addSimulated(simDevice("Model R4", {70.5}), {T});
    f.addSimulated(simDevice("Model R4", {61.0, 62.0, 63.0, 64.0}), {T, T, T, T});
    f.addSimulated(simDevice("Model R4", {65.0, 66.0, 67.0, 68.0}), {T, T, T, T});
    f.addSimulated(simDevice("Model R4", {69.0}), {T});
    f.addSimulated(simDevice("Model R4", {71.0}, "After"), {T});
    f.sim.setFault(0, Fault::Bare);
    f.sim.setFault(1, Fault::Truncate);
    f.sim.setFault(2, Fault::Reset);
    f.sim.setFault(3, Fault::Garbage);
    EXPECT_EQ(f.walk(), 1);
    EXPECT_EQ(f.evaluation.textsFor(0), QList<QByteArray>{"70.5"});
    // Half of "Probe 1|61.0|Probe 2|62.0|..." arrived: the first probes only.
    EXPECT_EQ(f.evaluation.textsFor(1).value(0), "61.0");
    EXPECT_LT(f.evaluation.textsFor(1).size(), 4);
    EXPECT_LT(f.evaluation.textsFor(2).size(), 4);
    EXPECT_EQ(f.evaluation.textsFor(4), QList<QByteArray>{"71.0"});
    EXPECT_TRUE(f.applied.contains(4));
}

TEST(QueryWalk, RepliesAreAppliedInSlotOrderWhateverOrderTheyArriveIn)
{
    WalkFixture f;
    f.addSimulated(simDevice("Model R4", {70}), {T});
    f.addSimulated(simDevice("Model R4", {71}), {T});
    f.sim.setFault(0, Fault::Slow, 250);
    EXPECT_EQ(f.walk(), 1);
    EXPECT_EQ(f.applied, (QList<int>{0, 1}));
    EXPECT_EQ(f.evaluation.values[0].slot, 0);
}

TEST(QueryWalk, NoSecondWalkWhileOneRunsAndNoneWhileShuttingDown)
{
    WalkFixture f;
    f.addSimulated(simDevice("Model R4", {70}), {T});
    f.sim.setFault(0, Fault::Slow, 200);
    EXPECT_TRUE(f.client.QueryDevices(1));
    EXPECT_FALSE(f.client.QueryDevices(1));
    EXPECT_TRUE(waitUntil([&] { return !f.results.isEmpty(); }));
    EXPECT_EQ(f.sim.requests(0).size(), 1);

    f.state().ShuttingDown = 1;
    f.statuses.clear();
    f.state().device(0)->LastContactTimeVal = 5;
    EXPECT_EQ(f.walk(), 0);
    EXPECT_EQ(f.state().device(0)->LastContactTimeVal, 5);
    EXPECT_TRUE(f.statuses.isEmpty());
}

TEST(QueryWalk, TheProxyOfOneDeviceStaysSetForTheDevicesAfterIt)
{
    WalkFixture f;
    const int proxy = f.sim.addDevice(simDevice("Model R4", {99}, "Proxy"));
    DeviceRecord &first = f.addSimulated(simDevice("Model R4", {70}), {T});
    f.addSimulated(simDevice("Model R4", {71}), {T});
    first.UseProxy = 1;
    first.ProxyServerAddress = "127.0.0.1:" + QByteArray::number(f.sim.port(proxy));
    first.ProxyServerUserName = "operator";
    first.ProxyServerPassword = "secret";
    EXPECT_EQ(f.walk(), 1);
    const auto seen = f.sim.requests(proxy);
    ASSERT_EQ(seen.size(), 2);
    const QByteArray expectFirst =
        "GET http://127.0.0.1:" + QByteArray::number(f.sim.port(1)) + "/temp HTTP/1.1";
    const QByteArray expectSecond =
        "GET http://127.0.0.1:" + QByteArray::number(f.sim.port(2)) + "/temp HTTP/1.1";
    EXPECT_EQ(seen[0].requestLine, expectFirst);
    EXPECT_EQ(seen[1].requestLine, expectSecond);
    EXPECT_EQ(seen[1].proxyAuthorization, "Basic " + QByteArray("operator:secret").toBase64());
    EXPECT_TRUE(f.sim.requests(1).isEmpty());
    EXPECT_TRUE(f.sim.requests(2).isEmpty());
}

TEST(QueryWalk, ADeviceDeletedDuringAWalkIsSkippedAndTheRestStillApply)
{
    WalkFixture f;
    f.addSimulated(simDevice("Model R4", {70}), {T});
    f.addSimulated(simDevice("Model R4", {71}), {T});
    f.addSimulated(simDevice("Model R4", {72}), {T});
    f.sim.setFault(0, Fault::Slow, 200);
    EXPECT_TRUE(f.client.QueryDevices(1));
    f.state().deleteDevice(1);
    EXPECT_TRUE(waitUntil([&] { return !f.results.isEmpty(); }));
    EXPECT_EQ(f.results[0], 1);
    EXPECT_EQ(f.applied, (QList<int>{0, 1}));
    EXPECT_EQ(f.evaluation.values.back().text, "72.0");
}
