#include "ui/config/EmailSubjectsDialog.h"

#include "ui/widgets/FieldBinding.h"
#include "ui/widgets/FormWidgets.h"

#include <QDialogButtonBox>
#include <QGridLayout>
#include <QLabel>
#include <QVBoxLayout>

namespace cz {

EmailSubjectsDialog::EmailSubjectsDialog(ProbeRecord &probe, QWidget *parent)
    : QDialog(parent), probe_(probe), edited_(probe)
{
    setWindowTitle(QStringLiteral("Email Subject Lines"));
    auto *layout = new QVBoxLayout(this);
    for (const char *line : {"Enter the desired subject lines for each alert message type. Please note that these entries",
                             "may contain any of the substitution phrases that are supported in the email body template.",
                             "Please refer to the help files for more information about substitution phrases."})
        layout->addWidget(new QLabel(QString::fromLatin1(line), this));
    layout->addSpacing(8);
    auto *grid = new QGridLayout;
    QLineEdit *alarm = textField(257, this);
    QLineEdit *caution = textField(257, this);
    QLineEdit *cleared = textField(257, this);
    addRow(grid, 0, QStringLiteral("Alarm message:"), alarm);
    addRow(grid, 1, QStringLiteral("Caution message:"), caution);
    addRow(grid, 2, QStringLiteral("Alarm Cleared message:"), cleared);
    layout->addLayout(grid);
    layout->addWidget(okCancelButtons(this));

    FieldBinding<ProbeRecord> fields(this, [this]() -> ProbeRecord & { return edited_; }, [](const char *) {});
    fields.text(alarm, &ProbeRecord::EmailAlarmSubject);
    fields.text(caution, &ProbeRecord::EmailCautionSubject);
    fields.text(cleared, &ProbeRecord::EmailClearedSubject);
    fields.fill();
}

void EmailSubjectsDialog::accept()
{
    copyProbeRecord(&probe_, edited_);
    QDialog::accept();
}

} // namespace cz
