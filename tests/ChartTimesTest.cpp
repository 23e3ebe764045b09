// Chart times follow what happened: a sample at the time of its answer,
// gaps where no answer came, a wall clock stepped back or forward, the
// hours of a change of summer time, and the join of loaded and live
// samples after a restart.
#include "monitor/HistoryLoader.h"
#include "monitor/QueryCycle.h"
#include "store/CFormat.h"
#include "tests/support/TestSupport.h"

#include <QDateTime>
#include <QFile>

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

namespace cz::test {

namespace {

struct Sample {
    double time;
    double value;
};

DeviceRecord oneProbeDevice(int interval)
{
    DeviceRecord d;
    d.QueryInterval = interval;
    d.ProbeCount = 1;
    d.Probes[0] = std::make_unique<ProbeRecord>();
    d.Probes[0]->ProbeEnabled = 1;
    return d;
}

// An answer read `value` at `now`.
void answer(DeviceRecord &d, double now, double value)
{
    d.Probes[0]->CurrentTemp = value;
    appendHistorySample(d, true, now);
}

std::vector<Sample> history(const DeviceRecord &d)
{
    std::vector<Sample> out;
    const int stored = int(std::min<std::uint64_t>(d.Times.samplesWritten(), TimeHistory::kLength));
    for (int i = TimeHistory::kLength - stored; i < TimeHistory::kLength; ++i)
        out.push_back({d.Times.at(i), d.Probes[0]->Values.at(i)});
    return out;
}

// The process's local time zone for one test.
class LocalZone {
public:
    explicit LocalZone(const char *zone)
    {
        ::setenv("TZ", zone, 1);
        ::tzset();
    }
    ~LocalZone()
    {
        ::setenv("TZ", "UTC", 1);
        ::tzset();
    }
};

// Reads a one-probe device's data file written at `interval`, as at `before`.
std::vector<Sample> reload(DataFolderFixture &f, const QByteArray &lines, int interval, double before)
{
    f.store().readProgramSettings();
    const QByteArray data = f.store().folder().data();
    writeFile(data + "/Dev-Probe01-(P1).csv", lines);
    HistoryJob job;
    job.dataFolder = data;
    job.interval = interval;
    job.probeCount = 1;
    job.fileNames[0] = "Dev-Probe01-(P1).csv";
    job.before = before;
    auto loaded = readDeviceHistory(job);
    DeviceRecord d = oneProbeDevice(interval);
    EXPECT_TRUE(placeDeviceHistory(d, *loaded, 1));
    return history(d);
}

QByteArray line(std::int64_t t, double value)
{
    return dateText(t) + ',' + clockText(t) + ',' + formatFixed(value, 1) + "\r\n";
}

} // namespace

TEST(ChartTimes, IntervalsWithoutAnAnswerAreGapsNotCopiesOfTheNextReading)
{
    DeviceRecord d = oneProbeDevice(10);
    answer(d, 1000.25, 70);
    answer(d, 1010.3, 71);
    answer(d, 1100.4, 75); // after a suspend of 80 s
    const auto h = history(d);
    ASSERT_EQ(h.size(), 11u);
    EXPECT_EQ(h[0].value, 70);
    EXPECT_EQ(h[1].value, 71);
    for (int i = 2; i < 10; ++i) {
        EXPECT_EQ(h[std::size_t(i)].value, kNoValue) << i;
        EXPECT_DOUBLE_EQ(h[std::size_t(i)].time, 1000.25 + 10 * i);
    }
    EXPECT_EQ(h[10].value, 75);
    EXPECT_DOUBLE_EQ(h[10].time, 1100.25);
}

TEST(ChartTimes, AfterTheWallClockStepsBackSamplesStartAgainAtTheNewTimeAndNoneLiesAhead)
{
    DeviceRecord d = oneProbeDevice(10);
    answer(d, 5000.5, 70);
    answer(d, 5010.5, 71);
    answer(d, 2000.7, 72); // the clock was set back by about 50 minutes
    answer(d, 2010.8, 73);
    answer(d, 2020.7, 74);
    const auto h = history(d);
    ASSERT_EQ(h.size(), 5u);
    EXPECT_DOUBLE_EQ(h[2].time, 2000.7);
    EXPECT_EQ(h[2].value, 72);
    EXPECT_DOUBLE_EQ(h[3].time, 2010.7);
    EXPECT_DOUBLE_EQ(h[4].time, 2020.7);
    EXPECT_EQ(h[4].value, 74);
}

TEST(ChartTimes, AnswersThatDriftAroundTheGridStayOnItWithoutGapsOrFutureTimes)
{
    DeviceRecord d = oneProbeDevice(30);
    double now = 10000;
    std::srand(7);
    std::vector<double> answered;
    for (int k = 0; k < 3000; ++k) {
        // Ticks run a little fast or slow; answers come back in 0..200 ms.
        now += 30 + (k < 1500 ? -0.02 : 0.03) + (std::rand() % 200 - 100) / 1000.0;
        answered.push_back(now);
        answer(d, now, 60 + k % 10);
    }
    const auto h = history(d);
    ASSERT_EQ(h.size(), answered.size());
    for (std::size_t k = 0; k < h.size(); ++k) {
        EXPECT_NE(h[k].value, kNoValue) << k;
        EXPECT_LE(h[k].time, answered[k]) << k;
        EXPECT_GE(h[k].time, answered[k] - 4.0) << k;
    }
    EXPECT_LT(d.Times.runCount(), 120u);
}

TEST(ChartTimes, AGapLiveIsAGapAfterAReload)
{
    DataFolderFixture f;
    const std::int64_t start = QDateTime(QDate(2026, 11, 14), QTime(10, 0)).toSecsSinceEpoch();
    QByteArray lines;
    for (int k : {0, 1, 2, 6, 7})
        lines += line(start + 30 * k, 70 + k);
    const auto h = reload(f, lines, 30, double(start + 30 * 7 + 5));
    ASSERT_EQ(h.size(), 8u);
    EXPECT_EQ(h[2].value, 72);
    EXPECT_EQ(h[3].value, kNoValue);
    EXPECT_EQ(h[5].value, kNoValue);
    EXPECT_EQ(h[6].value, 76);
    EXPECT_DOUBLE_EQ(h[7].time, double(start + 210));
}

TEST(ChartTimes, TheRepeatedAutumnHourAndTheSpringGapReadBackInOrder)
{
    LocalZone berlin("Europe/Berlin");
    DataFolderFixture f;
    // Clocks go back from 03:00 to 02:00 on 25 October 2026 and forward
    // from 02:00 to 03:00 on 29 March 2026; lines every minute for 3 hours.
    for (const auto &[first, what] : {std::pair{QDateTime(QDate(2026, 10, 25), QTime(1, 0)), "autumn"},
                                      std::pair{QDateTime(QDate(2026, 3, 29), QTime(1, 0)), "spring"}}) {
        const std::int64_t start = first.toSecsSinceEpoch();
        QByteArray lines;
        for (int k = 0; k < 180; ++k)
            lines += line(start + 60 * k, k);
        const auto h = reload(f, lines, 60, double(start + 180 * 60));
        ASSERT_EQ(h.size(), 180u) << what;
        for (int k = 0; k < 180; ++k) {
            EXPECT_EQ(h[std::size_t(k)].value, k) << what << " " << k;
            EXPECT_DOUBLE_EQ(h[std::size_t(k)].time, double(start + 60 * k)) << what << " " << k;
        }
    }
}

TEST(ChartTimes, AQueryAnsweredWhileTheFilesWereReadIsDrawnOnce)
{
    DataFolderFixture f;
    f.store().readProgramSettings();
    const std::int64_t start = QDateTime(QDate(2026, 11, 14), QTime(10, 0)).toSecsSinceEpoch();
    const QByteArray data = f.store().folder().data();
    // The first live answer at start + 60.4 s is already in the file.
    writeFile(data + "/Dev-Probe01-(P1).csv", line(start, 70) + line(start + 30, 71) + line(start + 60, 80));
    HistoryJob job;
    job.dataFolder = data;
    job.interval = 30;
    job.probeCount = 1;
    job.fileNames[0] = "Dev-Probe01-(P1).csv";
    job.before = double(start) + 60.2;
    auto loaded = readDeviceHistory(job);
    DeviceRecord d = oneProbeDevice(30);
    answer(d, double(start) + 60.4, 80);
    ASSERT_TRUE(placeDeviceHistory(d, *loaded, 1));
    const auto h = history(d);
    ASSERT_EQ(h.size(), 3u);
    EXPECT_EQ(h[0].value, 70);
    EXPECT_EQ(h[1].value, 71);
    EXPECT_EQ(h[2].value, 80);
    EXPECT_DOUBLE_EQ(h[2].time, double(start) + 60.4);
    answer(d, double(start) + 90.4, 81);
    EXPECT_DOUBLE_EQ(d.Times.newest(), double(start) + 90.4);
}

} // namespace cz::test
