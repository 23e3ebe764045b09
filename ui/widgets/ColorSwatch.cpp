#include "ui/widgets/ColorSwatch.h"

#include <QColorDialog>
#include <QPainter>

namespace cz {

ColorSwatch::ColorSwatch(const QString &what, QWidget *parent) : PickerBox(parent), what_(what)
{
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

void ColorSwatch::paintContent(QPainter &painter, const QRect &inside)
{
    painter.fillRect(inside, color_);
}

QColor colorFromSetting(std::int32_t bgr)
{
    return QColor(bgr & 0xFF, (bgr >> 8) & 0xFF, (bgr >> 16) & 0xFF);
}

std::int32_t settingFromColor(const QColor &c)
{
    return std::int32_t(c.red() | (c.green() << 8) | (c.blue() << 16));
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
