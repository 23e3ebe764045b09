// A clock that moves only when a test (or a benchmark) says so. set() and
// advance() let time pass (both clocks move); stepWall() is the wall clock
// being set by an operator or a time service, which the monotonic clock
// does not see.
#pragma once

#include "store/Clock.h"

namespace cz {

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
