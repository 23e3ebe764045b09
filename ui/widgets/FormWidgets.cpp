#include "ui/widgets/FormWidgets.h"

#include <QButtonGroup>
#include <QDialog>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QIntValidator>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QRegularExpressionValidator>

namespace cz {

QLabel *buddyLabel(const QString &text, QWidget *field, QWidget *parent)
{
    auto *label = new QLabel(text, parent);
    label->setBuddy(field);
    label->setTextFormat(Qt::PlainText);
    return label;
}

QPushButton *plainButton(const QString &text, QWidget *parent)
{
    auto *b = new QPushButton(text, parent);
    b->setAutoDefault(false);
    return b;
}

YesNoField::YesNoField(const QString &question, QWidget *parent) : QWidget(parent)
{
    setAccessibleName(question);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    yes_ = new QRadioButton(QStringLiteral("Yes"), this);
    no_ = new QRadioButton(QStringLiteral("No"), this);
    yes_->setAccessibleDescription(question);
    no_->setAccessibleDescription(question);
    auto *group = new QButtonGroup(this);
    group->addButton(yes_);
    group->addButton(no_);
    layout->addWidget(yes_);
    layout->addWidget(no_);
    layout->addStretch(1);
    // One signal a change, however the answer was given; none while both are unset.
    connect(yes_, &QRadioButton::toggled, this, [this](bool on) {
        if (on || no_->isChecked())
            emit changed(on);
    });
}

void YesNoField::setValue(bool yes)
{
    (yes ? yes_ : no_)->setChecked(true);
}

bool YesNoField::value() const
{
    return yes_->isChecked();
}

QLineEdit *textField(int capacity, QWidget *parent, QLineEdit::EchoMode mode)
{
    auto *edit = new QLineEdit(parent);
    // Characters, not bytes; the record cuts what does not fit its bytes.
    edit->setMaxLength(capacity - 1);
    edit->setEchoMode(mode);
    return edit;
}

QLineEdit *numberField(int maxDigits, QWidget *parent)
{
    auto *edit = new QLineEdit(parent);
    edit->setMaxLength(maxDigits);
    edit->setValidator(new QRegularExpressionValidator(QRegularExpression(QStringLiteral("[0-9]*")), edit));
    return edit;
}

QLabel *addRow(QGridLayout *grid, int row, const QString &label, QWidget *field, std::initializer_list<QWidget *> after)
{
    QLabel *l = buddyLabel(label, field, grid->parentWidget());
    grid->addWidget(l, row, 0);
    if (after.size() == 0) {
        grid->addWidget(field, row, 1, 1, -1);
        return l;
    }
    grid->addWidget(field, row, 1);
    int column = 2;
    for (QWidget *w : after)
        grid->addWidget(w, row, column++);
    return l;
}

YesNoField *addQuestion(QGridLayout *grid, int row, const QString &question, QWidget *parent)
{
    auto *field = new YesNoField(question, parent);
    grid->addWidget(buddyLabel(question, field->yesButton(), parent), row, 0);
    grid->addWidget(field, row, 1, 1, -1);
    return field;
}

QPushButton *fieldButton(const QString &text, const QString &described, const QString &name, QWidget *parent)
{
    QPushButton *b = plainButton(text, parent);
    b->setAccessibleDescription(described);
    b->setObjectName(name);
    return b;
}

QDialogButtonBox *okCancelButtons(QDialog *dialog)
{
    auto *box = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, dialog);
    box->button(QDialogButtonBox::Ok)->setDefault(true);
    box->button(QDialogButtonBox::Cancel)->setAutoDefault(false);
    QObject::connect(box, &QDialogButtonBox::accepted, dialog, &QDialog::accept);
    QObject::connect(box, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
    return box;
}

void setTextAsTyped(QLineEdit *edit, const QString &text)
{
    edit->setText(text);
    emit edit->textEdited(text);
}

void chainTabOrder(const QList<QWidget *> &widgets)
{
    for (int i = 1; i < widgets.size(); ++i)
        QWidget::setTabOrder(widgets[i - 1], widgets[i]);
}

void chainTabOrder(std::initializer_list<QWidget *> widgets)
{
    chainTabOrder(QList<QWidget *>(widgets));
}

} // namespace cz
