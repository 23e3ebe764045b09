// Desktop notifications of alerts through the freedesktop notification
// service on the session bus: one for every alarm, caution and clear that
// runs its alert actions and for a device that stops or starts answering.
// Alarms are critical, the rest normal; clicking one asks for the probe's
// status window (or the device's page). More than five within ten seconds
// become one summary ("12 probes in alarm on 3 devices"), kept up to date
// in place while the storm lasts. Without a notification service nothing
// fails, and that is said once.
#pragma once

#include "monitor/AlarmEvaluation.h"

#include <QDBusConnection>
#include <QHash>
#include <QObject>
#include <QSet>
#include <QTimer>

#include <cstdint>
#include <deque>

namespace cz {

class Clock;
class DeviceStore;

class DesktopNotifier final : public QObject {
    Q_OBJECT
public:
    static constexpr int kStormCount = 5;          // notifications allowed ...
    static constexpr std::int64_t kStormMs = 10000; // ... within this time
    static constexpr int kSummaryDelayMs = 500;     // a summary gathers this long
    static constexpr int kFirstRetryMs = 1000;      // a failed summary is sent again after this,
    static constexpr int kLastRetryMs = 30000;      // doubling up to this

    DesktopNotifier(const DeviceStore &store, const Clock &clock, QDBusConnection bus = QDBusConnection::sessionBus(),
                    QObject *parent = nullptr);

    // How long a storm's summary gathers before it is updated (tests shorten it).
    void setSummaryDelay(int ms) { summaryTimer_.setInterval(ms); }
    // Notifications whose ids are kept for clicks and closing: those on
    // screen and the summary.
    int rememberedNotifications() const
    {
        return int(shown_.size() + ids_.size() + closeWhenShown_.size() + awaiting_.size());
    }

    void probeAlert(int slot, int probeIndex, AlarmEvaluation::AlertKind kind);
    void deviceStoppedAnswering(int slot);
    void deviceAnswersAgain(int slot, int failedQueries, qint64 silentSeconds);

signals:
    // A notification was clicked.
    void probeActivated(quint64 deviceId, int probeIndex);
    void deviceActivated(quint64 deviceId);
    void summaryActivated();

private slots:
    void actionInvoked(uint id, const QString &action);
    void notificationClosed(uint id, uint reason);

private:
    enum class Event { Alarm, Caution, Clear, Silent, Answers };
    struct Target {
        quint64 deviceId = 0;
        int probeIndex = -1;  // -1: the device; deviceId 0: the summary
    };
    struct Storm {
        bool active = false;
        std::int64_t lastMs = 0;
        QSet<QByteArray> alarm, caution, clear;  // "device id/probe"
        QSet<quint64> devices, silent, answering;
        bool critical = false;
        uint id = 0;          // the summary on screen, 0 before its reply
        bool sending = false; // a summary call awaits its reply
        bool dirty = false;   // the storm grew since the summary was sent
    };

    // A notification shown on its own within the last kStormMs.
    struct Recent {
        std::int64_t ms = 0;
        Event event = Event::Alarm;
        Target target;
        quint64 number = 0;  // this program's number for it
        bool critical = false;
    };

    bool enabled() const;
    void deliver(Event event, const Target &target, const QString &summary, const QString &body, bool critical);
    void addToStorm(Event event, const Target &target, bool critical);
    void send(const QString &summary, const QString &body, bool critical, uint replaces, const Target &target,
              quint64 number);
    void close(uint id);
    void remember(uint id, const Target &target);
    void forget(uint id);
    void summaryFailed();
    void sendSummary();
    QString summaryText() const;
    void unavailable(const QString &why);

    const DeviceStore &store_;
    const Clock &clock_;
    QDBusConnection bus_;
    std::deque<Recent> recent_;
    quint64 sent_ = 0;                  // notifications sent, summaries included
    QHash<quint64, uint> ids_;          // the server's id of each recent one
    QSet<quint64> closeWhenShown_;      // recent ones a storm took in before their id came
    QSet<quint64> awaiting_;            // singles whose call has not answered yet
    Storm storm_;
    QTimer summaryTimer_;
    QTimer retryTimer_;                 // sends a summary again whose call failed
    int retryMs_ = kFirstRetryMs;
    quint64 stormNumber_ = 0;
    QHash<uint, Target> shown_;  // the notifications that may still be clicked
    std::deque<uint> shownOrder_; // their ids, oldest first, each once
    bool toldUnavailable_ = false;
};

} // namespace cz
