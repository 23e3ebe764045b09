// The application object: takes the data folder's single-instance lock,
// builds the engine, starts it up and shuts it down.
#pragma once

#include "alerts/AlertDispatcher.h"
#include "app/CommandLine.h"
#include "monitor/AlarmEvaluation.h"
#include "monitor/QueryCycle.h"
#include "net/HttpSession.h"
#include "net/MetricsServer.h"
#include "store/DeviceStore.h"
#include "store/LogFiles.h"
#include "store/ProgramStatus.h"

#include <QLockFile>
#include <QObject>

#include <memory>

namespace cz {

class Engine : public QObject {
    Q_OBJECT
public:
    Engine(const CommandLine &commandLine, const QString &programFolder, const Clock &clock,
                 SoundPlayer &sound, QObject *parent = nullptr);
    ~Engine() override;

    // False when another program already watches the data folder (or the
    // lock cannot be taken); `error` says which.
    bool takeInstanceLock(QString *error);
    // Reads the settings and every device and logs the start.
    void startUp();
    // Starts polling (the query timer and one tick at once) and, when an
    // address is set, the metrics page.
    void startMonitoring();
    // Stops polling, saves the settings and every device file, sends the
    // alert e-mail still waiting (for `mailWaitMs` at most; what is left is
    // logged as unsent) and logs the shutdown.
    void shutDown(int mailWaitMs = 60000);

    ProgramStatus &status() { return status_; }
    DeviceStore &store() { return store_; }
    AlarmEvaluation &evaluation() { return evaluation_; }
    QueryCycle &queryCycle() { return cycle_; }
    AlertDispatcher &alerts() { return alerts_; }
    HttpSession &session() { return session_; }
    const CommandLine &commandLine() const { return commandLine_; }
    // The metrics page's server once it listens, else null.
    const MetricsServer *metrics() const { return metrics_.get(); }
    // The whole metrics page as a scrape gets it now.
    QByteArray metricsPage() const;

private:
    CommandLine commandLine_;
    const Clock &clock_;
    EventLog eventLog_;
    ProgramStatus status_;
    DeviceStore store_;
    std::unique_ptr<QLockFile> lock_;
    HttpSession session_;
    AlertDispatcher alerts_;
    AlarmEvaluation evaluation_;
    QueryCycle cycle_;
    std::unique_ptr<MetricsServer> metrics_;
    double startTime_ = 0;
    bool shutDownStarted_ = false;

    void startMetrics();
};

} // namespace cz
