// What a device is asked, what its reply does, and how each device keeps
// its own schedule.
#include "store/CFormat.h"
#include "store/DeviceFile.h"
#include "tests/CycleFixture.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QElapsedTimer>
#include <QThread>

#include <gtest/gtest.h>

#include <limits>

using namespace cz;
using namespace cz::test;
using devsim::Fault;

namespace {

constexpr auto T = ProbeType::Temperature;

} // namespace

// --- What is asked, and what a reply does ---------------------------------

TEST(DeviceQuery, EachModelIsAskedForItsReadingsPageAndTheRepliesAreParsed)
{
    CycleFixture f;
    f.addSimulated(simDevice("model rm1", {71.6, 45}, "Combined"), {T, ProbeType::Humidity});
    f.addSimulated(simDevice("Model R16", {70.1}, "Rack"), {T});
    f.addSimulated(simDevice("Model X9", {69.9}, "Unknown"), {T});
    f.tick();
    EXPECT_EQ(f.paths(0), QStringList{"/data"});
    EXPECT_EQ(f.paths(1), QStringList{"/temp"});
    EXPECT_EQ(f.paths(2), QStringList{"/temp"});
    EXPECT_EQ(f.evaluation.textsFor(0), (QList<QByteArray>{"71.6", "45.0"}));
    EXPECT_EQ(f.evaluation.textsFor(2), QList<QByteArray>{"69.9"});
    EXPECT_EQ(f.evaluation.values[0].notFirstQuery, 0);
    std::sort(f.applied.begin(), f.applied.end());
    EXPECT_EQ(f.applied, (QList<int>{0, 1, 2}));
    EXPECT_EQ(f.statuses, (QStringList{"Status: querying devices...", "Status: monitoring devices..."}));
    EXPECT_TRUE(f.sim.requests(1)[0].userAgent.startsWith("Mozilla/4.0 (compatible; MSIE 6.0;"));
    // The data files got their lines as the replies came in.
    EXPECT_EQ(readFile(f.store().device(1)->probe(0)->DataLogFile.bytes()), "11-14-26,13:05:09,70.1\r\n");
}

TEST(DeviceQuery, OnlyDueDevicesAreQueriedAndEachIsStampedWhenItsQueryBegins)
{
    CycleFixture f;
    DeviceRecord &a = f.addSimulated(simDevice("Model R4", {70}), {T});
    DeviceRecord &b = f.addSimulated(simDevice("Model R4", {70}), {T});
    a.QueryInterval = 10;
    b.QueryInterval = 30;
    f.tick();
    f.clock.advance(10);
    f.tick();
    EXPECT_EQ(a.LastContactTimeVal, f.clock.now());
    EXPECT_EQ(b.LastContactTimeVal, f.clock.now() - 10);
    EXPECT_EQ(f.sim.requests(0).size(), 2);
    EXPECT_EQ(f.sim.requests(1).size(), 1);
}

TEST(DeviceQuery, IntervalsOfFiveAndSixtySecondsOverOneMinute)
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
    EXPECT_EQ(f.refreshes, 13);
    EXPECT_EQ(f.sampled.count("1:1"), 1);
    EXPECT_EQ(f.store().device(0)->probe(0)->Values.newest(), 70.0f);
}

TEST(DeviceQuery, ALongReplyIsParsedFromItsFirst2048Bytes)
{
    CycleFixture f;
    f.addSimulated(simDevice("Model R4", {70.1, 70.2}), {T, T});
    f.addSimulated(simDevice("Model R4", {70.1, 70.2}), {T, T});
    f.sim.setFault(0, Fault::Long);
    f.sim.setFault(1, Fault::Huge);
    f.tick();
    for (int slot : {0, 1}) {
        // The last field ran into the padding; its leading number still reads.
        EXPECT_EQ(f.evaluation.textsFor(slot).value(0), "70.1");
        const QByteArray last = f.evaluation.textsFor(slot).value(1);
        EXPECT_TRUE(last.startsWith("70.2|padding-"));
        EXPECT_EQ(last.size(), 2048 - QByteArray("Probe 1|70.1|Probe 2|").size());
        EXPECT_EQ(f.store().device(slot)->probe(1)->CurrentValueText.bytes(), "70.2");
    }
}

