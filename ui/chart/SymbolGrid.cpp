#include "ui/chart/SymbolGrid.h"

#include "ui/chart/ChartSymbols.h"

#include <qcustomplot.h>
#include <QKeyEvent>
#include <QToolTip>
#include <QVBoxLayout>

namespace cz {

namespace {

constexpr double kSize = 12;
constexpr int kColumns = 6;
const QColor kDefaultSymbolColor(0xE0, 0xE0, 0xE0);
// A click this far (pixels) around a symbol still chooses it.
constexpr int kClickSlack = 8;

double gridX(int symbol) { return symbol % kColumns + 1; }
double gridY(int symbol) { return symbol / kColumns + 1; }

} // namespace

SymbolGrid::SymbolGrid(int symbol, const QColor &color, const QColor &background, QWidget *parent)
    : QWidget(parent), current_(symbol)
{
    setFocusPolicy(Qt::StrongFocus);
    plot_ = new QCustomPlot(this);
    plot_->setFixedSize(350, 300);
    plot_->setBackground(background);
    plot_->axisRect()->setBackground(background);
    plot_->axisRect()->setAutoMargins(QCP::msNone);
    plot_->axisRect()->setMargins(QMargins(0, 0, 0, 0));
    for (QCPAxis *axis : plot_->axisRect()->axes())
        axis->setVisible(false);
    plot_->xAxis->setRange(0.3, kColumns + 0.7);
    plot_->yAxis->setRange(0.3, kColumns + 0.7);
    plot_->yAxis->setRangeReversed(true);  // the first symbols on top
    const QColor fill = color.rgb() == QColor(Qt::black).rgb() || !color.isValid() ? kDefaultSymbolColor : color;
    const QColor edge = fill.lighter(60);
    for (int i = 0; i < kChartSymbolCount; ++i) {
        QCPGraph *g = plot_->addGraph();
        g->setName(symbolName(i));
        g->setLineStyle(QCPGraph::lsNone);
        g->setScatterStyle(symbolStyle(i, fill, edge, kSize));
        g->addData(gridX(i), gridY(i));
    }
    mark_ = new QCPItemRect(plot_);
    mark_->setPen(QPen(fill, 1, Qt::DotLine));
    mark_->setBrush(Qt::NoBrush);
    plot_->installEventFilter(this);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(plot_);
    setAccessibleName(QStringLiteral("Symbols"));
    showCurrent();
}

QPoint SymbolGrid::symbolCentre(int symbol) const
{
    return QPoint(int(plot_->xAxis->coordToPixel(gridX(symbol))), int(plot_->yAxis->coordToPixel(gridY(symbol))));
}

int SymbolGrid::symbolAt(const QPoint &pos) const
{
    // Each symbol's image-map box, enlarged a little, like the tooltip's.
    const int half = int(kSize / 2) + kClickSlack;
    for (int i = 0; i < kChartSymbolCount; ++i) {
        const QPoint c = symbolCentre(i);
        if (QRect(c.x() - half, c.y() - half, 2 * half, 2 * half).contains(pos))
            return i;
    }
    return -1;
}

void SymbolGrid::setCurrent(int symbol)
{
    current_ = symbol;
    showCurrent();
    emit currentChanged(symbol);
}

void SymbolGrid::showCurrent()
{
    mark_->setVisible(current_ >= 0);
    if (current_ >= 0) {
        mark_->topLeft->setCoords(gridX(current_) - 0.4, gridY(current_) - 0.4);
        mark_->bottomRight->setCoords(gridX(current_) + 0.4, gridY(current_) + 0.4);
    }
    setAccessibleDescription(QStringLiteral("Selected: %1").arg(symbolName(current_)));
    plot_->replot(QCustomPlot::rpQueuedReplot);
}

bool SymbolGrid::eventFilter(QObject *watched, QEvent *event)
{
    if (watched != plot_)
        return QWidget::eventFilter(watched, event);
    if (event->type() == QEvent::ToolTip) {
        auto *help = static_cast<QHelpEvent *>(event);
        const int at = symbolAt(help->pos());
        if (at >= 0)
            QToolTip::showText(help->globalPos(), symbolName(at), plot_);
        else
            QToolTip::hideText();
        return true;
    }
    if (event->type() == QEvent::MouseButtonPress || event->type() == QEvent::MouseButtonDblClick) {
        auto *mouse = static_cast<QMouseEvent *>(event);
        const int at = symbolAt(mouse->pos());
        setFocus(Qt::MouseFocusReason);
        if (at >= 0) {
            setCurrent(at);
            if (event->type() == QEvent::MouseButtonDblClick)
                emit chosen(at);
        }
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

void SymbolGrid::keyPressEvent(QKeyEvent *event)
{
    int at = current_ < 0 ? 0 : current_;
    switch (event->key()) {
    case Qt::Key_Left: at = std::max(at - 1, 0); break;
    case Qt::Key_Right: at = std::min(at + 1, kChartSymbolCount - 1); break;
    case Qt::Key_Up: at = at >= kColumns ? at - kColumns : at; break;
    case Qt::Key_Down: at = at + kColumns < kChartSymbolCount ? at + kColumns : at; break;
    case Qt::Key_Home: at = 0; break;
    case Qt::Key_End: at = kChartSymbolCount - 1; break;
    default: QWidget::keyPressEvent(event); return;
    }
    setCurrent(at);
}

void SymbolGrid::focusInEvent(QFocusEvent *event)
{
    mark_->setPen(QPen(mark_->pen().color(), 2, Qt::SolidLine));
    showCurrent();
    QWidget::focusInEvent(event);
}

void SymbolGrid::focusOutEvent(QFocusEvent *event)
{
    mark_->setPen(QPen(mark_->pen().color(), 1, Qt::DotLine));
    showCurrent();
    QWidget::focusOutEvent(event);
}

} // namespace cz
