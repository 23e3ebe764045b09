// A device whose host name never resolves in time, next to a healthy one:
// the lookup of one name hangs for 15 s inside getaddrinfo, as it does when
// a DNS server swallows queries. This executable carries its own
// getaddrinfo, which the C library's callers (libcurl's resolver threads)
// reach first.
#include "monitor/QueryCycle.h"
#include "tests/support/NetTestSupport.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <dlfcn.h>
#include <netdb.h>
#include <unistd.h>

namespace {

constexpr char kHangingName[] = "hanging-lookup.test";
constexpr unsigned kHangSeconds = 15;
std::atomic<int> hangingLookups{0};

} // namespace

extern "C" int getaddrinfo(const char *node, const char *service, const struct addrinfo *hints,
                           struct addrinfo **res)
{
    using Real = int (*)(const char *, const char *, const struct addrinfo *, struct addrinfo **);
    static const Real real = reinterpret_cast<Real>(dlsym(RTLD_NEXT, "getaddrinfo"));
    if (node && std::strcmp(node, kHangingName) == 0) {
        ++hangingLookups;
        ::sleep(kHangSeconds);
        return EAI_NONAME;
    }
    return real(node, service, hints, res);
}

using namespace cz;
using namespace cz::test;

TEST(NameLookup, AHangingLookupHoldsBackNoOtherDeviceAndEndsAtTheConnectDeadline)
{
    NetFixture f;
    f.session.setTimeouts(5000, 5000, 10000);  // the program's own deadlines
    QueryCycle cycle(f.store(), f.session);
    RecordingEvaluation evaluation;
    cycle.setEvaluation(&evaluation);

    DeviceRecord &hanging = addDevice(f.store(), "Hanging", "Model R4", 80, {ProbeType::Temperature});
    hanging.DeviceAddress = kHangingName;
    hanging.QueryInterval = 1;
    f.addSimulated(simDevice("Model R4", {70.5}, "Healthy"), {ProbeType::Temperature}).QueryInterval = 1;

    QElapsedTimer elapsed;
    elapsed.start();
    qint64 firstAttemptFailedMs = -1;
    QObject::connect(&f.status, &ProgramStatus::changed, [&](const QString &s) {
        if (firstAttemptFailedMs < 0 && s.contains(QLatin1String("attempt #1")))
            firstAttemptFailedMs = elapsed.elapsed();
    });
    qint64 tickedMs = 0;
    QList<qint64> delays;
    QObject::connect(&cycle, &QueryCycle::replyApplied, [&](int slot) {
        if (slot == 1)
            delays.append(elapsed.elapsed() - tickedMs);
    });

    // Twelve seconds of one-second ticks, in real time.
    for (int second = 0; second < 12; ++second) {
        tickedMs = elapsed.elapsed();
        cycle.tick();
        while (elapsed.elapsed() < (second + 1) * 1000) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
            QThread::msleep(1);
        }
        f.clock.advance(1);
    }

    EXPECT_GE(hangingLookups.load(), 1);
    // The healthy device answered at every tick, each time within a second.
    EXPECT_GE(delays.size(), 11);
    for (qint64 delay : delays)
        EXPECT_LT(delay, 1000);
    // The hanging device's first attempt ended at its 5 s connect deadline.
    EXPECT_GE(firstAttemptFailedMs, 4900);
    EXPECT_LT(firstAttemptFailedMs, 6500);
    EXPECT_TRUE(readFile(f.store().folder().internetErrorLog()).contains(": The operation timed out\r\n"));
}

namespace {

int threadsOfThisProcess()
{
    const QList<QByteArray> lines = readFile("/proc/self/status").split('\n');
    for (const QByteArray &line : lines)
        if (line.startsWith("Threads:"))
            return line.mid(8).trimmed().toInt();
    return -1;
}

} // namespace

// Every attempt of every query of a device whose name never resolves used
// to leave one more resolver thread behind; now the one lookup in flight
// is waited for, and the attempts fail at their deadline as before.
TEST(NameLookup, AHangingNameHasOneLookupInFlightHoweverOftenItIsQueried)
{
    NetFixture f;
    f.session.setTimeouts(300, 300, 600);
    QueryCycle cycle(f.store(), f.session);
    RecordingEvaluation evaluation;
    cycle.setEvaluation(&evaluation);
    DeviceRecord &hanging = addDevice(f.store(), "Hanging", "Model R4", 80, {ProbeType::Temperature});
    hanging.DeviceAddress = kHangingName;
    hanging.QueryInterval = 1;
    // A second device on the same name, and a healthy one by name.
    DeviceRecord &twin = addDevice(f.store(), "Twin", "Model R4", 81, {ProbeType::Temperature});
    twin.DeviceAddress = kHangingName;
    twin.QueryInterval = 1;
    f.addSimulated(simDevice("Model R4", {70.5}, "Healthy"), {ProbeType::Temperature}).QueryInterval = 1;
    f.store().deviceForUpdate(2)->DeviceAddress = "localhost";

    const int lookupsBefore = hangingLookups.load();
    const int threadsBefore = threadsOfThisProcess();
    int maxThreads = threadsBefore;
    for (int second = 0; second < 8; ++second) {
        cycle.tick();
        ASSERT_TRUE(waitUntil([&] { return cycle.queriesInFlight() == 0; }, 10000));
        maxThreads = std::max(maxThreads, threadsOfThisProcess());
        f.clock.advance(1);
    }
    // 8 queries of 3 attempts for each of two devices: one lookup.
    EXPECT_LE(hangingLookups.load() - lookupsBefore, 1);
    EXPECT_LE(maxThreads - threadsBefore, 2);
    EXPECT_GE(evaluation.textsFor(2).size(), 8);
    EXPECT_TRUE(evaluation.textsFor(0).isEmpty());
    const QByteArray log = readFile(f.store().folder().internetErrorLog());
    EXPECT_GE(log.count(": The operation timed out\r\n"), 8 * 3);
}

TEST(NameLookup, ANameThatDoesNotExistIsReportedInTheDevicesWords)
{
    NetFixture f;
    QueryCycle cycle(f.store(), f.session);
    RecordingEvaluation evaluation;
    cycle.setEvaluation(&evaluation);
    DeviceRecord &missing = addDevice(f.store(), "Missing", "Model R4", 80, {ProbeType::Temperature});
    missing.DeviceAddress = "no-such-device.invalid";
    cycle.tick();
    ASSERT_TRUE(waitUntil([&] { return cycle.queriesInFlight() == 0; }, 20000));
    EXPECT_EQ(readFile(f.store().folder().internetErrorLog()).count(
                  ": The server name or address could not be resolved\r\n"),
              3);
}
