#include "store/Records.h"

#include <gtest/gtest.h>

using namespace cz;

TEST(Records, TextFieldsKeepCapacityLessOneBytesOnACharacterBoundary)
{
    FixedText<5> t;
    t = "abcd";
    EXPECT_EQ(t.bytes(), "abcd");
    t = "abcdef";
    EXPECT_EQ(t.bytes(), "abcd");
    t = "abc\xc3\xa9";  // é would end at byte 5
    EXPECT_EQ(t.bytes(), "abc");
    t = QByteArray("ab\0cd", 5);
    EXPECT_EQ(t.bytes(), "ab");
    FixedText<65> name;
    name = QByteArray(100, 'n');
    EXPECT_EQ(name.size(), 64u);
}

TEST(Records, NewRecordsHoldTheDocumentedDefaults)
{
    DeviceRecord d;
    EXPECT_EQ(d.DevicePort, 80);
    EXPECT_EQ(d.ProbeCount, 4);
    EXPECT_EQ(d.ProxyServerPort, 8080);
    EXPECT_EQ(d.QueryInterval, 30);
    EXPECT_EQ(d.QueryFailThreshold, 3);
    EXPECT_EQ(d.EmailSubjectText.bytes(), "Corvanta Query Failure");
    EXPECT_EQ(d.EmailBodyText.bytes(), "The device named $DEVICE_NAME has not responded for $QUERY_THRESH minutes.");
    ProbeRecord p;
    EXPECT_EQ(p.SMTPPort, 25);
    EXPECT_EQ(p.CurrentTemp, 1.7e308);
    EXPECT_EQ(p.CurrentHumidity, -2147483647 - 1);
    EXPECT_EQ(p.CurrentValueText.bytes(), "n/a");
    EXPECT_EQ(defaultChartColor(0), 0x404080);
    EXPECT_EQ(defaultChartColor(14), 0xD1FFA4);
    EXPECT_EQ(defaultChartSymbol(9), 11);
    EXPECT_EQ(defaultChartSymbol(15), 4);
    EXPECT_EQ(unitLetter(DisplayUnits::K), 'K');
    EXPECT_STREQ(alarmStateText(AlarmState::LowCaution), "Low Caution");
    EXPECT_STREQ(switchConditionText(SwitchAlarmCondition::OnOpen), "Alarm on open");
}

TEST(Records, CopyingAProbeCopiesSettingsStateAndHistory)
{
    ProbeRecord from;
    from.ProbeName = "Intake";
    from.HighAlarmTemp = 90;
    from.AlarmState = AlarmState::HighCaution;
    from.Values.append(70.5);
    from.markChanged("ProbeEnabled");
    ProbeRecord to;
    EXPECT_EQ(copyProbeRecord(nullptr, from), 0);
    EXPECT_EQ(copyProbeRecord(&to, from), 1);
    EXPECT_EQ(to.ProbeName.bytes(), "Intake");
    EXPECT_EQ(to.HighAlarmTemp, 90);
    EXPECT_EQ(to.AlarmState, AlarmState::HighCaution);
    EXPECT_EQ(to.Values.newest(), 70.5);
    EXPECT_TRUE(to.Changed.contains("ProbeEnabled"));
    from.Values.append(99);
    EXPECT_EQ(to.Values.newest(), 70.5);  // a copy, not a shared buffer
}

TEST(Records, CopyingADeviceLeavesTheDestinationsProbesAlone)
{
    DeviceRecord from;
    from.DeviceName = "Lab";
    from.QueryInterval = 5;
    from.Times.append(12345.0);
    DeviceRecord to;
    to.Probes[0] = std::make_unique<ProbeRecord>();
    ProbeRecord *kept = to.Probes[0].get();
    EXPECT_EQ(copyDeviceRecord(nullptr, from), 0);
    EXPECT_EQ(copyDeviceRecord(&to, from), 1);
    EXPECT_EQ(to.DeviceName.bytes(), "Lab");
    EXPECT_EQ(to.QueryInterval, 5);
    EXPECT_EQ(to.Times.newest(), 12345.0);
    EXPECT_EQ(to.Probes[0].get(), kept);
}