TEST(DeviceQuery, BareBodiesTruncatedResetAndNulRepliesAreReadAsFarAsTheyGo)
{
    CycleFixture f;
    f.addSimulated(simDevice("Model R4", {70.5}), {T});
    f.addSimulated(simDevice("Model R4", {61.0, 62.0, 63.0, 64.0}), {T, T, T, T});
    f.addSimulated(simDevice("Model R4", {65.0, 66.0, 67.0, 68.0}), {T, T, T, T});
    f.addSimulated(simDevice("Model R4", {69.0}), {T});
    f.addSimulated(simDevice("Model R4", {81.0, 82.0}, "Nul"), {T, T});
    f.addSimulated(simDevice("Model R4", {71.0}, "After"), {T});
    f.sim.setFault(0, Fault::Bare);
    f.sim.setFault(1, Fault::Truncate);
    f.sim.setFault(2, Fault::Reset);
    f.sim.setFault(3, Fault::Garbage);
    f.sim.setFault(4, Fault::Nul);
    f.tick();
    EXPECT_EQ(f.evaluation.textsFor(0), QList<QByteArray>{"70.5"});
    // Half of "Probe 1|61.0|Probe 2|62.0|..." arrived: the first probes only.
    EXPECT_EQ(f.evaluation.textsFor(1).value(0), "61.0");
    EXPECT_LT(f.evaluation.textsFor(1).size(), 4);
    EXPECT_LT(f.evaluation.textsFor(2).size(), 4);
    // The text ends at the NUL: the first probe read, the second missing.
    EXPECT_EQ(f.evaluation.textsFor(4), QList<QByteArray>{"81.0"});
    EXPECT_EQ(f.evaluation.textsFor(5), QList<QByteArray>{"71.0"});
    EXPECT_TRUE(f.applied.contains(5));
}

TEST(DeviceQuery, AReplyThatDoesNotParseIsAFailedQuery)
{
    CycleFixture f;
    DeviceRecord &broken = f.addSimulated(simDevice("Model R4", {70, 71}, "Broken"), {T, T});
    f.addSimulated(simDevice("Model R4", {72}, "Fine"), {T});
    f.sim.setFault(0, Fault::Http500);
    f.tick();
    EXPECT_EQ(f.status.text(), "ERROR: query failed for Broken");
    EXPECT_EQ(f.applied, QList<int>{1});
    EXPECT_EQ(broken.QueryFailureCount, 1);
    EXPECT_TRUE(f.alerts.isEmpty()); // one failed query of the three the alert waits for
    // A reply that arrived counts as answered for the chart: its sample is not a gap.
    EXPECT_TRUE(f.finished.contains("0:1"));
}

// --- Every device on its own schedule --------------------------------------

// A device that accepts and never answers and one that trickles its reply
// sit before a healthy device of a 2 s interval; the healthy one is asked,
// and writes its data line, every 2 s all the same.
TEST(DeviceQuery, SilentAndTricklingDevicesHoldBackNoOtherDevice)
{
    CycleFixture f;
    f.addSimulated(simDevice("Model R4", {70}, "Silent"), {T}).QueryInterval = 2;
    f.addSimulated(simDevice("Model R4", {70}, "Trickle"), {T}).QueryInterval = 2;
    DeviceRecord &healthy = f.addSimulated(simDevice("Model R4", {68.5}, "Healthy"), {T});
    healthy.QueryInterval = 2;
    f.sim.setFault(0, Fault::Hang);
    f.sim.setFault(1, Fault::Trickle, 100);

    // 40 simulated seconds, one tick every 100 ms of real time: the bad
    // devices' attempts take seconds of real time meanwhile.
    for (int second = 0; second < 40; ++second) {
        f.cycle.tick();
        QElapsedTimer t;
        t.start();
        while (t.elapsed() < 100) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
            QThread::msleep(1);
        }
        EXPECT_LT(f.clock.now() - healthy.LastContactTimeVal, 2) << "second " << second;
        f.clock.advance(1);
    }
    EXPECT_EQ(f.sim.requests(2).size(), 20);
    const QByteArray csv = readFile(healthy.probe(0)->DataLogFile.bytes());
    EXPECT_EQ(csv.count("\r\n"), 20);
    EXPECT_TRUE(csv.endsWith(",68.5\r\n"));
    // A device with a query in flight is not asked again meanwhile: each
    // query is three attempts, and only the last one may still run.
    for (int bad : {0, 1}) {
        const int queries = int(f.finished.count(QStringLiteral("%1:0").arg(bad)));
        EXPECT_GE(queries, 1);
        EXPECT_LE(f.sim.requests(bad).size(), 3 * (queries + 1));
    }
}

