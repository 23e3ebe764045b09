// What a device chart shows: the visible window into the 86,400-sample
// histories, the axis ranges, and the rules of the time spans, zoom,
// scrolling and reset. Also the texts the chart builds from its data
// (legend entries, tooltips, document and file names).
#pragma once

#include "store/Records.h"

#include <QString>
#include <QStringList>

#include <vector>

namespace cz {

inline constexpr int kChartNewest = 86399;
inline constexpr int kChartHistory = 86400;
// A window longer than this is never zoomed out to.
inline constexpr int kMaxZoomPoints = 20159;
// Data-point symbols are drawn only while fewer points than this show.
inline constexpr int kSymbolPointLimit = 121;
inline constexpr std::int32_t kDisabledSeriesColor = 0x787878;  // 0xRRGGBB

// "5 min." .. "30 days"; the last two only from a 30 s interval up.
QStringList timeSpanLabels(int queryInterval);
// Seconds of span list entry `index`; anything unknown is an hour.
int timeSpanSeconds(int index);
inline constexpr int kOneHourSpan = 4;
inline constexpr int kOneDaySpan = 5;

// Probe indexes in the order of the chart's series: for twelve probes
// 1, 4, 7, 10, 2, 5, 8, 11, 3, 6, 9, 12 (so the four-column legend lists
// three probes down each column), else the probes in order.
std::vector<int> seriesOrder(int probeCount);

// The part of the plot a drag marked, as fractions of the plot area from
// its top-left corner.
struct ViewPort {
    double left = 0, top = 0, width = 1, height = 1;
};

struct ChartView {
    int interval = 30;        // the device's QueryInterval, at least 1
    int spanSeconds = 3600;
    int first = kChartNewest - 120, last = kChartNewest;  // shows first + 1 .. last
    double tempMin = 0, tempMax = 100;   // the full temperature range
    double tempLower = 0, tempUpper = 100;
    double humLower = 0, humUpper = 100;
    bool follow = true;
    bool zoomed = false;
    bool scrolled = false;
    int sliderMaximum = 0;

    int pointCount() const { return last - first; }
    int spanPoints() const { return spanSeconds / interval; }
    // A new span: the window ends at the newest sample.
    void setSpan(int seconds);
    // The window of the span ending at the newest sample.
    void anchorNewest();
    // A drag over `port` narrows the window (or widens it with `grow`);
    // false, and nothing changed, when the result would leave the history
    // or show more than kMaxZoomPoints.
    bool zoom(const ViewPort &port, bool grow);
    // The slider at `position` of 0 .. sliderMaximum; each step is half a
    // window, the maximum shows the newest samples.
    void scrollTo(int position);
    // The span's window at the newest sample and the full axis ranges.
    void reset();
};

// The full temperature range of a device: the lowest low alarm less the
// low margin to the highest high alarm plus the high margin, over its
// enabled temperature probes; 0 to 100 when it has none.
void temperatureRange(const DeviceRecord &device, int lowMargin, int highMargin, double &min, double &max);

// "T", "H", "W" or "S".
QString probeTypeLetter(ProbeType type);
// The name of a probe's series: "Probe %02d:" or the first 16 characters
// of its name when the legend shows names.
QString seriesName(const DeviceRecord &device, int probe);
// The value shown in the legend: "%.02f", "%.02d", "Open", "Closed" or
// "n/a".
QString legendValue(const ProbeRecord &probe);
QString legendEntry(const DeviceRecord &device, int probe);
QString legendTooltip(const ProbeRecord &probe);
QString pointTooltip(const DeviceRecord &device, int probe, double value, double time);
// The probe index a click on an entry with tooltip `title` brings to the
// front (0 for anything not understood).
int clickedProbe(const DeviceRecord &device, const QString &title);

// "%s %s,%s -> %s,%s" and "%s %s %s to %s %s" of the device name and the
// first and last visible times.
QString chartDocumentName(const DeviceRecord &device, double firstTime, double lastTime);
QString chartFileName(const DeviceRecord &device, double firstTime, double lastTime);

} // namespace cz
