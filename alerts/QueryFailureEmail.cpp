#include "alerts/QueryFailureEmail.h"

#include "alerts/ScriptMail.h"
#include "store/CFormat.h"
#include "store/DeviceStore.h"

namespace cz {

namespace {

// Sends `body` (expanded from the device's body text when null) with the
// device's mail settings, checked in the order the alert checks them.
void sendDeviceMail(DeviceStore &store, EmailQueue &queue, int slot, const QByteArray &subjectPrefix,
                    const QByteArray *body)
{
    const DeviceRecord *d = store.device(slot);
    if (!d || !d->SendQueryFailMessage)
        return;
    auto show = [&store](const QByteArray &reason) {
        store.status().report(MessageIcon::Stop, QStringLiteral("Cannot send query failure alert: ") + QString::fromUtf8(reason));
    };
    ScriptMail mail;
    mail.summary = "device " + QByteArray::number(slot) + ", query failure";
    mail.command = mailCommandFor(store);
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
    mail.command.subject.prepend(subjectPrefix);
    mail.body = body ? *body : expandQueryFailureBody(d->EmailBodyText.bytes(), d->DeviceName.bytes(), d->QueryFailThreshold);
    // The test's wording with a lower-case start follows the prefix.
    mail.fault = [&store, show](const QByteArray &text) {
        if (text.startsWith("ShellExecute")) {
            store.status().report(MessageIcon::Stop, QString::fromUtf8(text));
            return;
        }
        QByteArray reason = text;
        reason[0] = char(std::tolower(static_cast<unsigned char>(reason[0])));
        show(reason);
    };
    queueScriptMail(queue, std::move(mail));
}

} // namespace

void sendQueryFailureEmail(DeviceStore &store, EmailQueue &queue, int slot)
{
    sendDeviceMail(store, queue, slot, {}, nullptr);
}

void sendQueryResolvedEmail(DeviceStore &store, EmailQueue &queue, int slot, int failedQueries, qint64 silentSeconds)
{
    const DeviceRecord *d = store.device(slot);
    if (!d)
        return;
    const QByteArray body = "The device named " + d->DeviceName.bytes() + " answers again after " +
                            QByteArray::number(failedQueries) + " failed queries; it did not answer for " +
                            durationText(silentSeconds) + ".";
    sendDeviceMail(store, queue, slot, "Resolved: ", &body);
}

} // namespace cz
