#include "DeviceDetails.h"

#include "ChartFiles.h"
#include "ChartSeries.h"
#include "ChartSymbols.h"
#include "ColorSwatch.h"
#include "ColorSymbolDlg.h"
#include "ConfigContext.h"
#include "DeviceStore.h"
#include "FileChooser.h"
#include "FileWrite.h"
#include "FormWidgets.h"
#include "Prompter.h"

#include <qcustomplot.h>

#include <QBuffer>
#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPrinter>
#include <QPushButton>
#include <QShortcut>
#include <QSlider>
#include <QToolTip>
#include <QVBoxLayout>

namespace cz {

namespace {

constexpr int kOutputWidth = 720, kOutputHeight = 500;
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

// The plot with the page's mouse handling: a drag zooms, Shift and a drag
// widens, a click brings a series to the front, a right click resets.
class ChartPlot final : public QCustomPlot {
public:
    explicit ChartPlot(CDeviceDetails &page) : QCustomPlot(&page), page_(page) {}
    QColor dragColor = Qt::white;

protected:
    bool event(QEvent *e) override
    {
        if (e->type() == QEvent::ToolTip) {
            auto *help = static_cast<QHelpEvent *>(e);
            const QString text = page_.toolTipAt(help->pos());
            if (text.isEmpty())
                QToolTip::hideText();
            else
                QToolTip::showText(help->globalPos(), text, this);
            return true;
        }
        return QCustomPlot::event(e);
    }
    void mousePressEvent(QMouseEvent *e) override
    {
        const bool inPlot = axisRect()->rect().contains(e->pos());
        if (e->button() == Qt::RightButton && inPlot) {
            page_.resetChart();
            return;
        }
        if (e->button() == Qt::LeftButton) {
            dragging_ = true;
            dragStart_ = e->pos();
            dragRect_ = QRect();
        }
        QCustomPlot::mousePressEvent(e);
    }
    void mouseMoveEvent(QMouseEvent *e) override
    {
        if (dragging_ && axisRect()->rect().contains(dragStart_)) {
            dragRect_ = QRect(dragStart_, e->pos()).normalized().intersected(axisRect()->rect());
            update();
        }
        QCustomPlot::mouseMoveEvent(e);
    }
    void mouseReleaseEvent(QMouseEvent *e) override
    {
        if (e->button() == Qt::LeftButton && dragging_) {
            dragging_ = false;
            const QRect area = axisRect()->rect();
            const QRect drag = QRect(dragStart_, e->pos()).normalized().intersected(area);
            dragRect_ = QRect();
            update();
            const bool wide = drag.width() >= kMinimumDrag, tall = drag.height() >= kMinimumDrag;
            if (area.contains(dragStart_) && (wide || tall) && area.width() > 0 && area.height() > 0) {
                // A drag shorter than the minimum in one direction keeps
                // that axis whole.
                ViewPort port;
                if (wide) {
                    port.left = double(drag.left() - area.left()) / area.width();
                    port.width = double(drag.width()) / area.width();
                }
                if (tall) {
                    port.top = double(drag.top() - area.top()) / area.height();
                    port.height = double(drag.height()) / area.height();
                }
                page_.zoomTo(port, e->modifiers() & Qt::ShiftModifier);
            } else {
                page_.clickAt(e->pos());
            }
        }
        QCustomPlot::mouseReleaseEvent(e);
    }
    void paintEvent(QPaintEvent *e) override
    {
        QCustomPlot::paintEvent(e);
        if (dragRect_.isValid()) {
            QPainter painter(this);
            painter.setPen(QPen(dragColor, 1, Qt::DashLine));
            painter.drawRect(dragRect_.adjusted(0, 0, -1, -1));
        }
    }

private:
    CDeviceDetails &page_;
    bool dragging_ = false;
    QPoint dragStart_;
    QRect dragRect_;
};

CDeviceDetails::CDeviceDetails(ConfigContext &context, const DeviceRecord &device, QWidget *parent)
    : QWidget(parent), context_(context), device_(device)
{
    plot_ = new ChartPlot(*this);
    plot_->setAccessibleName(QStringLiteral("Chart"));
    plot_->setFocusPolicy(Qt::NoFocus);
    plot_->setNoAntialiasingOnDrag(true);
    plot_->setNotAntialiasedElements(kSharpElements);

    colors_ = plainButton(QStringLiteral("Set Data Line Colors and Data Point Symbols"), this);
    reset_ = plainButton(QStringLiteral("Reset Chart (Cancel Scroll and/or Zoom)"), this);
    reset_->setEnabled(false);
    slider_ = new QSlider(Qt::Horizontal, this);
    slider_->setAccessibleName(QStringLiteral("Chart scroll position"));
    slider_->setSingleStep(1);
    slider_->setPageStep(1);
    spans_ = new QComboBox(this);
    QLabel *spanLabel = buddyLabel(QStringLiteral("Chart Time Span:"), spans_, this);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(4, 4, 4, 4);
    layout->addWidget(plot_, 1);
    layout->addWidget(slider_);
    auto *controls = new QHBoxLayout;
    controls->addWidget(colors_);
    controls->addWidget(reset_);
    controls->addStretch(1);
    controls->addWidget(spanLabel);
    controls->addWidget(spans_);
    layout->addLayout(controls);
    chainTabOrder({slider_, colors_, reset_, spans_});

    // Title, legend and plot area, top to bottom.
    plot_->plotLayout()->insertRow(0);
    title_ = new ChartTitle(plot_, QString());
    plot_->plotLayout()->addElement(0, 0, title_);
    plot_->plotLayout()->insertRow(1);
    auto *legendRow = new QCPLayoutGrid;
    plot_->plotLayout()->addElement(1, 0, legendRow);
    plot_->axisRect()->insetLayout()->take(plot_->legend);
    legendRow->addElement(0, 0, plot_->legend);
    legendRow->setMargins(QMargins(35, 2, 5, 0));
    plot_->plotLayout()->setRowStretchFactor(0, 0.001);
    plot_->plotLayout()->setRowStretchFactor(1, 0.001);
    plot_->plotLayout()->setRowSpacing(2);
    plot_->legend->setVisible(true);
    plot_->legend->setFillOrder(QCPLegend::foColumnsFirst, false);
    plot_->legend->setWrap(4);
    plot_->legend->setBrush(Qt::NoBrush);
    plot_->legend->setBorderPen(Qt::NoPen);
    plot_->legend->setFont(chartFont(false, 9));
    plot_->legend->setTextColor(Qt::white);
    plot_->legend->setSelectableParts(QCPLegend::spNone);
    plot_->legend->setRowSpacing(0);
    plot_->legend->setColumnSpacing(8);
    plot_->addLayer(QStringLiteral("front"), plot_->layer(QStringLiteral("main")), QCustomPlot::limAbove);

    auto ticker = QSharedPointer<QCPAxisTickerDateTime>::create();
    ticker->setDateTimeFormat(QStringLiteral("MM/dd hh:mm"));
    plot_->xAxis->setTicker(ticker);
    plot_->xAxis2->setVisible(true);
    plot_->xAxis2->setTicks(false);
    plot_->xAxis2->setTickLabels(false);
    plot_->yAxis->setLabel(QStringLiteral("Temperature"));
    plot_->yAxis2->setLabel(QStringLiteral("Humidity / Wetness"));
    plot_->yAxis2->setVisible(true);
    for (QCPAxis *axis : {plot_->yAxis, plot_->yAxis2})
        axis->setLabelFont(chartFont(true, 12));
    for (QCPAxis *axis : {plot_->xAxis, plot_->yAxis, plot_->yAxis2})
        axis->setTickLabelFont(QFont(QStringLiteral("Liberation Sans"), 8));
    plot_->xAxis->grid()->setVisible(true);
    plot_->yAxis->grid()->setVisible(true);

    for (QCPItemText **marker : {&openMarker_, &closedMarker_}) {
        *marker = new QCPItemText(plot_);
        (*marker)->setClipToAxisRect(false);
        (*marker)->setFont(chartFont(false, 12));
        (*marker)->position->setTypeX(QCPItemPosition::ptAbsolute);
        (*marker)->position->setTypeY(QCPItemPosition::ptPlotCoords);
        (*marker)->position->setAxes(plot_->xAxis, plot_->yAxis2);
        (*marker)->setPositionAlignment(Qt::AlignCenter);
        (*marker)->setLayer(QStringLiteral("front"));
    }
    openMarker_->setText(QStringLiteral("O"));
    closedMarker_->setText(QStringLiteral("C"));

    connect(spans_, &QComboBox::activated, this, &CDeviceDetails::selectTimeSpan);
    connect(slider_, &QSlider::valueChanged, this, &CDeviceDetails::scrollTo);
    connect(reset_, &QPushButton::clicked, this, &CDeviceDetails::resetChart);
    connect(colors_, &QPushButton::clicked, this, &CDeviceDetails::openColorsAndSymbols);
    auto *print = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_P), this, this, &CDeviceDetails::printChart);
    auto *save = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_S), this, this, &CDeviceDetails::saveChart);
    // Zooming from the keyboard keeps the newer half of the window (in),
    // or adds half a window of older samples (out).
    const ViewPort newerHalf{0.5, 0, 0.5, 1};
    auto *zoomIn = new QShortcut(QKeySequence::ZoomIn, this, this, [this, newerHalf] { zoomTo(newerHalf, false); });
    auto *zoomInToo = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_Equal), this, this,
                                    [this, newerHalf] { zoomTo(newerHalf, false); });
    auto *zoomOut = new QShortcut(QKeySequence::ZoomOut, this, this, [this, newerHalf] { zoomTo(newerHalf, true); });
    // Only the page on screen answers them.
    for (QShortcut *shortcut : {print, save, zoomIn, zoomInToo, zoomOut})
        shortcut->setContext(Qt::WindowShortcut);
    connect(&context_.store, &DeviceStore::chartStyleChanged, this, [this](int changed) {
        if (changed == slot())
            draw();
    });
    activate();
}

