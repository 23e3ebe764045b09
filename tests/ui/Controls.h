// Finding and working a window's controls as an operator and a screen
// reader do: by the name they are read out with (a field's label, a
// button's text) or, where two controls share it, by their object name;
// and acting on them with the operator's own gestures.
#pragma once

#include "ui/widgets/FormWidgets.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>
#include <QTest>
#include <QWidget>

#include <gtest/gtest.h>

namespace cz::test {

inline QString accessibleName(QWidget *w)
{
    QAccessibleInterface *a = QAccessible::queryAccessibleInterface(w);
    return a ? a->text(QAccessible::Name) : QString();
}

// The label a control is read out with (a list's name on this platform is
// its value; its label comes with it as a relation).
inline QString labelOf(QWidget &window, QWidget *w)
{
    for (QLabel *label : window.findChildren<QLabel *>())
        if (label->buddy() == w)
            return QString(label->text()).remove(QLatin1Char('&'));
    return {};
}

// The control of type W in `window` with object name `name`, else the one
// whose accessible name or label is `name`. A missing or ambiguous name ends the
// test run with the name: the window has changed under the tests.
template <class W>
W &control(QWidget &window, const QString &name)
{
    const QList<W *> all = window.findChildren<W *>();
    for (W *w : all)
        if (w->objectName() == name)
            return *w;
    W *found = nullptr;
    int matches = 0;
    for (W *w : all) {
        if (accessibleName(w) == name || w->accessibleName() == name || labelOf(window, w) == name) {
            found = found ? found : w;
            ++matches;
        }
    }
    if (matches != 1)
        qFatal("%d controls of type %s named \"%s\" in %s", matches, W::staticMetaObject.className(), qPrintable(name),
               window.metaObject()->className());
    return *found;
}

inline QAbstractButton &button(QWidget &window, const QString &name)
{
    return control<QAbstractButton>(window, name);
}
inline QLineEdit &field(QWidget &window, const QString &name)
{
    return control<QLineEdit>(window, name);
}
inline QComboBox &list(QWidget &window, const QString &name)
{
    return control<QComboBox>(window, name);
}

inline void click(QWidget &window, const QString &name)
{
    QTest::mouseClick(&button(window, name), Qt::LeftButton);
}

// The operator picks entry `index` of the list.
inline void choose(QComboBox &list, int index)
{
    list.setCurrentIndex(index);
    emit list.activated(index);
}

// The operator replaces the field's text by `text`.
inline void type(QLineEdit &edit, const QString &text)
{
    setTextAsTyped(&edit, text);
}

// The operator clicks the box until it shows `on`.
inline void check(QAbstractButton &box, bool on)
{
    if (box.isChecked() != on)
        box.click();
}

// What the desktop's accessibility interface does for dictation, switch
// access and test tools: it sets a field's text, toggles a box or a radio
// button, and presses a button, without a key or a click.
inline void setByAccessibility(QWidget &w, const QString &text)
{
    QAccessibleInterface *a = QAccessible::queryAccessibleInterface(&w);
    ASSERT_NE(a, nullptr);
    a->setText(QAccessible::Value, text);
}
inline void actByAccessibility(QWidget &w, const QString &action)
{
    QAccessibleInterface *a = QAccessible::queryAccessibleInterface(&w);
    ASSERT_TRUE(a && a->actionInterface());
    ASSERT_TRUE(a->actionInterface()->actionNames().contains(action)) << qPrintable(action);
    a->actionInterface()->doAction(action);
}
inline void toggleByAccessibility(QAbstractButton &box)
{
    actByAccessibility(box, QAccessibleActionInterface::toggleAction());
}

} // namespace cz::test
