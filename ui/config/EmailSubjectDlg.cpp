#include "EmailSubjectDlg.h"

#include "FormWidgets.h"

#include <QDialogButtonBox>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace cz {

CEmailSubjectDlg::CEmailSubjectDlg(const QString &alarm, const QString &caution, const QString &cleared,
                                   QWidget *parent)
    : QDialog(parent)
{
    setWindowTitle(QStringLiteral("Email Subject Lines"));
    auto *layout = new QVBoxLayout(this);
    for (const char *line : {"Enter the desired subject lines for each alert message type. Please note that these entries",
                             "may contain any of the substitution phrases that are supported in the email body template.",
                             "Please refer to the help files for more information about substitution phrases."})
        layout->addWidget(new QLabel(QString::fromLatin1(line), this));
    layout->addSpacing(8);
    auto *grid = new QGridLayout;
    alarmSubject = textField(257, this);
    cautionSubject = textField(257, this);
    clearedSubject = textField(257, this);
    addRow(grid, 0, QStringLiteral("Alarm message:"), alarmSubject);
    addRow(grid, 1, QStringLiteral("Caution message:"), cautionSubject);
    addRow(grid, 2, QStringLiteral("Alarm Cleared message:"), clearedSubject);
    layout->addLayout(grid);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    alarmSubject->setText(alarm);
    cautionSubject->setText(caution);
    clearedSubject->setText(cleared);
}

} // namespace cz
