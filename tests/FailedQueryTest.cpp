// Queries that fail: attempts refused, silent or cut off, replies that do
// not parse, and the query-failure alert of a device that stops answering.
#include "tests/CycleFixture.h"

#include <QElapsedTimer>

#include <gtest/gtest.h>

using namespace cz;
using namespace cz::test;
using devsim::Fault;

namespace {

constexpr auto T = ProbeType::Temperature;

} // namespace

// --- The query-failure alert ------------------------------------------------

TEST(DeviceQuery, ADeviceThatStopsAnsweringRaisesTheAlertOnceAndIsToldBackWhenItAnswers)
{
    CycleFixture f;
    DeviceRecord &d = f.addSimulated(simDevice("Model R4", {70}, "Lab"), {T});
    d.QueryInterval = 30;
    d.QueryFailThreshold = 3;
    QStringList back;
    QObject::connect(&f.cycle, &QueryCycle::deviceAnswersAgain, [&](int slot, int failed, qint64 silent) {
        back.append(QStringLiteral("%1:%2:%3").arg(slot).arg(failed).arg(silent));
    });
    f.tick(); // answers
    f.sim.setFault(0, Fault::Refuse);
    for (int query = 1; query <= 6; ++query) {
        f.clock.advance(30);
        f.tick();
        EXPECT_EQ(d.QueryFailureCount, query);
        EXPECT_EQ(f.alerts.size(), query >= 3 ? 1 : 0) << "failed query " << query;
    }
    EXPECT_TRUE(f.statuses.contains("ERROR: Lab did not answer 3 queries in a row"));
    EXPECT_EQ(f.cycle.stats(0).failureAlerts, 1u);

    f.sim.setFault(0, Fault::None);
    f.clock.advance(30);
    f.tick();
    // Silent from its last answer to this one: 7 intervals.
    EXPECT_EQ(back, QStringList{"0:6:210"});
    EXPECT_EQ(d.QueryFailureCount, 0);
    EXPECT_EQ(f.status.text(), "Status: Lab answers again after 6 failed queries");
    EXPECT_TRUE(f.errorLog().endsWith(
        "11-14-26 13:08:39: The device Lab answers again after 6 failed queries; it did not answer for 3 minutes "
        "30 seconds.\r\n"));

    // A later outage is a new one: one more alert.
    f.sim.setFault(0, Fault::Refuse);
    for (int query = 1; query <= 3; ++query) {
        f.clock.advance(30);
        f.tick();
    }
    EXPECT_EQ(f.alerts, (QList<int>{0, 0}));
}

TEST(DeviceQuery, AGarbageReplyCountsLikeSilenceAndABlipBelowTheThresholdTellsNobody)
{
    CycleFixture f;
    DeviceRecord &d = f.addSimulated(simDevice("Model R4", {70, 71}, "Lab"), {T, T});
    d.QueryInterval = 5;
    d.QueryFailThreshold = 2;
    int back = 0;
    QObject::connect(&f.cycle, &QueryCycle::deviceAnswersAgain, [&] { ++back; });
    f.sim.setFault(0, Fault::Refuse);
    f.tick();
    f.sim.setFault(0, Fault::None);
    f.clock.advance(5);
    f.tick();
    EXPECT_TRUE(f.alerts.isEmpty());
    EXPECT_EQ(back, 0);
    EXPECT_EQ(d.QueryFailureCount, 0);

    f.sim.setFault(0, Fault::Garbage);
    f.clock.advance(5);
    f.tick();
    f.clock.advance(5);
    f.tick();
    EXPECT_EQ(f.alerts, QList<int>{0});
}

