// The points a chart draws for one probe over the visible window, read
// straight from the histories. A window with more samples than the plot
// has pixels is reduced to the lowest and highest value of each pixel
// column, so a month of samples draws as fast as an hour and the chart
// keeps no copy of the histories.
#pragma once

#include "store/Records.h"

#include <qcustomplot.h>

#include <vector>

namespace cz {

// Sample times of history indexes first + 1 .. last. Slots never written
// get the times they would have had on the device's interval grid.
void sampleTimes(const DeviceRecord &device, int first, int last, double now, std::vector<double> &times);

struct SeriesPoints {
    QVector<QCPGraphData> line;     // NaN where the probe has no value
    QVector<QCPGraphData> bridges;  // pairs of points across each gap, NaN between pairs
};

// Points of probe `probe` for `times` (as sampleTimes gave them), at most
// about `maxPoints` of them.
void seriesPoints(const DeviceRecord &device, int probe, int first, const std::vector<double> &times,
                  int maxPoints, SeriesPoints &out);

} // namespace cz
