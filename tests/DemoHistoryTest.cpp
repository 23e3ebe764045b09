// The demo's first start: a day of data files written from the simulated
// devices fills every chart through the history loader.
#include "monitor/HistoryLoader.h"
#include "store/DeviceStore.h"
#include "tests/support/NetTestSupport.h"
#include "tools/devsim/DemoHistory.h"

#include <QDateTime>
#include <QDir>

#include <gtest/gtest.h>

#include <algorithm>

namespace cz::test {

namespace {

struct Span {
    int samples = 0;
    double low = 1e9, high = -1e9;
    int distinct = 0;
};

// The samples of the last `seconds` of a probe's history.
Span lastSamples(const DeviceRecord &d, int probe, int seconds)
{
    Span s;
    std::vector<double> seen;
    const int count = seconds / std::max(1, d.QueryInterval);
    d.probe(probe)->Values.forEach(ValueHistory::kNewest - count + 1, ValueHistory::kNewest, [&](int, double v) {
        if (v == kNoValue)
            return;
        ++s.samples;
        s.low = std::min(s.low, v), s.high = std::max(s.high, v);
        if (std::find(seen.begin(), seen.end(), v) == seen.end())
            seen.push_back(v);
    });
    s.distinct = int(seen.size());
    return s;
}

} // namespace

TEST(DemoHistory, ADayOfDataFilesFillsEveryDemoChart)
{
    DataFolderFixture f;
    copyFolder(QStringLiteral(CZ_SOURCE_DIR "/demo"), f.dir.path());
    QList<devsim::SimDevice> devices;
    QString error;
    ASSERT_TRUE(devsim::loadSimConfig(QStringLiteral(CZ_SOURCE_DIR "/tools/devsim/demo.json"), devices, error));
    const std::int64_t now = QDateTime(QDate(2026, 11, 14), QTime(15, 0, 3)).toSecsSinceEpoch();
    ASSERT_EQ(devsim::writeDemoHistory(f.dir.path(), devices, now, 24, error), 4) << qPrintable(error);
    // Yesterday's part lies in its dated folder, as the daily rollover leaves it.
    EXPECT_TRUE(QFile::exists(f.dir.path() + "/Data/11-13-26/Server Room-Probe01-(Rack A Intake).csv"));
    const QByteArray today = readFile(f.path("Data/Server Room-Probe01-(Rack A Intake).csv"));
    EXPECT_TRUE(today.startsWith("11-14-26,00:00:00,")) << today.left(40).constData();
    EXPECT_TRUE(today.endsWith("11-14-26,14:59:55," + today.mid(today.lastIndexOf(',') + 1)));

    f.clock.set(now);
    DeviceStore &store = f.restart();
    store.readProgramSettings();
    HistoryLoader loader(store);
    bool done = false;
    QObject::connect(&loader, &HistoryLoader::finished, [&] { done = true; });
    loader.start(double(now));
    ASSERT_TRUE(waitUntil([&] { return done; }));

    for (int slot = 0; slot < store.deviceCount(); ++slot) {
        const DeviceRecord &d = *store.device(slot);
        for (int i = 0; i < d.probeSlots(); ++i)
            EXPECT_GE(lastSamples(d, i, 86400).samples, 86400 / d.QueryInterval - 1)
                << d.DeviceName.str().toStdString() << " probe " << i + 1;
    }
    // Server Room: the intake crosses its caution level (80) now and then,
    // never its alarm level; the door opens now and then.
    const Span intake = lastSamples(*store.device(0), 0, 86400);
    EXPECT_GT(intake.high, 80);
    EXPECT_LT(intake.high, 85);
    EXPECT_GT(lastSamples(*store.device(0), 0, 3 * 3600).high, 80) << "within any few hours";
    EXPECT_EQ(lastSamples(*store.device(0), 3, 86400).distinct, 2);
    // A freezer defrosts: from below 0 °F to above its caution level (10).
    const Span freezer = lastSamples(*store.device(1), 0, 86400);
    EXPECT_LT(freezer.low, 0);
    EXPECT_GT(freezer.high, 10);
    EXPECT_LT(freezer.high, 15);
    // The greenhouse follows the day: cool at night, warm in the afternoon.
    const Span air = lastSamples(*store.device(2), 0, 86400);
    EXPECT_GT(air.high - air.low, 15);
}

} // namespace cz::test
