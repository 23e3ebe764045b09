#include "store/SystemClock.h"

#include <chrono>

namespace cz {

std::int64_t SystemClock::now() const
{
    return nowMs() / 1000;
}

std::int64_t SystemClock::nowMs() const
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

std::int64_t SystemClock::monotonicMs() const
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

const SystemClock &SystemClock::instance()
{
    static const SystemClock clock;
    return clock;
}

} // namespace cz
