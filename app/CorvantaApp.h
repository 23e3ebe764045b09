// The application object: takes the data folder's single-instance lock,
// builds the engine's state, starts it up and shuts it down.
#pragma once

#include "AlarmEvaluation.h"
#include "AlertDispatcher.h"
#include "AppState.h"
#include "CommandLine.h"
#include "DeviceQueryClient.h"
#include "EventLog.h"
#include "HttpSession.h"
#include "QueryCycle.h"

#include <QLockFile>
#include <QObject>

#include <memory>

namespace cz {

class CCorvantaApp : public QObject {
    Q_OBJECT
public:
    CCorvantaApp(const CommandLine &commandLine, const QString &programFolder, const Clock &clock,
                 SoundPlayer &sound, QObject *parent = nullptr);
    ~CCorvantaApp() override;

    // False when another program already watches the data folder (or the
    // lock cannot be taken); `error` says which.
    bool takeInstanceLock(QString *error);
    // Reads the settings and every device and logs the start.
    void startUp();
    // Starts polling: the query timer and one tick at once.
    void startMonitoring();
    // Stops polling, saves the settings and every device file and logs the
    // shutdown.
    void shutDown();

    AppState &state() { return state_; }
    AlarmEvaluation &evaluation() { return evaluation_; }
    QueryCycle &queryCycle() { return cycle_; }
    DeviceQueryClient &queryClient() { return queryClient_; }
    AlertDispatcher &alerts() { return alerts_; }
    const CommandLine &commandLine() const { return commandLine_; }

private:
    CommandLine commandLine_;
    const Clock &clock_;
    EventLog eventLog_;
    AppState state_;
    std::unique_ptr<QLockFile> lock_;
    HttpSession session_;
    AlertDispatcher alerts_;
    AlarmEvaluation evaluation_;
    DeviceQueryClient queryClient_;
    QueryCycle cycle_;
};

} // namespace cz
