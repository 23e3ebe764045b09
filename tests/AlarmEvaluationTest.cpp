#include "monitor/AlarmEvaluation.h"
#include "monitor/AlertActions.h"
#include "tests/support/NetTestSupport.h"

#include <gtest/gtest.h>

using namespace cz;
using namespace cz::test;

namespace {

// Every alert action, in the order it was started.
class RecordingActions : public AlertActions {
public:
    void playSound(DeviceStore &, const QByteArray &file) override { calls.append("sound " + file); }
    void sendAlarmEmail(DeviceStore &, int, int probe, double threshold) override
    {
        calls.append("email " + QByteArray::number(probe + 1) + " " +
                     (threshold == kNoThreshold ? QByteArray("none") : QByteArray::number(threshold)));
    }
    void triggerVoiceDialer(DeviceStore &, int slot, int) override { calls.append("dialer " + QByteArray::number(slot)); }
    void runAlertProgram(DeviceStore &, int, int, const QByteArray &program) override { calls.append("program " + program); }
    QList<QByteArray> calls;
};

struct EvalFixture : DataFolderFixture {
    EvalFixture() : evaluation(actions)
    {
        store().readProgramSettings();
    }
    ProbeRecord &probe(ProbeType type, int threshold = 1)
    {
        if (!store().device(0))
            addDevice(store(), "Room", "Model R4", 80, {});
        DeviceRecord &d = *store().deviceForUpdate(0);
        const int i = d.ProbeCount++;
        auto p = std::make_unique<ProbeRecord>();
        p->ProbeType = type;
        p->ProbeEnabled = 1;
        p->ProbeNumber = i + 1;
        p->ConsecutiveAlarmThreshold = threshold;
        p->LogFile = "probe" + QByteArray::number(i + 1) + ".log";
        p->HighAlarmTemp = 85, p->HighCautionTemp = 80, p->LowCautionTemp = 50, p->LowAlarmTemp = 40;
        p->HighAlarmHumidity = 85, p->HighCautionHumidity = 80, p->LowCautionHumidity = 50, p->LowAlarmHumidity = 40;
        p->SendAlarmEmail = p->SendCautionEmail = p->SendClearEmail = 1;
        p->AlarmSound = p->CautionSound = 1;
        p->AlarmSoundFile = "alarm.wav";
        p->CautionSoundFile = "caution.wav";
        p->TriggerDialerAlarm = p->TriggerDialerClear = 1;
        p->RunProgramAlarm = p->RunProgramClear = 1;
        p->ProgramAlarm = "/bin/alarm";
        p->ProgramClear = "/bin/clear";
        d.Probes[std::size_t(i)] = std::move(p);
        return *d.Probes[std::size_t(i)];
    }
    void read(const QByteArray &text, int probeIndex = 0, int notFirstQuery = 1)
    {
        clock.advance(5);
        evaluation.evaluateProbeValue(store(), 0, probeIndex, text, clock.now(), notFirstQuery);
    }
    QList<QByteArray> logOf(int probeIndex) { return log.messagesFor("probe" + QByteArray::number(probeIndex + 1) + ".log"); }

    RecordingActions actions;
    AlarmEvaluation evaluation;
};

} // namespace

