#include "QueryCycle.h"

#include "AppState.h"

#include <cmath>

namespace cz {

namespace {

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

void AppendHistorySample(DeviceRecord &device, bool success, double now)
{
    const double interval = device.QueryInterval > 0 ? device.QueryInterval : 1;
    double &next = device.NextSampleTime;
    if (next <= 0)
        next = now;
    // Samples older than the whole history would be overwritten at once.
    const double span = interval * double(TimeHistory::kLength);
    if (now - next > span)
        next += std::floor((now - next - span) / interval) * interval;
    do {
        for (int i = 0; i < device.probeSlots(); ++i) {
            ProbeRecord *p = device.probe(i);
            if (p)
                p->Values.append(success && p->ProbeEnabled ? currentReading(*p) : kNoValue);
        }
        device.Times.append(next);
        next += interval;
    } while (next < now);
}

QueryCycle::QueryCycle(AppState &app, DeviceWalk &walk, QObject *parent) : QObject(parent), app_(app), walk_(walk)
{
    timer_.setInterval(1000);
    connect(&timer_, &QTimer::timeout, this, &QueryCycle::tick);
}

void QueryCycle::start()
{
    timer_.start();
    tick();
}

void QueryCycle::stop()
{
    timer_.stop();
}

void QueryCycle::tick()
{
    // A walk still running from an earlier tick: walks never nest.
    if (walkStarted_ || walk_.walkRunning())
        return;
    const std::int64_t now = app_.clock().now();
    if (app_.deviceCount < 1)
        return;
    bool anyDue = false;
    for (int slot = 0; slot < app_.deviceCount; ++slot) {
        DeviceRecord *d = app_.device(slot);
        if (!d)
            continue;
        d->QueryDue = 0;
        if (std::int32_t(now - d->LastContactTimeVal) >= d->QueryInterval) {
            d->QueryDue = 1;
            anyDue = true;
        }
    }
    if (!anyDue || app_.ConfigurationInProgress)
        return;
    int notFirstQuery = 1;
    if (!app_.FirstQueryDone) {
        app_.FirstQueryDone = 1;
        firstCycleRunning_ = true;
        notFirstQuery = 0;
    }
    walkStarted_ = true;
    if (!walk_.startWalk(notFirstQuery))
        walkStarted_ = firstCycleRunning_ = false;
}

void QueryCycle::walkFinished(int result)
{
    if (!walkStarted_)
        return; // a walk this cycle did not start (a device just added)
    walkStarted_ = false;
    if (firstCycleRunning_) {
        // The first cycle only establishes states and extremes.
        firstCycleRunning_ = false;
        for (int slot = 0; slot < app_.deviceCount; ++slot) {
            DeviceRecord *d = app_.device(slot);
            for (int i = 0; d && i < d->probeSlots(); ++i) {
                if (ProbeRecord *p = d->probe(i)) {
                    p->ConsecutiveAlarmCount = 0;
                    clearAlertSentFlags(*p);
                }
            }
        }
    }
    emit statusWindowsRefresh();
    const double now = double(app_.clock().nowMs()) / 1000.0;
    for (int slot = 0; slot < app_.deviceCount; ++slot) {
        DeviceRecord *d = app_.device(slot);
        if (d && d->QueryDue) {
            AppendHistorySample(*d, result == 1, now);
            emit deviceSampled(slot, result);
        }
    }
}

} // namespace cz
