#include "AlarmEvaluation.h"
#include "AlertActions.h"
#include "DeviceQueryClient.h"
#include "NetTestSupport.h"
#include "QueryCycle.h"

#include <gtest/gtest.h>

using namespace cz;
using namespace cz::test;

namespace {

constexpr auto T = ProbeType::Temperature;

class CountingActions : public AlertActions {
public:
    void playSound(AppState &, const QByteArray &) override {}
    void sendAlarmEmail(AppState &, int, int, double) override { ++emails; }
    void triggerVoiceDialer(AppState &, int, int) override {}
    void runAlertProgram(AppState &, int, int, const QByteArray &) override {}
    int emails = 0;
};

struct CycleFixture : NetFixture {
    CycleFixture() : evaluation(actions), client(state(), session), cycle(state(), client)
    {
        client.setEvaluation(&evaluation);
        QObject::connect(&client, &DeviceQueryClient::walkFinished, &cycle, &QueryCycle::walkFinished);
        QObject::connect(&cycle, &QueryCycle::deviceSampled, [this](int slot, int result) {
            sampled.append(QStringLiteral("%1:%2").arg(slot).arg(result));
        });
        QObject::connect(&cycle, &QueryCycle::statusWindowsRefresh, [this] { ++refreshes; });
    }
    // One tick at the fake clock's time, waiting for the walk it starts.
    void tick()
    {
        cycle.tick();
        EXPECT_TRUE(waitUntil([&] { return !client.walkRunning(); }));
    }
    CountingActions actions;
    AlarmEvaluation evaluation;
    DeviceQueryClient client;
    QueryCycle cycle;
    QStringList sampled;
    int refreshes = 0;
};

} // namespace

TEST(QueryCycle, IntervalsOfFiveAndSixtySecondsOverOneMinute)
{
    CycleFixture f;
    f.addSimulated(simDevice("Model R4", {70}), {T}).QueryInterval = 5;
    f.addSimulated(simDevice("Model R4", {70}), {T}).QueryInterval = 60;
    for (int second = 0; second < 60; ++second) {
        f.tick();
        f.clock.advance(1);
    }
    EXPECT_EQ(f.sim.requests(0).size(), 12);
    EXPECT_EQ(f.sim.requests(1).size(), 1);
    EXPECT_EQ(f.refreshes, 12);
    EXPECT_EQ(f.sampled.count("1:1"), 1);
    EXPECT_EQ(f.state().device(0)->probe(0)->Values.newest(), 70.0f);
}

TEST(QueryCycle, TheFirstCycleIsSilentAndItsCountsAreDiscarded)
{
    CycleFixture f;
    DeviceRecord &d = f.addSimulated(simDevice("Model R4", {95}), {T});
    ProbeRecord &p = *d.probe(0);
    d.QueryInterval = 5;
    p.HighAlarmTemp = 85, p.HighCautionTemp = 80, p.LowCautionTemp = 50, p.LowAlarmTemp = 40;
    p.ConsecutiveAlarmThreshold = 1;
    p.SendAlarmEmail = 1;
    f.tick();
    EXPECT_EQ(f.state().FirstQueryDone, 1);
    EXPECT_EQ(p.AlarmState, AlarmState::HighAlarm);
    EXPECT_EQ(p.ConsecutiveAlarmCount, 0);
    EXPECT_EQ(f.actions.emails, 0);
    f.clock.advance(5);
    f.tick();
    EXPECT_EQ(f.actions.emails, 1);
}

TEST(QueryCycle, NothingRunsWhileConfigurationIsInProgressOrWithoutDevices)
{
    CycleFixture f;
    f.tick();
    EXPECT_EQ(f.refreshes, 0);
    f.addSimulated(simDevice("Model R4", {70}), {T});
    f.state().ConfigurationInProgress = 1;
    f.tick();
    EXPECT_EQ(f.state().device(0)->QueryDue, 1); // due flags are still worked out
    EXPECT_TRUE(f.sim.requests(0).isEmpty());
    EXPECT_EQ(f.state().FirstQueryDone, 0);
    f.state().ConfigurationInProgress = 0;
    f.tick();
    EXPECT_EQ(f.sim.requests(0).size(), 1);
}

TEST(QueryCycle, AnAbandonedWalkStillSamplesEveryDueDeviceWithGaps)
{
    CycleFixture f;
    f.addSimulated(simDevice("Model R4", {70}), {T});
    f.sim.setFault(0, devsim::Fault::Refuse);
    f.tick();
    EXPECT_EQ(f.sampled, QStringList{"0:0"});
    EXPECT_EQ(f.state().device(0)->probe(0)->Values.newest(), kNoValue);
}

TEST(QueryCycle, ALateQueryAppendsOneSamplePerIntervalMissed)
{
    DeviceRecord d;
    d.QueryInterval = 10;
    d.ProbeCount = 1;
    d.Probes[0] = std::make_unique<ProbeRecord>();
    d.Probes[0]->ProbeEnabled = 1;
    d.Probes[0]->CurrentTemp = 71.5;
    AppendHistorySample(d, true, 1000.25);
    AppendHistorySample(d, true, 1030.5); // three intervals later
    EXPECT_EQ(d.Times.at(TimeHistory::kNewest), 1030.25);
    EXPECT_EQ(d.Times.at(TimeHistory::kNewest - 1), 1020.25);
    EXPECT_EQ(d.Times.at(TimeHistory::kNewest - 3), 1000.25);
    EXPECT_EQ(d.Probes[0]->Values.at(TimeHistory::kNewest - 2), 71.5f);
    EXPECT_EQ(d.Times.at(TimeHistory::kNewest - 4), kNoValue);
    d.Probes[0]->ProbeEnabled = 0;
    AppendHistorySample(d, true, 1040.5);
    EXPECT_EQ(d.Probes[0]->Values.newest(), kNoValue);
}