TEST(AlarmEvaluation, ThresholdThreeAlertsAtTheThirdReadingAndNotAgainUntilANormalOne)
{
    EvalFixture f;
    ProbeRecord &p = f.probe(ProbeType::Temperature, 3);
    f.read("90");
    f.read("91");
    EXPECT_TRUE(f.actions.calls.isEmpty());
    EXPECT_EQ(p.ConsecutiveAlarmCount, 2);
    f.read("92");
    EXPECT_EQ(f.actions.calls, (QList<QByteArray>{"sound alarm.wav", "email 1 85", "dialer 0", "program /bin/alarm"}));
    f.read("93");
    EXPECT_EQ(f.actions.calls.size(), 4);
    EXPECT_EQ(p.AlarmState, AlarmState::HighAlarm);
    EXPECT_EQ(f.logOf(0).size(), 4); // a line at every reading in the band
    EXPECT_EQ(f.logOf(0)[0], "Probe reported a High Alarm condition (value 90.00, threshold 85.00)");

    f.actions.calls.clear();
    f.read("70");
    EXPECT_EQ(f.actions.calls, (QList<QByteArray>{"email 1 none", "dialer 0", "program /bin/clear"}));
    EXPECT_EQ(f.logOf(0).last(), "Probe reported an alarm clear condition (value 70.00)");
    EXPECT_EQ(p.ConsecutiveAlarmCount, 0);
    EXPECT_EQ(p.LastAlarmClearedTimeVal, f.clock.now());
    f.actions.calls.clear();
    f.read("90"), f.read("90"), f.read("90");
    EXPECT_EQ(f.actions.calls.size(), 4); // fires again after the normal reading
}

TEST(AlarmEvaluation, CautionThenAlarmKeepsTheCountSoTheAlarmFiresAtOnce)
{
    EvalFixture f;
    ProbeRecord &p = f.probe(ProbeType::Temperature, 3);
    f.read("82");
    f.read("82");
    f.read("86");
    EXPECT_EQ(p.ConsecutiveAlarmCount, 3);
    EXPECT_EQ(f.actions.calls, (QList<QByteArray>{"sound alarm.wav", "email 1 85", "dialer 0", "program /bin/alarm"}));
    EXPECT_EQ(p.HighCautionSent, 0);
}

TEST(AlarmEvaluation, AThresholdAboveTenNeverAlertsAndTheCountStopsAtTen)
{
    EvalFixture f;
    ProbeRecord &p = f.probe(ProbeType::Temperature, 11);
    for (int i = 0; i < 15; ++i)
        f.read("95");
    EXPECT_EQ(p.ConsecutiveAlarmCount, 10);
    EXPECT_TRUE(f.actions.calls.isEmpty());
}

TEST(AlarmEvaluation, AValueOnAThresholdIsInTheWorseBand)
{
    EvalFixture f;
    ProbeRecord &t = f.probe(ProbeType::Temperature);
    ProbeRecord &h = f.probe(ProbeType::Humidity);
    f.read("80", 0);
    EXPECT_EQ(t.AlarmState, AlarmState::HighCaution);
    f.read("50", 1);
    EXPECT_EQ(h.AlarmState, AlarmState::LowCaution);
    EXPECT_EQ(f.logOf(1).last(), "Probe reported a Low Caution condition (value 50, threshold 50)");
    f.read("40.9", 1); // read as the integer 40
    EXPECT_EQ(h.AlarmState, AlarmState::LowAlarm);
    EXPECT_EQ(h.CurrentHumidity, 40);
}

TEST(AlarmEvaluation, TemperatureBandsAreTestedInOrderAndAValueInNoBandChangesNothing)
{
    EvalFixture f;
    ProbeRecord &p = f.probe(ProbeType::Temperature);
    // Out of order: the first test that holds wins.
    p.HighAlarmTemp = 80, p.HighCautionTemp = 90, p.LowCautionTemp = 50, p.LowAlarmTemp = 40;
    f.read("85");
    EXPECT_EQ(p.AlarmState, AlarmState::HighAlarm);
    // A reading that is no number at all compares false everywhere.
    f.read("nan");
    EXPECT_EQ(p.AlarmState, AlarmState::HighAlarm);
    EXPECT_EQ(f.logOf(0).size(), 1);
}

TEST(AlarmEvaluation, ADisabledProbeShowsHighCautionOnlyForTemperature)
{
    EvalFixture f;
    ProbeRecord &t = f.probe(ProbeType::Temperature);
    ProbeRecord &h = f.probe(ProbeType::Humidity);
    t.ProbeEnabled = h.ProbeEnabled = 0;
    f.read("82", 0);
    f.read("82", 1);
    EXPECT_EQ(t.AlarmState, AlarmState::HighCaution);
    EXPECT_EQ(t.ConsecutiveAlarmCount, 0);
    EXPECT_EQ(t.LastAlarmSetTimeVal, 0);
    EXPECT_EQ(h.AlarmState, AlarmState::Normal);
    EXPECT_TRUE(f.logOf(0).isEmpty());
    EXPECT_TRUE(f.actions.calls.isEmpty());
    EXPECT_EQ(h.HighestHumidity, 82); // extremes are kept all the same
}

