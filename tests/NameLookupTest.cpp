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
