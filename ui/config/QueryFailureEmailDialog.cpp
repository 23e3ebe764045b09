#include "ui/config/QueryFailureEmailDialog.h"

#include "alerts/EmailTest.h"
#include "store/DeviceFile.h"
#include "ui/config/EmailTestRun.h"
#include "ui/widgets/FieldBinding.h"
#include "ui/widgets/FileChooser.h"
#include "ui/widgets/FormWidgets.h"
#include "ui/WindowContext.h"

#include <QDialogButtonBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace cz {

QueryFailureEmailDialog::QueryFailureEmailDialog(WindowContext &context, DeviceRecord &device, QWidget *parent)
    : QDialog(parent), context_(context), device_(device), before_(workingCopy(device))
{
    setWindowTitle(QStringLiteral("Device Query Failure Email Configuration Details"));
    auto *grid = new QGridLayout;
    server_ = textField(decltype(device.SMTPServerName)::capacity, this);
    port_ = numberField(16, this);
    port_->setMaximumWidth(90);
    from_ = textField(decltype(device.EmailFromAddress)::capacity, this);
    to_ = textField(decltype(device.EmailToAddress)::capacity, this);
    QPushButton *browse = plainButton(QStringLiteral("Browse"), this);
    user_ = textField(decltype(device.SMTPUsername)::capacity, this);
    password_ = textField(decltype(device.SMTPPassword)::capacity, this, QLineEdit::Password);
    subject_ = textField(decltype(device.EmailSubjectText)::capacity, this);
    body_ = textField(decltype(device.EmailBodyText)::capacity, this);
    for (QLineEdit *e : {server_, from_, to_, user_, password_, subject_, body_})
        e->setMinimumWidth(420);

    grid->addWidget(buddyLabel(QStringLiteral("SMTP Server:"), server_, this), 0, 0);
    auto *serverRow = new QHBoxLayout;
    serverRow->addWidget(server_, 1);
    serverRow->addWidget(buddyLabel(QStringLiteral("Port:"), port_, this));
    serverRow->addWidget(port_);
    grid->addLayout(serverRow, 0, 1, 1, 2);
    addRow(grid, 1, QStringLiteral("Email From Address:"), from_);
    addRow(grid, 2, QStringLiteral("Email To Address (or list):"), to_, {browse});
    addRow(grid, 3, QStringLiteral("SMTP Server User Name:"), user_);
    addRow(grid, 4, QStringLiteral("SMTP Server Password:"), password_);
    addRow(grid, 5, QStringLiteral("Subject line for query failure message:"), subject_);
    addRow(grid, 6, QStringLiteral("Email body text for query failure message:"), body_);
    grid->setColumnStretch(1, 1);

    QDialogButtonBox *buttons = okCancelButtons(this);
    QPushButton *test = buttons->addButton(QStringLiteral("Send Test Email Message"), QDialogButtonBox::ActionRole);
    test->setAutoDefault(false);
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(grid);
    layout->addSpacing(8);
    layout->addWidget(buttons);
    chainTabOrder({server_, port_, from_, to_, browse, user_, password_, subject_, body_, buttons});

    // Empty texts show the program's own, which OK then keeps.
    const DeviceFields defaults;
    if (device.EmailSubjectText.empty())
        device.EmailSubjectText = defaults.EmailSubjectText;
    if (device.EmailBodyText.empty())
        device.EmailBodyText = defaults.EmailBodyText;
    // The keys that changed are found when the device is committed.
    FieldBinding<DeviceRecord> fields(this, [this]() -> DeviceRecord & { return device_; }, [](const char *) {});
    fields.text(server_, &DeviceRecord::SMTPServerName, "SMTPServerName");
    fields.number(port_, &DeviceRecord::SMTPServerPort, "SMTPServerPort");
    fields.text(from_, &DeviceRecord::EmailFromAddress, "EmailFromAddress");
    fields.text(to_, &DeviceRecord::EmailToAddress, "EmailToAddress");
    fields.text(user_, &DeviceRecord::SMTPUsername, "SMTPUsername");
    fields.text(password_, &DeviceRecord::SMTPPassword, "SMTPPassword");
    fields.text(subject_, &DeviceRecord::EmailSubjectText, "EmailSubjectText");
    fields.text(body_, &DeviceRecord::EmailBodyText, "EmailBodyText");
    fields.fill();

    connect(browse, &QPushButton::clicked, this, &QueryFailureEmailDialog::browseRecipients);
    connect(test, &QPushButton::clicked, this, &QueryFailureEmailDialog::sendTestMessage);
}

QueryFailureEmailDialog::~QueryFailureEmailDialog() = default;

void QueryFailureEmailDialog::reject()
{
    copyDeviceRecord(&device_, *before_);
    QDialog::reject();
}

void QueryFailureEmailDialog::browseRecipients()
{
    const FileQuestion question{QStringLiteral("Email Distribution List Selector"),
                                {QStringLiteral("Text Files (*.txt)")}, {}, {}, false, {}};
    const QString file = context_.files.openFile(this, question);
    if (!file.isEmpty())
        setTextAsTyped(to_, file);
}

void QueryFailureEmailDialog::sendTestMessage()
{
    EmailTestFields f = mailConnectionFields(server_, port_, user_, password_, to_, from_);
    f.subject = subject_->text().toUtf8();
    f.body = body_->text().toUtf8();
    runQueryFailureEmailTest(emailTestContext(context_, this), f, device_.DeviceName.bytes(),
                             device_.QueryFailThreshold, context_.mail);
}

} // namespace cz
