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
