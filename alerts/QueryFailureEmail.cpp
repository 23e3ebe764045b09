#include "QueryFailureEmail.h"

#include "DeviceStore.h"
#include "ScriptMail.h"

namespace cz {

void SendQueryFailureEmail(DeviceStore &app, EmailQueue &queue, int slot)
{
    const DeviceRecord *d = app.device(slot);
    if (!d || !d->SendQueryFailMessage)
        return;
    auto show = [&app](const QByteArray &reason) {
        app.status().report(MessageIcon::Stop, QStringLiteral("Cannot send query failure alert: ") + QString::fromUtf8(reason));
    };
    ScriptMail mail;
    mail.summary = "device " + QByteArray::number(slot) + ", query failure";
    mail.command = mailCommandFor(app);
    mail.command.server = d->SMTPServerName.bytes();
    mail.command.port = d->SMTPServerPort;
    mail.command.authenticate = !d->SMTPUsername.empty();
    mail.command.user = d->SMTPUsername.bytes();
    mail.command.password = d->SMTPPassword.bytes();
    mail.command.sender = d->EmailFromAddress.bytes();
    mail.command.subject = d->EmailSubjectText.bytes();
    mail.command.debug = true;
    mail.recipientField = d->EmailToAddress.bytes();
    if (mail.command.server.isEmpty())
        return show("missing SMTP server for outgoing mail.");
    if (mail.command.port < 1)
        return show("missing SMTP port for outgoing mail.");
    if (mail.recipientField.isEmpty())
        return show("missing a recipient or recipient list.");
    if (mail.command.sender.isEmpty())
        return show("missing a sender for email messages.");
    if (mail.command.subject.isEmpty())
        return show("missing a subject line for outgoing mail.");
    if (d->EmailBodyText.empty())
        return show("missing the text body of this message.");
    mail.body = expandQueryFailureBody(d->EmailBodyText.bytes(), d->DeviceName.bytes(), d->QueryFailThreshold);
    // The test's wording with a lower-case start follows the prefix.
    mail.fault = [&app, show](const QByteArray &text) {
        if (text.startsWith("ShellExecute")) {
            app.status().report(MessageIcon::Stop, QString::fromUtf8(text));
            return;
        }
        QByteArray reason = text;
        reason[0] = char(std::tolower(static_cast<unsigned char>(reason[0])));
        show(reason);
    };
    queueScriptMail(queue, std::move(mail));
}

} // namespace cz