TEST(DeviceQuery, PollingFollowsTheMonotonicClockWhateverIsDoneToTheWallClock)
{
    CycleFixture f;
    DeviceRecord &d = f.addSimulated(simDevice("Model R4", {70}), {T});
    d.QueryInterval = 5;
    f.tick();
    f.clock.advance(5);
    f.tick();
    EXPECT_EQ(f.sim.requests(0).size(), 2);

    // The wall clock is set back an hour: polling goes on at its interval,
    // and the last contact shows the wall clock's time.
    f.clock.stepWall(-3600);
    for (int second = 0; second < 10; ++second) {
        f.clock.advance(1);
        f.tick();
    }
    EXPECT_EQ(f.sim.requests(0).size(), 4);
    EXPECT_EQ(d.LastContactTimeVal, f.clock.now());

    // Set forward a day: no burst of queries to catch up.
    f.clock.stepWall(86400 + 3600);
    f.tick();
    EXPECT_EQ(f.sim.requests(0).size(), 4);
    for (int second = 0; second < 30; ++second) {
        f.clock.advance(1);
        f.tick();
    }
    EXPECT_EQ(f.sim.requests(0).size(), 10);
}

TEST(DeviceQuery, ASlowDeviceIsNotAskedAgainWhileItsQueryRuns)
{
    CycleFixture f;
    f.addSimulated(simDevice("Model R4", {70}), {T}).QueryInterval = 1;
    f.sim.setFault(0, Fault::Slow, 300);
    f.session.setTimeouts(1000, 3000, 5000); // one attempt per query, however loaded the machine
    int ticksInFlight = 0;
    for (int i = 0; i < 10; ++i) {
        ticksInFlight += f.cycle.queriesInFlight();
        f.cycle.tick();
        f.clock.advance(1);
        QThread::msleep(40);
        QCoreApplication::processEvents();
        // At most the one query in flight beyond those that have ended.
        EXPECT_LE(f.sim.requests(0).size(), f.finished.size() + 1) << "tick " << i;
    }
    EXPECT_GT(ticksInFlight, 0);
    EXPECT_TRUE(waitUntil([&] { return f.cycle.queriesInFlight() == 0; }));
    EXPECT_EQ(f.finished.size(), f.sim.requests(0).size());
}

TEST(DeviceQuery, NoQueryStartsWhileShuttingDown)
{
    CycleFixture f;
    f.addSimulated(simDevice("Model R4", {70}), {T});
    f.status.ShuttingDown = 1;
    f.statuses.clear();
    f.tick();
    EXPECT_EQ(f.store().device(0)->LastContactTimeVal, 0);
    EXPECT_TRUE(f.sim.requests(0).isEmpty());
    EXPECT_TRUE(f.statuses.isEmpty());
}

TEST(DeviceQuery, StoppingDropsTheQueriesInFlight)
{
    CycleFixture f;
    f.addSimulated(simDevice("Model R4", {70}), {T});
    f.sim.setFault(0, Fault::Slow, 200);
    f.cycle.tick();
    EXPECT_EQ(f.cycle.queriesInFlight(), 1);
    f.cycle.stop();
    EXPECT_EQ(f.cycle.queriesInFlight(), 0);
    QThread::msleep(300);
    QCoreApplication::processEvents();
    EXPECT_TRUE(f.applied.isEmpty());
}

TEST(DeviceQuery, ADeviceDeletedWhileItsQueryRunsIsDroppedAndTheRestStillApply)
{
    CycleFixture f;
    f.addSimulated(simDevice("Model R4", {70}), {T});
    f.addSimulated(simDevice("Model R4", {71}), {T});
    f.addSimulated(simDevice("Model R4", {72}), {T});
    f.sim.setFault(1, Fault::Slow, 200);
    f.cycle.tick();
    f.store().deleteDevice(1);
    EXPECT_TRUE(waitUntil([&] { return f.cycle.queriesInFlight() == 0; }));
    QThread::msleep(250);
    QCoreApplication::processEvents();
    EXPECT_EQ(f.evaluation.textsFor(0), QList<QByteArray>{"70.0"});
    EXPECT_EQ(f.store().device(1)->probe(0)->CurrentValueText.bytes(), "72.0");
    EXPECT_FALSE(f.evaluation.textsFor(0).contains("71.0"));
    EXPECT_EQ(f.status.text(), "Status: monitoring devices...");
}

