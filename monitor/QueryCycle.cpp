#include "monitor/QueryCycle.h"

#include "monitor/ReplyApplication.h"
#include "net/DeviceUrl.h"
#include "net/FailedAttempt.h"
#include "store/CFormat.h"
#include "store/DeviceFile.h"
#include "store/DeviceStore.h"
#include "store/LogFiles.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace cz {

namespace {

// Replies that arrive together are applied a few milliseconds' worth at a
// time, so the window stays responsive through an alarm storm.
constexpr qint64 kApplySliceMs = 4;

// The tick runs every second give or take a few milliseconds: a device is
// due once its interval has passed within half a tick, so an interval of
// 30 s is kept at 30 s and not stretched to 31 by a late tick.
constexpr qint64 kTickSlackMs = 500;

double currentReading(const ProbeRecord &p)
{
    switch (p.ProbeType) {
    case ProbeType::Temperature: return p.CurrentTemp;
    case ProbeType::Humidity: return p.CurrentHumidity == kNoReading ? kNoValue : double(p.CurrentHumidity);
    case ProbeType::Wetness: return p.CurrentWetness == kNoReading ? kNoValue : double(p.CurrentWetness);
    case ProbeType::Switch: return p.SwitchState == kSwitchUnknown ? kNoValue : double(p.SwitchState);
    }
    return kNoValue;
}

} // namespace

void appendHistorySample(DeviceRecord &device, bool success, double now)
{
    const double interval = device.QueryInterval > 0 ? device.QueryInterval : 1;
    // How far an answer may lag its grid time and still be drawn there. A
    // new run starts this much before its answer, so that answers a little
    // early or late stay on its grid for a while.
    const double lag = std::min(interval / 4, 4.0);
    auto append = [&device](double time, bool withReadings) {
        for (int i = 0; i < device.probeSlots(); ++i) {
            ProbeRecord *p = device.probe(i);
            if (p)
                p->Values.append(withReadings && p->ProbeEnabled ? currentReading(*p) : kNoValue);
        }
        device.Times.append(time);
    };
    double &next = device.NextSampleTime;
    double at = now;
    if (next > 0 && now >= next) {
        // Samples older than the whole history would be overwritten at once.
        const double span = interval * double(TimeHistory::kLength);
        if (now - next > span)
            next += std::floor((now - next - span) / interval) * interval;
        // Intervals that passed without an answer stay gaps.
        for (; next + interval <= now; next += interval)
            append(next, false);
        at = now - next <= lag ? next : now - lag / 2;
    } else if (next > 0 && now >= next - interval / 2) {
        // A little early (ticks are not exact): a run starting just before.
        at = now - lag / 2;
    }
    append(at, success);
    next = at + interval;
}

QueryCycle::QueryCycle(DeviceStore &store, HttpSession &session, QObject *parent)
    : QObject(parent), store_(store), session_(session)
{
    timer_.setInterval(1000);
    connect(&timer_, &QTimer::timeout, this, &QueryCycle::tick);
    connect(&store_, &DeviceStore::deviceAboutToBeRemoved, this, &QueryCycle::deviceAboutToBeRemoved);
}

QueryCycle::~QueryCycle()
{
    stop();
}

void QueryCycle::start()
{
    timer_.start();
    tick();
}

void QueryCycle::stop()
{
    timer_.stop();
    for (DeviceRun &run : runs_) {
        if (run.fetchId)
            session_.cancel(run.fetchId);
        run.fetchId = 0;
    }
    arrivals_.clear();
    rounds_.clear();
}

bool QueryCycle::queryInFlight(int slot) const
{
    const auto it = runs_.constFind(store_.device(slot));
    return it != runs_.cend() && it->fetchId != 0;
}

QueryStats QueryCycle::stats(int slot) const
{
    return runs_.value(store_.device(slot)).stats;
}

int QueryCycle::queriesInFlight() const
{
    int n = 0;
    for (const DeviceRun &run : runs_)
        n += run.fetchId ? 1 : 0;
    return n;
}

