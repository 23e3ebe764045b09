#include "store/History.h"

#include <charconv>

namespace cz {

double HistoryCodec<float>::decode(float s)
{
    if (std::isnan(s) || std::isinf(s))
        return kNoValue;
    // Give back the shortest decimal that the float stands for, so that a
    // stored 71.6 reads as 71.6 and not as 71.59999847.
    char buf[32];
    const auto res = std::to_chars(buf, buf + sizeof buf, s);
    double v = double(s);
    std::from_chars(buf, res.ptr, v);
    return v;
}

} // namespace cz
