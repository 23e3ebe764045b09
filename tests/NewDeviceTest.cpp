// The records of a device being added, from what was typed or fetched.
#include "store/NewDevice.h"

#include <gtest/gtest.h>

using namespace cz;

TEST(NewDevice, AddGivesEachModelItsProbesNamedWithABlank)
{
    NewDeviceSettings s;
    s.model = "model rm1";
    fillTypedDevice(s);
    EXPECT_EQ(s.probeCount, 12);
    s.model = "Model P16";
    fillTypedDevice(s);
    EXPECT_EQ(s.probeCount, 16);
    EXPECT_EQ(s.probeNames[6], "Probe 07");
    EXPECT_EQ(s.groupNames[3], "Group 1");
    s.model = "";
    fillTypedDevice(s);
    EXPECT_EQ(s.probeCount, 0);
}

TEST(NewDevice, TheCombinedSensorHasFourGroupsAndUnnamedProbesAreNamedWithoutABlank)
{
    NewDeviceSettings s;
    s.typed.DeviceName = "Barn";
    s.model = "Model RM1";
    s.probeCount = 12;
    s.units = DisplayUnits::K;
    s.groupNames = {"North", "East", "South", "West"};
    for (int i = 0; i < 12; ++i) {
        s.probeNames[std::size_t(i)] = i == 6 ? QByteArray() : "Sensor " + QByteArray::number(i + 1);
        s.probeTypes[std::size_t(i)] = i % 3 == 0 ? "temperature" : (i % 3 == 1 ? "HUMIDITY" : "Wetness");
    }
    const auto d = buildNewDevice(s, DataFolder{"/data"});
    ASSERT_EQ(d->probeSlots(), 12);
    EXPECT_EQ(d->probe(6)->ProbeName.bytes(), "Probe07");
    EXPECT_EQ(d->probe(6)->LogFile.bytes(), "/data/Logs/Barn-Probe07-(Probe07).log");
    EXPECT_EQ(d->probe(6)->DataLogFile.bytes(), "/data/Data/Barn-Probe07-(Probe07).csv");
    EXPECT_EQ(d->probe(4)->GroupNumber, 2);
    EXPECT_EQ(d->probe(4)->GroupName.bytes(), "East");
    EXPECT_EQ(d->probe(11)->GroupNumber, 4);
    EXPECT_EQ(d->probe(3)->ProbeType, ProbeType::Temperature);
    EXPECT_EQ(d->probe(4)->ProbeType, ProbeType::Humidity);
    EXPECT_EQ(d->probe(5)->ProbeType, ProbeType::Wetness);
    EXPECT_EQ(d->probe(0)->DisplayUnits, DisplayUnits::K);
    for (int i = 0; i < 12; ++i) {
        const ProbeRecord &p = *d->probe(i);
        EXPECT_EQ(p.ProbeEnabled, 1);
        EXPECT_EQ(p.SendAlarmEmail + p.AlarmSound + p.RunProgramAlarm + p.TriggerDialerAlarm, 0);
        EXPECT_EQ(p.SMTPPort, 25);
        EXPECT_EQ(p.EmailTemplate.bytes(), "/data/Templates/DefaultEmailTemplate.txt");
        EXPECT_EQ(p.EmailClearedSubject.bytes(), "Corvanta $ALARM_STATE on $DEVICE_NAME:$PROBE_NAME");
        EXPECT_EQ(p.ChartDataColor, defaultChartColor(i));
        EXPECT_EQ(p.ChartDataSymbol, defaultChartSymbol(i));
    }
}

TEST(NewDevice, UnitsOutsideTheFourScalesAreFahrenheit)
{
    NewDeviceSettings s;
    s.typed.DeviceName = "X";
    s.model = "Model R4";
    s.probeCount = 4;
    s.units = static_cast<DisplayUnits>(7);
    const auto d = buildNewDevice(s, DataFolder{"/data"});
    EXPECT_EQ(d->DisplayUnits, DisplayUnits::F);
    EXPECT_EQ(d->probe(3)->DisplayUnits, DisplayUnits::F);
    EXPECT_EQ(d->probe(3)->GroupNumber, 1);
}