CDeviceDetails::~CDeviceDetails() = default;

QCustomPlot &CDeviceDetails::plot()
{
    return *plot_;
}

double CDeviceDetails::now() const
{
    return double(context_.store.clock().nowMs()) / 1000.0;
}

double CDeviceDetails::sampleTime(int index) const
{
    std::vector<double> times;
    sampleTimes(device_, index - 1, index, now(), times);
    return times.empty() ? now() : times.front();
}

int CDeviceDetails::slot() const
{
    return context_.store.slotOf(&device_);
}

void CDeviceDetails::appendSample()
{
    if (view_.follow)
        view_.anchorNewest();
    draw();
}

void CDeviceDetails::activate()
{
    const QStringList labels = timeSpanLabels(device_.QueryInterval);
    if (device_.QueryInterval < 30 && spanIndex_ > kOneDaySpan)
        spanIndex_ = kOneDaySpan;
    spanIndex_ = std::min(spanIndex_, int(labels.size()) - 1);
    spans_->clear();
    spans_->addItems(labels);
    spans_->setCurrentIndex(spanIndex_);
    takeColours();
    view_.interval = std::max(device_.QueryInterval, 1);
    const ProgramSettings &settings = context_.store.settings;
    temperatureRange(device_, settings.TemperatureLowMargin, settings.TemperatureHighMargin, view_.tempMin,
                     view_.tempMax);
    view_.setSpan(timeSpanSeconds(spanIndex_));
    view_.reset();
    view_.follow = true;
    updateSlider();
    draw();
}