// --- First queries ----------------------------------------------------------

TEST(DeviceQuery, EachDevicesFirstQueryIsSilentAndItsCountsAreDiscarded)
{
    CycleFixture f;
    DeviceRecord &d = f.addSimulated(simDevice("Model R4", {95}), {T});
    ProbeRecord &p = *d.probe(0);
    d.QueryInterval = 5;
    CycleFixture::alarmAt85(p);
    f.tick();
    EXPECT_EQ(p.AlarmState, AlarmState::HighAlarm);
    EXPECT_EQ(p.ConsecutiveAlarmCount, 0);
    EXPECT_EQ(f.actions.emails, 0);
    f.clock.advance(5);
    f.tick();
    EXPECT_EQ(f.actions.emails, 1);
}

TEST(DeviceQuery, ADeviceThatAnswersLateStillGetsItsSilentFirstQuery)
{
    CycleFixture f;
    f.addSimulated(simDevice("Model R4", {70}), {T}).QueryInterval = 5;
    DeviceRecord &late = f.addSimulated(simDevice("Model R4", {95}, "Late"), {T});
    late.QueryInterval = 5;
    CycleFixture::alarmAt85(*late.probe(0));
    f.sim.setFault(1, Fault::Refuse);
    f.tick();
    // Its first query failed; the first reading it gives is still silent.
    f.sim.setFault(1, Fault::None);
    f.clock.advance(5);
    f.tick();
    EXPECT_EQ(late.probe(0)->AlarmState, AlarmState::HighAlarm);
    EXPECT_EQ(f.actions.emails, 1) << "the first answered query fires, as the first cycle did";
}

TEST(DeviceQuery, ADeviceAddedWhileMonitoringIsQueriedAtOnceWithoutAlerts)
{
    CycleFixture f;
    f.addSimulated(simDevice("Model R4", {70}), {T}).QueryInterval = 5;
    f.tick();
    f.clock.advance(1);
    f.tick(); // the first device is not due again yet

    DeviceRecord &added = f.addSimulated(simDevice("Model R4", {95}, "Added"), {T});
    ProbeRecord &p = *added.probe(0);
    added.QueryInterval = 5;
    CycleFixture::alarmAt85(p);
    f.sampled.clear();
    f.cycle.queryAddedDevice(1);
    EXPECT_TRUE(waitUntil([&] { return f.cycle.queriesInFlight() == 0; }));

    EXPECT_EQ(f.sim.requests(0).size(), 1); // only the new device was asked
    EXPECT_EQ(f.sim.requests(1).size(), 1);
    EXPECT_EQ(p.AlarmState, AlarmState::HighAlarm);
    EXPECT_EQ(p.ConsecutiveAlarmCount, 0);
    EXPECT_EQ(f.actions.emails, 0);
    EXPECT_EQ(f.sampled, QStringList{"1:0"}); // its first sample is drawn as a gap

    // From then on it keeps its own interval, and its alarms go out.
    for (int second = 0; second < 5; ++second) {
        f.clock.advance(1);
        f.tick();
    }
    EXPECT_EQ(f.sim.requests(1).size(), 2);
    EXPECT_EQ(f.actions.emails, 1);
}

// --- History samples ----------------------------------------------------------

TEST(DeviceQuery, AFailedQuerySamplesAGap)
{
    CycleFixture f;
    f.addSimulated(simDevice("Model R4", {70}), {T});
    f.sim.setFault(0, Fault::Refuse);
    f.tick();
    EXPECT_EQ(f.sampled, QStringList{"0:0"});
    EXPECT_EQ(f.store().device(0)->probe(0)->Values.newest(), kNoValue);
}

