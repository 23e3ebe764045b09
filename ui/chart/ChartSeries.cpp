#include "ui/chart/ChartSeries.h"

#include "ui/chart/ChartView.h"

#include <cmath>
#include <limits>

namespace cz {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

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
        return v;
    };
    if (n <= maxPoints) {
        out.line.reserve(n);
        p->Values.forEach(first + 1, last, [&](int index, double v) {
            out.line.append(QCPGraphData(times[std::size_t(index - first - 1)], shown(index, v)));
        });
        addBridges(out);
        return;
    }
    // Lowest and highest value of each column, in the order they came.
    const int columns = std::max(maxPoints / 2, 1);
    out.line.reserve(columns * 2);
    int column = -1, lowAt = -1, highAt = -1;
    double low = 0, high = 0;
    auto flush = [&](int startIndex) {
        if (column < 0)
            return;
        if (lowAt < 0) {
            out.line.append(QCPGraphData(times[std::size_t(startIndex)], kNaN));
            return;
        }
        const int a = std::min(lowAt, highAt), b = std::max(lowAt, highAt);
        const double va = a == lowAt ? low : high, vb = a == lowAt ? high : low;
        out.line.append(QCPGraphData(times[std::size_t(a)], va));
        if (b != a)
            out.line.append(QCPGraphData(times[std::size_t(b)], vb));
    };
    int columnStart = 0;
    p->Values.forEach(first + 1, last, [&](int index, double v) {
        const int k = index - first - 1;
        const int c = int(std::int64_t(k) * columns / n);
        if (c != column) {
            flush(columnStart);
            column = c;
            columnStart = k;
            lowAt = highAt = -1;
        }
        v = shown(index, v);
        if (std::isnan(v))
            return;
        if (lowAt < 0 || v < low) {
            low = v;
            lowAt = k;
        }
        if (highAt < 0 || v > high) {
            high = v;
            highAt = k;
        }
    });
    flush(columnStart);
    addBridges(out);
}

} // namespace cz
