// Turns each probe reading into the probe's current value, its extremes,
// its alarm state and consecutive count, alert actions and event-log lines.
#pragma once

#include "monitor/ProbeEvaluation.h"

#include <QObject>

namespace cz {

class AlertActions;
struct DeviceRecord;
struct ProbeRecord;

class AlarmEvaluation final : public QObject, public ProbeEvaluation {
    Q_OBJECT
public:
    explicit AlarmEvaluation(AlertActions &actions, QObject *parent = nullptr) : QObject(parent), actions_(actions) {}

    void evaluateProbeValue(DeviceStore &store, int slot, int probeIndex, const QByteArray &valueText, std::int64_t now,
                            int notFirstQuery) override;

    enum class AlertKind { Alarm, Caution, Clear };

    // Alerts raised since the program started (each ran its actions once).
    struct AlertCounts {
        quint64 alarm = 0, caution = 0, clear = 0;
    };
    const AlertCounts &alertCounts() const { return counts_; }

signals:
    // Every event-log message as it is written (also when the device does
    // not log), for the headless program's output.
    void eventLogged(int slot, int probeIndex, const QByteArray &message);
    // An alarm, caution or clear ran its alert actions; the probe's record
    // holds the reading and state that raised it.
    void alertRaised(int slot, int probeIndex, cz::AlarmEvaluation::AlertKind kind);

private:
    struct Reading;
    void runActions(const Reading &r, AlertKind kind, double threshold);
    void evaluateAnalog(const Reading &r);
    void evaluateSwitch(const Reading &r);
    void alarmOrCaution(const Reading &r, int band, double threshold, const QByteArray &message);
    void normal(const Reading &r, const QByteArray &message);
    void logEvent(const Reading &r, const QByteArray &message);

    AlertActions &actions_;
    AlertCounts counts_;
};

} // namespace cz
