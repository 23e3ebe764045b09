#include "EmailQueue.h"

#include "AppState.h"
#include "FileWrite.h"
#include "Spawn.h"

#include <cerrno>
#include <cstdio>

namespace cz {

namespace {

// Writes `bytes` to `path` (created or truncated), flushed to disk.
// Returns "" or the fault: "opening" or "writing".
const char *writeWorkingFile(const QByteArray &path, const QByteArray &bytes)
{
    std::FILE *f = std::fopen(path.constData(), "wb");
    if (!f)
        return "opening";
    const bool written = std::fwrite(bytes.constData(), 1, std::size_t(bytes.size()), f) == std::size_t(bytes.size());
    const bool flushed = std::fflush(f) == 0 && ::fsync(fileno(f)) == 0;
    std::fclose(f);
    return written && flushed ? "" : "writing";
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

EmailQueue::EmailQueue(AppState &app, QObject *parent) : QObject(parent), app_(app)
{
    spacing_.setSingleShot(true);
    spacing_.setInterval(3000);
    connect(&spacing_, &QTimer::timeout, this, &EmailQueue::finishCurrent);
}

void EmailQueue::enqueue(EmailJob job)
{
    jobs_.push_back(std::move(job));
    if (!busy_)
        next();
}

void EmailQueue::scriptEnded(quint64 job)
{
    if (busy_ && job == started_ && spacing_.isActive()) {
        spacing_.stop();
        finishCurrent();
    }
}

void EmailQueue::finishCurrent()
{
    busy_ = false;
    if (removeAfter_) {
        const DataFolder &f = app_.folder();
        std::remove((f.root + "/email_body.tmp").constData());
        std::remove((f.root + "/email_recipients.tmp").constData());
        removeAfter_ = false;
    }
    next();
}

void EmailQueue::next()
{
    while (!busy_ && !jobs_.empty()) {
        EmailJob job = std::move(jobs_.front());
        jobs_.pop_front();
        const QByteArray root = app_.folder().root;
        const char *bodyFault = writeWorkingFile(root + "/email_body.tmp", job.body);
        if (*bodyFault) {
            job.fileError(QByteArray(bodyFault) + " email body");
            continue;
        }
        if (job.stop == EmailJob::Stop::AfterBody) {
            job.stopped();
            continue;
        }
        const char *listFault = writeWorkingFile(root + "/email_recipients.tmp", job.recipients);
        if (*listFault) {
            job.fileError(QByteArray(listFault) + " email recipient list");
            continue;
        }
        if (job.stop == EmailJob::Stop::AfterRecipients) {
            job.stopped();
            continue;
        }
        const QByteArray scriptPath = root + '/' + job.scriptName;
        if (*writeWorkingFile(scriptPath, job.script)) {
            job.fileError("creating " + job.scriptName);
            continue;
        }
        if (job.stop == EmailJob::Stop::BeforeStart) {
            job.stopped();
            continue;
        }
        const quint64 id = ++started_;
        int error = 0;
        if (job.run)
            error = job.run(scriptPath);
        else
            error = spawnDetached({"/bin/sh", {"sh", scriptPath}, root, job.showOutput}, this,
                                  [this, id] { scriptEnded(id); });
        emit jobStarted(id, error);
        if (error) {
            if (job.startError)
                job.startError(shellErrorMessage(error));
            if (job.pauseAfterFailedStart) {
                busy_ = true;
                spacing_.start();
            }
            continue;
        }
        busy_ = true;
        removeAfter_ = job.removeWorkingFiles;
        spacing_.start();
    }
}

} // namespace cz