bool QueryCycle::due(const DeviceRecord &device, const DeviceRun &run, qint64 nowMs) const
{
    if (!run.queried || device.QueryInterval <= 0)
        return true;
    return nowMs - run.startedMs >= qint64(device.QueryInterval) * 1000 - kTickSlackMs;
}

void QueryCycle::tick()
{
    if (store_.status().ShuttingDown)
        return;
    const qint64 nowMs = store_.clock().monotonicMs();
    std::vector<DeviceRecord *> due;
    for (int slot = 0; slot < store_.deviceCount(); ++slot) {
        DeviceRecord *d = store_.deviceForUpdate(slot);
        d->QueryDue = 0;
        const DeviceRun &run = runs_[d];
        if (run.fetchId)
            continue;
        if (this->due(*d, run, nowMs)) {
            d->QueryDue = 1;
            due.push_back(d);
        }
    }
    if (due.empty())
        return;
    // An error on the status line stays until a round without one.
    if (!store_.status().showsError())
        store_.status().set(QStringLiteral("Status: querying devices..."));
    startRound(due);
}

void QueryCycle::queryAddedDevice(int slot)
{
    DeviceRecord *d = store_.deviceForUpdate(slot);
    if (!d || store_.status().ShuttingDown)
        return;
    DeviceRun &run = runs_[d];
    run.silent = true;
    run.added = true;
    if (run.fetchId)
        return;
    d->QueryDue = 1;
    startRound({d});
}

void QueryCycle::startRound(const std::vector<DeviceRecord *> &devices)
{
    const quint64 round = nextRound_++;
    rounds_[round].open = int(devices.size());
    for (DeviceRecord *d : devices)
        startQuery(*d, runs_[d], round);
}

void QueryCycle::startQuery(DeviceRecord &device, DeviceRun &run, quint64 round)
{
    // The last contact is the time the query began, answered or not.
    device.LastContactTimeVal = store_.clock().now();
    device.markChanged("LastContactTimeVal");
    run.round = round;
    run.queried = true;
    run.startedMs = store_.clock().monotonicMs();
    run.took.start();
    const DeviceRecord *d = &device;
    run.fetchId = session_.fetchPage(
        readingsUrl(device), deviceProxy(device),
        [this, d](int attempt, const QByteArray &error) {
            reportFailedAttempt(store_, d->LogQueryFailures, attempt, error);
            if (auto it = runs_.find(d); it != runs_.end())
                it->stats.failedAttempts += 1;
            queryFailed();
        },
        [this, d](const PageResult &result) { arrived(d, runs_.value(d).fetchId, result); });
}

void QueryCycle::arrived(const DeviceRecord *device, quint64 fetchId, const PageResult &result)
{
    arrivals_.push_back(Arrival{device, fetchId, result});
    scheduleApply();
}

void QueryCycle::scheduleApply()
{
    if (applyQueued_)
        return;
    applyQueued_ = true;
    QMetaObject::invokeMethod(this, &QueryCycle::applyArrivals, Qt::QueuedConnection);
}

void QueryCycle::applyArrivals()
{
    applyQueued_ = false;
    QElapsedTimer slice;
    slice.start();
    while (!arrivals_.empty()) {
        const Arrival arrival = std::move(arrivals_.front());
        arrivals_.pop_front();
        apply(arrival);
        if (!arrivals_.empty() && slice.elapsed() >= kApplySliceMs) {
            scheduleApply();
            return;
        }
    }
}