TEST(AlarmEvaluation, TheFirstCycleRaisesNoAlarmsButClearsStillFire)
{
    EvalFixture f;
    ProbeRecord &a = f.probe(ProbeType::Temperature);
    ProbeRecord &b = f.probe(ProbeType::Temperature);
    b.AlarmState = AlarmState::HighAlarm; // saved in alarm before a restart
    f.read("99", 0, 0);
    f.read("70", 1, 0);
    EXPECT_EQ(a.AlarmState, AlarmState::HighAlarm);
    EXPECT_EQ(f.actions.calls, (QList<QByteArray>{"email 2 none", "dialer 0", "program /bin/clear"}));
}

TEST(AlarmEvaluation, ExtremesUseNonStrictTestsSoASteadyReadingRenewsBothTimes)
{
    EvalFixture f;
    ProbeRecord &p = f.probe(ProbeType::Temperature);
    f.read("70");
    const std::int64_t first = f.clock.now();
    EXPECT_EQ(p.LowestTemp, 70);
    EXPECT_EQ(p.HighestTemp, 70);
    EXPECT_EQ(p.LowestTempTimeVal, first);
    f.read("70");
    EXPECT_EQ(p.LowestTempTimeVal, first + 5);
    EXPECT_EQ(p.HighestTempTimeVal, first + 5);
    f.read("72");
    EXPECT_EQ(p.HighestTemp, 72);
    EXPECT_EQ(p.LowestTemp, 70);
}

TEST(AlarmEvaluation, SwitchSequences)
{
    EvalFixture f;
    ProbeRecord &s = f.probe(ProbeType::Switch, 2);
    s.SwitchAlarmCondition = SwitchAlarmCondition::OnOpen;
    f.read("1"); // first reading: state only
    EXPECT_EQ(s.SwitchState, kSwitchClosed);
    EXPECT_EQ(s.LastAlarmClearedTimeVal, 0);
    f.read("-1");
    EXPECT_EQ(s.SwitchState, kSwitchOpen);
    EXPECT_EQ(s.SwitchOpenTimeVal, f.clock.now());
    EXPECT_EQ(s.ConsecutiveAlarmCount, 1);
    EXPECT_TRUE(f.actions.calls.isEmpty());
    f.read("-1");
    EXPECT_EQ(f.actions.calls, (QList<QByteArray>{"sound alarm.wav", "email 1 0", "dialer 0", "program /bin/alarm"}));
    EXPECT_EQ(f.logOf(0), (QList<QByteArray>{"Probe reported a switch alarm condition",
                                             "Probe reported a switch alarm condition"}));
    f.actions.calls.clear();
    f.read("0");
    EXPECT_EQ(f.actions.calls, (QList<QByteArray>{"email 1 none", "dialer 0", "program /bin/clear"}));
    EXPECT_EQ(f.logOf(0).last(), "Probe reported a switch alarm clear condition");
    f.actions.calls.clear();
    f.read("0"); // still closed: the clear time is stamped again, nothing else
    EXPECT_EQ(s.LastAlarmClearedTimeVal, f.clock.now());
    EXPECT_TRUE(f.actions.calls.isEmpty());
    EXPECT_EQ(f.logOf(0).size(), 3);
}

