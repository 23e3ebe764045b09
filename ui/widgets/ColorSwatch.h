// A box painted in a colour that opens the colour chooser. Screen readers
// hear what it is and its colour ("High Alarm Range colour #FF0000").
#pragma once

#include "ui/widgets/PickerBox.h"

#include <QColor>

#include <cstdint>

namespace cz {

class ColorSwatch final : public PickerBox {
    Q_OBJECT
public:
    ColorSwatch(const QString &what, QWidget *parent);
    void setColor(const QColor &color);
    QColor color() const { return color_; }
    QSize sizeHint() const override { return {48, 20}; }

protected:
    void paintContent(QPainter &painter, const QRect &inside) override;

private:
    QString what_;
    QColor color_ = Qt::black;
};

// Colours as the settings store them, 0x00BBGGRR.
QColor colorFromSetting(std::int32_t bgr);
std::int32_t settingFromColor(const QColor &color);

// Opens the colour chooser on `color`; true and the new colour on OK.
bool chooseColor(QWidget *parent, QColor &color);

} // namespace cz
