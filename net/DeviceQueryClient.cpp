#include "DeviceQueryClient.h"

#include "AppState.h"
#include "DeviceFile.h"
#include "DeviceUrl.h"
#include "EventLog.h"
#include "ReplyParser.h"

#include <QElapsedTimer>

namespace cz {

namespace {
constexpr qint64 kApplySliceMs = 4;
}

void reportFailedAttempts(AppState &app, bool logQueryFailures, const PageResult &result)
{
    for (int attempt = 1; attempt <= result.failedAttempts.size(); ++attempt) {
        if (logQueryFailures)
            AppendErrorLog(app.clock(), app.folder().internetErrorLog(), result.failedAttempts[attempt - 1].left(1024));
        app.setStatus(QStringLiteral("ERROR: device query failed (attempt #%1, check error log...").arg(attempt));
    }
}

DeviceQueryClient::DeviceQueryClient(AppState &app, HttpSession &session, QObject *parent)
    : QObject(parent), app_(app), session_(session)
{
    connect(&app_, &AppState::deviceRemoved, this, &DeviceQueryClient::deviceRemoved);
}

bool DeviceQueryClient::QueryDevices(int notFirstQuery)
{
    if (running_)
        return false;
    if (app_.ShuttingDown) {
        emit walkFinished(0);
        return true;
    }
    running_ = true;
    notFirstQuery_ = notFirstQuery;
    walk_.clear();
    nextToStart_ = nextToApply_ = 0;
    inFlight_ = 0;
    proxyAfterStarted_ = session_.proxy();
    app_.setStatus(QStringLiteral("Status: querying devices..."));
    for (int slot = 0; slot < app_.deviceCount; ++slot) {
        const DeviceRecord *device = app_.device(slot);
        if (device && device->QueryDue)
            walk_.push_back(Pending{slot, device, {}, false, 0, 0, false, false, {}});
    }
    startRequests();
    applyReady();
    return true;
}

void DeviceQueryClient::startRequests()
{
    while (nextToStart_ < walk_.size() && inFlight_ < maxInFlight_) {
        Pending &p = walk_[nextToStart_++];
        if (!p.device)
            continue; // removed while waiting
        const DeviceRecord &device = *p.device;
        // The last contact is the time the query began, answered or not.
        p.stamp = app_.clock().now();
        if (device.UseProxy) {
            proxyAfterStarted_ = ProxySettings{device.ProxyServerAddress.bytes(), device.ProxyServerUserName.bytes(),
                                               device.ProxyServerPassword.bytes()};
            p.setsProxy = true;
        }
        p.proxy = proxyAfterStarted_;
        p.started = true;
        ++inFlight_;
        const std::size_t index = nextToStart_ - 1;
        p.fetchId = session_.fetchPage(readingsUrl(device), p.proxy, [this, index](const PageResult &result) {
            Pending &done = walk_[index];
            done.result = result;
            done.done = true;
            done.fetchId = 0;
            --inFlight_;
            applyReady();
        });
    }
}

void DeviceQueryClient::applyReady()
{
    // Replies that came in together are applied a few milliseconds' worth
    // at a time, so an alarm storm does not hold up the event loop.
    QElapsedTimer slice;
    slice.start();
    while (running_ && nextToApply_ < walk_.size()) {
        Pending &p = walk_[nextToApply_];
        if (p.device && !p.done)
            break;
        if (slice.elapsed() >= kApplySliceMs) {
            QMetaObject::invokeMethod(this, &DeviceQueryClient::applyReady, Qt::QueuedConnection);
            break;
        }
        ++nextToApply_;
        if (p.device && !apply(p))
            return; // the walk ended
    }
    if (!running_)
        return;
    if (nextToApply_ == walk_.size()) {
        if (!app_.status().contains(QLatin1String("ERROR")))
            app_.setStatus(QStringLiteral("Status: monitoring devices..."));
        finishWalk(1);
        return;
    }
    startRequests();
}

bool DeviceQueryClient::apply(Pending &p)
{
    if (app_.ShuttingDown) {
        abandonWalk();
        return false;
    }
    DeviceRecord *device = app_.device(p.slot);
    device->LastContactTimeVal = p.stamp;
    device->markChanged(DeviceBit::LastContactTimeVal);
    if (p.setsProxy)
        session_.setProxy(p.proxy);

    reportFailedAttempts(app_, device->LogQueryFailures, p.result);
    if (!p.result.fetched()) {
        finishWalk(0);
        return false;
    }

    device->QueryFailureCount = 0;
    if (ParseDeviceReply(app_, p.slot, p.result.reply, notFirstQuery_, evaluation_)) {
        emit replyApplied(p.slot);
        return true;
    }
    // The count was just reset, so the alert is reached only with a
    // threshold of 0 or less.
    device = app_.device(p.slot);
    if (!device)
        return true;
    device->QueryFailureCount += 1;
    if (device->QueryFailureCount > device->QueryFailThreshold)
        emit queryFailureAlert(p.slot);
    app_.setStatus(QStringLiteral("ERROR: query failed for %1").arg(QString::fromUtf8(device->DeviceName.bytes())));
    return true;
}

void DeviceQueryClient::abandonWalk()
{
    if (running_)
        finishWalk(0);
}

void DeviceQueryClient::finishWalk(int result)
{
    // Replies that came in for devices after this point are thrown away.
    for (Pending &p : walk_) {
        if (p.fetchId)
            session_.cancel(p.fetchId);
        p.fetchId = 0;
    }
    walk_.clear();
    running_ = false;
    emit walkFinished(result);
}

void DeviceQueryClient::deviceRemoved(int slot)
{
    for (Pending &p : walk_) {
        if (p.slot == slot) {
            p.device = nullptr;
            if (p.fetchId)
                session_.cancel(p.fetchId);
            p.fetchId = 0;
            if (p.started && !p.done)
                --inFlight_;
        } else if (p.slot > slot) {
            --p.slot;
        }
    }
    // A removed device no longer holds up the devices after it.
    if (running_)
        QMetaObject::invokeMethod(this, &DeviceQueryClient::applyReady, Qt::QueuedConnection);
}

} // namespace cz
