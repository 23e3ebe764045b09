// The sample times of one device over its last 86,400 samples.
//
// Reads back like ValueHistory. Samples follow the device's interval, so
// the times are kept as runs on that grid (first time, step, where the run
// begins); a restart, a change of interval or a clock that jumps begins a
// new run. A time within a millisecond of its run's grid reads back as the
// grid's time.
#pragma once

#include "store/History.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace cz {

class TimeHistory {
public:
    static constexpr int kLength = kHistoryLength;
    static constexpr int kNewest = kLength - 1;

    void append(double time);

    double at(int index) const;
    double newest() const { return at(kNewest); }

    // Calls f(index, time) for every index of first .. last in order.
    template <typename F>
    void forEach(int first, int last, F &&f) const
    {
        first = std::max(first, 0);
        last = std::min(last, kNewest);
        int index = first;
        for (; index <= last && index < kLength - storedCount(); ++index)
            f(index, kNoValue);
        if (index > last)
            return;
        std::uint64_t sequence = sequenceOf(index);
        std::size_t r = runOf(sequence);
        while (index <= last) {
            const Run &run = runs_[r];
            const std::uint64_t end = r + 1 < runs_.size() ? runs_[r + 1].begin : written_;
            for (; index <= last && sequence < end; ++index, ++sequence)
                f(index, run.start + double(sequence - run.begin) * run.step);
            ++r;
        }
    }

    std::uint64_t samplesWritten() const { return written_; }
    std::size_t runCount() const { return runs_.size() - dead_; }
    void clear();
    std::size_t allocatedBytes() const { return runs_.capacity() * sizeof(Run); }

private:
    struct Run {
        double start;        // the time of its first sample
        double step;         // 0 until its second sample
        std::uint64_t begin; // the sequence number of its first sample
    };

    int storedCount() const { return int(std::min<std::uint64_t>(written_, kLength)); }
    std::uint64_t sequenceOf(int index) const { return written_ - 1 - std::uint64_t(kNewest - index); }
    std::size_t runOf(std::uint64_t sequence) const;
    void dropOldRuns();

    std::vector<Run> runs_; // oldest first; the first dead_ lie wholly before the history
    std::size_t dead_ = 0;
    std::uint64_t written_ = 0;
};

} // namespace cz