void CDeviceDetails::takeColours()
{
    const ProgramSettings &s = context_.store.settings;
    plotArea_ = colorFromSetting(s.PlotAreaColor);
    legendArea_ = colorFromSetting(s.LegendAreaColor);
    timeAxis_ = colorFromSetting(s.XAxisColor);
    tempAxis_ = colorFromSetting(s.YAxis1Color);
    humAxis_ = colorFromSetting(s.YAxis2Color);
    grid_ = colorFromSetting(s.GridColor);
    plot_->dragColor = grid_;
}

void CDeviceDetails::updateSlider()
{
    const QSignalBlocker blocker(slider_);
    slider_->setRange(0, view_.sliderMaximum);
    slider_->setValue(view_.sliderMaximum);
    sliderPosition_ = view_.sliderMaximum;
    reset_->setEnabled(view_.zoomed || view_.scrolled);
}

void CDeviceDetails::selectTimeSpan(int index)
{
    spanIndex_ = index;
    view_.setSpan(timeSpanSeconds(index));
    updateSlider();
    draw();
}

void CDeviceDetails::resetChart()
{
    view_.reset();
    updateSlider();
    draw();
}

void CDeviceDetails::scrollTo(int position)
{
    if (position == sliderPosition_)
        return;
    sliderPosition_ = position;
    view_.scrollTo(position);
    reset_->setEnabled(view_.zoomed || view_.scrolled);
    draw();
}

