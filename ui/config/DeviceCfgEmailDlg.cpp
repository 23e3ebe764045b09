#include "DeviceCfgEmailDlg.h"

#include "DeviceStore.h"
#include "EmailTest.h"
#include "FileChooser.h"
#include "FormWidgets.h"

#include <QLabel>
#include <QRadioButton>
#include "Prompter.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>

namespace cz {

EmailTestContext emailTestContext(ConfigContext &context, QWidget *dialog)
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

CDeviceCfgEmailDlg::CDeviceCfgEmailDlg(ConfigContext &context, DeviceRecord &device, QWidget *parent)
    : QDialog(parent), context_(context), device_(device)
{
    setWindowTitle(QStringLiteral("Device Query Failure Email Configuration Details"));
    auto *grid = new QGridLayout;
    server = textField(decltype(device.SMTPServerName)::capacity, this);
    port = numberField(16, this);
    port->setMaximumWidth(90);
    from = textField(decltype(device.EmailFromAddress)::capacity, this);
    to = textField(decltype(device.EmailToAddress)::capacity, this);
    browseButton = plainButton(QStringLiteral("Browse"), this);
    user = textField(decltype(device.SMTPUsername)::capacity, this);
    password = textField(decltype(device.SMTPPassword)::capacity, this, QLineEdit::Password);
    subject = textField(decltype(device.EmailSubjectText)::capacity, this);
    body = textField(decltype(device.EmailBodyText)::capacity, this);
    for (QLineEdit *e : {server, from, to, user, password, subject, body})
        e->setMinimumWidth(420);

    grid->addWidget(buddyLabel(QStringLiteral("SMTP Server:"), server, this), 0, 0);
    auto *serverRow = new QHBoxLayout;
    serverRow->addWidget(server, 1);
    serverRow->addWidget(buddyLabel(QStringLiteral("Port:"), port, this));
    serverRow->addWidget(port);
    grid->addLayout(serverRow, 0, 1, 1, 2);
    addRow(grid, 1, QStringLiteral("Email From Address:"), from);
    addRow(grid, 2, QStringLiteral("Email To Address (or list):"), to, {browseButton});
    addRow(grid, 3, QStringLiteral("SMTP Server User Name:"), user);
    addRow(grid, 4, QStringLiteral("SMTP Server Password:"), password);
    addRow(grid, 5, QStringLiteral("Subject line for query failure message:"), subject);
    addRow(grid, 6, QStringLiteral("Email body text for query failure message:"), body);
    grid->setColumnStretch(1, 1);

    testButton = plainButton(QStringLiteral("Send Test Email Message"), this);
    QHBoxLayout *buttons = okCancelRow(this, &okButton, &cancelButton);
    buttons->insertWidget(0, testButton);
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(grid);
    layout->addSpacing(8);
    layout->addLayout(buttons);
    chainTabOrder({server, port, from, to, browseButton, user, password, subject, body, testButton, okButton,
                   cancelButton});

    server->setText(device.SMTPServerName.str());
    port->setText(QString::number(device.SMTPServerPort));
    from->setText(device.EmailFromAddress.str());
    to->setText(device.EmailToAddress.str());
    user->setText(device.SMTPUsername.str());
    password->setText(device.SMTPPassword.str());
    subject->setText(device.EmailSubjectText.empty() ? QStringLiteral("Corvanta Query Failure")
                                                     : device.EmailSubjectText.str());
    body->setText(device.EmailBodyText.empty()
                      ? QStringLiteral("The device named $DEVICE_NAME has not responded for $QUERY_THRESH minutes.")
                      : device.EmailBodyText.str());

    connect(browseButton, &QPushButton::clicked, this, &CDeviceCfgEmailDlg::browseRecipients);
    connect(testButton, &QPushButton::clicked, this, &CDeviceCfgEmailDlg::sendTestMessage);
    connect(okButton, &QPushButton::clicked, this, [this] {
        store();
        accept();
    });
    connect(cancelButton, &QPushButton::clicked, this, &QDialog::reject);
}

void CDeviceCfgEmailDlg::store()
{
    device_.SMTPServerName = server->text();
    device_.SMTPServerPort = port->text().toInt();
    device_.EmailFromAddress = from->text();
    device_.EmailToAddress = to->text();
    device_.SMTPUsername = user->text();
    device_.SMTPPassword = password->text();
    device_.EmailSubjectText = subject->text();
    device_.EmailBodyText = body->text();
}

void CDeviceCfgEmailDlg::browseRecipients()
{
    const FileQuestion question{QStringLiteral("Email Distribution List Selector"),
                                {QStringLiteral("Text Files (*.txt)")}, {}, {}, false, {}};
    const QString file = context_.files.openFile(this, question);
    if (!file.isEmpty())
        to->setText(file);
}

void CDeviceCfgEmailDlg::sendTestMessage()
{
    EmailTestFields f = mailConnectionFields(server, port, user, password, to, from);
    f.subject = subject->text().toUtf8();
    f.body = body->text().toUtf8();
    RunQueryFailureEmailTest(emailTestContext(context_, this), f, device_.DeviceName.bytes(),
                             device_.QueryFailThreshold, context_.mail);
}

} // namespace cz
