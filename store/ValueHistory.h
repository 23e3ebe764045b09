// The readings of one probe over its last 86,400 samples, compressed.
//
// Reads back like an array that shifts one place towards index 0 for every
// new sample, the newest at index 86,399 and every slot not written yet
// holding kNoValue. Readings are kept in hundredths, which is what the data
// files and the probe list show of them, so each reads back exactly as it
// is shown. Samples are sealed in chunks of 128: the gaps as a bit mask, the
// readings as the first one and the changes after it, divided by their
// common step and bit-packed at the width the largest needs; a chunk that
// does not change stores no changes at all. A chunk carries its lowest and
// highest reading, so a chart need not decode a chunk that cannot change
// what it draws. The newest samples wait unsealed, in hundredths, so an
// append costs O(1); a value that does not fit them (huge) keeps its chunk
// as plain doubles, and one that is no number is a gap.
#pragma once

#include "store/History.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

namespace cz {

class ValueHistory {
public:
    static constexpr int kLength = kHistoryLength;
    static constexpr int kNewest = kLength - 1;
    static constexpr int kChunkLength = 128;

    void append(double value)
    {
        std::int32_t &h = unsealed_[std::size_t(written_ % kChunkLength)];
        if (!toHundredths(value, h))
            appendOutOfRange(value, h);
        if (++written_ % kChunkLength == 0)
            seal();
    }

    // The value at `index` (0 oldest .. 86,399 newest), kNoValue where none.
    double at(int index) const;
    double newest() const { return at(kNewest); }

    // Calls f(index, value) for every index of first .. last in order.
    template <typename F>
    void forEach(int first, int last, F &&f) const
    {
        first = std::max(first, 0);
        last = std::min(last, kNewest);
        int index = first;
        const int oldestStored = kLength - storedCount();
        for (; index <= last && index < oldestStored; ++index)
            f(index, kNoValue);
        double chunk[kChunkLength];
        while (index <= last) {
            const std::uint64_t sequence = sequenceOf(index);
            const int offset = int(sequence % kChunkLength);
            const int run = std::min(kChunkLength - offset, last - index + 1);
            const double *values = samplesOfChunk(sequence / kChunkLength, chunk);
            for (int k = 0; k < run; ++k)
                f(index + k, values[offset + k]);
            index += run;
        }
    }

    // The lowest and highest value of first .. last and where each is first
    // found; lowAt < 0 when there is none.
    struct Extremes {
        double low = 0, high = 0;
        int lowAt = -1, highAt = -1;
    };
    // The chunk decoded last, kept for the next call so that neighbouring
    // stretches decode it once. Valid while the history is not cleared or
    // replaced.
    struct DecodedChunk {
        std::uint64_t number = ~std::uint64_t(0);
        std::int32_t hundredths[kChunkLength];
    };
    Extremes extremes(int first, int last, DecodedChunk &decoded) const;
    Extremes extremes(int first, int last) const
    {
        DecodedChunk decoded;
        return extremes(first, last, decoded);
    }

    std::uint64_t samplesWritten() const { return written_; }
    void clear();
    std::size_t allocatedBytes() const;

    // `v` in hundredths, rounded as "%.2f" rounds it; false when that does
    // not fit 32 bits (or `v` is no number).
    static bool toHundredths(double v, std::int32_t &hundredths)
    {
        if (!(std::fabs(v) < 21474836.0))
            return false;
        const double x = v * 100.0;
        constexpr double kToInteger = 6755399441055744.0; // 1.5 * 2^52: rounds to nearest, ties to even
        const double r = (x + kToInteger) - kToInteger;
        // The product was rounded; close to a tie only the exact one decides.
        if (std::fabs(std::fabs(x - r) - 0.5) < 1e-6)
            return roundTie(v, hundredths);
        hundredths = std::int32_t(r);
        return true;
    }

private:
    // No reading in hundredths is this low: these mark a gap, and a reading
    // kept as a double.
    static constexpr std::int32_t kNoHundredths = std::numeric_limits<std::int32_t>::min();
    static constexpr std::int32_t kPlainHundredths = kNoHundredths + 1;

    struct Chunk {
        std::uint32_t word;     // the number of its first word
        std::int32_t first;     // hundredths: its first reading
        std::int32_t low, high; // hundredths
        std::uint16_t step;     // every change is a multiple of it
        std::uint8_t width;     // bits of each packed change
        std::uint8_t kind;      // ChunkKind bits
    };

    static bool roundTie(double v, std::int32_t &hundredths);
    void appendOutOfRange(double value, std::int32_t &h);
    int storedCount() const { return int(std::min<std::uint64_t>(written_, kLength)); }
    std::uint64_t sequenceOf(int index) const { return written_ - 1 - std::uint64_t(kNewest - index); }
    std::uint64_t unsealedChunk() const { return written_ / kChunkLength; }
    int unsealedCount() const { return int(written_ % kChunkLength); }
    double unsealedValue(int k) const;
    const Chunk &chunk(std::uint64_t number) const { return chunks_[std::size_t(number - firstChunk_)]; }
    const std::uint64_t *payload(const Chunk &c) const { return words_.data() + std::uint32_t(c.word - firstWord_); }
    const std::uint64_t *payloadEnd(const Chunk &c) const;
    // The 128 values of chunk `number`: the unsealed samples, or a sealed
    // chunk decoded, in `buffer`.
    const double *samplesOfChunk(std::uint64_t number, double *buffer) const;
    void decode(const Chunk &c, double *out) const;
    // A chunk that is not plain, in hundredths, kNoHundredths for gaps.
    void decodeHundredths(const Chunk &c, std::int32_t *out) const;
    void seal();
    void dropOldChunks();
    void takeExtremes(const double *values, int from, int to, int firstIndex, Extremes &e) const;

    std::uint64_t written_ = 0;
    std::array<std::int32_t, kChunkLength> unsealed_{}; // the newest samples, in hundredths
    std::vector<double> unsealedPlain_;              // those that do not fit hundredths, in order
    std::vector<Chunk> chunks_;                      // sealed, oldest first
    std::vector<std::uint64_t> words_;               // their gap masks and packed changes
    std::uint64_t firstChunk_ = 0;                   // the number of chunks_[0]
    std::uint32_t firstWord_ = 0;                    // the number of words_[0], counting on past 2^32
};

} // namespace cz
