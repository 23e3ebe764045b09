// The query cycle on simulated devices in this process: a recording alarm
// evaluation in front of the real one, alert actions that count e-mails,
// and the cycle's signals kept as they come.
#pragma once

#include "monitor/AlarmEvaluation.h"
#include "monitor/AlertActions.h"
#include "monitor/QueryCycle.h"
#include "tests/support/NetTestSupport.h"

#include <QStringList>

#include <gtest/gtest.h>

namespace cz::test {

class CountingActions : public AlertActions {
public:
    void playSound(DeviceStore &, const QByteArray &) override {}
    void sendAlarmEmail(DeviceStore &, int, int, double) override { ++emails; }
    void triggerVoiceDialer(DeviceStore &, int, int) override {}
    void runAlertProgram(DeviceStore &, int, int, const QByteArray &) override {}
    int emails = 0;
};

// Forwards every reading to the alarm evaluation and records it.
class RecordingAlarmEvaluation : public RecordingEvaluation {
public:
    explicit RecordingAlarmEvaluation(AlertActions &actions) : alarms(actions) {}
    void evaluateProbeValue(DeviceStore &store, int slot, int probeIndex, const QByteArray &valueText,
                            std::int64_t now, int notFirstQuery) override
    {
        RecordingEvaluation::evaluateProbeValue(store, slot, probeIndex, valueText, now, notFirstQuery);
        alarms.evaluateProbeValue(store, slot, probeIndex, valueText, now, notFirstQuery);
    }
    AlarmEvaluation alarms;
};

struct CycleFixture : NetFixture {
    CycleFixture() : evaluation(actions), cycle(store(), session)
    {
        cycle.setEvaluation(&evaluation);
        QObject::connect(&cycle, &QueryCycle::replyApplied, [this](int s) { applied.append(s); });
        QObject::connect(&cycle, &QueryCycle::queryFailureAlert, [this](int s) { alerts.append(s); });
        QObject::connect(&cycle, &QueryCycle::queryFinished,
                         [this](int slot, int result) { finished.append(QStringLiteral("%1:%2").arg(slot).arg(result)); });
        QObject::connect(&cycle, &QueryCycle::deviceSampled,
                         [this](int slot, int result) { sampled.append(QStringLiteral("%1:%2").arg(slot).arg(result)); });
        QObject::connect(&cycle, &QueryCycle::statusWindowsRefresh, [this] { ++refreshes; });
    }
    // One tick at the fake clock's time; waits until every query has ended.
    void tick()
    {
        cycle.tick();
        EXPECT_TRUE(waitUntil([&] { return cycle.queriesInFlight() == 0; }));
    }
    QByteArray errorLog() { return readFile(store().folder().internetErrorLog()); }
    QStringList paths(int simIndex)
    {
        QStringList out;
        for (const auto &r : sim.requests(simIndex))
            out.append(QString::fromUtf8(r.path));
        return out;
    }
    // Probe thresholds that put 95 in alarm, with an e-mail at once.
    static void alarmAt85(ProbeRecord &p)
    {
        p.HighAlarmTemp = 85, p.HighCautionTemp = 80, p.LowCautionTemp = 50, p.LowAlarmTemp = 40;
        p.ConsecutiveAlarmThreshold = 1;
        p.SendAlarmEmail = 1;
    }

    CountingActions actions;
    RecordingAlarmEvaluation evaluation;
    QueryCycle cycle;
    QList<int> applied, alerts;
    QStringList finished, sampled;
    int refreshes = 0;
};

} // namespace cz::test
