// The 36 data-point symbols of the charts: names, the symbol codes stored
// with them (low 12 bits the shape, the bits above its parameter) and the
// shapes drawn for them.
#pragma once

#include <QBrush>
#include <QColor>
#include <QPainterPath>
#include <QString>

#include <array>
#include <cstdint>

class QCPScatterStyle;
class QPainter;

namespace cz {

struct ChartSymbol {
    const char *name;
    std::int32_t code;
};

inline constexpr int kChartSymbolCount = 36;
extern const std::array<ChartSymbol, kChartSymbolCount> kChartSymbols;

// The name of symbol `index` (0 .. 35), "No Symbol" for any other.
QString symbolName(int index);

// The outline of a symbol code, centred on 0,0 and filling -3 .. 3 (the
// chart scales custom shapes by size / 6).
QPainterPath symbolPath(std::int32_t code);
// The fill of a symbol: flat, or shaded for the three spheres.
QBrush symbolBrush(std::int32_t code, const QColor &color);
// Draws symbol `index` (0 .. 35) of `size` pixels centred on `centre`.
void drawSymbol(QPainter &painter, int index, const QColor &fill, const QColor &edge, double size, QPointF centre);
// Symbol `index` (0 .. 35) of `size` pixels in `fill`, edged in `edge`; no
// symbol for any other index.
QCPScatterStyle symbolStyle(int index, const QColor &fill, const QColor &edge, double size);

} // namespace cz
