// The system's wall clock and its monotonic clock.
#pragma once

#include "store/Clock.h"

namespace cz {

class SystemClock final : public Clock {
public:
    std::int64_t now() const override;
    std::int64_t nowMs() const override;
    std::int64_t monotonicMs() const override;
    static const SystemClock &instance();
};

} // namespace cz
