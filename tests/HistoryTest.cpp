// The chart histories: what goes in reads back as the data files and the
// probe list show it, gaps included, however it is stored.
#include "store/CFormat.h"
#include "store/Records.h"
#include "tests/support/SensorReadings.h"

#include <gtest/gtest.h>

#include <cmath>
#include <deque>
#include <limits>
#include <random>

using namespace cz;
using namespace cz::test;

namespace {

// What a reading reads back as: the "%.2f" text it shows, read as a number.
double asShown(double v)
{
    if (v == kNoValue || !std::isfinite(v))
        return kNoValue;
    if (std::fabs(v) >= 21474836.0)
        return v;  // too large for hundredths in 32 bits: kept as it is
    return parseDouble(formatFixed(v, 2));
}

// A reading of a kind picked at random, and runs of gaps.
class RandomReadings {
public:
    explicit RandomReadings(std::uint64_t seed) : random_(seed) {}
    double next()
    {
        if (left_ == 0) {
            kind_ = int(random_() % 9);
            left_ = 1 + int(random_() % 400);
        }
        --left_;
        switch (kind_) {
        case 0: tenths_ += std::int64_t(random_() % 3) - 1; return double(tenths_) / 10.0;
        case 1: return double(std::int64_t(random_() % 2000001) - 1000000) / 100.0;
        case 2: return double(random_() % 101);
        case 3: return random_() % 2 ? kSwitchOpen : kSwitchClosed;
        case 4: return kNoValue;
        case 5: return random_() % 5 ? 21.5 : kNoValue;  // steady, with a failed query now and then
        case 6: {
            // Any double: many decimals, ties of the rounding, huge and odd.
            static const double odd[] = {0.125, 0.375, 2.675, -0.005, 1.005, 21474835.99, -21474835.99,
                                         3e7, -1e30, 1e300, std::numeric_limits<double>::infinity(),
                                         std::numeric_limits<double>::quiet_NaN(), 0.0, -0.0};
            return random_() % 2 ? odd[random_() % std::size(odd)]
                                 : std::ldexp(double(random_() % (1u << 30)), -int(random_() % 40));
        }
        case 7: return 72.0 + double(random_() % 3) * 10.0;  // large steps of a common size
        default: return double(std::int64_t(random_() % 4000000001) - 2000000000) / 100.0;
        }
    }

private:
    std::mt19937_64 random_;
    int kind_ = 0, left_ = 0;
    std::int64_t tenths_ = 700;
};

// Everything the history holds against what went in.
void expectHistoryMatches(const ValueHistory &h, const std::deque<double> &window, std::mt19937_64 &random)
{
    const int offset = ValueHistory::kLength - int(window.size());
    int mismatches = 0;
    h.forEach(0, ValueHistory::kNewest, [&](int index, double v) {
        const double want = index < offset ? kNoValue : window[std::size_t(index - offset)];
        if (!(v == want) && mismatches++ < 5)
            ADD_FAILURE() << "index " << index << ": " << v << " instead of " << want;
    });
    for (int n = 0; n < 200; ++n) {
        const int index = int(random() % ValueHistory::kLength);
        ASSERT_EQ(h.at(index), index < offset ? kNoValue : window[std::size_t(index - offset)]) << index;
    }
    // The extremes of stretches, and where each is first found.
    for (int n = 0; n < 200; ++n) {
        const int first = std::max(offset - 10, 0) + int(random() % std::max<std::size_t>(window.size(), 1));
        const int last = std::min(first + int(random() % 700), ValueHistory::kNewest);
        ValueHistory::Extremes want;
        for (int index = std::max(first, offset); index <= last; ++index) {
            const double v = window[std::size_t(index - offset)];
            if (v == kNoValue)
                continue;
            if (want.lowAt < 0 || v < want.low)
                want.low = v, want.lowAt = index;
            if (want.highAt < 0 || v > want.high)
                want.high = v, want.highAt = index;
        }
        const ValueHistory::Extremes got = h.extremes(first, last);
        ASSERT_EQ(got.lowAt, want.lowAt) << first << ".." << last;
        ASSERT_EQ(got.highAt, want.highAt) << first << ".." << last;
        if (want.lowAt >= 0) {
            ASSERT_EQ(got.low, want.low);
            ASSERT_EQ(got.high, want.high);
        }
    }
}

} // namespace