TEST(DeviceQuery, AThresholdOfZeroOrLessActsAsOne)
{
    CycleFixture f;
    DeviceRecord &zero = f.addSimulated(simDevice("Model R4", {70}, "Zero"), {T});
    DeviceRecord &negative = f.addSimulated(simDevice("Model R4", {70}, "Negative"), {T});
    zero.QueryFailThreshold = 0;
    negative.QueryFailThreshold = -5;
    f.sim.setFault(0, Fault::Refuse);
    f.sim.setFault(1, Fault::Refuse);
    f.tick();
    std::sort(f.alerts.begin(), f.alerts.end());
    EXPECT_EQ(f.alerts, (QList<int>{0, 1}));
    f.clock.advance(30);
    f.tick();
    EXPECT_EQ(f.alerts.size(), 2);
}

TEST(DeviceQuery, AnOutageFromTheStartIsAlertedAndItsLengthCountsFromTheFirstQuery)
{
    CycleFixture f;
    DeviceRecord &d = f.addSimulated(simDevice("Model R4", {70}, "Lab"), {T});
    d.QueryFailThreshold = 2;
    QStringList back;
    QObject::connect(&f.cycle, &QueryCycle::deviceAnswersAgain, [&](int slot, int failed, qint64 silent) {
        back.append(QStringLiteral("%1:%2:%3").arg(slot).arg(failed).arg(silent));
    });
    f.sim.setFault(0, Fault::Refuse); // never answered since the start
    for (int query = 1; query <= 3; ++query) {
        f.tick();
        f.clock.advance(30);
    }
    EXPECT_EQ(f.alerts, QList<int>{0});
    EXPECT_TRUE(f.statuses.contains("ERROR: Lab did not answer 2 queries in a row"));
    f.sim.setFault(0, Fault::None);
    f.tick();
    EXPECT_EQ(back, QStringList{"0:3:90"});
    EXPECT_EQ(f.status.text(), "Status: Lab answers again after 3 failed queries");
    EXPECT_EQ(f.evaluation.textsFor(0), QList<QByteArray>{"70.0"});
}

// --- Failed attempts -------------------------------------------------------

TEST(DeviceQuery, ThreeRefusedConnectionsEndThatDevicesQueryOnly)
{
    CycleFixture f;
    f.addSimulated(simDevice("Model R4", {70}), {T});
    DeviceRecord &bad = f.addSimulated(simDevice("Model R4", {70}, "Dead"), {T});
    DeviceRecord &later = f.addSimulated(simDevice("Model R4", {73}), {T});
    f.sim.setFault(1, Fault::Refuse);
    f.tick();

    const QByteArray line = "11-14-26 13:05:09: A connection with the server could not be established\r\n";
    EXPECT_EQ(f.errorLog(), line + line + line);
    // The error stays on the status line: the round had a failure.
    EXPECT_EQ(f.status.text(), "ERROR: device query failed (attempt #3, check error log...");
    EXPECT_TRUE(f.statuses.contains("ERROR: device query failed (attempt #1, check error log..."));
    EXPECT_TRUE(f.statuses.contains("ERROR: device query failed (attempt #2, check error log..."));
    EXPECT_EQ(bad.LastContactTimeVal, f.clock.now());
    // The device after it was queried and applied as usual.
    EXPECT_EQ(later.LastContactTimeVal, f.clock.now());
    EXPECT_EQ(later.probe(0)->CurrentValueText.bytes(), "73.0");
    EXPECT_TRUE(f.finished.contains("1:0"));
    EXPECT_TRUE(f.sampled.contains("1:0"));
    EXPECT_EQ(bad.probe(0)->Values.newest(), kNoValue);

    // The next round without a failure clears the error.
    bad.QueryInterval = 1000;
    f.clock.advance(30);
    f.tick();
    EXPECT_EQ(f.status.text(), "Status: monitoring devices...");
}

TEST(DeviceQuery, FailuresAreLoggedOnlyWhenTheDeviceAsksForIt)
{
    CycleFixture f;
    DeviceRecord &d = f.addSimulated(simDevice("Model R4", {70}), {T});
    d.LogQueryFailures = 0;
    f.sim.setFault(0, Fault::Refuse);
    f.tick();
    EXPECT_FALSE(exists(f.store().folder().internetErrorLog()));
}

