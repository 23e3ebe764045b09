#include "store/TimeHistory.h"

#include <cmath>

namespace cz {

namespace {

// A time this close to its run's grid stays in the run.
constexpr double kOnGrid = 1e-3;

} // namespace

void TimeHistory::append(double time)
{
    if (!runs_.empty()) {
        Run &run = runs_.back();
        const std::uint64_t count = written_ - run.begin;
        if (count == 1 && time > run.start) {
            // Whole seconds stay whole, however the start was rounded.
            const double step = time - run.start, whole = std::round(step);
            run.step = std::fabs(step - whole) < 1e-6 ? whole : step;
            ++written_;
            dropOldRuns();
            return;
        }
        if (count >= 2 && std::fabs(run.start + double(count) * run.step - time) < kOnGrid) {
            ++written_;
            dropOldRuns();
            return;
        }
    }
    runs_.push_back({time, 0, written_});
    ++written_;
    dropOldRuns();
}

void TimeHistory::dropOldRuns()
{
    if (written_ <= std::uint64_t(kLength))
        return;
    const std::uint64_t oldest = written_ - kLength;
    while (dead_ + 1 < runs_.size() && runs_[dead_ + 1].begin <= oldest)
        ++dead_;
    if (dead_ >= 16 && dead_ * 2 >= runs_.size()) {
        runs_.erase(runs_.begin(), runs_.begin() + std::ptrdiff_t(dead_));
        dead_ = 0;
    }
}

std::size_t TimeHistory::runOf(std::uint64_t sequence) const
{
    const auto after = std::upper_bound(runs_.begin(), runs_.end(), sequence,
                                        [](std::uint64_t s, const Run &run) { return s < run.begin; });
    return std::size_t(after - runs_.begin()) - 1;
}

double TimeHistory::at(int index) const
{
    if (index < kLength - storedCount() || index > kNewest)
        return kNoValue;
    const std::uint64_t sequence = sequenceOf(index);
    const Run &run = runs_[runOf(sequence)];
    return run.start + double(sequence - run.begin) * run.step;
}

void TimeHistory::clear()
{
    *this = TimeHistory();
}

} // namespace cz