// Readings around the caution threshold (80) by less than the margin.
TEST(ClearMargin, AReadingHoveringAtAThresholdAlertsOnceAndClearsOnce)
{
    auto run = [](double margin) {
        EvalFixture f;
        ProbeRecord &p = f.probe(ProbeType::Temperature, 1);
        p.ClearMargin = margin;
        for (const char *v : {"70", "80.5", "79.5", "80.4", "79.2", "80.1", "79.9", "78.5"})
            f.read(v);
        QList<QByteArray> emails;
        for (const QByteArray &call : std::as_const(f.actions.calls))
            if (call.startsWith("email"))
                emails << call;
        return std::pair(emails, f.logOf(0));
    };
    const auto [withMargin, log] = run(1.0);
    EXPECT_EQ(withMargin, (QList<QByteArray>{"email 1 80", "email 1 none"}));
    EXPECT_EQ(log[1], "Probe reported a High Caution condition (value 79.50, threshold 80.00, clear margin 1.00)");
    EXPECT_EQ(log.last(), "Probe reported an alarm clear condition (value 78.50)");
    // Without a margin every crossing is an alert, as before.
    EXPECT_EQ(run(0).first, (QList<QByteArray>{"email 1 80", "email 1 none", "email 1 80", "email 1 none",
                                               "email 1 80", "email 1 none"}));
}

TEST(ClearMargin, AnAlarmStepsDownOneStateAtATimeAndCountsWhileHeld)
{
    EvalFixture f;
    ProbeRecord &p = f.probe(ProbeType::Temperature, 2);
    p.ClearMargin = 1;
    f.read("86"), f.read("86");
    ASSERT_EQ(p.AlarmState, AlarmState::HighAlarm);
    f.read("84.5");  // inside 85 by less than 1: still in alarm
    EXPECT_EQ(p.AlarmState, AlarmState::HighAlarm);
    EXPECT_EQ(p.ConsecutiveAlarmCount, 3);
    f.read("79.5");  // inside 85 by enough, inside 80 by too little: caution
    EXPECT_EQ(p.AlarmState, AlarmState::HighCaution);
    EXPECT_EQ(p.ConsecutiveAlarmCount, 4);
    f.read("79");
    EXPECT_EQ(p.AlarmState, AlarmState::Normal);
    EXPECT_EQ(p.ConsecutiveAlarmCount, 0);

    // The low side mirrors it: 40 and 50, a margin of 2.
    p.ClearMargin = 2;
    f.read("39"), f.read("39");
    EXPECT_EQ(p.AlarmState, AlarmState::LowAlarm);
    f.read("41.9");
    EXPECT_EQ(p.AlarmState, AlarmState::LowAlarm);
    f.read("42");
    EXPECT_EQ(p.AlarmState, AlarmState::LowCaution);
    f.read("51");
    EXPECT_EQ(p.AlarmState, AlarmState::LowCaution);
    f.read("52");
    EXPECT_EQ(p.AlarmState, AlarmState::Normal);
    // A reading past the other side's threshold is never held.
    f.read("39"), f.read("39"), f.read("90");
    EXPECT_EQ(p.AlarmState, AlarmState::HighAlarm);
}

TEST(ClearMargin, HumidityCountsWholePointsAndSwitchesIgnoreIt)
{
    EvalFixture f;
    ProbeRecord &h = f.probe(ProbeType::Humidity, 1);
    h.ClearMargin = 3;
    f.read("81"), f.read("78");
    EXPECT_EQ(h.AlarmState, AlarmState::HighCaution);
    EXPECT_EQ(f.logOf(0).last(), "Probe reported a High Caution condition (value 78, threshold 80, clear margin 3)");
    f.read("77");
    EXPECT_EQ(h.AlarmState, AlarmState::Normal);

    ProbeRecord &s = f.probe(ProbeType::Switch, 1);
    s.SwitchAlarmCondition = SwitchAlarmCondition::OnOpen;
    s.ClearMargin = 5;
    f.read("1", 1), f.read("-1", 1);
    EXPECT_EQ(s.AlarmState, AlarmState::HighAlarm);
    f.read("1", 1);
    EXPECT_EQ(s.AlarmState, AlarmState::Normal);
}

