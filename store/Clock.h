// The time sources of the engine: the system clocks in the program, a clock
// the tests set by hand.
#pragma once

#include <cstdint>

namespace cz {

class Clock {
public:
    virtual ~Clock() = default;
    // Wall time, seconds since 1970-01-01 UTC: for stamps, lines and files.
    virtual std::int64_t now() const = 0;
    // Wall time in milliseconds since 1970-01-01 UTC.
    virtual std::int64_t nowMs() const { return now() * 1000; }
    // Milliseconds from an arbitrary start that only ever move forward,
    // whatever is done to the wall clock: for schedules and durations.
    virtual std::int64_t monotonicMs() const = 0;
};

class SystemClock final : public Clock {
public:
    std::int64_t now() const override;
    std::int64_t nowMs() const override;
    std::int64_t monotonicMs() const override;
    static const SystemClock &instance();
};

// Time passes only when a test says so. set() and advance() let time pass
// (both clocks move); stepWall() is the wall clock being set by an operator
// or a time service, which the monotonic clock does not see.
class ManualClock final : public Clock {
public:
    explicit ManualClock(std::int64_t seconds = 0) : ms_(seconds * 1000) {}
    std::int64_t now() const override { return floorDiv(ms_, 1000); }
    std::int64_t nowMs() const override { return ms_; }
    std::int64_t monotonicMs() const override { return monotonicMs_; }
    // The wall clock reads `seconds`; a step forward is time passing, a
    // step back only moves the wall clock.
    void set(std::int64_t seconds)
    {
        const std::int64_t to = seconds * 1000;
        if (to > ms_)
            monotonicMs_ += to - ms_;
        ms_ = to;
    }
    void advance(std::int64_t seconds) { advanceMs(seconds * 1000); }
    void advanceMs(std::int64_t ms)
    {
        ms_ += ms;
        monotonicMs_ += ms;
    }
    void stepWall(std::int64_t seconds) { ms_ += seconds * 1000; }

private:
    static std::int64_t floorDiv(std::int64_t a, std::int64_t b) { return a / b - (a % b < 0 ? 1 : 0); }
    std::int64_t ms_;
    std::int64_t monotonicMs_ = 0;
};

} // namespace cz
