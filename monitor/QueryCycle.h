// The once-a-second query tick: decides which devices are due, runs the
// device walk over them, and afterwards appends each due device's history
// sample and tells the views.
#pragma once

#include <QObject>
#include <QTimer>

namespace cz {

class AppState;
struct DeviceRecord;

// The device walk the tick starts (the device query client).
class DeviceWalk {
public:
    virtual ~DeviceWalk() = default;
    // Starts a walk over the devices whose QueryDue is set; the result
    // comes back through QueryCycle::walkFinished.
    virtual bool startWalk(int notFirstQuery) = 0;
    virtual bool walkRunning() const = 0;
};

// One history sample per probe of a device after its query (several for a
// late query, one per interval missed): the probe's current reading when
// the walk completed and the probe is enabled, the no-value mark otherwise.
// `now` is in seconds since 1970 with a fraction.
void AppendHistorySample(DeviceRecord &device, bool success, double now);

class QueryCycle : public QObject {
    Q_OBJECT
public:
    QueryCycle(AppState &app, DeviceWalk &walk, QObject *parent = nullptr);

    // Starts the 1000 ms timer and runs one tick at once.
    void start();
    void stop();
    // One tick, as the timer runs it.
    void tick();
    // A device was just added in `slot`: its first query runs at once with
    // alerts held back, so its first readings only set states and
    // extremes. Waits for a walk still running.
    void queryAddedDevice(int slot);
    // The walk started here has ended with `result` (1 completed, 0 abandoned).
    void walkFinished(int result);

signals:
    // After every walk: the open status windows redraw.
    void statusWindowsRefresh();
    // After every walk, for every device that was due: its page shows the
    // new sample (`result` 1 when the walk completed).
    void deviceSampled(int slot, int result);

private:
    AppState &app_;
    DeviceWalk &walk_;
    QTimer timer_;
    enum class Run { None, Tick, FirstCycle, AddedDevice };
    void startAddedDeviceRun();
    // After a walk: the first cycle's counts are dropped, then the views
    // are told and the due devices sampled.
    void finishRun(Run finished, int result);

    Run running_ = Run::None;
    int pendingAddedSlot_ = -1;
};

} // namespace cz
