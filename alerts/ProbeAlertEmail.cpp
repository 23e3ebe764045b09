#include "alerts/ProbeAlertEmail.h"

#include "alerts/EmailQueue.h"
#include "alerts/EmailText.h"
#include "store/CFormat.h"
#include "store/DeviceStore.h"
#include "store/LogFiles.h"

namespace cz {

namespace {

class ErrorLine {
public:
    ErrorLine(DeviceStore &store, int slot, int probeIndex, bool enabled)
        : store_(store), slot_(slot), probeIndex_(probeIndex), enabled_(enabled)
    {
    }
    // "<date> <time> Error in configuration for device N, probe M: reason",
    // device counted from 0 and probe from 1.
    void operator()(const QByteArray &reason) const
    {
        if (!enabled_)
            return;
        const std::int64_t now = store_.clock().now();
        const QByteArray line = longDateText(now) + ' ' + longTimeText(now) + " Error in configuration for device " +
                                QByteArray::number(slot_) + ", probe " + QByteArray::number(probeIndex_ + 1) + ": " +
                                reason;
        appendErrorLog(store_.clock(), store_.folder().emailErrorLog(), line.left(1024));
    }

private:
    DeviceStore &store_;
    int slot_, probeIndex_;
    bool enabled_;
};

const char *stateName(const ProbeRecord &p)
{
    if (p.ProbeType == ProbeType::Switch)
        return int(p.AlarmState) ? "Switch Alarm" : "Switch Alarm Cleared";
    switch (int(p.AlarmState)) {
    case 0: return "Alarm Cleared";
    case 1: return "High Alarm";
    case 2: return "High Caution";
    case 3: return "Low Caution";
    default: return "Low Alarm";
    }
}

} // namespace

void sendProbeAlertEmail(DeviceStore &store, EmailQueue &queue, int slot, int probeIndex, double threshold)
{
    const DeviceRecord *device = store.device(slot);
    const ProbeRecord *probe = device ? device->probe(probeIndex) : nullptr;
    if (!probe)
        return;
    const DeviceRecord &d = *device;
    const ProbeRecord &p = *probe;
    const std::int64_t now = store.clock().now();
    store.status().set(QStringLiteral("Status: sending alert email for %1:%2 (probe %3)...")
                         .arg(d.DeviceName.str(), p.ProbeName.str(), QString::number(p.ProbeNumber)));
    const ErrorLine error(store, slot, probeIndex, d.LogQueryFailures != 0);

    MailCommand command = mailCommandFor(store);
    command.server = p.SMTPServer.bytes();
    if (command.server.isEmpty())
        return error("no SMTP server specified");
    command.port = p.SMTPPort < 1 ? 25 : p.SMTPPort;
    command.authenticate = !p.EmailSMTPUser.empty();
    if (command.authenticate) {
        command.user = p.EmailSMTPUser.bytes();
        command.password = p.EmailSMTPPass.bytes();
    }
    const QByteArray recipientField = p.EmailTo.bytes();
    if (recipientField.isEmpty())
        return error("no recipients specified");
    command.sender = p.EmailFrom.bytes();
    if (command.sender.isEmpty())
        return error("no sender specified");

    const EmailVariables values = alertVariables(d, p, stateName(p), threshold);
    QByteArray body;
    const bool isSwitch = p.ProbeType == ProbeType::Switch;
    if (isSwitch || int(p.AlarmState) == 0) {
        // Switch alarms and clears have fixed bodies, dated now.
        const char *opening = !isSwitch                ? "An alarm condition has been cleared"
                              : int(p.AlarmState) != 0 ? "A switch alarm has been reported"
                                                       : "A switch alarm has been cleared";
        const char *when = isSwitch && int(p.AlarmState) != 0 ? "The alarm occured on " : "The alarm was cleared on ";
        body = opening + QByteArray(" by the device named ") + d.DeviceName.bytes() + "\r\non the probe named " +
               p.ProbeName.bytes() + " (probe number " + values.probeNumber + ").\r\n" + when + longDateText(now) +
               " at " + longTimeText(now) + ".";
    } else {
        QByteArray text;
        switch (readAlertTextFile(templatePathOrDefault(store, p.EmailTemplate.bytes()), text)) {
        case TextFileFault::None: break;
        case TextFileFault::Open: return error("no email body template specified");
        case TextFileFault::Empty: return error("error opening template file");
        default: return error("error reading template file");
        }
        body = expandEmailVariables(text, values);
    }
    command.subject = expandEmailVariables(subjectTemplate(p), values);

    EmailJob job;
    job.summary = "device " + QByteArray::number(slot) + ", probe " + QByteArray::number(probeIndex + 1) +
                  ", subject \"" + command.subject + '"';
    job.body = body;
    job.scriptName = "alarm_email.sh";
    job.script = "#!/bin/sh\n\n";
    job.pauseAfterFailedStart = true;
    job.fileError = [error](const QByteArray &what) {
        error(what.startsWith("creating") ? QByteArray("error reading email command and control file")
                                          : "error " + what + " file");
    };
    // Faults found from here on come after the body file was written.
    auto stopWith = [&](EmailJob::Stop stop, const QByteArray &reason) {
        job.stop = stop;
        job.stopped = [error, reason] { error(reason); };
        queue.enqueue(std::move(job));
    };
    QByteArray original = recipientField;
    if (isRecipientListFile(recipientField)) {
        const TextFileFault fault = readAlertTextFile(recipientField, original);
        if (fault == TextFileFault::Open)
            return stopWith(EmailJob::Stop::AfterBody, "error opening email recipient list file");
        if (fault != TextFileFault::None)
            return stopWith(EmailJob::Stop::AfterBody, "error reading email recipient list file");
    }
    job.recipients = recipientList(original);
    if (job.recipients.isEmpty())
        return stopWith(EmailJob::Stop::AfterRecipients, "error reading email recipient list file");
    const QList<QByteArray> recipients = recipientTokens(readBackOver(original, job.recipients));
    if (recipients.isEmpty())
        return stopWith(EmailJob::Stop::BeforeStart, "error parsing recipient list");
    for (const QByteArray &to : recipients)
        job.script += mailerCommandLine(command, to) + '\n';
    queue.enqueue(std::move(job));
}

} // namespace cz
