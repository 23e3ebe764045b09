#include "AlarmStatePictures.h"

#include <QPainter>
#include <QPainterPath>

namespace cz {

QPixmap statePicture(StatePicture which, int size, qreal pixelRatio)
{
    QPixmap picture(int(size * pixelRatio), int(size * pixelRatio));
    picture.setDevicePixelRatio(pixelRatio);
    picture.fill(Qt::transparent);
    QPainter p(&picture);
    p.setRenderHint(QPainter::Antialiasing);
    const double s = size;
    const QRectF box(1, 1, s - 2, s - 2);
    QPen outline(Qt::black, s / 24.0);
    switch (which) {
    case StatePicture::Alarm: {
        // A red octagon with a white exclamation mark.
        QPolygonF octagon;
        for (int k = 0; k < 8; ++k) {
            const double a = M_PI / 8 + k * M_PI / 4;
            octagon << QPointF(s / 2 + (s / 2 - 1) * std::cos(a), s / 2 + (s / 2 - 1) * std::sin(a));
        }
        p.setPen(outline);
        p.setBrush(QColor(0xD0, 0x10, 0x10));
        p.drawPolygon(octagon);
        p.setPen(Qt::NoPen);
        p.setBrush(Qt::white);
        p.drawRoundedRect(QRectF(s * 0.43, s * 0.2, s * 0.14, s * 0.4), s * 0.05, s * 0.05);
        p.drawEllipse(QPointF(s / 2, s * 0.74), s * 0.08, s * 0.08);
        break;
    }
    case StatePicture::Caution: {
        // A yellow triangle with a black exclamation mark.
        QPolygonF triangle{QPointF(s / 2, 2), QPointF(s - 2, s - 3), QPointF(2, s - 3)};
        QPen edge(Qt::black, s / 16.0);
        edge.setJoinStyle(Qt::RoundJoin);
        p.setPen(edge);
        p.setBrush(QColor(0xFF, 0xD0, 0x00));
        p.drawPolygon(triangle);
        p.setPen(Qt::NoPen);
        p.setBrush(Qt::black);
        p.drawRoundedRect(QRectF(s * 0.445, s * 0.32, s * 0.11, s * 0.33), s * 0.04, s * 0.04);
        p.drawEllipse(QPointF(s / 2, s * 0.76), s * 0.065, s * 0.065);
        break;
    }
    case StatePicture::Normal: {
        // A green disc with a white tick.
        p.setPen(outline);
        p.setBrush(QColor(0x20, 0xA0, 0x30));
        p.drawEllipse(box);
        QPen tick(Qt::white, s / 8.0, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
        p.setPen(tick);
        p.setBrush(Qt::NoBrush);
        QPainterPath mark;
        mark.moveTo(s * 0.28, s * 0.52);
        mark.lineTo(s * 0.44, s * 0.68);
        mark.lineTo(s * 0.73, s * 0.34);
        p.drawPath(mark);
        break;
    }
    }
    return picture;
}

} // namespace cz
