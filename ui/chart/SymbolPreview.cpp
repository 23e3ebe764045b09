#include "ui/chart/SymbolPreview.h"

#include "ui/chart/ChartSymbols.h"

#include <QPainter>

namespace cz {

namespace {

constexpr double kSize = 12;

} // namespace

SymbolPreview::SymbolPreview(const QString &what, QWidget *parent) : PickerBox(parent), what_(what)
{
    setFixedSize(28, 28);
    show(-1, Qt::white);
}

void SymbolPreview::show(int symbol, const QColor &color)
{
    symbol_ = symbol;
    color_ = color;
    setAccessibleName(QStringLiteral("%1 %2").arg(what_, symbolName(symbol)));
    setToolTip(symbolName(symbol));
    update();
}

void SymbolPreview::paintContent(QPainter &painter, const QRect &inside)
{
    painter.fillRect(inside, Qt::black);
    drawSymbol(painter, symbol_, color_, QColor(0xB6, 0xB6, 0xB6), kSize, QRectF(inside).center());
}

} // namespace cz
