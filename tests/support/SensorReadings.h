// Readings as real sensors give them, for filling histories: temperatures
// that wander by tenths of a degree, humidity and wetness that move a
// point now and then, switches that seldom change. The same seed gives the
// same readings.
#pragma once

#include "store/Records.h"

#include <cstdint>
#include <random>

namespace cz::test {

class SensorReadings {
public:
    SensorReadings(ProbeType type, std::uint64_t seed);
    // The next reading, as the probe's current value holds it.
    double next();

private:
    ProbeType type_;
    std::mt19937_64 random_;
    std::int64_t tenths_;   // temperatures
    std::int32_t points_;   // humidity and wetness
    std::int32_t switch_;   // switches
};

} // namespace cz::test
