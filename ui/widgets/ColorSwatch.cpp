#include "ColorSwatch.h"

#include <QColorDialog>
#include <QKeyEvent>
#include <QPainter>
#include <QStyle>
#include <QStyleOptionFocusRect>

namespace cz {

ColorSwatch::ColorSwatch(const QString &what, QWidget *parent) : QWidget(parent), what_(what)
{
    setFocusPolicy(Qt::StrongFocus);
    setMinimumSize(36, 18);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setColor(Qt::black);
}

void ColorSwatch::setColor(const QColor &color)
{
    color_ = color;
    const QString name = color.name(QColor::HexRgb).toUpper();
    setAccessibleName(QStringLiteral("%1 colour %2").arg(what_, name));
    setToolTip(name);
    update();
}

void ColorSwatch::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(rect(), palette().color(QPalette::Mid));
    painter.fillRect(rect().adjusted(2, 2, -2, -2), color_);
    if (hasFocus()) {
        QStyleOptionFocusRect focus;
        focus.initFrom(this);
        focus.rect = rect();
        style()->drawPrimitive(QStyle::PE_FrameFocusRect, &focus, &painter, this);
    }
}

void ColorSwatch::mouseDoubleClickEvent(QMouseEvent *)
{
    emit activated();
}

void ColorSwatch::keyPressEvent(QKeyEvent *event)
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

bool chooseColor(QWidget *parent, QColor &color)
{
    QColorDialog dialog(color, parent);
    dialog.setOption(QColorDialog::DontUseNativeDialog);
    if (dialog.exec() != QDialog::Accepted || !dialog.selectedColor().isValid())
        return false;
    color = dialog.selectedColor();
    return true;
}

} // namespace cz