TEST(History, AMillionReadingsAndGapsReadBackAsTheyAreShown)
{
    ValueHistory h;
    RandomReadings readings(20261123);
    std::mt19937_64 random(7);
    std::deque<double> window;
    for (int n = 1; n <= 1000000; ++n) {
        const double v = readings.next();
        h.append(v);
        window.push_back(asShown(v));
        if (window.size() > std::size_t(ValueHistory::kLength))
            window.pop_front();
        // Checked at odd moments, so that every place in a chunk is the newest once in a while.
        if (n % 49999 == 0 || n == 1000000 || n == 200 || n == 86401) {
            expectHistoryMatches(h, window, random);
            if (HasFailure())
                return;
        }
    }
    EXPECT_EQ(h.samplesWritten(), 1000000u);
}

TEST(History, ReadsLikeAShiftedArrayWithTheNewestSampleLast)
{
    ValueHistory h;
    EXPECT_EQ(h.at(86399), kNoValue);
    h.append(71.6);
    h.append(kNoValue);
    h.append(72.0);
    EXPECT_EQ(h.at(86399), 72.0);
    EXPECT_EQ(h.at(86398), kNoValue);  // a gap
    EXPECT_EQ(h.at(86397), 71.6);      // exactly the value stored
    EXPECT_EQ(h.at(86396), kNoValue);  // never written
    EXPECT_EQ(h.at(0), kNoValue);
    h.clear();
    EXPECT_EQ(h.samplesWritten(), 0u);
    EXPECT_EQ(h.at(86399), kNoValue);
}

TEST(History, ACopyKeepsItsOwnSamples)
{
    ValueHistory a;
    for (int i = 0; i < 300; ++i)
        a.append(i / 10.0);
    ValueHistory b = a;
    a.append(99);
    b.append(-1);
    EXPECT_EQ(a.newest(), 99);
    EXPECT_EQ(b.newest(), -1);
    EXPECT_EQ(b.at(86398), 29.9);
}

TEST(History, AFullMonthOfSensorReadingsTakesUnderOneByteASample)
{
    std::size_t bytes = 0, samples = 0;
    TimeHistory times;
    for (int k = 0; k < 86400 + 500; ++k)
        times.append(1794661509.0 + 30.0 * k);
    bytes += times.allocatedBytes();
    const ProbeType types[] = {ProbeType::Temperature, ProbeType::Humidity, ProbeType::Wetness, ProbeType::Switch};
    for (int probe = 0; probe < 16; ++probe) {
        SensorReadings readings(types[probe % 4 == 3 ? 3 : probe % 8 == 5 ? 1 : probe % 8 == 6 ? 2 : 0], probe);
        ValueHistory h;
        for (int k = 0; k < 86400 + 500; ++k)
            h.append(k % 5000 == 17 ? kNoValue : readings.next());  // a failed query now and then
        bytes += h.allocatedBytes();
        samples += 86400;
    }
    EXPECT_LT(double(bytes) / double(samples), 1.0);
}

TEST(History, TimesOnTheGridAreRunsAndEveryJumpStartsANewOne)
{
    TimeHistory h;
    std::deque<double> window;
    std::mt19937_64 random(3);
    double t = 1794661509.25;
    int interval = 30;
    for (int n = 0; n < 300000; ++n) {
        const std::uint64_t roll = random() % 20000;
        if (roll == 0)
            interval = 1 + int(random() % 120);  // the interval changed
        else if (roll == 1)
            t += double(random() % 100000);      // the program was not running
        else if (roll == 2)
            t -= 3600;                           // the clock was set back
        else if (roll == 3)
            t += 0.37;                           // off the grid
        h.append(t);
        window.push_back(t);
        if (window.size() > std::size_t(TimeHistory::kLength))
            window.pop_front();
        t += interval;
    }
    EXPECT_LT(h.runCount(), 30u);
    const int offset = TimeHistory::kLength - int(window.size());
    int mismatches = 0;
    h.forEach(0, TimeHistory::kNewest, [&](int index, double v) {
        if (v != window[std::size_t(index - offset)] && mismatches++ < 5)
            ADD_FAILURE() << index << ": " << v;
    });
    EXPECT_EQ(h.at(0), window.front());
    EXPECT_EQ(h.newest(), window.back());
}

TEST(History, DropsTheOldestSampleOnceFull)
{
    TimeHistory h;
    for (int i = 0; i < 86400 + 10; ++i)
        h.append(1000.5 + i);
    EXPECT_EQ(h.at(86399), 1000.5 + 86409);
    EXPECT_EQ(h.at(0), 1000.5 + 10);
    EXPECT_EQ(h.runCount(), 1u);  // one run on the grid, not a time per sample
}
