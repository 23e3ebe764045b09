#include "ui/config/ProbeEmailSettings.h"

#include "alerts/EmailTest.h"
#include "store/DeviceFile.h"
#include "ui/config/EmailSubjectsDialog.h"
#include "ui/config/EmailTestRun.h"
#include "ui/widgets/FileChooser.h"
#include "ui/widgets/FormWidgets.h"
#include "ui/WindowContext.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>

namespace cz {

ProbeEmailSettings::ProbeEmailSettings(WindowContext &context, DeviceRecord &device, int probeIndex,
                                       FieldBinding<ProbeRecord> &fields, QList<QWidget *> &order, QWidget *parent)
    : QGroupBox(QStringLiteral("Email"), parent), context_(context), device_(device), index_(probeIndex)
{
    auto *grid = new QGridLayout(this);
    YesNoField *onAlarm = addQuestion(grid, 0, QStringLiteral("Send email message on alarm:"), this);
    YesNoField *onCaution = addQuestion(grid, 1, QStringLiteral("Send email message on caution:"), this);
    YesNoField *onClear = addQuestion(grid, 2, QStringLiteral("Send email message on clear:"), this);
    server_ = textField(261, this);
    port_ = numberField(5, this);
    port_->setMaximumWidth(70);
    auto *serverRow = new QHBoxLayout;
    serverRow->addWidget(server_, 1);
    serverRow->addWidget(buddyLabel(QStringLiteral("Port:"), port_, this));
    serverRow->addWidget(port_);
    grid->addWidget(buddyLabel(QStringLiteral("SMTP Server:"), server_, this), 3, 0);
    grid->addLayout(serverRow, 3, 1, 1, 2);
    from_ = textField(257, this);
    addRow(grid, 4, QStringLiteral("Email From Address:"), from_);
    to_ = textField(261, this);
    QPushButton *browseTo = fieldButton(QStringLiteral("Browse"), QStringLiteral("Email To Address (or list):"),
                                        QStringLiteral("browseRecipients"), this);
    addRow(grid, 5, QStringLiteral("Email To Address (or list):"), to_, {browseTo});
    user_ = textField(257, this);
    addRow(grid, 6, QStringLiteral("SMTP Server User Name:"), user_);
    password_ = textField(257, this, QLineEdit::Password);
    addRow(grid, 7, QStringLiteral("SMTP Server Password:"), password_);
    template_ = textField(261, this);
    QPushButton *browseTemplate = fieldButton(QStringLiteral("Browse"), QStringLiteral("Email Body Template:"),
                                              QStringLiteral("browseTemplate"), this);
    addRow(grid, 8, QStringLiteral("Email Body Template:"), template_, {browseTemplate});
    QPushButton *test = plainButton(QStringLiteral("Send Test Email Message"), this);
    QPushButton *subjects = plainButton(QStringLiteral("Customize Subject Lines"), this);
    QPushButton *apply = fieldButton(QStringLiteral("Apply to all probes on this device"), QStringLiteral("Email"),
                                     QStringLiteral("applyEmail"), this);
    auto *buttons = new QHBoxLayout;
    buttons->addWidget(test);
    buttons->addWidget(subjects);
    grid->addLayout(buttons, 9, 0, 1, 3);
    grid->addWidget(apply, 10, 0, 1, 3);
    grid->setColumnStretch(1, 1);
    for (YesNoField *f : {onAlarm, onCaution, onClear})
        order << f->yesButton() << f->noButton();
    order << server_ << port_ << from_ << to_ << browseTo << user_ << password_ << template_ << browseTemplate << test
          << subjects << apply;
    settings_ = {to_, from_, server_, port_, user_, password_, template_, browseTo, browseTemplate, test, subjects};

    fields.flag(onAlarm, &ProbeRecord::SendAlarmEmail, "SendAlarmEmail");
    fields.flag(onCaution, &ProbeRecord::SendCautionEmail, "SendCautionEmail");
    fields.flag(onClear, &ProbeRecord::SendClearEmail, "SendClearEmail");
    fields.text(server_, &ProbeRecord::SMTPServer, "SMTPServer");
    fields.number(port_, &ProbeRecord::SMTPPort, "SMTPPort");
    fields.text(from_, &ProbeRecord::EmailFrom, "EmailFrom");
    fields.text(to_, &ProbeRecord::EmailTo, "EmailTo");
    fields.text(user_, &ProbeRecord::EmailSMTPUser, "EmailSMTPUser");
    fields.text(password_, &ProbeRecord::EmailSMTPPass, "EmailSMTPPass");
    fields.text(template_, &ProbeRecord::EmailTemplate, "EmailTemplate");

    connect(browseTo, &QPushButton::clicked, this,
            [this] { browse(to_, QStringLiteral("Email Distribution List Selector")); });
    connect(browseTemplate, &QPushButton::clicked, this,
            [this] { browse(template_, QStringLiteral("Email Body Text Template Selector")); });
    connect(test, &QPushButton::clicked, this, &ProbeEmailSettings::sendTestEmail);
    connect(subjects, &QPushButton::clicked, this, &ProbeEmailSettings::customizeSubjectLines);
    connect(apply, &QPushButton::clicked, this, &ProbeEmailSettings::applyToAllRequested);
}

void ProbeEmailSettings::updateEnabling()
{
    const ProbeRecord &p = probe();
    const bool on = p.SendAlarmEmail || p.SendCautionEmail || p.SendClearEmail;
    for (QWidget *w : std::as_const(settings_))
        w->setEnabled(on);
}

void ProbeEmailSettings::browse(QLineEdit *field, const QString &title)
{
    const QString chosen = context_.files.openFile(this, {title, {QStringLiteral("Text Files (*.txt)")}, {}, {}, false, {}});
    if (!chosen.isEmpty())
        setTextAsTyped(field, chosen);
}

void ProbeEmailSettings::sendTestEmail()
{
    const ProbeRecord &p = probe();
    EmailTestFields f = mailConnectionFields(server_, port_, user_, password_, to_, from_);
    f.templatePath = template_->text().toUtf8();
    f.probeName = p.ProbeName.bytes();
    f.groupName = p.GroupName.bytes();
    f.probeNumber = p.ProbeNumber;
    f.consecutiveIndex = qBound(0, p.ConsecutiveAlarmThreshold - 1, 9);
    runProbeEmailTest(emailTestContext(context_, this), f, device_.DeviceName.bytes(), subjectTemplate(p),
                      context_.mail);
}

void ProbeEmailSettings::customizeSubjectLines()
{
    EmailSubjectsDialog dialog(probe(), this);
    if (dialog.exec() == QDialog::Accepted)
        emit subjectsChanged();
}

} // namespace cz
