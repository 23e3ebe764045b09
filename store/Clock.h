// The time sources of the engine, behind one interface: the system clocks
// in the program (SystemClock), a clock set by hand in tests.
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

} // namespace cz
