#include "ui/chart/ChartSymbols.h"

#include <qcustomplot.h>
#include <QHash>
#include <QPainter>
#include <QPixmap>
#include <QRadialGradient>
#include <QtMath>

namespace cz {

const std::array<ChartSymbol, kChartSymbolCount> kChartSymbols = {{
    {"Circle", 7},
    {"Glass Sphere 1", 15},
    {"Glass Sphere 2", 16},
    {"Solid Sphere", 17},
    {"Square", 1},
    {"Diamond", 2},
    {"Triangle", 3},
    {"Right Triangle", 4},
    {"Left Triangle", 5},
    {"Inverted Triangle", 6},
    {"Three Point Star", 0x300D},
    {"Four Point Star", 0x400D},
    {"Five Point Star", 0x500D},
    {"Six Point Star", 0x600D},
    {"Seven Point Star", 0x700D},
    {"Eight Point Star", 0x800D},
    {"Nine Point Star", 0x900D},
    {"Ten Point Star", 0xA00D},
    {"Pentagon", 0x500B},
    {"Inverted Pentagon", 0x500C},
    {"Hexagon", 0x600B},
    {"Rotated Hexagon", 0x600C},
    {"One Pixel Cross", 0x19A008},
    {"Two Pixel Cross", 0x333008},
    {"Three Pixel Cross", 0x4CD008},
    {"Four Pixel Cross", 0x666008},
    {"Five Pixel Cross", 0x800008},
    {"Six Pixel Cross", 0x999008},
    {"Seven Pixel Cross", 0xB33008},
    {"One Pixel X", 0x333009},
    {"Two Pixel X", 0x4CD009},
    {"Three Pixel X", 0x666009},
    {"Four Pixel X", 0x800009},
    {"Five Pixel X", 0x999009},
    {"Six Pixel X", 0xB33009},
    {"Seven Pixel X", 0xCCC009},
}};

namespace {

constexpr double kR = 3.0;  // half the symbol size in path units

enum Shape {
    Square = 1, Diamond, Triangle, RightTriangle, LeftTriangle, InvertedTriangle, Circle, Cross, DiagonalCross,
    Polygon = 11, RotatedPolygon, Star, GlassSphere = 15, GlassSphere2, SolidSphere
};

QPainterPath polygon(const QList<QPointF> &points)
{
    QPainterPath path;
    path.addPolygon(QPolygonF(points));
    path.closeSubpath();
    return path;
}

// Corners of a regular polygon (or the points of a star with `inner`
// radius) starting straight up, turned by `turn` radians.
QPainterPath regular(int corners, double inner, double turn)
{
    QList<QPointF> points;
    const int steps = inner > 0 ? 2 * corners : corners;
    for (int k = 0; k < steps; ++k) {
        const double r = (inner > 0 && k % 2) ? inner : kR;
        const double a = turn - M_PI / 2 + 2 * M_PI * k / steps;
        points << QPointF(r * std::cos(a), r * std::sin(a));
    }
    return polygon(points);
}

// A plus sign whose arms are `width` (a fraction of the symbol size) wide.
QPainterPath cross(double width)
{
    const double w = std::clamp(width, 0.02, 1.0) * kR;  // half the arm width
    QPainterPath path;
    path.setFillRule(Qt::WindingFill);
    path.addRect(QRectF(-kR, -w, 2 * kR, 2 * w));
    path.addRect(QRectF(-w, -kR, 2 * w, 2 * kR));
    return path.simplified();
}

} // namespace

QPainterPath symbolPath(std::int32_t code)
{
    const int shape = code & 0xFFF;
    const int param = int(std::uint32_t(code) >> 12);
    switch (shape) {
    case Square: return polygon({{-kR, -kR}, {kR, -kR}, {kR, kR}, {-kR, kR}});
    case Diamond: return polygon({{0, -kR}, {kR, 0}, {0, kR}, {-kR, 0}});
    case Triangle: return polygon({{0, -kR}, {kR, kR * 0.8}, {-kR, kR * 0.8}});
    case RightTriangle: return polygon({{kR, 0}, {-kR * 0.8, kR}, {-kR * 0.8, -kR}});
    case LeftTriangle: return polygon({{-kR, 0}, {kR * 0.8, -kR}, {kR * 0.8, kR}});
    case InvertedTriangle: return polygon({{0, kR}, {-kR, -kR * 0.8}, {kR, -kR * 0.8}});
    case Cross: return cross(param / 4096.0);
    case DiagonalCross: return QTransform().rotate(45).map(cross(param / 4096.0));
    case Polygon: return regular(std::max(param, 3), 0, 0);
    case RotatedPolygon: return regular(std::max(param, 3), 0, M_PI / std::max(param, 3));
    case Star: {
        const int points = std::max(param, 3);
        return regular(points, points == 3 ? kR * 0.3 : kR * 0.45, 0);
    }
    case Circle:
    case GlassSphere:
    case GlassSphere2:
    case SolidSphere:
    default: {
        QPainterPath path;
        path.addEllipse(QPointF(0, 0), kR, kR);
        return path;
    }
    }
}

QBrush symbolBrush(std::int32_t code, const QColor &color)
{
    const int shape = code & 0xFFF;
    if (shape != GlassSphere && shape != GlassSphere2 && shape != SolidSphere)
        return QBrush(color);
    // Shading in the symbol's own box, so it scales with the symbol.
    QRadialGradient g(shape == SolidSphere ? QPointF(0.5, 0.5) : QPointF(0.35, 0.3), 0.6);
    g.setCoordinateMode(QGradient::ObjectBoundingMode);
    // The body of every sphere keeps the exact colour, so the series reads
    // the same in the legend, on screen and in saved images.
    if (shape == SolidSphere) {
        g.setFocalPoint(0.35, 0.35);
        g.setColorAt(0, color.lighter(170));
        g.setColorAt(0.3, color);
        g.setColorAt(0.75, color);
        g.setColorAt(1, color.darker(180));
    } else {
        g.setColorAt(0, Qt::white);
        g.setColorAt(shape == GlassSphere ? 0.2 : 0.3, color);
        g.setColorAt(0.8, color);
        g.setColorAt(1, color.darker(shape == GlassSphere ? 130 : 160));
    }
    return QBrush(g);
}

void drawSymbol(QPainter &painter, int index, const QColor &fill, const QColor &edge, double size, QPointF centre)
{
    if (index < 0 || index >= kChartSymbolCount)
        return;
    const std::int32_t code = kChartSymbols[std::size_t(index)].code;
    QPen pen(edge, 1);
    pen.setCosmetic(true);  // one pixel whatever the symbol's size
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(centre);
    painter.scale(size / 6.0, size / 6.0);
    painter.setPen(pen);
    painter.setBrush(symbolBrush(code, fill));
    painter.drawPath(symbolPath(code));
    painter.restore();
}

QCPScatterStyle symbolStyle(int index, const QColor &fill, const QColor &edge, double size)
{
    if (index < 0 || index >= kChartSymbolCount)
        return QCPScatterStyle(QCPScatterStyle::ssNone);
    // Each point is a copy of one picture: a month of symbols costs little
    // more than a line.
    static QHash<QString, QPixmap> cache;
    const QString key = QStringLiteral("%1/%2/%3/%4").arg(index).arg(fill.rgba()).arg(edge.rgba()).arg(size);
    auto found = cache.constFind(key);
    if (found == cache.cend()) {
        const int side = int(std::ceil(size)) + 2 + (int(std::ceil(size)) % 2);
        QPixmap picture(side, side);
        picture.fill(Qt::transparent);
        QPainter painter(&picture);
        drawSymbol(painter, index, fill, edge, size, QPointF(side / 2.0, side / 2.0));
        painter.end();
        found = cache.insert(key, picture);
    }
    return QCPScatterStyle(found.value());
}

QString symbolName(int index)
{
    return index >= 0 && index < kChartSymbolCount ? QString::fromLatin1(kChartSymbols[std::size_t(index)].name)
                                                   : QStringLiteral("No Symbol");
}

} // namespace cz
