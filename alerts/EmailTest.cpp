#include "alerts/EmailTest.h"

#include "alerts/ScriptMail.h"
#include "alerts/ShellQuote.h"
#include "store/CFormat.h"
#include "store/DeviceStore.h"

namespace cz {

namespace {

// Server, port, user, recipients and sender, checked in this order; false
// after showing the first fault.
bool readConnection(const EmailTestContext &c, const EmailTestFields &f, MailCommand &command)
{
    command = mailCommandFor(c.store);
    command.debug = true;
    command.server = f.server;
    if (f.server.isEmpty())
        return c.report(QStringLiteral("Please designate an SMTP server for outgoing mail.")), false;
    if (f.portText.isEmpty())
        return c.report(QStringLiteral("Please designate an SMTP port for outgoing mail.")), false;
    command.port = f.portText.toInt();
    command.authenticate = !f.user.isEmpty();
    command.user = f.user;
    command.password = command.authenticate ? f.password : QByteArray();
    if (f.recipients.isEmpty())
        return c.report(QStringLiteral("Please designate a recipient or recipient list.")), false;
    command.sender = f.sender;
    if (f.sender.isEmpty())
        return c.report(QStringLiteral("Please designate a sender for email messages.")), false;
    return true;
}

void queueTest(const EmailTestContext &c, EmailQueue &queue, const MailCommand &command, const QByteArray &body,
               const QByteArray &recipients)
{
    ScriptMail mail;
    mail.summary = "e-mail settings test";
    mail.command = command;
    mail.command.subject = "TEST -- " + command.subject;
    mail.body = body;
    mail.recipientField = recipients;
    mail.interactive = true;
    mail.run = c.run;
    auto report = c.report;
    mail.fault = [report](const QByteArray &text) { report(QString::fromUtf8(text)); };
    queueScriptMail(queue, std::move(mail));
}

} // namespace

bool runProbeEmailTest(const EmailTestContext &c, const EmailTestFields &f, const QByteArray &deviceName,
                       const QByteArray &subjectTemplate, EmailQueue &queue)
{
    MailCommand command;
    if (!readConnection(c, f, command))
        return false;
    const QByteArray templatePath = templatePathOrDefault(c.store, f.templatePath);
    if (f.probeName.isEmpty())
        return c.report(QStringLiteral("Please designate a probe name.")), false;
    if (deviceName.isEmpty())
        return c.report(QStringLiteral("Please designate a device name.")), false;

    const std::int64_t now = c.store.clock().now();
    EmailVariables v;
    v.currentValue = "99.0";
    v.alarmState = "Caution High";
    v.alarmDate = longDateText(now);
    v.alarmTime = longTimeText(now);
    v.threshExceeded = "98.8";
    v.probeName = f.probeName;
    v.deviceName = deviceName;
    v.probeNumber = probeNumberText(f.probeNumber);
    v.groupName = groupNameText(f.groupName);
    v.consecutiveThresh = QByteArray::number(f.consecutiveIndex + 1);
    v.consecutiveCount = QByteArray::number(f.consecutiveIndex + 2);

    QByteArray text;
    switch (readAlertTextFile(templatePath, text)) {
    case TextFileFault::None: break;
    case TextFileFault::Open: return c.report(QStringLiteral("Error opening email template file.\n")), false;
    case TextFileFault::Empty: return c.report(QStringLiteral("Error reading empty email template file.\n")), false;
    case TextFileFault::TooLong: return c.report(QStringLiteral("Email template file exceeds max length.\n")), false;
    case TextFileFault::ShortRead: return c.report(QStringLiteral("Error reading email template file.\n")), false;
    }
    command.subject = expandEmailVariables(subjectTemplate, v);
    queueTest(c, queue, command, expandEmailVariables(text, v), f.recipients);
    return true;
}

bool runQueryFailureEmailTest(const EmailTestContext &c, const EmailTestFields &f, const QByteArray &deviceName,
                              int queryFailThreshold, EmailQueue &queue)
{
    MailCommand command;
    if (!readConnection(c, f, command))
        return false;
    if (f.subject.isEmpty())
        return c.report(QStringLiteral("Please designate a subject line for outgoing mail.")), false;
    if (f.body.isEmpty())
        return c.report(QStringLiteral("Please designate the text body of this message.")), false;
    command.subject = f.subject;
    queueTest(c, queue, command, expandQueryFailureBody(f.body, deviceName, queryFailThreshold), f.recipients);
    return true;
}

QByteArray emailTestScript(const MailCommand &command, const QList<QByteArray> &recipients)
{
    QByteArray script = "#!/bin/sh\n\n";
    for (int i = 0; i < recipients.size(); ++i) {
        const QByteArray &to = recipients[i];
        script += mailerCommandLine(command, to) + '\n';
        script += "\necho\n";
        script += "echo " + shellQuote("Corvanta Zephtra has finished sending mail to " + to + ".") + '\n';
        if (i + 1 < recipients.size()) {
            script += "echo 'Press any key to test the next recipient in the list, or CTRL-C to abort.'\n";
        } else {
            script += "echo 'This is the last entry in the list.'\n";
            script += "echo 'Press any key to exit...'\n";
        }
        script += "echo\nread _ignored\n\n";
    }
    return script;
}

} // namespace cz