void CDeviceDetails::zoomTo(const ViewPort &port, bool grow)
{
    if (!view_.zoom(port, grow))
        return;
    reset_->setEnabled(true);
    draw();
}

void CDeviceDetails::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    if (due_)
        draw();
}

void CDeviceDetails::draw()
{
    if (building_)
        return;
    if (!isVisible()) {
        due_ = true;
        return;
    }
    building_ = true;
    buildChart();
    plot_->replot(QCustomPlot::rpImmediateRefresh);
    due_ = false;
    ++draws_;
    building_ = false;
}

void CDeviceDetails::buildSeries()
{
    for (Series &s : series_) {
        plot_->removeGraph(s.bridge);
        plot_->removeGraph(s.line);
    }
    series_.clear();
    for (int probe : seriesOrder(device_.probeSlots())) {
        Series s;
        s.probe = probe;
        s.bridge = plot_->addGraph(plot_->xAxis, plot_->yAxis);
        s.bridge->removeFromLegend();
        s.bridge->setSelectable(QCP::stNone);
        s.line = plot_->addGraph(plot_->xAxis, plot_->yAxis);
        s.line->setSelectable(QCP::stNone);
        series_.push_back(s);
    }
    builtProbeCount_ = device_.probeSlots();
}

void CDeviceDetails::buildChart()
{
    if (builtProbeCount_ != device_.probeSlots())
        buildSeries();
    for (const Series &s : series_) {
        // Each drawing follows the probe's type: its axis and line style.
        const ProbeRecord *p = device_.probe(s.probe);
        QCPAxis *axis = p && p->ProbeType == ProbeType::Temperature ? plot_->yAxis : plot_->yAxis2;
        s.line->setValueAxis(axis);
        s.bridge->setValueAxis(axis);
        s.line->setLineStyle(p && p->ProbeType == ProbeType::Switch ? QCPGraph::lsStepLeft : QCPGraph::lsLine);
    }

    title_->setText(QString::fromUtf8(device_.DeviceName.bytes()));
    plot_->setBackground(legendArea_);
    plot_->axisRect()->setBackground(plotArea_);
    struct AxisLook { QCPAxis *axis; QColor color; };
    for (const AxisLook &a : {AxisLook{plot_->xAxis, timeAxis_}, AxisLook{plot_->xAxis2, timeAxis_},
                               AxisLook{plot_->yAxis, tempAxis_}, AxisLook{plot_->yAxis2, humAxis_}}) {
        a.axis->setBasePen(QPen(a.color, 2));
        a.axis->setTickPen(QPen(a.color, 1));
        a.axis->setSubTickPen(QPen(a.color, 1));
        a.axis->setTickLabelColor(a.color);
        a.axis->setLabelColor(a.color);
        a.axis->grid()->setPen(QPen(grid_, 1, Qt::DotLine));
        a.axis->grid()->setSubGridVisible(false);
    }
    plot_->yAxis->setRange(view_.tempLower, view_.tempUpper);
    plot_->yAxis2->setRange(view_.humLower, view_.humUpper);

    std::vector<double> times;
    sampleTimes(device_, view_.first, view_.last, now(), times);
    if (!times.empty()) {
        const double from = times.front(), to = std::max(times.back(), times.front() + 1);
        plot_->xAxis->setRange(from, to);
        plot_->xAxis2->setRange(from, to);
    }
    const int plotWidth = std::max(plot_->axisRect()->width(), 200);
    setTickDensity(plotWidth, plot_->axisRect()->height());

    const bool symbols = view_.pointCount() < kSymbolPointLimit;
    SeriesPoints points;
    bool anySwitch = false;
    for (std::size_t position = 0; position < series_.size(); ++position) {
        const Series &s = series_[position];
        const ProbeRecord *p = device_.probe(s.probe);
        if (!p)
            continue;
        anySwitch = anySwitch || p->ProbeType == ProbeType::Switch;
        const QColor color = p->ProbeEnabled ? colorFromSetting(p->ChartDataColor) : rgbColor(kDisabledSeriesColor);
        seriesPoints(device_, s.probe, view_.first, times, 2 * plotWidth, points);
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
        s.line->setLayer(int(position) == selected_ ? QStringLiteral("front") : QStringLiteral("main"));
    }
    // Screen readers get what the legend says.
    QStringList entries;
    for (const Series &s : series_)
        entries << s.line->name();
    plot_->setAccessibleName(QStringLiteral("Chart of %1").arg(title_->text()));
    plot_->setAccessibleDescription(entries.join(QStringLiteral("; ")));
    openMarker_->setVisible(anySwitch);
    closedMarker_->setVisible(anySwitch);
    for (QCPItemText *marker : {openMarker_, closedMarker_})
        marker->setColor(humAxis_);
    placeSwitchMarkers(plot_->width());
}

