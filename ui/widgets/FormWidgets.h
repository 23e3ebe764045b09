// Small pieces the dialogs are built from: labelled rows, "Yes"/"No"
// questions, path fields with their buttons, and text fields bound to a
// record's fixed-size texts.
#pragma once

#include <QLineEdit>
#include <QWidget>

#include <functional>

class QAbstractButton;
class QComboBox;
class QDialog;
class QDialogButtonBox;
class QGridLayout;
class QHBoxLayout;
class QLabel;
class QPushButton;
class QRadioButton;

namespace cz {

// A label whose buddy is `field`, so the field is named by it and reached
// with its mnemonic.
QLabel *buddyLabel(const QString &text, QWidget *field, QWidget *parent);

// A button that never becomes the dialog's default by taking focus.
QPushButton *plainButton(const QString &text, QWidget *parent);

// A "Yes"/"No" pair answering one question; the pair is named by the
// question for screen readers.
class YesNoField final : public QWidget {
    Q_OBJECT
public:
    YesNoField(const QString &question, QWidget *parent);
    void setValue(bool yes);
    bool value() const;
    QRadioButton *yesButton() const { return yes_; }
    QRadioButton *noButton() const { return no_; }

signals:
    // The answer changed (clicked, keyed, or set through accessibility).
    void changed(bool yes);

private:
    QRadioButton *yes_;
    QRadioButton *no_;
};

// A line edit for a text of `capacity` bytes (the longest text a record
// field keeps).
QLineEdit *textField(int capacity, QWidget *parent, QLineEdit::EchoMode mode = QLineEdit::Normal);

// A line edit for a whole number (digits only).
QLineEdit *numberField(int maxDigits, QWidget *parent);

// Adds a row "label field [buttons...]" to a grid at `row`; the label is the
// field's buddy. Returns the label.
QLabel *addRow(QGridLayout *grid, int row, const QString &label, QWidget *field,
               std::initializer_list<QWidget *> after = {});

// "OK" (the default button) and "Cancel" for `dialog`, tied to its accept()
// and reject(); more buttons can be added to the box.
QDialogButtonBox *okCancelButtons(QDialog *dialog);

// Puts `text` into `edit` as if the operator had typed it (after a file was
// chosen for the field, say): whatever listens to the operator's edits
// hears of it.
void setTextAsTyped(QLineEdit *edit, const QString &text);

// A "Yes"/"No" question in grid row `row`, labelled by the question.
YesNoField *addQuestion(QGridLayout *grid, int row, const QString &question, QWidget *parent);

// A button beside a field whose text other buttons share ("Browse",
// "Test"): `described` tells it apart for a screen reader, `name` for the
// window's tests.
QPushButton *fieldButton(const QString &text, const QString &described, const QString &name, QWidget *parent);

// Sets the Tab order to the order of `widgets`.
void chainTabOrder(std::initializer_list<QWidget *> widgets);
void chainTabOrder(const QList<QWidget *> &widgets);

} // namespace cz
