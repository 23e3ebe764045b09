#include "ui/meter/AlarmStatePictures.h"

#include <QPainter>
#include <QPainterPath>

namespace cz {

namespace {

// An exclamation mark centred across a picture of `s` pixels: its bar
// from `top` (fractions of s) and `width` wide, its dot at `dot`.
void exclamation(QPainter &p, const QColor &color, double s, double top, double width, double dot)
{
    p.setPen(Qt::NoPen);
    p.setBrush(color);
    p.drawRoundedRect(QRectF(s * (0.5 - width / 2), s * top, s * width, s * (dot - top - 0.11)), s * width / 3,
                      s * width / 3);
    p.drawEllipse(QPointF(s / 2, s * dot), s * width * 0.58, s * width * 0.58);
}

} // namespace

void paintTick(QPainter &p, double s, const QColor &color)
{
    p.setPen(QPen(color, s / 8.0, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.setBrush(Qt::NoBrush);
    QPainterPath mark;
    mark.moveTo(s * 0.28, s * 0.52);
    mark.lineTo(s * 0.44, s * 0.68);
    mark.lineTo(s * 0.73, s * 0.34);
    p.drawPath(mark);
}

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
        exclamation(p, Qt::white, s, 0.2, 0.14, 0.74);
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
        exclamation(p, Qt::black, s, 0.32, 0.11, 0.76);
        break;
    }
    case StatePicture::Normal: {
        // A green disc with a white tick.
        p.setPen(outline);
        p.setBrush(QColor(0x20, 0xA0, 0x30));
        p.drawEllipse(box);
        paintTick(p, s, Qt::white);
        break;
    }
    }
    return picture;
}

} // namespace cz
