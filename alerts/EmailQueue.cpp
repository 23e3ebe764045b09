#include "alerts/EmailQueue.h"

#include "alerts/Spawn.h"
#include "store/DeviceStore.h"
#include "store/FileWrite.h"
#include "store/LogFiles.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QPointer>
#include <QStringList>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <memory>
#include <thread>
#include <unistd.h>

namespace cz {

namespace {

// Writes `bytes` to `path`, whole or not at all, committed to disk. The
// files hold addresses and the script the SMTP password: they are readable
// by their owner only; `narrowed` collects those that were not until now.
// Returns "" or the fault: "opening" (the folder takes no file) or "writing".
const char *writeWorkingFile(const QByteArray &path, const QByteArray &bytes, QStringList &narrowed)
{
    bool wasShared = false;
    const QString name = QFile::decodeName(path);
    if (!writeFileAtomically(name, bytes, nullptr, FileAccess::OwnerOnly, &wasShared)) {
        const QByteArray folder = path.left(path.lastIndexOf('/'));
        return ::access(folder.constData(), W_OK) == 0 ? "writing" : "opening";
    }
    if (wasShared)
        narrowed.append(name);
    return "";
}

} // namespace

QByteArray shellErrorMessage(int error)
{
    switch (error) {
    case ENOENT: return "The specified file was not found.";
    case ENOTDIR: return "The specified path was not found.";
    case EACCES:
    case EPERM: return "The operating system denied access to the specified file.";
    case ENOMEM: return "There was not enough memory to complete the operation.";
    case ENOEXEC: return "The .exe file is invalid (non-Win32\xc2\xae .exe or error in .exe image).";
    default: return "The operating system is out of memory or resources.";
    }
}

EmailQueue::EmailQueue(DeviceStore &store, QObject *parent) : QObject(parent), store_(store)
{
    wait_.setSingleShot(true);
    connect(&wait_, &QTimer::timeout, this, &EmailQueue::waited);
}

void EmailQueue::enqueue(EmailJob job)
{
    jobs_.push_back(std::move(job));
    if (!busy_)
        next();
}

void EmailQueue::scriptEnded(quint64 job, int exitCode)
{
    if (busy_ && job == started_ && wait_.isActive()) {
        (exitCode == 0 ? sent_ : failed_) += 1;
        wait_.stop();
        finishCurrent();
    }
}

void EmailQueue::waited()
{
    if (scriptPid_ > 0) {
        // Past its limit: the whole group (the shell and its mailer) goes.
        ::kill(-pid_t(scriptPid_), SIGKILL);
        failed_ += 1;
        logEmailError("Mail script for " + currentSummary_ + " was stopped after " +
                      QByteArray::number(scriptLimitMs_ / 1000.0) + " s.\r\n");
    }
    finishCurrent();
}

void EmailQueue::logEmailError(const QByteArray &line)
{
    appendErrorLog(store_.clock(), store_.folder().emailErrorLog(), line);
}

int EmailQueue::drain(int ms)
{
    QElapsedTimer elapsed;
    elapsed.start();
    while (!idle() && elapsed.elapsed() < ms)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    // A script still running has its files and goes on by itself.
    const int unsent = int(jobs_.size());
    for (const EmailJob &job : jobs_)
        logEmailError("Unsent at shutdown: " + job.summary + "\r\n");
    jobs_.clear();
    return unsent;
}

void EmailQueue::finishCurrent()
{
    busy_ = false;
    scriptPid_ = 0;
    if (removeAfter_) {
        std::remove(store_.folder().emailBodyFile().constData());
        std::remove(store_.folder().emailRecipientsFile().constData());
        removeAfter_ = false;
    }
    next();
}

namespace {

// Writes a job's files in order, on a worker thread: each is committed to
// disk, which may take a while. Returns the first fault ("opening email
// body", ...), or sets `stopped` where the job is meant to stop.
QByteArray writeJobFiles(const DataFolder &folder, const EmailJob &job, bool &stopped, QStringList &narrowed)
{
    stopped = false;
    if (const char *fault = writeWorkingFile(folder.emailBodyFile(), job.body, narrowed); *fault)
        return QByteArray(fault) + " email body";
    if (job.stop == EmailJob::Stop::AfterBody)
        return stopped = true, QByteArray();
    if (const char *fault = writeWorkingFile(folder.emailRecipientsFile(), job.recipients, narrowed); *fault)
        return QByteArray(fault) + " email recipient list";
    if (job.stop == EmailJob::Stop::AfterRecipients)
        return stopped = true, QByteArray();
    if (*writeWorkingFile(folder.root + '/' + job.scriptName, job.script, narrowed))
        return "creating " + job.scriptName;
    stopped = job.stop == EmailJob::Stop::BeforeStart;
    return {};
}

} // namespace

void EmailQueue::next()
{
    if (busy_ || jobs_.empty())
        return;
    auto job = std::make_shared<EmailJob>(std::move(jobs_.front()));
    jobs_.pop_front();
    busy_ = true;
    const DataFolder folder = store_.folder();
    QPointer<QObject> self(this);
    std::thread([job, folder, self, this] {
        bool stopped = false;
        QStringList narrowed;
        const QByteArray fault = writeJobFiles(folder, *job, stopped, narrowed);
        // `this` is used only once `self` says the queue still exists.
        postBack(self, [this, job, fault, stopped, narrowed] {
            for (const QString &path : narrowed)
                store_.status().note(narrowedFileNotice(path));
            filesWritten(*job, fault, stopped);
        });
    }).detach();
}

void EmailQueue::filesWritten(EmailJob &job, const QByteArray &fault, bool stopped)
{
    busy_ = false;
    if (!fault.isEmpty() || stopped) {
        failed_ += 1;
        if (stopped)
            job.stopped();
        else
            job.fileError(fault);
        next();
        return;
    }
    const QByteArray root = store_.folder().root;
    const QByteArray scriptPath = root + '/' + job.scriptName;
    const quint64 id = ++started_;
    pid_t pid = 0;
    const int error = job.run ? job.run(scriptPath)
                              : spawnDetached({"/bin/sh", {"sh", scriptPath}, root, job.showOutput}, this,
                                              [this, id](int exitCode) { scriptEnded(id, exitCode); }, &pid);
    emit jobStarted(id, error);
    failed_ += error ? 1 : 0;
    if (error && job.startError)
        job.startError(shellErrorMessage(error));
    if (error && !job.pauseAfterFailedStart) {
        next();
        return;
    }
    busy_ = true;
    removeAfter_ = !error && job.removeWorkingFiles;
    scriptPid_ = pid;
    currentSummary_ = job.summary;
    wait_.start(error ? failedStartPauseMs_ : scriptLimitMs_);
}

} // namespace cz
