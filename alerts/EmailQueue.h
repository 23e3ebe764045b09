// Alert e-mail jobs wait here for their turn. The working files have fixed
// names, so a job writes them only once the previous job's script has
// ended, or at the latest 3 s after it started; the event loop never waits.
#pragma once

#include <QByteArray>
#include <QObject>
#include <QTimer>

#include <deque>
#include <functional>

namespace cz {

class DeviceStore;

struct EmailJob {
    QByteArray body;         // "email_body.tmp"
    QByteArray recipients;   // "email_recipients.tmp"
    QByteArray scriptName;   // "alarm_email.sh" or "email_test.sh"
    QByteArray script;
    // The script's output goes to ours (else nowhere).
    bool showOutput = false;
    // The two working files are removed 3 s after a good start.
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
    // console); returns 0 or an errno.
    std::function<int(const QByteArray &scriptPath)> run;
};

class EmailQueue : public QObject {
    Q_OBJECT
public:
    explicit EmailQueue(DeviceStore &app, QObject *parent = nullptr);

    void enqueue(EmailJob job);
    bool idle() const { return jobs_.empty() && !busy_; }
    // The longest wait after a start (3000 ms; shorter in tests).
    void setSpacing(int ms) { spacing_.setInterval(ms); }
    // The running script has ended: the next job may go.
    void scriptEnded(quint64 job);

signals:
    // A script was started (or could not be), in queue order.
    void jobStarted(quint64 job, int error);

private:
    void next();
    void filesWritten(EmailJob &job, const QByteArray &fault, bool stopped);
    void finishCurrent();

    DeviceStore &app_;
    std::deque<EmailJob> jobs_;
    QTimer spacing_;
    bool busy_ = false;
    bool removeAfter_ = false;
    quint64 started_ = 0;
};

// The message of the shell error table for an errno (also used for the
// help page).
QByteArray shellErrorMessage(int error);

} // namespace cz
