// The device walk: every due device in slot order is asked for its readings
// page, and each reply is logged, parsed and evaluated in that order.
#pragma once

#include "HttpSession.h"
#include "QueryCycle.h"

#include <QObject>

#include <cstdint>
#include <vector>

namespace cz {

class AppState;
class ProbeEvaluation;
struct DeviceRecord;

// What the failed attempts of a page leave behind, in order: for each its
// error-log entry (when the device logs query failures) and its
// "attempt #n" status.
void reportFailedAttempts(AppState &app, bool logQueryFailures, const PageResult &result);

class DeviceQueryClient : public QObject, public DeviceWalk {
    Q_OBJECT
public:
    DeviceQueryClient(AppState &app, HttpSession &session, QObject *parent = nullptr);

    // What every parsed reading is handed to.
    void setEvaluation(ProbeEvaluation *evaluation) { evaluation_ = evaluation; }

    // Starts a walk over the devices whose QueryDue flag is set. The
    // requests of a walk overlap, but the replies are applied in slot order.
    // Emits walkFinished(1) when the walk completed, walkFinished(0) when it
    // was refused because the program is shutting down, or abandoned after
    // a device's third failed attempt (later devices are left as they were,
    // even where their replies had already come in). Returns false, and
    // starts nothing, while a walk is running.
    bool QueryDevices(int notFirstQuery);
    bool walkRunning() const override { return running_; }
    bool startWalk(int notFirstQuery) override { return QueryDevices(notFirstQuery); }
    // Stops a running walk where it is: nothing more is applied, the walk
    // ends with 0.
    void abandonWalk();

signals:
    // A reply was parsed: the probe list shows the device's new values.
    void replyApplied(int slot);
    // The device's query failure count went above its QueryFailThreshold.
    void queryFailureAlert(int slot);
    void walkFinished(int result);

private:
    struct Pending {
        int slot;
        const DeviceRecord *device;
        ProxySettings proxy;
        bool setsProxy = false;
        std::int64_t stamp = 0;
        quint64 fetchId = 0;
        bool started = false;
        bool done = false;
        PageResult result;
    };
    void startRequests();
    void applyReady();
    bool apply(Pending &pending);
    void finishWalk(int result);
    void deviceRemoved(int slot);

    AppState &app_;
    HttpSession &session_;
    ProbeEvaluation *evaluation_ = nullptr;
    bool running_ = false;
    int notFirstQuery_ = 0;
    std::vector<Pending> walk_;
    std::size_t nextToStart_ = 0;
    std::size_t nextToApply_ = 0;
    // The session's proxy as the requests started so far leave it.
    ProxySettings proxyAfterStarted_;
    int inFlight_ = 0;
    int maxInFlight_ = 16;
};

} // namespace cz
