#include "ui/meter/ProbeMeter.h"

#include <QPainter>
#include <QPainterPath>

#include <cmath>

namespace cz {

ProbeMeter::ProbeMeter(QWidget *parent) : QWidget(parent)
{
    setFixedSize(kWidth, kHeight);
    setAttribute(Qt::WA_OpaquePaintEvent);
}

bool ProbeMeter::setLook(const MeterLook &look)
{
    if (shown_ && look == look_)
        return false;
    look_ = look;
    shown_ = true;
    setAccessibleDescription(look.text);
    update();
    return true;
}

int ProbeMeter::rowOf(double value) const
{
    const double span = look_.high - look_.low;
    const double fraction = span > 0 ? (value - look_.low) / span : 0;
    const double clamped = std::isfinite(fraction) ? std::clamp(fraction, 0.0, 1.0) : 1.0;
    return kScaleTop + kScaleLength - int(std::lround(clamped * kScaleLength));
}

void ProbeMeter::paintEvent(QPaintEvent *)
{
    ++paints_;
    // The frame, zones, scale and captions change only with the thresholds
    // and colours; a new reading repaints the pointer and text on a copy.
    MeterLook still = look_;
    still.pointer = 0;
    still.text.clear();
    if (!(still == backgroundLook_) || background_.isNull() ||
        background_.devicePixelRatio() != devicePixelRatioF()) {
        background_ = QPixmap(size() * devicePixelRatioF());
        background_.setDevicePixelRatio(devicePixelRatioF());
        QPainter b(&background_);
        paintBackground(b);
        backgroundLook_ = still;
    }
    QPainter painter(this);
    painter.drawPixmap(0, 0, background_);
    paintReading(painter);
}

void ProbeMeter::paintBackground(QPainter &painter)
{
    const QRect frame = rect();
    painter.fillRect(frame, Qt::black);
    // White edge, raised by three pixels.
    painter.setPen(Qt::white);
    painter.drawRect(frame.adjusted(0, 0, -1, -1));
    for (int k = 1; k <= 3; ++k) {
        painter.setPen(QColor(0xB0 - 20 * k, 0xB0 - 20 * k, 0xB0 - 20 * k));
        painter.drawLine(k, k, frame.width() - 1 - k, k);
        painter.drawLine(k, k, k, frame.height() - 1 - k);
        painter.setPen(QColor(0x30 + 10 * k, 0x30 + 10 * k, 0x30 + 10 * k));
        painter.drawLine(k, frame.height() - 1 - k, frame.width() - 1 - k, frame.height() - 1 - k);
        painter.drawLine(frame.width() - 1 - k, k, frame.width() - 1 - k, frame.height() - 1 - k);
    }

    // Zones on the scale.
    for (int i = 0; i < look_.zoneCount; ++i) {
        const MeterZone &z = look_.zones[std::size_t(i)];
        const int top = rowOf(std::max(z.from, z.to)), bottom = rowOf(std::min(z.from, z.to));
        if (bottom > top)
            painter.fillRect(QRect(kScaleX, top, kScaleWidth, bottom - top), z.color);
    }
    // The axis and its ticks and labels, on the left.
    painter.setPen(Qt::white);
    painter.drawLine(kScaleX, kScaleTop, kScaleX, kScaleTop + kScaleLength);
    QFont labelFont(QStringLiteral("Liberation Sans"));
    labelFont.setPixelSize(10);
    painter.setFont(labelFont);
    const double span = look_.high - look_.low;
    const double tick = look_.tick > 0 ? look_.tick : (span > 0 ? span : 1);
    if (span >= 0 && span / tick <= 100) {
        for (double v = look_.low; v <= look_.high + 1e-9; v += tick) {
            const int y = rowOf(v);
            painter.drawLine(kScaleX - 4, y, kScaleX, y);
            if (!look_.blankLabels)
                painter.drawText(QRect(0, y - 7, kScaleX - 5, 14), Qt::AlignRight | Qt::AlignVCenter,
                                 QString::number(v, 'g', 6));
        }
    }
    // The rail beside the scale.
    const int railX = kScaleX + kScaleWidth + 1;
    painter.setPen(QPen(look_.pointerColor, 2));
    painter.drawLine(railX, kScaleTop, railX, kScaleTop + kScaleLength);

    if (look_.switchCaptions) {
        // Letters stacked downwards, read from the bottom up.
        QFont mono(QStringLiteral("Liberation Mono"), 10, QFont::Bold);
        painter.setFont(mono);
        painter.setPen(Qt::black);
        const int line = QFontMetrics(mono).height() - 2;
        auto stack = [&](const QString &text, int top) {
            for (int i = 0; i < text.size(); ++i)
                painter.drawText(QRect(kScaleX, top + i * line, kScaleWidth, line), Qt::AlignCenter, text.mid(i, 1));
        };
        stack(QStringLiteral("desolC"), 44);
        stack(QStringLiteral("nepO"), 210);
    }
}

void ProbeMeter::paintReading(QPainter &painter)
{
    const QRect frame = rect();
    const int railX = kScaleX + kScaleWidth + 1;
    const int y = rowOf(look_.pointer);
    QPainterPath pointer;
    pointer.moveTo(railX, y);
    pointer.lineTo(railX + 14, y - 7);
    pointer.lineTo(railX + 14, y + 7);
    pointer.closeSubpath();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Qt::black, 1));
    painter.setBrush(look_.pointerColor);
    painter.drawPath(pointer);
    painter.setRenderHint(QPainter::Antialiasing, false);

    // The reading, white on a black box, centred at the top.
    QFont valueFont(QStringLiteral("Liberation Sans"), 12, QFont::Bold);
    painter.setFont(valueFont);
    const QFontMetrics metrics(valueFont);
    QRect box = metrics.boundingRect(look_.text).adjusted(-2, 0, 2, 0);
    box.moveTop(5);
    box.moveLeft(40 - box.width() / 2);
    painter.fillRect(box.intersected(frame.adjusted(1, 1, -1, -1)), Qt::black);
    painter.setPen(Qt::white);
    painter.drawText(box, Qt::AlignHCenter | Qt::AlignTop, look_.text);
}

} // namespace cz
