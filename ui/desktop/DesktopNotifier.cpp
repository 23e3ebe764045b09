#include "ui/desktop/DesktopNotifier.h"

#include "monitor/SiteSummary.h"
#include "store/CFormat.h"
#include "store/Clock.h"
#include "store/DeviceStore.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QStringList>

#include <algorithm>

namespace cz {

namespace {

const QString kService = QStringLiteral("org.freedesktop.Notifications");
const QString kPath = QStringLiteral("/org/freedesktop/Notifications");
const QString kInterface = QStringLiteral("org.freedesktop.Notifications");
// Notifications remembered for clicks when the server does not say they
// were closed; the storm's summary is kept whatever comes.
constexpr int kRememberedNotifications = 64;

QString unitText(const ProbeRecord &p)
{
    switch (p.ProbeType) {
    case ProbeType::Temperature: return QStringLiteral(" °") + QLatin1Char(unitLetter(p.DisplayUnits));
    case ProbeType::Humidity: return QStringLiteral(" % RH");
    case ProbeType::Wetness: return QStringLiteral(" %");
    default: return {};
    }
}

} // namespace

DesktopNotifier::DesktopNotifier(const DeviceStore &store, const Clock &clock, QDBusConnection bus, QObject *parent)
    : QObject(parent), store_(store), clock_(clock), bus_(std::move(bus))
{
    summaryTimer_.setSingleShot(true);
    summaryTimer_.setInterval(kSummaryDelayMs);
    connect(&summaryTimer_, &QTimer::timeout, this, &DesktopNotifier::sendSummary);
    retryTimer_.setSingleShot(true);
    connect(&retryTimer_, &QTimer::timeout, this, &DesktopNotifier::sendSummary);
    if (bus_.isConnected()) {
        bus_.connect(kService, kPath, kInterface, QStringLiteral("ActionInvoked"), this,
                     SLOT(actionInvoked(uint, QString)));
        bus_.connect(kService, kPath, kInterface, QStringLiteral("NotificationClosed"), this,
                     SLOT(notificationClosed(uint, uint)));
    }
}

bool DesktopNotifier::enabled() const
{
    return store_.settings.DesktopNotifications != 0;
}

void DesktopNotifier::probeAlert(int slot, int probeIndex, AlarmEvaluation::AlertKind kind)
{
    const DeviceRecord *d = store_.device(slot);
    const ProbeRecord *p = d ? d->probe(probeIndex) : nullptr;
    if (!p || !enabled())
        return;
    using Kind = AlarmEvaluation::AlertKind;
    const QString state = kind == Kind::Clear                ? QStringLiteral("Clear")
                          : p->ProbeType == ProbeType::Switch ? QStringLiteral("Switch Alarm")
                                                              : QString::fromLatin1(alarmStateText(p->AlarmState));
    const QString summary = QStringLiteral("%1: %2 on %3").arg(state, p->ProbeName.str(), d->DeviceName.str());
    QString body = QStringLiteral("Reading %1%2").arg(p->CurrentValueText.str(), unitText(*p));
    if (kind == Kind::Clear)
        body += QStringLiteral(", back to normal");
    else if (p->ProbeType != ProbeType::Switch && p->AlarmState != AlarmState::Normal)
        body += QStringLiteral(", threshold %1%2")
                    .arg(QString::number(probeThreshold(*p, p->AlarmState), 'g', 6), unitText(*p));
    const Event event = kind == Kind::Alarm ? Event::Alarm : kind == Kind::Caution ? Event::Caution : Event::Clear;
    deliver(event, {d->id, probeIndex}, summary, body, kind == Kind::Alarm);
}

void DesktopNotifier::deviceStoppedAnswering(int slot)
{
    const DeviceRecord *d = store_.device(slot);
    if (!d || !enabled())
        return;
    deliver(Event::Silent, {d->id, -1}, QStringLiteral("%1 does not answer").arg(d->DeviceName.str()),
            QStringLiteral("No answer to %1 queries in a row from %2:%3")
                .arg(d->QueryFailureCount)
                .arg(d->DeviceAddress.str())
                .arg(d->DevicePort),
            false);
}

void DesktopNotifier::deviceAnswersAgain(int slot, int failedQueries, qint64 silentSeconds)
{
    const DeviceRecord *d = store_.device(slot);
    if (!d || !enabled())
        return;
    deliver(Event::Answers, {d->id, -1}, QStringLiteral("%1 answers again").arg(d->DeviceName.str()),
            QStringLiteral("After %1 failed queries; it did not answer for %2")
                .arg(failedQueries)
                .arg(QString::fromUtf8(durationText(silentSeconds))),
            false);
}

void DesktopNotifier::deliver(Event event, const Target &target, const QString &summary, const QString &body,
                              bool critical)
{
    const std::int64_t now = clock_.monotonicMs();
    while (!recent_.empty() && now - recent_.front().ms >= kStormMs) {
        ids_.remove(recent_.front().number);
        recent_.pop_front();
    }
    if (storm_.active && now - storm_.lastMs >= kStormMs) {
        storm_ = Storm{};  // that storm is over; a new one gets its own summary
        ++stormNumber_;
    }
    if (!storm_.active && int(recent_.size()) < kStormCount) {
        recent_.push_back({now, event, target, ++sent_, critical});
        send(summary, body, critical, 0, target, sent_);
        return;
    }
    storm_.lastMs = now;
    if (!storm_.active) {
        // A storm begins: the notifications of the last seconds go into its
        // summary and leave the screen, so that one stands for them all.
        storm_.active = true;
        for (const Recent &r : recent_) {
            addToStorm(r.event, r.target, r.critical);
            if (const uint id = ids_.value(r.number))
                close(id);
            else if (awaiting_.contains(r.number))
                closeWhenShown_.insert(r.number);
        }
        addToStorm(event, target, critical);
        sendSummary();
        return;
    }
    // What comes on is gathered for a moment before the summary is updated.
    addToStorm(event, target, critical);
    if (!summaryTimer_.isActive() && !storm_.sending)
        summaryTimer_.start();
}

void DesktopNotifier::addToStorm(Event event, const Target &target, bool critical)
{
    storm_.critical = storm_.critical || critical;
    const QByteArray probe = QByteArray::number(target.deviceId) + '/' + QByteArray::number(target.probeIndex);
    switch (event) {
    case Event::Alarm: storm_.alarm.insert(probe); break;
    case Event::Caution: storm_.caution.insert(probe); break;
    case Event::Clear: storm_.clear.insert(probe); break;
    case Event::Silent: storm_.silent.insert(target.deviceId); break;
    case Event::Answers: storm_.answering.insert(target.deviceId); break;
    }
    if (target.probeIndex >= 0)
        storm_.devices.insert(target.deviceId);
    storm_.dirty = true;
}

QString DesktopNotifier::summaryText() const
{
    QStringList parts;
    const QString probes = probeCountsText({{int(storm_.alarm.size()), "in alarm"},
                                            {int(storm_.caution.size()), "in caution"},
                                            {int(storm_.clear.size()), "cleared"}});
    if (!probes.isEmpty())
        parts << probes + QStringLiteral(" on ") + countedText(int(storm_.devices.size()), "device", "devices");
    if (!storm_.silent.isEmpty())
        parts << countedText(int(storm_.silent.size()), "device not answering", "devices not answering");
    if (!storm_.answering.isEmpty())
        parts << countedText(int(storm_.answering.size()), "device answering again", "devices answering again");
    return parts.join(QStringLiteral("; "));
}

void DesktopNotifier::sendSummary()
{
    if (!storm_.active || !storm_.dirty || storm_.sending)
        return;
    QStringList names;
    QSet<quint64> devices = storm_.devices;
    devices.unite(storm_.silent).unite(storm_.answering);
    for (int slot = 0; slot < store_.deviceCount(); ++slot)
        if (devices.contains(store_.device(slot)->id))
            names << store_.device(slot)->DeviceName.str();
    const QString body = names.size() > 5 ? names.mid(0, 5).join(QStringLiteral(", ")) + QStringLiteral(", …")
                                          : names.join(QStringLiteral(", "));
    storm_.dirty = false;
    storm_.sending = true;
    send(summaryText(), body, storm_.critical, storm_.id, Target{}, 0);
}

// `number` is 0 for the storm's summary.
void DesktopNotifier::send(const QString &summary, const QString &body, bool critical, uint replaces,
                           const Target &target, quint64 number)
{
    const bool isSummary = number == 0;
    if (!bus_.isConnected()) {
        unavailable(QStringLiteral("there is no session bus"));
        if (isSummary)
            summaryFailed();
        return;
    }
    QDBusMessage call = QDBusMessage::createMethodCall(kService, kPath, kInterface, QStringLiteral("Notify"));
    const QVariantMap hints{{QStringLiteral("urgency"), QVariant::fromValue(uchar(critical ? 2 : 1))},
                            {QStringLiteral("desktop-entry"), QStringLiteral("corvanta-zephtra")}};
    call << QStringLiteral("Corvanta Zephtra") << replaces << QStringLiteral("corvanta-zephtra") << summary << body
         << QStringList{QStringLiteral("default"), QStringLiteral("Show")} << hints << int(-1);
    if (!isSummary)
        awaiting_.insert(number);
    auto *watcher = new QDBusPendingCallWatcher(bus_.asyncCall(call, 10000), this);
    const quint64 storm = stormNumber_;
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, target, number, storm](QDBusPendingCallWatcher *w) {
        w->deleteLater();
        const QDBusPendingReply<uint> reply = *w;
        const bool thisStorm = number == 0 && storm == stormNumber_;
        awaiting_.remove(number);
        if (reply.isError()) {
            unavailable(reply.error().message());
            closeWhenShown_.remove(number);
            if (thisStorm)
                summaryFailed();
            return;
        }
        if (thisStorm) {
            storm_.sending = false;
            retryMs_ = kFirstRetryMs;
        }
        const uint id = reply.value();
        if (closeWhenShown_.remove(number)) {
            close(id);
            return;
        }
        if (number && !recent_.empty() && number >= recent_.front().number)
            ids_.insert(number, id);  // a storm may still take it in
        remember(id, target);
        if (!thisStorm)
            return;
        storm_.id = id;
        if (storm_.dirty && !summaryTimer_.isActive())
            summaryTimer_.start();
    });
}

