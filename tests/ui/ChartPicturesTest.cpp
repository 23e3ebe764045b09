// Pictures of the charts, for the operator's eye.
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
    f.picture(f.page(four), QStringLiteral("chart-4.png"));
    const int twelve = f.addDevice("Cold Store", "Model RM1", 12, 30);
    f.sample(twelve, 130, wave);
    f.picture(f.page(twelve), QStringLiteral("chart-12.png"));
    const int sixteen = f.addDevice("Lab Freezers", "Model R16", 16, 30);
    f.sample(sixteen, 400, wave);
    ChartPage &page = f.page(sixteen);
    f.picture(page, QStringLiteral("chart-16.png"));
    page.zoomTo(ViewPort{0.25, 0.1, 0.4, 0.6}, false);
    f.picture(page, QStringLiteral("chart-zoomed.png"));
}

} // namespace cz::test