TEST(DeviceQuery, TwoFailedAttemptsThenAnAnswerIsParsedAndTheErrorsStayLogged)
{
    CycleFixture f;
    f.addSimulated(simDevice("Model R4", {70.5}), {T});
    f.sim.device(0).dropNext = 2;
    f.tick();
    EXPECT_EQ(f.sim.requests(0).size(), 3);
    const QByteArray line = "11-14-26 13:05:09: Empty reply from server\r\n";
    EXPECT_EQ(f.errorLog(), line + line);
    EXPECT_EQ(f.evaluation.textsFor(0), QList<QByteArray>{"70.5"});
    EXPECT_EQ(f.status.text(), "ERROR: device query failed (attempt #2, check error log...");
}

TEST(DeviceQuery, ASilentDeviceTimesOut)
{
    CycleFixture f;
    f.addSimulated(simDevice("Model R4", {70}), {T});
    f.sim.setFault(0, Fault::Hang);
    f.tick();
    const QByteArray line = "11-14-26 13:05:09: The operation timed out\r\n";
    EXPECT_EQ(f.errorLog(), line + line + line);
}

TEST(DeviceQuery, ATricklingDeviceIsCutOffAtTheDeadlineOfEachAttempt)
{
    CycleFixture f;
    f.addSimulated(simDevice("Model R4", {70}), {T});
    // A byte every 50 ms never leaves the line silent for the 5 s receive
    // time-out; the 1.5 s an attempt may last in all ends it.
    f.session.setTimeouts(1000, 5000, 1500);
    f.sim.setFault(0, Fault::Trickle, 50);
    QElapsedTimer elapsed;
    elapsed.start();
    f.tick();
    EXPECT_GE(elapsed.elapsed(), 3 * 1500 - 100);
    EXPECT_LT(elapsed.elapsed(), 3 * 1500 + 1500);
    const QByteArray line = "11-14-26 13:05:09: The operation timed out\r\n";
    EXPECT_EQ(f.errorLog(), line + line + line);
    EXPECT_EQ(f.sim.requests(0).size(), 3);
}

// The head arrives at once and the body stops half way: the reply is what
// arrived, as with a reply cut short, so the probes whose fields came whole
// are read and the one cut off is not. A body that is merely slow is read
// whole.
TEST(DeviceQuery, ABodyThatStopsHalfWayGivesTheProbesThatArrivedWhole)
{
    CycleFixture f;
    f.addSimulated(simDevice("Model R4", {70.5, 71.5, 72.5, 73.5}), {T, T, T, T});
    f.session.setTimeouts(1000, 400, 1500);
    f.sim.setFault(0, Fault::Stall, 5000);
    f.tick();
    const QList<QByteArray> first = f.evaluation.textsFor(0);
    ASSERT_FALSE(first.isEmpty());
    EXPECT_LT(first.size(), 4);
    EXPECT_EQ(first, (QList<QByteArray>{"70.5", "71.5", "72.5", "73.5"}.mid(0, first.size())));
    EXPECT_EQ(f.errorLog(), "") << "the reply was opened: a cut, not a failed attempt";
    EXPECT_EQ(f.sim.requests(0).size(), 1);

    f.evaluation.values.clear();
    f.sim.setFault(0, Fault::Stall, 150);
    f.clock.advance(30);
    f.tick();
    EXPECT_EQ(f.evaluation.textsFor(0), (QList<QByteArray>{"70.5", "71.5", "72.5", "73.5"}));
}

TEST(DeviceQuery, AnUnknownHostIsReportedInTheDevicesWords)
{
    CycleFixture f;
    DeviceRecord &d = f.addSimulated(simDevice("Model R4", {70}), {T});
    d.DeviceAddress = "no-such-host.invalid";
    f.tick();
    EXPECT_TRUE(f.errorLog().endsWith(": The server name or address could not be resolved\r\n"));
}

