#include "alerts/ScriptMail.h"

#include "alerts/EmailQueue.h"
#include "alerts/EmailTest.h"

namespace cz {

void queueScriptMail(EmailQueue &queue, ScriptMail mail)
{
    auto fault = mail.fault;
    EmailJob job;
    job.summary = mail.summary + ", subject \"" + mail.command.subject + '"';
    job.body = mail.body;
    job.scriptName = "email_test.sh";
    job.showOutput = true;
    job.removeWorkingFiles = true;
    job.run = mail.run;
    job.fileError = [fault](const QByteArray &what) {
        if (what.startsWith("creating"))
            fault("Error creating email test batch file.\n");
        else
            fault("Error " + what + " working file.\n");
    };
    job.startError = [fault](const QByteArray &reason) {
        fault("ShellExecute failed (email alert test) -- reason: " + reason);
    };
    auto stopWith = [&](EmailJob::Stop stop, const QByteArray &text) {
        job.stop = stop;
        job.stopped = [fault, text] { fault(text); };
        queue.enqueue(std::move(job));
    };

    QByteArray original = mail.recipientField;
    if (isRecipientListFile(mail.recipientField)) {
        switch (readAlertTextFile(mail.recipientField, original)) {
        case TextFileFault::None: break;
        case TextFileFault::Open: return stopWith(EmailJob::Stop::AfterBody, "Error opening email recipient list file.\n");
        case TextFileFault::Empty:
            return stopWith(EmailJob::Stop::AfterBody, "Error reading empty email recipient list file.\n");
        case TextFileFault::TooLong:
            return stopWith(EmailJob::Stop::AfterBody, "Email recipient list file exceeds max length.\n");
        case TextFileFault::ShortRead:
            return stopWith(EmailJob::Stop::AfterBody, "Error reading email recipient list file.\n");
        }
    }
    job.recipients = recipientList(original);
    if (job.recipients.isEmpty())
        return stopWith(EmailJob::Stop::AfterRecipients, "Error reading empty email recipient list working file.\n");
    const QList<QByteArray> recipients = recipientTokens(readBackOver(original, job.recipients));
    if (recipients.isEmpty()) {
        job.script = "#!/bin/sh\n\n";
        return stopWith(EmailJob::Stop::BeforeStart, "Error parsing email recipient list working file.\n");
    }
    if (mail.interactive) {
        job.script = emailTestScript(mail.command, recipients);
    } else {
        job.script = "#!/bin/sh\n\n";
        for (const QByteArray &to : recipients)
            job.script += mailerCommandLine(mail.command, to) + '\n';
    }
    queue.enqueue(std::move(job));
}

} // namespace cz
