#include "ui/config/EmailTestRun.h"

#include "ui/Prompter.h"
#include "ui/WindowContext.h"

#include <QLineEdit>
#include <QPointer>

namespace cz {

EmailTestContext emailTestContext(WindowContext &context, QWidget *dialog)
{
    QPointer<QWidget> owner(dialog);
    Prompter &prompter = context.prompter;
    return EmailTestContext{context.store,
                            [owner, &prompter](const QString &message) {
                                prompter.tell(owner, MessageIcon::Stop, message);
                            },
                            context.runScript};
}

EmailTestFields mailConnectionFields(const QLineEdit *server, const QLineEdit *port, const QLineEdit *user,
                                     const QLineEdit *password, const QLineEdit *recipients, const QLineEdit *sender)
{
    EmailTestFields f;
    f.server = server->text().toUtf8();
    f.portText = port->text().toUtf8();
    f.user = user->text().toUtf8();
    f.password = password->text().toUtf8();
    f.recipients = recipients->text().toUtf8();
    f.sender = sender->text().toUtf8();
    return f;
}

} // namespace cz
