// Writes bit fields packed into 64-bit words, lowest bit first.
#pragma once

#include <cstdint>
#include <vector>

namespace cz {

class BitWriter {
public:
    explicit BitWriter(std::vector<std::uint64_t> &words) : words_(words) {}
    ~BitWriter() { flush(); }

    // The low `bits` bits of `value`, 1 to 63 of them.
    void write(std::uint64_t value, int bits)
    {
        buffer_ |= value << used_;
        used_ += bits;
        if (used_ >= 64) {
            words_.push_back(buffer_);
            used_ -= 64;
            buffer_ = used_ ? value >> (bits - used_) : 0;
        }
    }
    void flush()
    {
        if (used_)
            words_.push_back(buffer_);
        buffer_ = 0;
        used_ = 0;
    }

private:
    std::vector<std::uint64_t> &words_;
    std::uint64_t buffer_ = 0;
    int used_ = 0;
};

} // namespace cz
