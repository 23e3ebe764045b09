#include "ui/chart/ChartPlot.h"

#include "ui/chart/ChartSeries.h"
#include "ui/chart/ChartSymbols.h"
#include "ui/widgets/ColorSwatch.h"

#include <QPainter>
#include <QToolTip>

namespace cz {

namespace {

constexpr int kMinimumDrag = 30;
constexpr int kHotSpotRadius = 7;
constexpr double kSymbolSize = 12;
// Drawn without smoothing on screen too: legend lines in their exact
// colours, crisp axes and grid.
constexpr QCP::AntialiasedElements kSharpElements = QCP::aeLegendItems | QCP::aeLegend | QCP::aeAxes | QCP::aeGrid;

QColor rgbColor(std::int32_t rgb)
{
    return QColor(QRgb(0xFF000000u | std::uint32_t(rgb & 0xFFFFFF)));
}

QFont chartFont(bool italic, int pointSize)
{
    QFont font(QStringLiteral("Liberation Sans"), pointSize, QFont::Bold, italic);
    font.setStyleHint(QFont::SansSerif);
    return font;
}

} // namespace

// The title bar: the device name on a light raised band.
class ChartTitle final : public QCPTextElement {
public:
    ChartTitle(QCustomPlot *plot, const QString &text) : QCPTextElement(plot, text, chartFont(true, 15))
    {
        setTextColor(Qt::black);
        setMargins(QMargins(0, 4, 0, 4));
    }

protected:
    void draw(QCPPainter *painter) override
    {
        const QRectF band = QRectF(mRect).adjusted(1, 1, -1, -1);
        QLinearGradient glass(band.topLeft(), band.bottomLeft());
        glass.setColorAt(0, QColor(0xF4, 0xF4, 0xF4));
        glass.setColorAt(0.5, QColor(0xDD, 0xDD, 0xDD));
        glass.setColorAt(1, QColor(0xC8, 0xC8, 0xC8));
        painter->setPen(Qt::NoPen);
        painter->setBrush(glass);
        painter->drawRect(band);
        painter->setPen(QColor(0xFF, 0xFF, 0xFF));
        painter->drawLine(band.topLeft(), band.topRight());
        painter->setPen(QColor(0x90, 0x90, 0x90));
        painter->drawLine(band.bottomLeft(), band.bottomRight());
        QCPTextElement::draw(painter);
    }
};

ChartPlot::ChartPlot(const DeviceRecord &device, QWidget *parent) : QCustomPlot(parent), device_(device)
{
    setAccessibleName(QStringLiteral("Chart"));
    setFocusPolicy(Qt::NoFocus);
    setNoAntialiasingOnDrag(true);
    setNotAntialiasedElements(kSharpElements);

    // Title, legend and plot area, top to bottom.
    plotLayout()->insertRow(0);
    title_ = new ChartTitle(this, QString());
    plotLayout()->addElement(0, 0, title_);
    plotLayout()->insertRow(1);
    auto *legendRow = new QCPLayoutGrid;
    plotLayout()->addElement(1, 0, legendRow);
    axisRect()->insetLayout()->take(legend);
    legendRow->addElement(0, 0, legend);
    legendRow->setMargins(QMargins(35, 2, 5, 0));
    plotLayout()->setRowStretchFactor(0, 0.001);
    plotLayout()->setRowStretchFactor(1, 0.001);
    plotLayout()->setRowSpacing(2);
    legend->setVisible(true);
    legend->setFillOrder(QCPLegend::foColumnsFirst, false);
    legend->setWrap(4);
    legend->setBrush(Qt::NoBrush);
    legend->setBorderPen(Qt::NoPen);
    legend->setFont(chartFont(false, 9));
    legend->setTextColor(Qt::white);
    legend->setSelectableParts(QCPLegend::spNone);
    legend->setRowSpacing(0);
    legend->setColumnSpacing(8);
    addLayer(QStringLiteral("front"), layer(QStringLiteral("main")), QCustomPlot::limAbove);

    auto ticker = QSharedPointer<QCPAxisTickerDateTime>::create();
    ticker->setDateTimeFormat(QStringLiteral("MM/dd hh:mm"));
    xAxis->setTicker(ticker);
    xAxis2->setVisible(true);
    xAxis2->setTicks(false);
    xAxis2->setTickLabels(false);
    yAxis->setLabel(QStringLiteral("Temperature"));
    yAxis2->setLabel(QStringLiteral("Humidity / Wetness"));
    yAxis2->setVisible(true);
    for (QCPAxis *axis : {yAxis, yAxis2})
        axis->setLabelFont(chartFont(true, 12));
    for (QCPAxis *axis : {xAxis, yAxis, yAxis2})
        axis->setTickLabelFont(QFont(QStringLiteral("Liberation Sans"), 8));
    xAxis->grid()->setVisible(true);
    yAxis->grid()->setVisible(true);

    for (QCPItemText **marker : {&openMarker_, &closedMarker_}) {
        *marker = new QCPItemText(this);
        (*marker)->setClipToAxisRect(false);
        (*marker)->setFont(chartFont(false, 12));
        (*marker)->position->setTypeX(QCPItemPosition::ptAbsolute);
        (*marker)->position->setTypeY(QCPItemPosition::ptPlotCoords);
        (*marker)->position->setAxes(xAxis, yAxis2);
        (*marker)->setPositionAlignment(Qt::AlignCenter);
        (*marker)->setLayer(QStringLiteral("front"));
    }
    openMarker_->setText(QStringLiteral("O"));
    closedMarker_->setText(QStringLiteral("C"));
}

void ChartPlot::setColors(const ProgramSettings &s)
{
    plotArea_ = colorFromSetting(s.PlotAreaColor);
    legendArea_ = colorFromSetting(s.LegendAreaColor);
    timeAxis_ = colorFromSetting(s.XAxisColor);
    tempAxis_ = colorFromSetting(s.YAxis1Color);
    humAxis_ = colorFromSetting(s.YAxis2Color);
    grid_ = colorFromSetting(s.GridColor);
}

void ChartPlot::buildSeries()
{
    for (Series &s : series_) {
        removeGraph(s.bridge);
        removeGraph(s.line);
    }
    series_.clear();
    for (int probe : seriesOrder(device_.probeSlots())) {
        Series s;
        s.probe = probe;
        s.bridge = addGraph(xAxis, yAxis);
        s.bridge->removeFromLegend();
        s.bridge->setSelectable(QCP::stNone);
        s.line = addGraph(xAxis, yAxis);
        s.line->setSelectable(QCP::stNone);
        series_.push_back(s);
    }
    builtProbeCount_ = device_.probeSlots();
}

void ChartPlot::showView(const ChartView &view, double now, int selected)
{
    if (builtProbeCount_ != device_.probeSlots())
        buildSeries();
    for (const Series &s : series_) {
        // Each drawing follows the probe's type: its axis and line style.
        const ProbeRecord *p = device_.probe(s.probe);
        QCPAxis *axis = p && p->ProbeType == ProbeType::Temperature ? yAxis : yAxis2;
        s.line->setValueAxis(axis);
        s.bridge->setValueAxis(axis);
        s.line->setLineStyle(p && p->ProbeType == ProbeType::Switch ? QCPGraph::lsStepLeft : QCPGraph::lsLine);
    }

    title_->setText(QString::fromUtf8(device_.DeviceName.bytes()));
    setBackground(legendArea_);
    axisRect()->setBackground(plotArea_);
    struct AxisLook {
        QCPAxis *axis;
        QColor color;
    };
    for (const AxisLook &a : {AxisLook{xAxis, timeAxis_}, AxisLook{xAxis2, timeAxis_}, AxisLook{yAxis, tempAxis_},
                               AxisLook{yAxis2, humAxis_}}) {
        a.axis->setBasePen(QPen(a.color, 2));
        a.axis->setTickPen(QPen(a.color, 1));
        a.axis->setSubTickPen(QPen(a.color, 1));
        a.axis->setTickLabelColor(a.color);
        a.axis->setLabelColor(a.color);
        a.axis->grid()->setPen(QPen(grid_, 1, Qt::DotLine));
        a.axis->grid()->setSubGridVisible(false);
    }
    yAxis->setRange(view.tempLower, view.tempUpper);
    yAxis2->setRange(view.humLower, view.humUpper);

    std::vector<double> times;
    sampleTimes(device_, view.first, view.last, now, times);
    if (!times.empty()) {
        const double from = times.front(), to = std::max(times.back(), times.front() + 1);
        xAxis->setRange(from, to);
        xAxis2->setRange(from, to);
    }
    const int plotWidth = std::max(axisRect()->width(), 200);
    setTickDensity(plotWidth, axisRect()->height());

    const bool symbols = view.pointCount() < kSymbolPointLimit;
    SeriesPoints points;
    bool anySwitch = false;
    for (std::size_t position = 0; position < series_.size(); ++position) {
        const Series &s = series_[position];
        const ProbeRecord *p = device_.probe(s.probe);
        if (!p)
            continue;
        anySwitch = anySwitch || p->ProbeType == ProbeType::Switch;
        const QColor color = p->ProbeEnabled ? colorFromSetting(p->ChartDataColor) : rgbColor(kDisabledSeriesColor);
        seriesPoints(device_, s.probe, view.first, times, 2 * plotWidth, points);
        s.line->data()->set(points.line, true);
        s.bridge->data()->set(points.bridges, true);
        s.line->setName(legendEntry(device_, s.probe));
        const bool withSymbol = symbols && p->ChartDataSymbol >= 0;
        QPen pen(color, withSymbol ? 1 : std::clamp(device_.PlotLineWidth, 1, 5));
        s.line->setPen(pen);
        s.line->setScatterStyle(withSymbol ? symbolStyle(p->ChartDataSymbol, color, grid_, kSymbolSize)
                                           : QCPScatterStyle(QCPScatterStyle::ssNone));
        pen.setStyle(Qt::DashLine);
        pen.setWidth(1);
        s.bridge->setPen(pen);
        s.line->setLayer(int(position) == selected ? QStringLiteral("front") : QStringLiteral("main"));
    }
    // Screen readers get what the legend says.
    QStringList entries;
    for (const Series &s : series_)
        entries << s.line->name();
    setAccessibleName(QStringLiteral("Chart of %1").arg(title_->text()));
    setAccessibleDescription(entries.join(QStringLiteral("; ")));
    openMarker_->setVisible(anySwitch);
    closedMarker_->setVisible(anySwitch);
    for (QCPItemText *marker : {openMarker_, closedMarker_})
        marker->setColor(humAxis_);
    placeSwitchMarkers(width());
}

QImage ChartPlot::image(int width, int height, double scale)
{
    placeSwitchMarkers(width);
    setTickDensity(width - 120, height - 160);
    // Files and prints get lines in their exact colours, without smoothing.
    const QCP::AntialiasedElements smooth = antialiasedElements(), sharp = notAntialiasedElements();
    setNotAntialiasedElements(QCP::aeAll);
    const QImage picture = toPixmap(width, height, scale).toImage();
    setAntialiasedElements(smooth);
    setNotAntialiasedElements(sharp);
    placeSwitchMarkers(this->width());
    setTickDensity(axisRect()->width(), axisRect()->height());
    return picture;
}

void ChartPlot::setTickDensity(int plotWidth, int plotHeight)
{
    // Time labels about 100 pixels apart (the ticker rounds to whole
    // minutes and hours, so never closer than 75), humidity every 40.
    xAxis->ticker()->setTickCount(std::max(2, plotWidth / 100));
    yAxis2->ticker()->setTickCount(std::max(2, plotHeight / 40));
}

void ChartPlot::placeSwitchMarkers(int chartWidth)
{
    openMarker_->position->setCoords(chartWidth - 18, kSwitchOpen);
    closedMarker_->position->setCoords(chartWidth - 18, kSwitchClosed);
}

QCPGraph *ChartPlot::seriesGraph(int position) const
{
    return position >= 0 && position < int(series_.size()) ? series_[std::size_t(position)].line : nullptr;
}

QList<QRgb> ChartPlot::seriesColors() const
{
    QList<QRgb> colors;
    for (const Series &s : series_)
        colors << s.line->pen().color().rgb();
    return colors;
}

int ChartPlot::probeAtGraph(const QCPGraph *graph) const
{
    for (const Series &s : series_)
        if (s.line == graph)
            return s.probe;
    return -1;
}

QString ChartPlot::hotSpotAt(const QPoint &pos, int *probe) const
{
    *probe = -1;
    for (int i = 0; i < legend->itemCount(); ++i) {
        auto *item = qobject_cast<QCPPlottableLegendItem *>(legend->item(i));
        if (!item || !item->visible() || !item->outerRect().contains(pos))
            continue;
        const int found = probeAtGraph(qobject_cast<QCPGraph *>(item->plottable()));
        if (const ProbeRecord *p = device_.probe(found)) {
            *probe = found;
            return legendTooltip(*p);
        }
    }
    const QRect area = axisRect()->rect();
    if (!area.adjusted(-kHotSpotRadius, -kHotSpotRadius, kHotSpotRadius, kHotSpotRadius).contains(pos))
        return {};
    // The data point nearest the pointer, within a few pixels.
    double best = kHotSpotRadius * kHotSpotRadius + 1;
    QString title;
    for (const Series &s : series_) {
        const QCPGraph *g = s.line;
        QCPAxis *x = g->keyAxis(), *y = g->valueAxis();
        const double from = x->pixelToCoord(pos.x() - kHotSpotRadius), to = x->pixelToCoord(pos.x() + kHotSpotRadius);
        for (auto it = g->data()->findBegin(from); it != g->data()->constEnd() && it->key <= to; ++it) {
            if (std::isnan(it->value))
                continue;
            const double dx = x->coordToPixel(it->key) - pos.x(), dy = y->coordToPixel(it->value) - pos.y();
            const double d = dx * dx + dy * dy;
            if (d < best) {
                best = d;
                *probe = s.probe;
                title = pointTooltip(device_, s.probe, it->value, it->key);
            }
        }
    }
    return title;
}

bool ChartPlot::event(QEvent *e)
{
    if (e->type() == QEvent::ToolTip) {
        auto *help = static_cast<QHelpEvent *>(e);
        int probe = -1;
        const QString text = hotSpotAt(help->pos(), &probe);
        if (text.isEmpty())
            QToolTip::hideText();
        else
            QToolTip::showText(help->globalPos(), text, this);
        return true;
    }
    return QCustomPlot::event(e);
}

void ChartPlot::mousePressEvent(QMouseEvent *e)
{
    const bool inPlot = axisRect()->rect().contains(e->pos());
    if (e->button() == Qt::RightButton && inPlot) {
        emit resetRequested();
        return;
    }
    if (e->button() == Qt::LeftButton) {
        dragging_ = true;
        dragStart_ = e->pos();
        dragRect_ = QRect();
    }
    QCustomPlot::mousePressEvent(e);
}

void ChartPlot::mouseMoveEvent(QMouseEvent *e)
{
    if (dragging_ && axisRect()->rect().contains(dragStart_)) {
        dragRect_ = QRect(dragStart_, e->pos()).normalized().intersected(axisRect()->rect());
        update();
    }
    QCustomPlot::mouseMoveEvent(e);
}

void ChartPlot::mouseReleaseEvent(QMouseEvent *e)
{
    if (e->button() == Qt::LeftButton && dragging_) {
        dragging_ = false;
        const QRect area = axisRect()->rect();
        const QRect drag = QRect(dragStart_, e->pos()).normalized().intersected(area);
        dragRect_ = QRect();
        update();
        const bool wide = drag.width() >= kMinimumDrag, tall = drag.height() >= kMinimumDrag;
        if (area.contains(dragStart_) && (wide || tall) && area.width() > 0 && area.height() > 0) {
            // A drag shorter than the minimum in one direction keeps that
            // axis whole.
            ViewPort port;
            if (wide) {
                port.left = double(drag.left() - area.left()) / area.width();
                port.width = double(drag.width()) / area.width();
            }
            if (tall) {
                port.top = double(drag.top() - area.top()) / area.height();
                port.height = double(drag.height()) / area.height();
            }
            emit zoomRequested(port, e->modifiers() & Qt::ShiftModifier);
        } else {
            emit clicked(e->pos());
        }
    }
    QCustomPlot::mouseReleaseEvent(e);
}

void ChartPlot::paintEvent(QPaintEvent *e)
{
    QCustomPlot::paintEvent(e);
    if (dragRect_.isValid()) {
        QPainter painter(this);
        painter.setPen(QPen(grid_, 1, Qt::DashLine));
        painter.drawRect(dragRect_.adjusted(0, 0, -1, -1));
    }
}

} // namespace cz
