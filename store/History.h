// What the chart histories share: their length and the mark of a sample
// without a value.
#pragma once

namespace cz {

inline constexpr double kNoValue = 1.7e308;

// Samples a history keeps: a day at one a second, a month at one every 30 s.
inline constexpr int kHistoryLength = 86400;

} // namespace cz
