#include "store/ValueHistory.h"

#include "store/BitStream.h"

#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <numeric>

namespace cz {

static_assert(std::endian::native == std::endian::little, "chunks are read 32 bits at a time");

namespace {

enum ChunkKind : std::uint8_t {
    kGaps = 1,     // a mask of the samples that have a value comes first
    kEmpty = 2,    // no sample has a value
    kConstant = 4, // every value equals the first
    kPlain = 8,    // the samples as doubles
};

constexpr int kMaskWords = ValueHistory::kChunkLength / 64;
// The most words a chunk's packed changes take: 127 of 34 bits at most.
constexpr int kMostPackedWords = ((ValueHistory::kChunkLength - 1) * 34 + 63) / 64;
// Chunks wholly older than the history are dropped this many at a time.
constexpr std::size_t kDropBatch = 32;
constexpr std::size_t kMostChunks = ValueHistory::kLength / ValueHistory::kChunkLength + 1 + kDropBatch;

double fromHundredths(std::int32_t hundredths)
{
    return double(hundredths) / 100.0;
}

std::uint64_t zigzag(std::int64_t v)
{
    return (std::uint64_t(v) << 1) ^ std::uint64_t(v >> 63);
}

std::int64_t unzigzag(std::uint64_t z)
{
    return std::int64_t(z >> 1) ^ -std::int64_t(z & 1);
}

bool hasValue(const std::uint64_t *mask, int k)
{
    return (mask[k >> 6] >> (k & 63)) & 1;
}

// The inverse of odd `n` modulo 2^64, by Newton's iteration.
std::uint64_t inverseOf(std::uint64_t n)
{
    std::uint64_t inverse = n;
    for (int i = 0; i < 5; ++i)
        inverse *= 2 - n * inverse;
    return inverse;
}

} // namespace

bool ValueHistory::roundTie(double v, std::int32_t &hundredths)
{
    hundredths = std::int32_t(std::nearbyintl(static_cast<long double>(v) * 100.0L));
    return true;
}

void ValueHistory::appendOutOfRange(double value, std::int32_t &h)
{
    if (value == kNoValue || !std::isfinite(value)) {
        h = kNoHundredths;
        return;
    }
    h = kPlainHundredths;
    unsealedPlain_.push_back(value);
}

double ValueHistory::unsealedValue(int k) const
{
    const std::int32_t h = unsealed_[std::size_t(k)];
    if (h == kNoHundredths)
        return kNoValue;
    if (h != kPlainHundredths)
        return fromHundredths(h);
    return unsealedPlain_[std::size_t(std::count(unsealed_.begin(), unsealed_.begin() + k, kPlainHundredths))];
}

void ValueHistory::seal()
{
    // Where this chunk goes has most likely left the cache since the last
    // one: fetch it while the chunk is worked out.
    __builtin_prefetch(words_.data() + words_.size(), 1);
    __builtin_prefetch(words_.data() + words_.size() + 8, 1);
    __builtin_prefetch(chunks_.data() + chunks_.size(), 1);
    // The samples with a value and, when some are gaps, a mask of which.
    const bool plain = !unsealedPlain_.empty();
    int gaps = 0;
    for (int k = 0; k < kChunkLength; ++k)
        gaps += unsealed_[std::size_t(k)] == kNoHundredths;
    const std::int32_t *h = unsealed_.data();
    std::int32_t compact[kChunkLength];
    std::uint64_t mask[kMaskWords] = {};
    int present = kChunkLength;
    if (gaps) {
        present = 0;
        for (int k = 0; k < kChunkLength; ++k) {
            if (unsealed_[std::size_t(k)] == kNoHundredths)
                continue;
            compact[present++] = unsealed_[std::size_t(k)];
            mask[k >> 6] |= std::uint64_t(1) << (k & 63);
        }
        h = compact;
    }

    Chunk c{};
    std::uint64_t code[kChunkLength]; // zigzag codes of the changes over their step
    std::uint64_t step = 0, largest = 0;
    if (!plain && present > 0) {
        std::int32_t low = h[0], high = h[0];
        for (int i = 1; i < present; ++i) {
            low = std::min(low, h[i]);
            high = std::max(high, h[i]);
        }
        // The changes have a step: the largest number that divides them
        // all. One branch, seldom taken: most changes are none or the step.
        for (int i = 1; low != high && i < present; ++i) {
            const std::int64_t change = std::int64_t(h[i]) - h[i - 1];
            const std::uint64_t size = std::uint64_t(change < 0 ? -change : change);
            if ((size != 0) & (size != step) & (step != 1))
                step = std::gcd(step, size);
        }
        c.first = h[0];
        c.low = low;
        c.high = high;
        if (step > 0xFFFF)
            step = 1;
        // Dividing a multiple of the step is shifting out its factors of two
        // and multiplying by the inverse of the rest.
        const int shift = step ? std::countr_zero(step) : 0;
        const std::uint64_t inverse = inverseOf(step >> shift);
        for (int i = 1; step && i < present; ++i) {
            const std::int64_t change = (std::int64_t(h[i]) - h[i - 1]) >> shift;
            code[i] = zigzag(std::int64_t(std::uint64_t(change) * inverse));
            largest = std::max(largest, code[i]);
        }
    }

    const std::size_t needed = kChunkLength + kMaskWords;
    if (words_.capacity() < words_.size() + needed)
        words_.reserve(std::max(words_.size() + needed, words_.size() + words_.size() / 4 + 64));
    c.word = firstWord_ + std::uint32_t(words_.size());
    if (plain) {
        c.kind = kPlain;
        for (int k = 0; k < kChunkLength; ++k)
            words_.push_back(std::bit_cast<std::uint64_t>(unsealedValue(k)));
    } else if (present == 0) {
        c.kind = kEmpty;
    } else {
        if (present < kChunkLength) {
            c.kind |= kGaps;
            words_.insert(words_.end(), mask, mask + kMaskWords);
        }
        if (step == 0) {
            c.kind |= kConstant;
        } else {
            c.step = std::uint16_t(step);
            c.width = std::uint8_t(std::bit_width(largest));
            BitWriter out(words_);
            for (int i = 1; i < present; ++i)
                out.write(code[i], c.width);
        }
    }
    if (chunks_.size() == chunks_.capacity())
        chunks_.reserve(std::max(chunks_.size() + 1, std::min(std::max<std::size_t>(16, chunks_.size() * 2), kMostChunks)));
    chunks_.push_back(c);
    unsealedPlain_.clear();
    dropOldChunks();
}

void ValueHistory::dropOldChunks()
{
    if (written_ <= std::uint64_t(kLength))
        return;
    const std::uint64_t firstLive = (written_ - kLength) / kChunkLength;
    const std::size_t dead = std::size_t(std::min<std::uint64_t>(firstLive - firstChunk_, chunks_.size()));
    if (dead < kDropBatch)
        return;
    const std::uint32_t shift =
        dead < chunks_.size() ? std::uint32_t(chunks_[dead].word - firstWord_) : std::uint32_t(words_.size());
    chunks_.erase(chunks_.begin(), chunks_.begin() + std::ptrdiff_t(dead));
    words_.erase(words_.begin(), words_.begin() + shift);
    firstChunk_ += dead;
    firstWord_ += shift;
}

const std::uint64_t *ValueHistory::payloadEnd(const Chunk &c) const
{
    const Chunk *next = &c + 1;
    return next < chunks_.data() + chunks_.size() ? payload(*next) : words_.data() + words_.size();
}

void ValueHistory::decodeHundredths(const Chunk &c, std::int32_t *out) const
{
    if (c.kind & kEmpty) {
        std::fill(out, out + kChunkLength, kNoHundredths);
        return;
    }
    const std::uint64_t *w = payload(c);
    const std::uint64_t *mask = (c.kind & kGaps) ? w : nullptr;
    if (mask)
        w += kMaskWords;
    const int present = mask ? std::popcount(mask[0]) + std::popcount(mask[1]) : kChunkLength;
    std::int32_t values[kChunkLength];
    std::int32_t *h = mask ? values : out;
    if (c.kind & kConstant) {
        std::fill(h, h + present, c.first);
    } else {
        // The packed changes, copied where a read of 8 bytes at any of them
        // stays inside.
        std::uint64_t packed[kMostPackedWords + 2] = {};
        const int words = ((present - 1) * c.width + 63) / 64;
        std::copy(w, w + words, packed);
        const unsigned char *bytes = reinterpret_cast<const unsigned char *>(packed);
        const int width = c.width;
        const std::uint64_t bits = (std::uint64_t(1) << width) - 1;
        const std::int64_t step = c.step;
        std::int64_t value = c.first;
        h[0] = c.first;
        for (int i = 1, bit = 0; i < present; ++i, bit += width) {
            std::uint64_t window;
            std::memcpy(&window, bytes + (bit >> 3), sizeof window);
            value += unzigzag((window >> (bit & 7)) & bits) * step;
            h[i] = std::int32_t(value);
        }
    }
    if (!mask)
        return;
    for (int k = 0, i = 0; k < kChunkLength; ++k)
        out[k] = hasValue(mask, k) ? values[i++] : kNoHundredths;
}

void ValueHistory::decode(const Chunk &c, double *out) const
{
    if (c.kind & kPlain) {
        const std::uint64_t *w = payload(c);
        for (int k = 0; k < kChunkLength; ++k)
            out[k] = std::bit_cast<double>(w[k]);
        return;
    }
    std::int32_t h[kChunkLength];
    decodeHundredths(c, h);
    for (int k = 0; k < kChunkLength; ++k)
        out[k] = h[k] == kNoHundredths ? kNoValue : fromHundredths(h[k]);
}

const double *ValueHistory::samplesOfChunk(std::uint64_t number, double *buffer) const
{
    if (number == unsealedChunk()) {
        for (int k = 0; k < unsealedCount(); ++k)
            buffer[k] = unsealedValue(k);
    } else {
        decode(chunk(number), buffer);
    }
    return buffer;
}

double ValueHistory::at(int index) const
{
    if (index < kLength - storedCount() || index > kNewest)
        return kNoValue;
    const std::uint64_t sequence = sequenceOf(index);
    if (sequence / kChunkLength == unsealedChunk())
        return unsealedValue(int(sequence % kChunkLength));
    double buffer[kChunkLength];
    return samplesOfChunk(sequence / kChunkLength, buffer)[sequence % kChunkLength];
}

void ValueHistory::takeExtremes(const double *values, int from, int to, int firstIndex, Extremes &e) const
{
    for (int k = from; k < to; ++k) {
        const double v = values[k];
        if (v == kNoValue)
            continue;
        if (e.lowAt < 0 || v < e.low) {
            e.low = v;
            e.lowAt = firstIndex + k - from;
        }
        if (e.highAt < 0 || v > e.high) {
            e.high = v;
            e.highAt = firstIndex + k - from;
        }
    }
}

ValueHistory::Extremes ValueHistory::extremes(int first, int last, DecodedChunk &decoded) const
{
    Extremes e;
    first = std::max(first, kLength - storedCount());
    last = std::min(last, kNewest);
    double buffer[kChunkLength];
    for (int index = first; index <= last;) {
        const std::uint64_t sequence = sequenceOf(index);
        const std::uint64_t number = sequence / kChunkLength;
        const int offset = int(sequence % kChunkLength);
        const int run = std::min(kChunkLength - offset, last - index + 1);
        const Chunk *c = number < unsealedChunk() ? &chunk(number) : nullptr;
        if (!c || (c->kind & kPlain)) {
            takeExtremes(samplesOfChunk(number, buffer), offset, offset + run, index, e);
            index += run;
            continue;
        }
        // A chunk whose values lie within those found so far changes nothing.
        if ((c->kind & kEmpty) ||
            (e.lowAt >= 0 && fromHundredths(c->low) >= e.low && fromHundredths(c->high) <= e.high)) {
            index += run;
            continue;
        }
        if (decoded.number != number) {
            decodeHundredths(*c, decoded.hundredths);
            decoded.number = number;
        }
        // The lowest and highest first, without branches (a gap is the
        // lowest of all hundredths), then where each first stands.
        const std::int32_t *h = decoded.hundredths + offset;
        std::int32_t lowest = std::numeric_limits<std::int32_t>::max(), highest = kNoHundredths;
        for (int k = 0; k < run; ++k) {
            lowest = std::min(lowest, h[k] == kNoHundredths ? lowest : h[k]);
            highest = std::max(highest, h[k]);
        }
        if (highest != kNoHundredths) {
            const double low = fromHundredths(lowest), high = fromHundredths(highest);
            if (e.lowAt < 0 || low < e.low) {
                e.low = low;
                e.lowAt = index + int(std::find(h, h + run, lowest) - h);
            }
            if (e.highAt < 0 || high > e.high) {
                e.high = high;
                e.highAt = index + int(std::find(h, h + run, highest) - h);
            }
        }
        index += run;
    }
    return e;
}

void ValueHistory::clear()
{
    *this = ValueHistory();
}

std::size_t ValueHistory::allocatedBytes() const
{
    return sizeof(unsealed_) + unsealedPlain_.capacity() * sizeof(double) + chunks_.capacity() * sizeof(Chunk) +
           words_.capacity() * sizeof(std::uint64_t);
}

} // namespace cz
