// Pictures of the charts, for the operator's eye, each checked for what it
// must show: a series per probe in the legend's order, the gap where the
// device did not answer, the switch drawn in steps, the zoomed window.
#include "tests/ui/ChartFixture.h"

#include <gtest/gtest.h>

#include <cmath>

namespace cz::test {

namespace {

double wave(int probe, int k)
{
    return 60 + probe * 3 + 6 * std::sin((k + probe * 7) / 9.0);
}

} // namespace

TEST(ChartPictures, FourProbesWithASwitchAndAGapTwelveAndSixteenProbes)
{
    ChartFixture f;
    const int four = f.addDevice("Server Room", "Model R4", 4, 30, {"Temperature", "Humidity", "Wetness", "Switch"});
    f.sample(four, 130, [](int probe, int k) {
        if (k > 95 && k < 108)
            return std::nan("");  // the device did not answer
        switch (probe) {
        case 1: return 40.0 + 10 * std::sin(k / 15.0);
        case 2: return k > 60 && k < 80 ? 35.0 : 0.0;
        case 3: return (k / 25) % 2 ? double(kSwitchClosed) : double(kSwitchOpen);
        default: return wave(0, k);
        }
    });
    ChartPlot &plot4 = plotOf(f.page(four));
    f.picture(f.page(four), QStringLiteral("chart-4.png"));
    EXPECT_EQ(plot4.legend->itemCount(), 4);
    EXPECT_TRUE(plot4.accessibleDescription().startsWith("Probe 01: (T)")) << plot4.accessibleDescription().toStdString();
    EXPECT_EQ(plot4.seriesGraph(3)->lineStyle(), QCPGraph::lsStepLeft);
    int gaps = 0;
    for (const QCPGraphData &point : *plot4.seriesGraph(0)->data())
        gaps += std::isnan(point.value) ? 1 : 0;
    EXPECT_GE(gaps, 1) << "the silent spell is drawn as a gap";
    const int twelve = f.addDevice("Cold Store", "Model RM1", 12, 30);
    f.sample(twelve, 130, wave);
    f.picture(f.page(twelve), QStringLiteral("chart-12.png"));
    // Three probes down each of the legend's four columns.
    ChartPlot &plot12 = plotOf(f.page(twelve));
    EXPECT_EQ(plot12.legend->itemCount(), 12);
    EXPECT_TRUE(plot12.seriesGraph(1)->name().startsWith("Probe 04")) << plot12.seriesGraph(1)->name().toStdString();
    const int sixteen = f.addDevice("Lab Freezers", "Model R16", 16, 30);
    f.sample(sixteen, 400, wave);
    ChartPage &page = f.page(sixteen);
    f.picture(page, QStringLiteral("chart-16.png"));
    EXPECT_EQ(plotOf(page).legend->itemCount(), 16);
    const int before = page.view().pointCount();
    page.zoomTo(ViewPort{0.25, 0.1, 0.4, 0.6}, false);
    f.picture(page, QStringLiteral("chart-zoomed.png"));
    EXPECT_TRUE(page.view().zoomed);
    EXPECT_LT(page.view().pointCount(), before);
}

} // namespace cz::test