TEST(QueryCycle, ADeviceAddedWhileMonitoringIsQueriedAtOnceWithoutAlerts)
{
    CycleFixture f;
    f.addSimulated(simDevice("Model R4", {70}), {T}).QueryInterval = 5;
    f.tick();
    f.clock.advance(1);
    f.tick(); // the first device is not due again yet

    DeviceRecord &added = f.addSimulated(simDevice("Model R4", {95}, "Added"), {T});
    ProbeRecord &p = *added.probe(0);
    added.QueryInterval = 5;
    p.HighAlarmTemp = 85, p.HighCautionTemp = 80, p.LowCautionTemp = 50, p.LowAlarmTemp = 40;
    p.ConsecutiveAlarmThreshold = 1;
    p.SendAlarmEmail = 1;
    f.sampled.clear();
    f.cycle.queryAddedDevice(1);
    EXPECT_TRUE(waitUntil([&] { return !f.client.walkRunning(); }));

    EXPECT_EQ(f.sim.requests(0).size(), 1); // only the new device was asked
    EXPECT_EQ(f.sim.requests(1).size(), 1);
    EXPECT_EQ(p.AlarmState, AlarmState::HighAlarm);
    EXPECT_EQ(p.ConsecutiveAlarmCount, 1);
    EXPECT_EQ(f.actions.emails, 0);
    EXPECT_EQ(f.sampled, QStringList{"1:0"});

    // From then on it keeps its own interval, and its alarms go out.
    for (int second = 0; second < 5; ++second) {
        f.clock.advance(1);
        f.tick();
    }
    EXPECT_EQ(f.sim.requests(1).size(), 2);
    EXPECT_EQ(f.actions.emails, 1);
}

TEST(QueryCycle, ADeviceAddedDuringAWalkIsQueriedWhenTheWalkEnds)
{
    CycleFixture f;
    f.addSimulated(simDevice("Model R4", {70}), {T});
    f.sim.setFault(0, devsim::Fault::Slow, 150);
    f.cycle.tick();
    ASSERT_TRUE(f.client.walkRunning());
    f.addSimulated(simDevice("Model R4", {71}, "Added"), {T});
    f.cycle.queryAddedDevice(1);
    EXPECT_TRUE(waitUntil([&] { return f.sim.requests(1).size() == 1 && !f.client.walkRunning(); }));
    EXPECT_EQ(f.sim.requests(0).size(), 1);
    EXPECT_EQ(f.state().device(1)->probe(0)->CurrentTemp, 71.0);
}

// One device misbehaves in every way a device can, between a good device
// before it and another after it, over simulated minutes.
TEST(QueryCycle, AMisbehavingDeviceDoesNotStopTheOthers)
{
    CycleFixture f;
    f.addSimulated(simDevice("Model R4", {70}, "Good"), {T}).QueryInterval = 5;
    DeviceRecord &bad = f.addSimulated(simDevice("Model R4", {72}, "Bad"), {T});
    bad.QueryInterval = 5;
    DeviceRecord &after = f.addSimulated(simDevice("Model R4", {74}, "After"), {T});
    after.QueryInterval = 10;

    struct Phase {
        devsim::Fault fault;
        int faultMs;
        int seconds;
    };
    const Phase phases[] = {
        {devsim::Fault::Garbage, -1, 20}, // nonsense
        {devsim::Fault::Refuse, -1, 20},  // stops answering
        {devsim::Fault::Hang, -1, 5},     // answers nothing at all
        {devsim::Fault::Slow, 150, 20},   // answers late
        {devsim::Fault::Long, -1, 10},
        {devsim::Fault::None, -1, 20},    // comes back
    };
    int seconds = 0;
    for (const Phase &phase : phases) {
        f.sim.setFault(1, phase.fault, phase.faultMs);
        for (int s = 0; s < phase.seconds; ++s, ++seconds) {
            f.tick();
            const std::int64_t now = f.clock.now();
            // Every other device keeps to its interval; one skipped by an
            // abandoned walk is due again at the next tick.
            EXPECT_LT(now - f.state().device(0)->LastContactTimeVal, 5) << "second " << seconds;
            EXPECT_LE(now - after.LastContactTimeVal, 10) << "second " << seconds;
            f.clock.advance(1);
        }
    }
    EXPECT_EQ(f.sim.requests(0).size(), seconds / 5);
    EXPECT_GE(f.sim.requests(2).size(), seconds / 10);

    // It came back: current again, nothing left over from the bad spell.
    EXPECT_EQ(bad.probe(0)->CurrentTemp, 72.0);
    EXPECT_EQ(bad.QueryFailureCount, 0);
    EXPECT_EQ(f.state().status(), "Status: monitoring devices...");
    EXPECT_TRUE(f.statuses.contains("ERROR: query failed for Bad"));
    EXPECT_TRUE(f.statuses.contains("ERROR: device query failed (attempt #3, check error log..."));
    // Each refused or unanswered query logged its three attempts.
    const QByteArray errors = readFile(f.state().folder().internetErrorLog());
    const int refusedQueries = 20 / 5, hungQueries = 1;
    EXPECT_EQ(errors.count("\r\n"), 3 * (refusedQueries + hungQueries)) << errors.constData();

    // Histories hold one sample per query, no more.
    EXPECT_EQ(f.state().device(0)->Times.samplesWritten(), std::uint64_t(f.sim.requests(0).size()));
    EXPECT_EQ(after.Times.samplesWritten(), std::uint64_t(f.sim.requests(2).size()));
}
