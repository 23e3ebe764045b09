// The main window on an empty data folder with devices made for the chart
// tests and histories filled sample by sample, as the query cycle fills
// them.
#pragma once

#include "monitor/QueryCycle.h"
#include "tests/ui/WindowFixture.h"
#include "ui/chart/ChartPage.h"
#include "ui/chart/ChartPlot.h"

#include <QTabWidget>

#include <functional>

namespace cz::test {

struct ChartFixture : WindowFixture {
    ChartFixture();
    // A device of `model` with `probes` probes of `types` ("Temperature",
    // ...; the last repeats) at `interval` seconds. Returns its slot.
    int addDevice(const QByteArray &name, const QByteArray &model, int probes, int interval,
                  const QList<QByteArray> &types = {"Temperature"});
    // `count` queries, one interval apart, each reading value(probe, k); a
    // NaN for probe 0 is a failed query.
    void sample(int slot, int count, const std::function<double(int probe, int k)> &value);
    // Brings device `slot`'s page to the front, drawn.
    ChartPage &page(int slot);
};

// The plot of a device page.
inline ChartPlot &plotOf(ChartPage &page)
{
    return *page.findChild<ChartPlot *>();
}

// Pixels of exactly `rgb` in `image`.
int countColor(const QImage &image, QRgb rgb);

} // namespace cz::test
