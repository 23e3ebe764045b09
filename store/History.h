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
    // The float as it is (71.6 reads as 71.59999847): for drawing, where
    // the exact decimal does not show and the conversion would cost.
    static double decodeFast(float s) { return std::isfinite(s) ? double(s) : kNoValue; }
};

template <>
struct HistoryCodec<double> {
    static double encode(double v) { return v == kNoValue ? std::numeric_limits<double>::quiet_NaN() : v; }
    static double decode(double s) { return std::isnan(s) ? kNoValue : s; }
    static double decodeFast(double s) { return decode(s); }
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

    // Calls f(index, value) for every index of first .. last in order,
    // without the per-index arithmetic of at(); values as decodeFast gives
    // them.
    template <typename F>
    void forEach(int first, int last, F &&f) const
    {
        first = std::max(first, 0);
        last = std::min(last, kNewest);
        int index = first;
        const std::uint64_t unwritten = written_ >= std::uint64_t(kLength) ? 0 : kLength - written_;
        for (; index <= last && std::uint64_t(index) < unwritten; ++index)
            f(index, kNoValue);
        if (index > last)
            return;
        std::uint64_t slot = (written_ - 1 - std::uint64_t(kNewest - index)) % kLength;
        while (index <= last) {
            const Stored *block = blocks_[slot / kBlock].get();
            const int inBlock = int(slot % kBlock);
            const int run = std::min(kBlock - inBlock, last - index + 1);
            for (int k = 0; k < run; ++k)
                f(index + k, HistoryCodec<Stored>::decodeFast(block[inBlock + k]));
            index += run;
            slot = (slot + std::uint64_t(run)) % kLength;
        }
    }
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
