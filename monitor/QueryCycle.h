// The once-a-second query tick: every device is asked for its readings on
// its own interval, and its reply is applied as soon as it arrives. A device
// whose query is still running is not asked again; a device that does not
// answer holds back no other. Intervals run on the monotonic clock, so
// setting the wall clock neither pauses polling nor makes it catch up.
//
// A query fails when every attempt failed or its reply did not parse. A
// device counts its failed queries in a row; when the count reaches its
// QueryFailThreshold (0 or less acts as 1) the query-failure alert is raised
// once for that outage, and when the device answers again that is told too.
#pragma once

#include "net/HttpSession.h"

#include <QElapsedTimer>
#include <QHash>
#include <QObject>
#include <QTimer>

#include <cstdint>
#include <deque>
#include <map>
#include <vector>

namespace cz {

class DeviceStore;
class ProbeEvaluation;
struct DeviceRecord;

// What a device's queries have come to since the program started, for the
// metrics page.
struct QueryStats {
    quint64 queries = 0;         // queries ended, answered or not
    quint64 failedAttempts = 0;  // attempts that failed (three end a query)
    quint64 failureAlerts = 0;   // query failure alerts raised (one per outage)
    bool lastSucceeded = false;  // the last query was answered and parsed
    double lastDurationSeconds = 0;
};

// One history sample per probe of a device after its query, at the time
// `now` of the answer (seconds since 1970 with a fraction): the probe's
// current reading when the query was answered and the probe is enabled,
// the no-value mark otherwise. Samples keep to the device's interval grid
// while answers do; every whole interval that passed without one is a gap,
// and a wall clock that stepped back starts a new run at the new time, so
// no sample is stamped later than its answer.
void appendHistorySample(DeviceRecord &device, bool success, double now);

class QueryCycle : public QObject {
    Q_OBJECT
public:
    QueryCycle(DeviceStore &store, HttpSession &session, QObject *parent = nullptr);
    ~QueryCycle() override;

    // What every parsed reading is handed to.
    void setEvaluation(ProbeEvaluation *evaluation) { evaluation_ = evaluation; }

    // Starts the 1000 ms timer and runs one tick at once.
    void start();
    // Stops the timer and drops every query in flight.
    void stop();
    // One tick, as the timer runs it: every due device without a query in
    // flight is queried.
    void tick();
    // A device was just added in `slot`: its first query runs at once, with
    // alerts held back, so its first readings only set states and extremes.
    void queryAddedDevice(int slot);

    bool queryInFlight(int slot) const;
    int queriesInFlight() const;
    // The device's query counts; all zero before its first query.
    QueryStats stats(int slot) const;

signals:
    // A reply was parsed: the probe list shows the device's new values.
    void replyApplied(int slot);
    // The device's failed queries in a row reached its QueryFailThreshold:
    // once per outage.
    void queryFailureAlert(int slot);
    // A device whose query-failure alert was raised answers again, after
    // `failedQueries` failed queries and `silentSeconds` without an answer.
    void deviceAnswersAgain(int slot, int failedQueries, qint64 silentSeconds);
    // After every query: the open status windows redraw.
    void statusWindowsRefresh();
    // After every query: the device's page shows the new sample (`result`
    // 1 when the device answered).
    void deviceSampled(int slot, int result);
    // A device's query has ended: 1 answered (whether or not the reply
    // parsed), 0 after its third failed attempt.
    void queryFinished(int slot, int result);

private:
    struct DeviceRun {
        quint64 fetchId = 0;      // the query in flight, 0 when none
        quint64 round = 0;
        bool silent = true;       // its next query is its first
        bool added = false;       // that first query follows its adding
        bool queried = false;     // a query has been started
        qint64 startedMs = 0;     // monotonic time the last query began
        QElapsedTimer took;       // how long the query in flight has run
        qint64 answeredMs = -1;   // monotonic time of the last answer, -1 before one
        qint64 silentSinceMs = 0; // monotonic time the device stopped answering
        bool outage = false;      // the query-failure alert was raised
        QueryStats stats;
    };
    struct Arrival {
        const DeviceRecord *device;
        quint64 fetchId;
        PageResult result;
    };
    // The queries started in one tick. The status says "monitoring" again
    // once a round ends in which no query failed.
    struct Round {
        int open = 0;
        bool failed = false;
    };

    void startRound(const std::vector<DeviceRecord *> &devices);
    void startQuery(DeviceRecord &device, DeviceRun &run, quint64 round);
    void arrived(const DeviceRecord *device, quint64 fetchId, const PageResult &result);
    void scheduleApply();
    void applyArrivals();
    void apply(const Arrival &arrival);
    bool due(const DeviceRecord &device, const DeviceRun &run, qint64 nowMs) const;
    void queryFailed();
    void countFailedQuery(int slot, DeviceRecord &device, DeviceRun &run);
    void countAnswer(int slot, DeviceRecord &device, DeviceRun &run);
    void closeRound(quint64 round);
    void deviceAboutToBeRemoved(int slot);

    DeviceStore &store_;
    HttpSession &session_;
    ProbeEvaluation *evaluation_ = nullptr;
    QTimer timer_;
    QHash<const DeviceRecord *, DeviceRun> runs_;
    std::deque<Arrival> arrivals_;
    bool applyQueued_ = false;
    std::map<quint64, Round> rounds_;
    quint64 nextRound_ = 1;
};

} // namespace cz
