// Alert e-mail jobs wait here for their turn. The working files have fixed
// names, so a job writes them only once the previous job's script has
// ended: a slow mail server never sends one alert's body to another alert's
// recipients. A script still running after 120 s is stopped, and that is
// logged. The event loop never waits.
#pragma once

#include <QByteArray>
#include <QObject>
#include <QTimer>

#include <deque>
#include <functional>

namespace cz {

class DeviceStore;

struct EmailJob {
    // What the mail is about, for the error log: "device N, probe M,
    // subject "..."".
    QByteArray summary;
    QByteArray body;         // "email_body.tmp"
    QByteArray recipients;   // "email_recipients.tmp"
    QByteArray scriptName;   // "alarm_email.sh" or "email_test.sh"
    QByteArray script;
    // The script's output goes to ours (else nowhere).
    bool showOutput = false;
    // The two working files are removed once the script has ended.
    bool removeWorkingFiles = false;
    // A failed start still keeps the next job waiting its 3 s.
    bool pauseAfterFailedStart = false;
    // A job whose settings turned out wrong part way still writes the files
    // up to that point, then calls `stopped` instead of going on.
    enum class Stop { No, AfterBody, AfterRecipients, BeforeStart };
    Stop stop = Stop::No;
    std::function<void()> stopped;
    // A working file could not be written: `what` names the file and the
    // fault ("opening email body", "writing email recipient list", ...).
    std::function<void(const QByteArray &what)> fileError;
    // The script could not be started: the reason from the shell error table.
    std::function<void(const QByteArray &reason)> startError;
    // Runs the script instead of starting it detached (the e-mail test's
    // console, which reports its end through currentScriptEnded); returns 0
    // or an errno.
    std::function<int(const QByteArray &scriptPath)> run;
};

class EmailQueue : public QObject {
    Q_OBJECT
public:
    explicit EmailQueue(DeviceStore &store, QObject *parent = nullptr);

    void enqueue(EmailJob job);
    bool idle() const { return jobs_.empty() && !busy_; }
    // The pause after a start that failed (3000 ms; shorter in tests).
    void setFailedStartPause(int ms) { failedStartPauseMs_ = ms; }
    // How long a script may run before it is stopped (120 s).
    void setScriptLimit(int ms) { scriptLimitMs_ = ms; }
    // The running script has ended (exit code 0: the mail went out): the
    // next job may go.
    void scriptEnded(quint64 job, int exitCode);
    void currentScriptEnded(int exitCode) { scriptEnded(started_, exitCode); }
    // Jobs not yet ended, the running one included.
    int length() const { return int(jobs_.size()) + (busy_ ? 1 : 0); }
    // Jobs whose script ended with exit code 0, and jobs that ended any
    // other way (files not written, settings wrong, not started, a failing
    // mailer, stopped past the limit).
    quint64 sentCount() const { return sent_; }
    quint64 failedCount() const { return failed_; }
    // Runs the event loop until every job has been sent or `ms` have
    // passed (shutdown). Jobs never started are then logged to
    // "EmailErrors.log" as unsent and dropped; returns how many.
    int drain(int ms);

signals:
    // A script was started (or could not be), in queue order.
    void jobStarted(quint64 job, int error);

private:
    void next();
    void filesWritten(EmailJob &job, const QByteArray &fault, bool stopped);
    void waited();
    void finishCurrent();
    void logEmailError(const QByteArray &line);

    DeviceStore &store_;
    std::deque<EmailJob> jobs_;
    QTimer wait_;
    int failedStartPauseMs_ = 3000;
    int scriptLimitMs_ = 120000;
    bool busy_ = false;
    bool removeAfter_ = false;
    quint64 started_ = 0;
    // The running script's process (its own process group), 0 when none.
    qint64 scriptPid_ = 0;
    QByteArray currentSummary_;
    quint64 sent_ = 0;
    quint64 failed_ = 0;
};

// The message of the shell error table for an errno (also used for the
// help page).
QByteArray shellErrorMessage(int error);

} // namespace cz