void CDeviceDetails::setTickDensity(int plotWidth, int plotHeight)
{
    // Time labels about 100 pixels apart (the ticker rounds to whole
    // minutes and hours, so never closer than 75), humidity every 40.
    plot_->xAxis->ticker()->setTickCount(std::max(2, plotWidth / 100));
    plot_->yAxis2->ticker()->setTickCount(std::max(2, plotHeight / 40));
}

void CDeviceDetails::placeSwitchMarkers(int chartWidth)
{
    openMarker_->position->setCoords(chartWidth - 18, kSwitchOpen);
    closedMarker_->position->setCoords(chartWidth - 18, kSwitchClosed);
}

QCPGraph *CDeviceDetails::seriesGraph(int position) const
{
    return position >= 0 && position < int(series_.size()) ? series_[std::size_t(position)].line : nullptr;
}

int CDeviceDetails::probeAtGraph(const QCPGraph *graph) const
{
    for (const Series &s : series_)
        if (s.line == graph)
            return s.probe;
    return -1;
}

QString CDeviceDetails::hotSpotAt(const QPoint &pos, int *probe) const
{
    *probe = -1;
    for (int i = 0; i < plot_->legend->itemCount(); ++i) {
        auto *item = qobject_cast<QCPPlottableLegendItem *>(plot_->legend->item(i));
        if (!item || !item->visible() || !item->outerRect().contains(pos))
            continue;
        const int found = probeAtGraph(qobject_cast<QCPGraph *>(item->plottable()));
        if (const ProbeRecord *p = device_.probe(found)) {
            *probe = found;
            return legendTooltip(*p);
        }
    }
    const QRect area = plot_->axisRect()->rect();
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

QString CDeviceDetails::toolTipAt(const QPoint &pos) const
{
    int probe = -1;
    return hotSpotAt(pos, &probe);
}

void CDeviceDetails::clickAt(const QPoint &pos)
{
    int probe = -1;
    const QString title = hotSpotAt(pos, &probe);
    if (!title.isEmpty()) {
        const int chosen = clickedProbe(device_, title);
        const std::vector<int> order = seriesOrder(device_.probeSlots());
        const auto at = std::find(order.begin(), order.end(), chosen);
        selected_ = at == order.end() ? 0 : int(at - order.begin());
    }
    draw();
}

QImage CDeviceDetails::chartImage(double scale)
{
    const bool hidden = !isVisible();
    // A page not on screen builds its chart for the file all the same.
    if (hidden || due_)
        buildChart();
    placeSwitchMarkers(kOutputWidth);
    setTickDensity(kOutputWidth - 120, kOutputHeight - 160);
    // Files and prints get lines in their exact colours, without smoothing.
    const QCP::AntialiasedElements smooth = plot_->antialiasedElements(), sharp = plot_->notAntialiasedElements();
    plot_->setNotAntialiasedElements(QCP::aeAll);
    const QImage image = plot_->toPixmap(kOutputWidth, kOutputHeight, scale).toImage();
    plot_->setAntialiasedElements(smooth);
    plot_->setNotAntialiasedElements(sharp);
    placeSwitchMarkers(plot_->width());
    setTickDensity(plot_->axisRect()->width(), plot_->axisRect()->height());
    if (!hidden)
        plot_->replot(QCustomPlot::rpQueuedReplot);
    return image;
}

void CDeviceDetails::printChart()
{
    QPrinter printer(QPrinter::HighResolution);
    printer.setFromTo(1, 1);
    printer.setCopyCount(1);
    if (!context_.files.choosePrinter(this, printer))
        return;
    if (printTo(printer) &&
        context_.prompter.ask(this, QStringLiteral("The chart has been printed on the specified printer.\n"
                                                   "Would you also like to save this chart to a file?")))
        saveChart();
}

bool CDeviceDetails::printTo(QPrinter &printer)
{
    const double dpiScale = printer.resolution() / 96.0;
    const QImage image = chartImage(std::clamp(dpiScale, 1.0, 4.0));
    if (image.isNull()) {
        context_.prompter.tell(this, MessageIcon::Error, QStringLiteral("Not enough memory to print this chart"));
        return false;
    }
    printer.setDocName(chartDocumentName(device_, sampleTime(view_.first + 1), sampleTime(view_.last)));
    QPainter painter;
    if (!painter.begin(&printer)) {
        context_.prompter.tell(this, MessageIcon::Error, QStringLiteral("Printer wouldn't initalize"));
        return false;
    }
    if (printer.printerState() == QPrinter::Error) {
        printer.abort();
        painter.end();
        context_.prompter.tell(this, MessageIcon::Error, QStringLiteral("Could not start page"));
        return false;
    }
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(QRectF(40 * dpiScale, 40 * dpiScale, kOutputWidth * dpiScale, kOutputHeight * dpiScale), image);
    return painter.end();
}

void CDeviceDetails::saveChart()
{
    FileQuestion question;
    question.title = QStringLiteral("Save Corvanta Zephtra Chart");
    question.filters = chartFileFilters();
    question.folder = QFile::decodeName(context_.store.folder().root);
    question.defaultSuffix = QStringLiteral("png");
    question.file = chartFileName(device_, sampleTime(view_.first + 1), sampleTime(view_.last));
    const QString path = context_.files.saveFile(this, question);
    if (!path.isEmpty())
        saveTo(path);
}

bool CDeviceDetails::saveTo(const QString &requested)
{
    QString path = requested;
    QString format = chartFileFormat(path);
    if (format.isEmpty()) {
        path += QStringLiteral(".png");
        format = QStringLiteral("png");
    }
    bool ok = false;
    if (format == QLatin1String("csv")) {
        ok = writeChartCsv(device_, view_.first, view_.last, now(), path);
    } else {
        // Every picture is encoded in memory and written in one go.
        QByteArray bytes;
        if (format == QLatin1String("gif")) {
            QList<QRgb> keep;
            for (const Series &s : series_)
                keep << s.line->pen().color().rgb();
            bytes = encodeGif(chartImage(), keep);
        } else {
            QBuffer buffer(&bytes);
            buffer.open(QIODevice::WriteOnly);
            chartImage().save(&buffer, format.toLatin1().constData(), format == QLatin1String("jpg") ? 92 : -1);
        }
        QString error;
        ok = !bytes.isEmpty() && writeFileAtomically(path, bytes, &error);
    }
    if (!ok)
        context_.prompter.tell(this, MessageIcon::Error,
                               QStringLiteral("The chart could not be saved to \"%1\".\nCheck that the folder exists, "
                                              "that it can be written and that the disk is not full.")
                                   .arg(path));
    return ok;
}

void CDeviceDetails::openColorsAndSymbols()
{
    const int at = slot();
    if (at < 0)
        return;
    CColorSymbolDlg dialog(context_, at, this);
    if (dialog.exec() != QDialog::Accepted)
        return;
    context_.store.setChartStyle(at, dialog.chartStyle());
}

} // namespace cz
