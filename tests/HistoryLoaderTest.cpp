// The charts' histories come back from the data files after a restart,
// also from the folder the daily rollover moved yesterday's files into.
#include "monitor/AlarmEvaluation.h"
#include "monitor/AlertActions.h"
#include "monitor/HistoryLoader.h"
#include "monitor/QueryCycle.h"
#include "tests/support/NetTestSupport.h"
#include "tests/support/QuietActions.h"

#include <QDateTime>
#include <QDir>

#include <gtest/gtest.h>

#include <sys/resource.h>

namespace cz::test {

namespace {


struct Sampled {
    double time;
    double value;
};

// Runs the program's queries of one simulated device every 30 s, `count`
// times, from `start`; returns what its first two probes' histories hold.
std::vector<std::array<Sampled, 2>> runQueries(NetFixture &f, QueryCycle &cycle, std::int64_t start, int count)
{
    f.clock.set(start);
    for (int k = 0; k < count; ++k) {
        f.clock.set(start + 30 * k);
        f.sim.freezeTime(double(start + 30 * k));
        cycle.tick();
        EXPECT_TRUE(waitUntil([&] { return cycle.queriesInFlight() == 0; }));
    }
    std::vector<std::array<Sampled, 2>> out;
    const DeviceRecord &d = *f.store().device(0);
    for (int index = TimeHistory::kNewest - count + 1; index <= TimeHistory::kNewest; ++index)
        out.push_back({Sampled{d.Times.at(index), d.probe(0)->Values.at(index)},
                       Sampled{d.Times.at(index), d.probe(1)->Values.at(index)}});
    return out;
}

std::int64_t localTime(int hour, int minute)
{
    return QDateTime(QDate(2026, 11, 14), QTime(hour, minute)).toSecsSinceEpoch();
}

bool loadAll(HistoryLoader &loader, double now)
{
    bool done = false;
    QObject::connect(&loader, &HistoryLoader::finished, [&] { done = true; });
    loader.start(now);
    return waitUntil([&] { return done; });
}

} // namespace

TEST(HistoryReload, ARestartAfterMidnightGetsBackTheSamplesOfBothDays)
{
    NetFixture f;
    devsim::SimDevice device = simDevice("Model R4", {70, 40});
    device.probes[0].scenario.kind = devsim::Scenario::Kind::Sine;
    device.probes[0].scenario.amplitude = 8;
    device.probes[0].scenario.period = 300;
    device.probes[1].kind = devsim::ProbeKind::Humidity;
    f.addSimulated(device, {ProbeType::Temperature, ProbeType::Humidity});
    f.store().deviceForUpdate(0)->QueryInterval = 30;
    f.store().currentDateText = "11-14-26";
    QueryCycle cycle(f.store(), f.session);
    NoAlertActions actions;
    AlarmEvaluation evaluation(actions);
    cycle.setEvaluation(&evaluation);
    // From 23:50 to 00:09: the rollover moves the first day's files.
    const auto before = runQueries(f, cycle, localTime(23, 50), 40);
    ASSERT_TRUE(QDir(QString::fromUtf8(f.store().folder().data()) + "/11-14-26").exists());
    ASSERT_TRUE(f.store().writeDeviceFile(0, true));
    ASSERT_TRUE(f.store().writeDevicesSection());

    // The program was off for five minutes.
    f.clock.set(localTime(23, 50) + 30 * 39 + 300);
    DeviceStore &store = f.restart();
    store.readProgramSettings();
    ASSERT_EQ(store.deviceCount(), 1);
    HistoryLoader loader(store);
    ASSERT_TRUE(loadAll(loader, double(f.clock.now())));
    const DeviceRecord &d = *store.device(0);
    // Ten slots of gap for the five minutes off (the last one is the next
    // query's), then the samples in their places.
    const int gap = 9;
    EXPECT_EQ(d.probe(0)->Values.newest(), kNoValue);
    for (int k = 0; k < 40; ++k) {
        const int index = TimeHistory::kNewest - gap - 39 + k;
        SCOPED_TRACE(k);
        EXPECT_NEAR(d.Times.at(index), before[std::size_t(k)][0].time, 1.0);
        // The files keep one decimal.
        EXPECT_NEAR(d.probe(0)->Values.at(index), before[std::size_t(k)][0].value, 0.051);
        EXPECT_EQ(d.probe(1)->Values.at(index), before[std::size_t(k)][1].value);
    }
    EXPECT_EQ(d.probe(0)->Values.at(TimeHistory::kNewest - gap - 40), kNoValue);
    // The next query continues the grid.
    EXPECT_NEAR(d.NextSampleTime, double(f.clock.now()), 30);
}

TEST(HistoryReload, ARenamedDeviceKeepsItsHistoryAcrossARestartAndAnotherRename)
{
    NetFixture f;
    devsim::SimDevice device = simDevice("Model R4", {70, 40});
    device.probes[0].scenario.kind = devsim::Scenario::Kind::Sine;
    device.probes[0].scenario.amplitude = 8;
    device.probes[0].scenario.period = 300;
    f.addSimulated(device, {ProbeType::Temperature, ProbeType::Temperature});
    DeviceRecord &live = *f.store().deviceForUpdate(0);
    live.QueryInterval = 30;
    live.DeviceName = "Server Room";
    for (int i = 0; i < 2; ++i)
        live.probe(i)->DataLogFile = probeFilePath(f.store().folder().data(), "Server Room", i + 1, "P" + QByteArray::number(i + 1), "csv");
    f.store().currentDateText = "11-14-26";
    QueryCycle cycle(f.store(), f.session);
    NoAlertActions actions;
    AlarmEvaluation evaluation(actions);
    cycle.setEvaluation(&evaluation);
    // Yesterday's files went to their dated folder at midnight, under the old name.
    const std::int64_t start = localTime(23, 55);
    runQueries(f, cycle, start, 20);
    auto renamed = [&](const char *name) {
        auto copy = workingCopy(*f.store().device(0));
        copy->DeviceName = name;
        ASSERT_TRUE(f.store().commitDevice(0, *copy));
    };
    renamed("Server Hall");
    runQueries(f, cycle, start + 600, 10);
    renamed("Machine Room");
    const auto before = runQueries(f, cycle, start + 900, 10);
    std::vector<double> shown;
    const DeviceRecord &d0 = *f.store().device(0);
    for (int index = TimeHistory::kNewest - 39; index <= TimeHistory::kNewest; ++index)
        shown.push_back(d0.probe(0)->Values.at(index));
    // Every file stays where and as it was.
    const QString data = QFile::decodeName(f.store().folder().data());
    EXPECT_TRUE(QFile::exists(data + "/11-14-26/Server Room-Probe01-(P1).csv"));
    EXPECT_TRUE(QFile::exists(data + "/Server Room-Probe01-(P1).csv"));
    EXPECT_TRUE(QFile::exists(data + "/Server Hall-Probe01-(P1).csv"));
    EXPECT_TRUE(QFile::exists(data + "/Machine Room-Probe01-(P1).csv"));
    ASSERT_TRUE(f.store().writeDeviceFile(0, false));
    EXPECT_TRUE(readFile(f.store().folder().deviceFile("Machine Room")).contains("PreviousNames=Server Room/Server Hall\r\n"));

    f.clock.set(start + 1260);
    DeviceStore &store = f.restart();
    store.readProgramSettings();
    ASSERT_EQ(store.deviceCount(), 1);
    HistoryLoader loader(store);
    ASSERT_TRUE(loadAll(loader, double(f.clock.now())));
    const DeviceRecord &d = *store.device(0);
    EXPECT_EQ(d.DeviceName.bytes(), "Machine Room");
    // The 40 queries come back in order, then the minutes it was off.
    int end = TimeHistory::kNewest;
    while (end > 0 && d.probe(0)->Values.at(end) == kNoValue)
        --end;
    for (int k = 0; k < 40; ++k) {
        SCOPED_TRACE(k);
        EXPECT_NEAR(d.probe(0)->Values.at(end - 39 + k), shown[std::size_t(k)], 0.051);
    }
    EXPECT_NEAR(d.Times.at(end), before.back()[0].time, 1.0);
    EXPECT_EQ(d.probe(0)->Values.at(end - 40), kNoValue);
}

TEST(HistoryReload, SamplesTakenWhileLoadingFollowTheLoadedOnesAndBadLinesAreSkipped)
{
    DataFolderFixture f;
    f.store().readProgramSettings();
    const QByteArray data = f.store().folder().data();
    QFile file(QFile::decodeName(data + "/Dev-Probe01-(P1).csv"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("11-14-26,10:00:00,71.5\r\n"
               "garbage line\r\n"
               "11-14-26,10:00:30,n/a\r\n"
               "13-40-26,10:00:45,70.0\r\n"
               "11-14-26,10:01:00,72.5\r\n");
    file.close();
    HistoryJob job;
    job.dataFolder = data;
    job.interval = 30;
    job.probeCount = 1;
    job.fileNames[0] = "Dev-Probe01-(P1).csv";
    job.before = double(QDateTime(QDate(2026, 11, 14), QTime(10, 1, 40)).toSecsSinceEpoch());
    auto loaded = readDeviceHistory(job);
    EXPECT_EQ(loaded->linesRead, 4);
    DeviceRecord d;
    d.ProbeCount = 1;
    d.QueryInterval = 30;
    d.Probes[0] = std::make_unique<ProbeRecord>();
    d.Probes[0]->ProbeEnabled = 1;
    d.Probes[0]->CurrentTemp = 80;
    appendHistorySample(d, true, job.before);  // a query while the files were read
    ASSERT_TRUE(placeDeviceHistory(d, *loaded, 1));
    const ValueHistory &v = d.Probes[0]->Values;
    EXPECT_EQ(v.at(TimeHistory::kNewest), 80);
    EXPECT_EQ(v.at(TimeHistory::kNewest - 1), 72.5);
    EXPECT_EQ(v.at(TimeHistory::kNewest - 2), kNoValue);
    EXPECT_EQ(v.at(TimeHistory::kNewest - 3), 71.5);
    EXPECT_EQ(d.Times.at(TimeHistory::kNewest - 3), job.before - 100);
}

// A damaged data file of 4 GB (all but its last lines a hole of zeros)
// costs what a good one costs: only its end is read.
TEST(HistoryReload, AHugeDamagedFileIsReadOnlyAsFarAsAHistoryReaches)
{
    DataFolderFixture f;
    f.store().readProgramSettings();
    const QByteArray path = f.store().folder().data() + "/Dev-Probe01-(P1).csv";
    {
        QFile file(QFile::decodeName(path));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_TRUE(file.resize(4ll * 1024 * 1024 * 1024));
        ASSERT_TRUE(file.seek(file.size()));
        file.write("\r\n11-14-26,10:00:00,71.5\r\n11-14-26,10:00:30,72.0\r\n");
    }
    HistoryJob job;
    job.dataFolder = f.store().folder().data();
    job.interval = 30;
    job.probeCount = 1;
    job.fileNames[0] = "Dev-Probe01-(P1).csv";
    job.before = double(QDateTime(QDate(2026, 11, 14), QTime(10, 1, 0)).toSecsSinceEpoch());
    rusage before{}, after{};
    ::getrusage(RUSAGE_SELF, &before);
    auto loaded = readDeviceHistory(job);
    ::getrusage(RUSAGE_SELF, &after);
    EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 64 * 1024) << "kB";
    EXPECT_EQ(loaded->linesRead, 2);
    EXPECT_EQ(loaded->values[0].at(TimeHistory::kNewest), 72.0);
    EXPECT_EQ(loaded->values[0].at(TimeHistory::kNewest - 1), 71.5);
}

// A device deleted while its files are read, and another added in its
// place (its record may well take the same memory): the history read for
// the first never reaches the second.
TEST(HistoryReload, AHistoryReadForADeletedDeviceGoesToNoOtherDevice)
{
    DataFolderFixture f;
    DeviceStore &store = f.store();
    store.readProgramSettings();
    writeFile(store.folder().data() + "/Old-Probe01-(P1).csv", "11-14-26,13:00:00,71.5\r\n11-14-26,13:00:30,72.0\r\n");
    for (int round = 0; round < 20; ++round) {
        addDevice(store, "Old", "Model R4", 80, {ProbeType::Temperature});
        HistoryLoader loader(store);
        bool done = false;
        QObject::connect(&loader, &HistoryLoader::finished, [&] { done = true; });
        loader.start(double(f.clock.now()));
        store.deleteDevice(0);
        addDevice(store, "New", "Model R4", 80, {ProbeType::Temperature});
        ASSERT_TRUE(waitUntil([&] { return done; }));
        EXPECT_EQ(store.device(0)->Times.samplesWritten(), 0u) << "round " << round;
        store.deleteDevice(0);
    }
}

} // namespace cz::test
