// Reading and sample-time histories of the charts.
//
// Reads back like an array of 86,400 values that is shifted one place
// towards index 0 for every new sample, the newest sample at index 86,399
// and every slot not written yet holding the no-value sentinel. Appending
// is O(1) and storage is allocated a block at a time as samples arrive, so
// a device that was never queried costs nothing.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>

namespace cz {

inline constexpr double kNoValue = 1.7e308;

// Probe readings keep float precision (about seven significant digits, far
// more than a sensor reports); sample times need a double.
template <typename Stored>
struct HistoryCodec;

template <>
struct HistoryCodec<float> {
    static float encode(double v)
    {
        return v == kNoValue ? std::numeric_limits<float>::quiet_NaN() : float(v);
    }
    static double decode(float s);
};

template <>
struct HistoryCodec<double> {
    static double encode(double v) { return v == kNoValue ? std::numeric_limits<double>::quiet_NaN() : v; }
    static double decode(double s) { return std::isnan(s) ? kNoValue : s; }
};

template <typename Stored>
class RingHistory {
public:
    static constexpr int kLength = 86400;
    static constexpr int kNewest = kLength - 1;
    static constexpr int kBlock = 3600;
    static constexpr int kBlocks = kLength / kBlock;

    RingHistory() = default;
    RingHistory(const RingHistory &other) { *this = other; }
    RingHistory &operator=(const RingHistory &other)
    {
        if (this == &other)
            return *this;
        for (int b = 0; b < kBlocks; ++b) {
            if (!other.blocks_[b]) {
                blocks_[b].reset();
                continue;
            }
            if (!blocks_[b])
                blocks_[b] = std::make_unique<Stored[]>(kBlock);
            std::copy_n(other.blocks_[b].get(), kBlock, blocks_[b].get());
        }
        written_ = other.written_;
        return *this;
    }
    RingHistory(RingHistory &&) noexcept = default;
    RingHistory &operator=(RingHistory &&) noexcept = default;

    // Shifts every value one place towards the old end and stores `value`
    // (kNoValue for a gap) at the newest index.
    void append(double value)
    {
        const std::uint64_t slot = written_ % kLength;
        auto &block = blocks_[slot / kBlock];
        if (!block)
            block = std::make_unique<Stored[]>(kBlock);
        block[slot % kBlock] = HistoryCodec<Stored>::encode(value);
        ++written_;
    }

    // The value at `index` (0 oldest .. 86,399 newest), kNoValue where none.
    double at(int index) const
    {
        if (index < 0 || index > kNewest)
            return kNoValue;
        const std::uint64_t age = std::uint64_t(kNewest - index);
        if (age >= written_)
            return kNoValue;
        const std::uint64_t slot = (written_ - 1 - age) % kLength;
        return HistoryCodec<Stored>::decode(blocks_[slot / kBlock][slot % kBlock]);
    }

    double newest() const { return at(kNewest); }
    std::uint64_t samplesWritten() const { return written_; }
    void clear()
    {
        for (auto &b : blocks_)
            b.reset();
        written_ = 0;
    }
    std::size_t allocatedBytes() const
    {
        std::size_t n = 0;
        for (const auto &b : blocks_)
            n += b ? kBlock * sizeof(Stored) : 0;
        return n;
    }

private:
    std::array<std::unique_ptr<Stored[]>, kBlocks> blocks_;
    std::uint64_t written_ = 0;
};

using ValueHistory = RingHistory<float>;
using TimeHistory = RingHistory<double>;

} // namespace cz