// The summary is shown again, with all it gathered, at the next alert or
// after a back-off that doubles while the service keeps failing.
void DesktopNotifier::summaryFailed()
{
    storm_.sending = false;
    storm_.dirty = true;
    retryTimer_.start(retryMs_);
    retryMs_ = std::min(retryMs_ * 2, kLastRetryMs);
}

void DesktopNotifier::remember(uint id, const Target &target)
{
    // A summary updated in place keeps its one entry, and stays the newest.
    forget(id);
    shown_.insert(id, target);
    shownOrder_.push_back(id);
    while (int(shownOrder_.size()) > kRememberedNotifications) {
        auto oldest = shownOrder_.begin();
        if (*oldest == storm_.id && storm_.active)
            ++oldest;
        shown_.remove(*oldest);
        shownOrder_.erase(oldest);
    }
}

void DesktopNotifier::forget(uint id)
{
    if (shown_.remove(id))
        shownOrder_.erase(std::find(shownOrder_.begin(), shownOrder_.end(), id));
}

void DesktopNotifier::close(uint id)
{
    forget(id);
    bus_.asyncCall(QDBusMessage::createMethodCall(kService, kPath, kInterface, QStringLiteral("CloseNotification"))
                   << id);
}

void DesktopNotifier::unavailable(const QString &why)
{
    if (toldUnavailable_)
        return;
    toldUnavailable_ = true;
    qWarning("Desktop notifications cannot be shown: %s", qPrintable(why));
}

void DesktopNotifier::actionInvoked(uint id, const QString &action)
{
    const auto it = shown_.constFind(id);
    if (it == shown_.constEnd() || action != QLatin1String("default"))
        return;
    const Target t = *it;
    if (t.deviceId == 0)
        emit summaryActivated();
    else if (t.probeIndex < 0)
        emit deviceActivated(t.deviceId);
    else
        emit probeActivated(t.deviceId, t.probeIndex);
}

void DesktopNotifier::notificationClosed(uint id, uint)
{
    forget(id);
}

} // namespace cz
