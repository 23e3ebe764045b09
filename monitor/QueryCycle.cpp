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
    if (running_ != Run::None || walk_.walkRunning())
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
    running_ = Run::Tick;
    if (!app_.FirstQueryDone) {
        app_.FirstQueryDone = 1;
        running_ = Run::FirstCycle;
    }
    if (!walk_.startWalk(running_ == Run::Tick ? 1 : 0))
        running_ = Run::None;
}

void QueryCycle::queryAddedDevice(int slot)
{
    pendingAddedSlot_ = slot;
    if (running_ == Run::None && !walk_.walkRunning())
        startAddedDeviceRun();
}

void QueryCycle::startAddedDeviceRun()
{
    const int slot = pendingAddedSlot_;
    pendingAddedSlot_ = -1;
    if (!app_.device(slot))
        return;
    // Only the new device: the others keep to their own intervals.
    for (int s = 0; s < app_.deviceCount; ++s)
        if (DeviceRecord *d = app_.device(s))
            d->QueryDue = s == slot ? 1 : 0;
    running_ = Run::AddedDevice;
    if (!walk_.startWalk(0))
        running_ = Run::None;
}

void QueryCycle::walkFinished(int result)
{
    const Run finished = running_;
    running_ = Run::None;
    if (finished != Run::None) // else a walk not started here
        finishRun(finished, result);
    if (pendingAddedSlot_ >= 0)
        startAddedDeviceRun();
}

void QueryCycle::finishRun(Run finished, int result)
{
    if (finished == Run::AddedDevice)
        result = 0; // the new device's first sample is drawn as a gap
    if (finished == Run::FirstCycle) {
        // The first cycle only establishes states and extremes.
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
