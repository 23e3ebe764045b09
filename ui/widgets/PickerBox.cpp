#include "ui/widgets/PickerBox.h"

#include <QKeyEvent>
#include <QPainter>
#include <QStyle>
#include <QStyleOptionFocusRect>

namespace cz {

PickerBox::PickerBox(QWidget *parent) : QWidget(parent)
{
    setFocusPolicy(Qt::StrongFocus);
}

void PickerBox::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(rect(), palette().color(QPalette::Mid));
    paintContent(painter, rect().adjusted(2, 2, -2, -2));
    if (hasFocus()) {
        QStyleOptionFocusRect focus;
        focus.initFrom(this);
        focus.rect = rect();
        style()->drawPrimitive(QStyle::PE_FrameFocusRect, &focus, &painter, this);
    }
}

void PickerBox::mouseDoubleClickEvent(QMouseEvent *)
{
    emit activated();
}

void PickerBox::keyPressEvent(QKeyEvent *event)
{
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Space:
    case Qt::Key_F4:
        emit activated();
        return;
    default:
        QWidget::keyPressEvent(event);
    }
}

} // namespace cz