// One device misbehaves in every way a device can, between a good device
// before it and another after it, over simulated minutes.
TEST(DeviceQuery, AMisbehavingDeviceDoesNotStopTheOthers)
{
    CycleFixture f;
    f.addSimulated(simDevice("Model R4", {70}, "Good"), {T}).QueryInterval = 5;
    DeviceRecord &bad = f.addSimulated(simDevice("Model R4", {72}, "Bad"), {T});
    bad.QueryInterval = 5;
    DeviceRecord &after = f.addSimulated(simDevice("Model R4", {74}, "After"), {T});
    after.QueryInterval = 10;

    struct Phase {
        Fault fault;
        int faultMs;
        int seconds;
    };
    const Phase phases[] = {
        {Fault::Garbage, -1, 20}, // nonsense
        {Fault::Refuse, -1, 20},  // stops answering
        {Fault::Hang, -1, 5},     // answers nothing at all
        {Fault::Slow, 150, 20},   // answers late
        {Fault::Long, -1, 10},
        {Fault::None, -1, 20},    // comes back
    };
    int seconds = 0;
    for (const Phase &phase : phases) {
        f.sim.setFault(1, phase.fault, phase.faultMs);
        for (int s = 0; s < phase.seconds; ++s, ++seconds) {
            f.tick();
            const std::int64_t now = f.clock.now();
            EXPECT_LT(now - f.store().device(0)->LastContactTimeVal, 5) << "second " << seconds;
            EXPECT_LT(now - after.LastContactTimeVal, 10) << "second " << seconds;
            f.clock.advance(1);
        }
    }
    EXPECT_EQ(f.sim.requests(0).size(), seconds / 5);
    EXPECT_EQ(f.sim.requests(2).size(), (seconds + 9) / 10);

    // It came back: current again, nothing left over from the bad spell.
    EXPECT_EQ(bad.probe(0)->CurrentTemp, 72.0);
    EXPECT_EQ(bad.QueryFailureCount, 0);
    EXPECT_EQ(f.status.text(), "Status: monitoring devices...");
    EXPECT_TRUE(f.statuses.contains("ERROR: query failed for Bad"));
    EXPECT_TRUE(f.statuses.contains("ERROR: device query failed (attempt #3, check error log..."));
    // Each refused or unanswered query logged its three attempts, and its
    // coming back after the outage was logged once.
    const QByteArray errors = readFile(f.store().folder().internetErrorLog());
    const int refusedQueries = 20 / 5, hungQueries = 1;
    EXPECT_EQ(errors.count("\r\n"), 3 * (refusedQueries + hungQueries) + 1) << errors.constData();
    EXPECT_EQ(errors.count("The device Bad answers again after "), 1) << errors.constData();

    // Histories hold one sample per query, no more.
    EXPECT_EQ(f.store().device(0)->Times.samplesWritten(), std::uint64_t(f.sim.requests(0).size()));
    EXPECT_EQ(after.Times.samplesWritten(), std::uint64_t(f.sim.requests(2).size()));
}

// --- After 2038 ----------------------------------------------------------------

TEST(DeviceQuery, AfterJanuary2038TimesAreStampedSavedAndReadBackWhole)
{
    CycleFixture f;
    const std::int64_t t2040 = QDateTime(QDate(2040, 6, 1), QTime(12, 0), Qt::UTC).toSecsSinceEpoch();
    ASSERT_GT(t2040, std::int64_t(std::numeric_limits<std::int32_t>::max()));
    f.clock.set(t2040);
    f.store().currentDateText = dateText(t2040);
    DeviceRecord &d = f.addSimulated(simDevice("Model R4", {95}, "Lab"), {T});
    d.QueryInterval = 30;
    CycleFixture::alarmAt85(*d.probe(0));
    f.tick();
    f.clock.advance(30);
    f.tick();
    EXPECT_EQ(f.sim.requests(0).size(), 2);
    EXPECT_EQ(d.LastContactTimeVal, t2040 + 30);
    EXPECT_EQ(d.probe(0)->LastAlarmSetTimeVal, t2040 + 30);
    EXPECT_EQ(f.actions.emails, 1);
    EXPECT_EQ(readFile(d.probe(0)->DataLogFile.bytes()), "06-01-40,12:00:00,95.0\r\n06-01-40,12:00:30,95.0\r\n");
    EXPECT_EQ(d.Times.at(TimeHistory::kNewest), double(t2040 + 30));

    ASSERT_TRUE(f.store().writeDeviceFile(0, true));
    ASSERT_TRUE(f.store().writeDevicesSection());
    const QByteArray file = readFile(f.store().folder().deviceFile("Lab"));
    EXPECT_TRUE(file.contains("\r\nLastAlarmSetTimeVal=" + QByteArray::number(t2040 + 30) + "\r\n"));
    DeviceStore &store = f.restart();
    store.readProgramSettings();
    ASSERT_EQ(store.deviceCount(), 1);
    EXPECT_EQ(store.device(0)->probe(0)->HighestTempTimeVal, t2040 + 30);
}