void QueryCycle::apply(const Arrival &arrival)
{
    auto it = runs_.find(arrival.device);
    if (it == runs_.end() || it->fetchId != arrival.fetchId || store_.status().ShuttingDown)
        return; // removed or stopped meanwhile
    DeviceRun &run = *it;
    run.fetchId = 0;
    const int slot = store_.slotOf(arrival.device);
    DeviceRecord *device = store_.deviceForUpdate(slot);
    if (!device)
        return;

    const int result = arrival.result.fetched() ? 1 : 0;
    const bool silent = run.silent;
    const bool added = run.added;
    run.silent = run.added = false;
    const quint64 round = run.round;
    QueryStats &stats = run.stats;
    stats.queries += 1;
    stats.lastDurationSeconds = double(run.took.nsecsElapsed()) / 1e9;
    stats.lastSucceeded = result && applyDeviceReply(store_, slot, arrival.result.reply, silent ? 0 : 1, evaluation_);
    if (stats.lastSucceeded) {
        emit replyApplied(slot);
    } else if (result) {
        store_.status().set(QStringLiteral("ERROR: query failed for %1").arg(device->DeviceName.str()));
        queryFailed();
    }
    if (silent) {
        // A first query only establishes states and extremes.
        for (int i = 0; i < device->probeSlots(); ++i) {
            if (ProbeRecord *p = device->probe(i)) {
                p->ConsecutiveAlarmCount = 0;
                clearAlertSentFlags(*p);
            }
        }
    }
    // A device's first sample after it was added is drawn as a gap.
    const int sample = added ? 0 : result;
    appendHistorySample(*device, sample == 1, double(store_.clock().nowMs()) / 1000.0);
    emit statusWindowsRefresh();
    emit deviceSampled(slot, sample);
    closeRound(round);
    // After the round, so that what it says is not written over at once.
    if (stats.lastSucceeded)
        countAnswer(slot, *device, run);
    else
        countFailedQuery(slot, *device, run);
    emit queryFinished(slot, result);
}

void QueryCycle::countFailedQuery(int slot, DeviceRecord &device, DeviceRun &run)
{
    if (device.QueryFailureCount == 0)
        run.silentSinceMs = run.answeredMs >= 0 ? run.answeredMs : run.startedMs;
    if (device.QueryFailureCount < std::numeric_limits<std::int32_t>::max())
        device.QueryFailureCount += 1;
    if (run.outage || device.QueryFailureCount < std::max(1, device.QueryFailThreshold))
        return;
    run.outage = true;
    run.stats.failureAlerts += 1;
    store_.status().set(QStringLiteral("ERROR: %1 did not answer %2 queries in a row")
                            .arg(device.DeviceName.str())
                            .arg(device.QueryFailureCount));
    emit queryFailureAlert(slot);
}

void QueryCycle::countAnswer(int slot, DeviceRecord &device, DeviceRun &run)
{
    const qint64 nowMs = store_.clock().monotonicMs();
    run.answeredMs = nowMs;
    const int failed = device.QueryFailureCount;
    device.QueryFailureCount = 0;
    if (!run.outage)
        return;
    run.outage = false;
    const qint64 silentSeconds = std::max<qint64>(0, nowMs - run.silentSinceMs) / 1000;
    const QByteArray name = device.DeviceName.bytes();
    const QByteArray line = "The device " + name + " answers again after " + QByteArray::number(failed) +
                            " failed queries; it did not answer for " + durationText(silentSeconds) + ".";
    if (device.LogQueryFailures)
        appendErrorLog(store_.clock(), store_.folder().internetErrorLog(), line + "\r\n");
    store_.status().set(QStringLiteral("Status: %1 answers again after %2 failed queries")
                            .arg(QString::fromUtf8(name))
                            .arg(failed));
    emit deviceAnswersAgain(slot, failed, silentSeconds);
}

void QueryCycle::queryFailed()
{
    for (auto &[id, round] : rounds_)
        round.failed = true;
}

void QueryCycle::closeRound(quint64 id)
{
    auto it = rounds_.find(id);
    if (it == rounds_.end() || --it->second.open > 0)
        return;
    const bool failed = it->second.failed;
    rounds_.erase(it);
    if (!failed)
        store_.status().set(QStringLiteral("Status: monitoring devices..."));
}

void QueryCycle::deviceAboutToBeRemoved(int slot)
{
    const DeviceRecord *device = store_.device(slot);
    auto it = runs_.find(device);
    if (it == runs_.end())
        return;
    const quint64 fetchId = it->fetchId, round = it->round;
    runs_.erase(it);
    if (fetchId) {
        session_.cancel(fetchId);
        closeRound(round);
    }
}

} // namespace cz
