// Driving modal dialogs from a test: the code that opens one is blocked in
// its event loop, so what the operator does in it runs from a timer.
#pragma once

#include <QAbstractButton>
#include <QAbstractSpinBox>
#include <QAccessible>
#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QLineEdit>
#include <QStringList>
#include <QTimer>

#include <gtest/gtest.h>

#include <functional>

namespace cz::test {

// A dialog that never came: the test fails and whatever is open is closed,
// so that the test ends.
inline void giveUp(const char *expected)
{
    QWidget *open = QApplication::activeModalWidget();
    ADD_FAILURE() << "no " << expected << " came up; showing: " << (open ? open->metaObject()->className() : "nothing");
    if (auto *dialog = qobject_cast<QDialog *>(open))
        dialog->done(QDialog::Rejected);
}

// Runs `act` on the modal dialog of type D once it is showing.
template <class D>
void whenShown(std::function<void(D &)> act, int triesLeft = 500)
{
    QTimer::singleShot(10, [act, triesLeft] {
        if (auto *dialog = qobject_cast<D *>(QApplication::activeModalWidget()); dialog && dialog->isVisible())
            act(*dialog);
        else if (triesLeft > 0)
            whenShown<D>(act, triesLeft - 1);
        else
            giveUp(D::staticMetaObject.className());
    });
}

// Every control the Tab key reaches is named for a screen reader.
inline QStringList unnamedControls(QWidget &dialog)
{
    QStringList unnamed;
    for (QWidget *w : dialog.findChildren<QWidget *>()) {
        if (!w->isVisibleTo(&dialog) || !(w->focusPolicy() & Qt::TabFocus))
            continue;
        if (!qobject_cast<QLineEdit *>(w) && !qobject_cast<QComboBox *>(w) && !qobject_cast<QAbstractButton *>(w) &&
            !qobject_cast<QAbstractSpinBox *>(w))
            continue;
        if (qobject_cast<QLineEdit *>(w) &&
            (qobject_cast<QComboBox *>(w->parentWidget()) || qobject_cast<QAbstractSpinBox *>(w->parentWidget())))
            continue; // the edit inside an editable list or a spin box; that one is named
        QAccessibleInterface *a = QAccessible::queryAccessibleInterface(w);
        if (!a || a->text(QAccessible::Name).trimmed().isEmpty())
            unnamed << QString::fromLatin1(w->metaObject()->className()) + ' ' + w->objectName();
    }
    return unnamed;
}

} // namespace cz::test
