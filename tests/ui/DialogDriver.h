// Driving modal dialogs from a test: the code that opens one is blocked in
// its event loop, so what the operator does in it runs from a timer.
#pragma once

#include <QApplication>
#include <QDialog>
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

} // namespace cz::test