// Wetness has its own four thresholds, extremes and whole-number messages;
// the humidity thresholds the fixture also sets (85/80/50/40) must not count.
TEST(AlarmEvaluation, WetnessBandsUseTheWetnessThresholdsAndKeepTheirOwnExtremes)
{
    EvalFixture f;
    ProbeRecord &w = f.probe(ProbeType::Wetness, 1);
    w.HighAlarmWetness = 60, w.HighCautionWetness = 30, w.LowCautionWetness = 5, w.LowAlarmWetness = 0;
    w.CautionSoundFile = "caution.wav";
    f.read("20");
    EXPECT_EQ(w.AlarmState, AlarmState::Normal);
    f.read("45");
    EXPECT_EQ(w.AlarmState, AlarmState::HighCaution);
    EXPECT_EQ(f.actions.calls, (QList<QByteArray>{"sound caution.wav", "email 1 30"}));
    EXPECT_EQ(f.logOf(0).last(), "Probe reported a High Caution condition (value 45, threshold 30)");
    f.actions.calls.clear();
    f.read("61");
    EXPECT_EQ(w.AlarmState, AlarmState::HighAlarm);
    EXPECT_EQ(f.actions.calls, (QList<QByteArray>{"sound alarm.wav", "email 1 60", "dialer 0", "program /bin/alarm"}));
    f.actions.calls.clear();
    f.read("0");
    EXPECT_EQ(w.AlarmState, AlarmState::LowAlarm);
    EXPECT_EQ(f.logOf(0).last(), "Probe reported a Low Alarm condition (value 0, threshold 0)");
    EXPECT_EQ(f.actions.calls, (QList<QByteArray>{"sound alarm.wav", "email 1 0", "dialer 0", "program /bin/alarm"}));
    f.read("12");
    EXPECT_EQ(w.AlarmState, AlarmState::Normal);
    EXPECT_EQ(f.logOf(0).last(), "Probe reported an alarm clear condition (value 12)");

    EXPECT_EQ(w.CurrentWetness, 12);
    EXPECT_EQ(w.HighestWetness, 61);
    EXPECT_EQ(w.LowestWetness, 0);
    EXPECT_GT(w.HighestWetnessTimeVal, 0);
    EXPECT_GT(w.LowestWetnessTimeVal, w.HighestWetnessTimeVal);
    // Nothing of it lands in the humidity or temperature fields.
    EXPECT_EQ(w.CurrentHumidity, kNoReading);
    EXPECT_EQ(w.HighestHumidity, 0);
    EXPECT_EQ(w.CurrentTemp, kNoTemp);
}

// Any condition but "Alarm on open" alarms on a closed switch (a switch set
// to "Never alarm" included, as the device's own firmware does).
TEST(AlarmEvaluation, ASwitchSetToAlarmOnCloseAlarmsClosedAndClearsOpen)
{
    for (const SwitchAlarmCondition condition : {SwitchAlarmCondition::OnClose, SwitchAlarmCondition::Never}) {
        EvalFixture f;
        ProbeRecord &s = f.probe(ProbeType::Switch, 1);
        s.SwitchAlarmCondition = condition;
        f.read("-1"); // open, first reading: its state only
        f.read("-1");
        EXPECT_EQ(s.AlarmState, AlarmState::Normal);
        EXPECT_TRUE(f.actions.calls.isEmpty());
        f.read("1");
        EXPECT_EQ(s.SwitchState, kSwitchClosed);
        EXPECT_EQ(s.AlarmState, AlarmState::HighAlarm);
        EXPECT_EQ(s.SwitchCloseTimeVal, f.clock.now());
        EXPECT_EQ(f.actions.calls,
                  (QList<QByteArray>{"sound alarm.wav", "email 1 0", "dialer 0", "program /bin/alarm"}));
        f.actions.calls.clear();
        f.read("-1");
        EXPECT_EQ(s.AlarmState, AlarmState::Normal);
        EXPECT_EQ(f.actions.calls, (QList<QByteArray>{"email 1 none", "dialer 0", "program /bin/clear"}));
        EXPECT_EQ(f.logOf(0), (QList<QByteArray>{"Probe reported a switch alarm condition",
                                                 "Probe reported a switch alarm clear condition"}));
    }
}
