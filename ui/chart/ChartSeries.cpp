#include "ui/chart/ChartSeries.h"

#include "ui/chart/ChartView.h"

#include <cmath>
#include <limits>

namespace cz {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// Points are placed at float precision, as the chart always has placed
// them: far finer than a pixel, and the same picture for the same readings.
double plotted(double v)
{
    return std::isfinite(v) && std::fabs(v) < double(std::numeric_limits<float>::max()) ? double(float(v)) : v;
}

void addBridges(SeriesPoints &out)
{
    // A dashed line joins the last value before each gap to the first after.
    const QCPGraphData *before = nullptr;
    bool inGap = false;
    for (const QCPGraphData &point : out.line) {
        if (std::isnan(point.value)) {
            inGap = before != nullptr;
            continue;
        }
        if (inGap) {
            out.bridges.append(*before);
            out.bridges.append(point);
            out.bridges.append(QCPGraphData(point.key, kNaN));
            inGap = false;
        }
        before = &point;
    }
}

} // namespace

void sampleTimes(const DeviceRecord &device, int first, int last, double now, std::vector<double> &times)
{
    const double interval = std::max(device.QueryInterval, 1);
    const std::uint64_t written = std::min<std::uint64_t>(device.Times.samplesWritten(), kChartHistory);
    const int oldestWritten = kChartHistory - int(written);
    const double anchor = written ? device.Times.at(oldestWritten) : now;
    const int anchorIndex = written ? oldestWritten : kChartNewest;
    times.clear();
    times.reserve(std::size_t(std::max(last - first, 0)));
    device.Times.forEach(first + 1, last, [&](int index, double t) {
        if (t == kNoValue)
            t = anchor - double(anchorIndex - index) * interval;
        times.push_back(t);
    });
}

void seriesPoints(const DeviceRecord &device, int probe, int first, const std::vector<double> &times, int maxPoints,
                  SeriesPoints &out)
{
    out.line.clear();
    out.bridges.clear();
    const ProbeRecord *p = device.probe(probe);
    const int n = int(times.size());
    if (!p || n == 0)
        return;
    const int last = first + n;
    // The newest value of a switch with no reading, or of a disabled one,
    // is no point at all.
    auto shown = [&](int index, double v) {
        if (v == kNoValue)
            return kNaN;
        if (index == last && p->ProbeType == ProbeType::Switch && (v == 0 || !p->ProbeEnabled))
            return kNaN;
        if (index == last && p->ProbeType != ProbeType::Temperature && v == double(kNoReading))
            return kNaN;
        return plotted(v);
    };
    if (n <= maxPoints) {
        out.line.reserve(n);
        p->Values.forEach(first + 1, last, [&](int index, double v) {
            out.line.append(QCPGraphData(times[std::size_t(index - first - 1)], shown(index, v)));
        });
        addBridges(out);
        return;
    }
    // Lowest and highest value of each column, in the order they came; the
    // history finds them without decoding what cannot change them.
    const int columns = std::max(maxPoints / 2, 1);
    out.line.reserve(columns * 2);
    ValueHistory::DecodedChunk decoded;
    for (int c = 0; c < columns; ++c) {
        // Samples k of the window with k * columns / n == c.
        const int from = int((std::int64_t(c) * n + columns - 1) / columns);
        const int to = int((std::int64_t(c + 1) * n + columns - 1) / columns);
        if (from >= to)
            continue;
        const bool newest = to == n;
        ValueHistory::Extremes e = p->Values.extremes(first + 1 + from, first + to - (newest ? 1 : 0), decoded);
        if (newest) {
            const double v = shown(last, p->Values.at(last));
            if (!std::isnan(v) && (e.lowAt < 0 || v < e.low)) {
                e.low = v;
                e.lowAt = last;
            }
            if (!std::isnan(v) && (e.highAt < 0 || v > e.high)) {
                e.high = v;
                e.highAt = last;
            }
        }
        if (e.lowAt < 0) {
            out.line.append(QCPGraphData(times[std::size_t(from)], kNaN));
            continue;
        }
        const bool lowFirst = e.lowAt <= e.highAt;
        const int a = std::min(e.lowAt, e.highAt) - first - 1, b = std::max(e.lowAt, e.highAt) - first - 1;
        out.line.append(QCPGraphData(times[std::size_t(a)], plotted(lowFirst ? e.low : e.high)));
        if (b != a)
            out.line.append(QCPGraphData(times[std::size_t(b)], plotted(lowFirst ? e.high : e.low)));
    }
    addBridges(out);
}

} // namespace cz
