// What the whole site comes to, summed over several devices: the counts of
// probes in alarm and caution, the devices not answering, and the worst.
#include "monitor/SiteSummary.h"
#include "store/DeviceStore.h"
#include "tests/support/NetTestSupport.h"

#include <gtest/gtest.h>

using namespace cz;
using namespace cz::test;

namespace {

constexpr auto T = ProbeType::Temperature;

struct SiteFixture : DataFolderFixture {
    SiteFixture()
    {
        store().readProgramSettings();
        DeviceRecord &a = addDevice(store(), "Rack A", "Model R4", 80, {T, T, T, T});
        a.probe(0)->AlarmState = AlarmState::HighAlarm;
        a.probe(1)->AlarmState = AlarmState::LowAlarm;
        a.probe(2)->AlarmState = AlarmState::HighCaution;
        DeviceRecord &b = addDevice(store(), "Rack B", "Model R4", 81, {T, ProbeType::Humidity, T});
        b.probe(0)->AlarmState = AlarmState::LowCaution;
        b.probe(1)->AlarmState = AlarmState::HighAlarm; // disabled: counts for nothing
        b.probe(1)->ProbeEnabled = 0;
        DeviceRecord &c = addDevice(store(), "Cold Store", "Model R4", 82, {T});
        c.QueryFailThreshold = 3, c.QueryFailureCount = 3;
        DeviceRecord &d = addDevice(store(), "Freezer", "Model R4", 83, {T});
        d.QueryFailThreshold = 0, d.QueryFailureCount = 1; // 0 acts as 1
        DeviceRecord &e = addDevice(store(), "Office", "Model R4", 84, {T});
        e.QueryFailThreshold = 3, e.QueryFailureCount = 2; // not yet
    }
    ProbeRecord &probe(int slot, int index) { return *store().deviceForUpdate(slot)->probe(index); }
};

} // namespace

TEST(SiteSummary, CountsEveryEnabledProbeAndSilentDeviceOfEveryDevice)
{
    SiteFixture f;
    SiteSummary s = summarizeSite(f.store());
    EXPECT_EQ(s.alarmProbes, 2);
    EXPECT_EQ(s.cautionProbes, 2);
    EXPECT_EQ(s.silentDevices, 2);
    EXPECT_EQ(s.worst, SiteSummary::Worst::Alarm);
    EXPECT_EQ(s.shownState, AlarmState::HighAlarm);
    EXPECT_EQ(s.text(), "2 probes in alarm, 2 in caution; 2 devices not answering");
}

TEST(SiteSummary, TheWorstFallsBackStateByStateAsProbesClear)
{
    SiteFixture f;
    f.probe(0, 0).AlarmState = AlarmState::Normal;
    SiteSummary s = summarizeSite(f.store());
    EXPECT_EQ(s.shownState, AlarmState::LowAlarm) << "a low alarm is worse than any caution";
    EXPECT_EQ(s.text(), "1 probe in alarm, 2 in caution; 2 devices not answering");

    f.probe(0, 1).AlarmState = AlarmState::Normal;
    s = summarizeSite(f.store());
    EXPECT_EQ(s.worst, SiteSummary::Worst::NotAnswering);
    EXPECT_EQ(s.shownState, AlarmState::HighCaution) << "a high caution before a low one";

    f.store().deviceForUpdate(2)->QueryFailureCount = 0;
    f.store().deviceForUpdate(3)->QueryFailureCount = 0;
    s = summarizeSite(f.store());
    EXPECT_EQ(s.worst, SiteSummary::Worst::Caution);
    EXPECT_EQ(s.text(), "2 probes in caution");

    f.probe(0, 2).AlarmState = AlarmState::Normal;
    f.probe(1, 0).AlarmState = AlarmState::Normal;
    s = summarizeSite(f.store());
    EXPECT_EQ(s, SiteSummary{});
    EXPECT_EQ(s.text(), "All probes normal");
}
