// A probe's vertical meter (78 x 360 pixels): the scale with its zones,
// the rail and the pointer, and the reading above it. Repaints only when
// what it shows changes.
#pragma once

#include "ui/meter/MeterLook.h"

#include <QPixmap>
#include <QWidget>

namespace cz {

class ProbeMeter final : public QWidget {
    Q_OBJECT
public:
    static constexpr int kWidth = 78, kHeight = 360;
    static constexpr int kScaleX = 30, kScaleTop = 40, kScaleWidth = 20, kScaleLength = 300;

    explicit ProbeMeter(QWidget *parent = nullptr);
    // Shows `look`; false (and no repaint) when it is what is shown already.
    bool setLook(const MeterLook &look);
    const MeterLook &look() const { return look_; }
    // The pixel row of `value` on the scale (clamped to it).
    int rowOf(double value) const;
    int paints() const { return paints_; }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void paintBackground(QPainter &painter);
    void paintReading(QPainter &painter);

    MeterLook look_;
    MeterLook backgroundLook_;
    QPixmap background_;
    bool shown_ = false;
    int paints_ = 0;
};

} // namespace cz
