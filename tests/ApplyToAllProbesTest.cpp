// "Apply to all probes": what each group copies, and to which probes.
#include "store/ApplyToAllProbes.h"

#include <gtest/gtest.h>

using namespace cz;

namespace {

DeviceRecord device(std::initializer_list<ProbeType> types)
{
    DeviceRecord d;
    d.ProbeCount = int(types.size());
    int i = 0;
    for (ProbeType t : types) {
        auto p = std::make_unique<ProbeRecord>();
        p->ProbeType = t;
        p->ProbeNumber = i + 1;
        p->ProbeName = "Probe " + QByteArray::number(i + 1);
        d.Probes[std::size_t(i++)] = std::move(p);
    }
    return d;
}

} // namespace

TEST(ApplyToAllProbes, ThresholdsGoToProbesOfTheSameTypeOnly)
{
    DeviceRecord d = device({ProbeType::Temperature, ProbeType::Temperature, ProbeType::Humidity, ProbeType::Temperature});
    ProbeRecord &from = *d.probe(0);
    from.HighAlarmTemp = 90.5, from.HighCautionTemp = 85, from.LowCautionTemp = 50, from.LowAlarmTemp = 40;
    from.HighAlarmHumidity = 77;
    from.ConsecutiveAlarmThreshold = 3;
    from.ClearMargin = 1.5;
    from.SwitchAlarmCondition = SwitchAlarmCondition::OnOpen;
    from.SMTPServer = "mail.lab";
    EXPECT_EQ(applyToAllProbes(d, 0, ProbeSettingsGroup::Thresholds), 2);
    for (int i : {1, 3}) {
        const ProbeRecord &to = *d.probe(i);
        EXPECT_EQ(to.HighAlarmTemp, 90.5);
        EXPECT_EQ(to.LowAlarmTemp, 40);
        EXPECT_EQ(to.HighAlarmHumidity, 77);
        EXPECT_EQ(to.ConsecutiveAlarmThreshold, 3);
        EXPECT_EQ(to.ClearMargin, 1.5);
        EXPECT_EQ(to.SwitchAlarmCondition, SwitchAlarmCondition::OnOpen);
        EXPECT_EQ(to.SMTPServer.bytes(), "") << "only thresholds are copied";
        EXPECT_EQ(to.ProbeName.bytes(), "Probe " + QByteArray::number(i + 1));
    }
    EXPECT_EQ(d.probe(2)->HighAlarmHumidity, 0);
    EXPECT_EQ(d.probe(2)->ConsecutiveAlarmThreshold, 0);
    EXPECT_EQ(d.probe(2)->ClearMargin, 0);
}

TEST(ApplyToAllProbes, EmailAndSoundsGoToEveryOtherProbe)
{
    DeviceRecord d = device({ProbeType::Humidity, ProbeType::Temperature, ProbeType::Switch});
    ProbeRecord &from = *d.probe(1);
    from.SendAlarmEmail = 1, from.SendClearEmail = 1;
    from.SMTPServer = "mail.lab", from.SMTPPort = 587, from.EmailFrom = "monitor@lab", from.EmailTo = "ops@lab";
    from.EmailSMTPUser = "alarm", from.EmailSMTPPass = "secret", from.EmailTemplate = "/t.txt";
    from.EmailAlarmSubject = "A", from.EmailCautionSubject = "C", from.EmailClearedSubject = "X";
    from.AlarmSound = 1, from.AlarmSoundFile = "/a.wav", from.CautionSoundFile = "/c.wav";
    from.HighAlarmTemp = 99;

    EXPECT_EQ(applyToAllProbes(d, 1, ProbeSettingsGroup::Email), 2);
    for (int i : {0, 2}) {
        const ProbeRecord &to = *d.probe(i);
        EXPECT_EQ(to.SendAlarmEmail, 1);
        EXPECT_EQ(to.SendCautionEmail, 0);
        EXPECT_EQ(to.SendClearEmail, 1);
        EXPECT_EQ(to.SMTPPort, 587);
        EXPECT_EQ(to.EmailSMTPPass.bytes(), "secret");
        EXPECT_EQ(to.EmailClearedSubject.bytes(), "X");
        EXPECT_EQ(to.AlarmSoundFile.bytes(), "") << "sounds are a group of their own";
        EXPECT_EQ(to.HighAlarmTemp, 0);
    }
    EXPECT_EQ(applyToAllProbes(d, 1, ProbeSettingsGroup::Sounds), 2);
    EXPECT_EQ(d.probe(2)->AlarmSound, 1);
    EXPECT_EQ(d.probe(2)->CautionSoundFile.bytes(), "/c.wav");
    EXPECT_EQ(applyToAllProbes(d, 7, ProbeSettingsGroup::Sounds), 0) << "no such probe";
}
