// The time source of the engine: the system clock in the program, a clock
// the tests set by hand.
#pragma once

#include <cstdint>

namespace cz {

class Clock {
public:
    virtual ~Clock() = default;
    // Seconds since 1970-01-01 UTC.
    virtual std::int64_t now() const = 0;
    // Milliseconds since 1970-01-01 UTC.
    virtual std::int64_t nowMs() const { return now() * 1000; }
};

class SystemClock final : public Clock {
public:
    std::int64_t now() const override;
    std::int64_t nowMs() const override;
    static const SystemClock &instance();
};

class ManualClock final : public Clock {
public:
    explicit ManualClock(std::int64_t seconds = 0) : ms_(seconds * 1000) {}
    std::int64_t now() const override { return ms_ / 1000; }
    std::int64_t nowMs() const override { return ms_; }
    void set(std::int64_t seconds) { ms_ = seconds * 1000; }
    void advance(std::int64_t seconds) { ms_ += seconds * 1000; }
    void advanceMs(std::int64_t ms) { ms_ += ms; }

private:
    std::int64_t ms_;
};

} // namespace cz
