#include "tests/support/SensorReadings.h"

namespace cz::test {

SensorReadings::SensorReadings(ProbeType type, std::uint64_t seed) : type_(type), random_(seed)
{
    tenths_ = 600 + std::int64_t(random_() % 200);
    points_ = 30 + std::int32_t(random_() % 40);
    switch_ = random_() % 2 ? kSwitchClosed : kSwitchOpen;
}

double SensorReadings::next()
{
    const std::uint64_t roll = random_() % 1000;
    switch (type_) {
    case ProbeType::Temperature:
        // A step of a tenth in about one reading in three.
        if (roll < 170)
            --tenths_;
        else if (roll < 340)
            ++tenths_;
        return double(tenths_) / 10.0;
    case ProbeType::Humidity:
    case ProbeType::Wetness:
        // A point up or down in about one reading in fifty.
        if (roll < 10 && points_ > 0)
            --points_;
        else if (roll < 20 && points_ < 100)
            ++points_;
        return double(points_);
    case ProbeType::Switch:
        // A door opened or closed about once in a thousand readings.
        if (roll == 0)
            switch_ = switch_ == kSwitchOpen ? kSwitchClosed : kSwitchOpen;
        return double(switch_);
    }
    return kNoValue;
}

} // namespace cz::test
