// The demo's first start: a day of data files written from the simulated
// devices fills every chart through the history loader.
#include "monitor/HistoryLoader.h"
#include "store/CFormat.h"
#include "store/DeviceStore.h"
#include "tests/support/NetTestSupport.h"
#include "tools/devsim/DemoHistory.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QLockFile>
#include <QProcess>

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
    PastDataReport report;
    ASSERT_EQ(devsim::writeDemoHistory(f.dir.path(), devices, now, 24, error, report), 4) << qPrintable(error);
    EXPECT_TRUE(report.extended.isEmpty());
    EXPECT_TRUE(report.left.isEmpty());
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

// --- Pointed at a real data folder -------------------------------------------

namespace {

// corvanta-devsim --demo --write-history `folder`; its exit code and output.
int writeHistory(const QString &folder, QByteArray &output)
{
    QProcess p;
    p.setProcessChannelMode(QProcess::MergedChannels);
    p.start(QStringLiteral(CZ_BIN_DIR "/corvanta-devsim"),
            {"--demo", "--write-history", folder, "--hours", "24"});
    p.waitForFinished(120000);
    output = p.readAll();
    return p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1;
}

} // namespace

TEST(DemoHistory, EveryRealReadingInTheFolderIsKeptAndOnlyOlderLinesGoBeforeThem)
{
    DataFolderFixture f;
    copyFolder(QStringLiteral(CZ_SOURCE_DIR "/demo"), f.dir.path());
    const std::int64_t now = QDateTime::currentSecsSinceEpoch();
    if (QDateTime::fromSecsSinceEpoch(now - 120).date() != QDateTime::fromSecsSinceEpoch(now).date())
        GTEST_SKIP() << "too close to midnight for a day's file";
    // 51 readings the program took in the last minute, and a file of
    // yesterday's that the rollover moved away.
    QByteArray real;
    for (int i = 0; i < 51; ++i)
        real += dateText(now - 61 + i) + ',' + clockText(now - 61 + i) + ",71.5\r\n";
    const QByteArray today = "Data/Server Room-Probe01-(Rack A Intake).csv";
    QDir().mkpath(QFile::decodeName(f.path("Data")));
    writeFile(f.path(today), real);
    const QByteArray yesterday = "Data/" + dateText(now - 86400) + "/Server Room-Probe02-(Rack A Exhaust).csv";
    QDir().mkpath(QFileInfo(QFile::decodeName(f.path(yesterday))).path());
    const QByteArray early = dateText(now - 86400) + ",00:00:00,70.0\r\n";
    writeFile(f.path(yesterday), early);

    QByteArray output;
    ASSERT_EQ(writeHistory(f.dir.path(), output), 0) << output.constData();
    const QByteArray after = readFile(f.path(today));
    EXPECT_TRUE(after.endsWith(real));
    EXPECT_GT(after.size(), real.size());
    EXPECT_TRUE(after.startsWith(dateText(now) + ",00:00:00,"));
    // The added lines end before the first real one.
    const QByteArray added = after.left(after.size() - real.size());
    const auto lastAdded = dataLineTime(added.mid(added.lastIndexOf("\r\n", added.size() - 3) + 2));
    ASSERT_TRUE(lastAdded.has_value());
    EXPECT_LT(*lastAdded, now - 61);
    EXPECT_EQ(readFile(f.path(yesterday)), early);
    EXPECT_TRUE(output.contains("kept every line of " + f.path(today))) << output.constData();
    EXPECT_TRUE(output.contains("left " + f.path(yesterday) + " as it was")) << output.constData();
}

TEST(DemoHistory, AFolderARunningProgramHoldsIsRefusedAndNothingIsWritten)
{
    DataFolderFixture f;
    copyFolder(QStringLiteral(CZ_SOURCE_DIR "/demo"), f.dir.path());
    QLockFile running(QFile::decodeName(f.store().folder().lockFile()));
    ASSERT_TRUE(running.tryLock(0));
    QByteArray output;
    EXPECT_EQ(writeHistory(f.dir.path(), output), 1);
    EXPECT_TRUE(output.contains("in use by a running Corvanta Zephtra")) << output.constData();
    EXPECT_FALSE(QDir(QFile::decodeName(f.path("Data"))).exists() &&
                 !QDir(QFile::decodeName(f.path("Data"))).isEmpty(QDir::AllEntries | QDir::NoDotAndDotDot));
    running.unlock();
    EXPECT_EQ(writeHistory(f.dir.path(), output), 0) << output.constData();
    EXPECT_TRUE(output.contains("history written for 4 devices")) << output.constData();
}

} // namespace cz::test
