#include "ui/chart/ChartPage.h"

#include "store/DeviceStore.h"
#include "ui/chart/ChartFiles.h"
#include "ui/chart/ChartOutput.h"
#include "ui/chart/ChartPlot.h"
#include "ui/chart/ChartSeries.h"
#include "ui/chart/ChartStyleDialog.h"
#include "ui/Prompter.h"
#include "ui/widgets/FileChooser.h"
#include "ui/widgets/FormWidgets.h"
#include "ui/WindowContext.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPrinter>
#include <QPushButton>
#include <QShortcut>
#include <QSlider>
#include <QVBoxLayout>

namespace cz {

ChartPage::ChartPage(WindowContext &context, const DeviceRecord &device, QWidget *parent)
    : QWidget(parent), context_(context), device_(device)
{
    plot_ = new ChartPlot(device, this);
    auto *colors = plainButton(QStringLiteral("Set Data Line Colors and Data Point Symbols"), this);
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
    controls->addWidget(colors);
    controls->addWidget(reset_);
    controls->addStretch(1);
    controls->addWidget(spanLabel);
    controls->addWidget(spans_);
    layout->addLayout(controls);
    chainTabOrder({slider_, colors, reset_, spans_});

    connect(plot_, &ChartPlot::zoomRequested, this, &ChartPage::zoomTo);
    connect(plot_, &ChartPlot::clicked, this, &ChartPage::clickAt);
    connect(plot_, &ChartPlot::resetRequested, this, &ChartPage::resetChart);
    connect(spans_, &QComboBox::activated, this, &ChartPage::selectTimeSpan);
    connect(slider_, &QSlider::valueChanged, this, &ChartPage::scrollTo);
    connect(reset_, &QPushButton::clicked, this, &ChartPage::resetChart);
    connect(colors, &QPushButton::clicked, this, &ChartPage::openColorsAndSymbols);
    auto *print = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_P), this, this, &ChartPage::printChart);
    auto *save = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_S), this, this, &ChartPage::saveChart);
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

ChartPage::~ChartPage() = default;

double ChartPage::now() const
{
    return double(context_.store.clock().nowMs()) / 1000.0;
}

double ChartPage::sampleTime(int index) const
{
    std::vector<double> times;
    sampleTimes(device_, index - 1, index, now(), times);
    return times.empty() ? now() : times.front();
}

int ChartPage::slot() const
{
    return context_.store.slotOf(&device_);
}

void ChartPage::appendSample()
{
    if (view_.follow)
        view_.anchorNewest();
    draw();
}

void ChartPage::activate()
{
    const QStringList labels = timeSpanLabels(device_.QueryInterval);
    if (device_.QueryInterval < 30 && spanIndex_ > kOneDaySpan)
        spanIndex_ = kOneDaySpan;
    spanIndex_ = std::min(spanIndex_, int(labels.size()) - 1);
    spans_->clear();
    spans_->addItems(labels);
    spans_->setCurrentIndex(spanIndex_);
    plot_->setColors(context_.store.settings);
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

void ChartPage::updateSlider()
{
    const QSignalBlocker blocker(slider_);
    slider_->setRange(0, view_.sliderMaximum);
    slider_->setValue(view_.sliderMaximum);
    sliderPosition_ = view_.sliderMaximum;
    reset_->setEnabled(view_.zoomed || view_.scrolled);
}

void ChartPage::selectTimeSpan(int index)
{
    spanIndex_ = index;
    view_.setSpan(timeSpanSeconds(index));
    updateSlider();
    draw();
}

void ChartPage::resetChart()
{
    view_.reset();
    updateSlider();
    draw();
}

void ChartPage::scrollTo(int position)
{
    if (position == sliderPosition_)
        return;
    sliderPosition_ = position;
    view_.scrollTo(position);
    reset_->setEnabled(view_.zoomed || view_.scrolled);
    draw();
}

void ChartPage::zoomTo(const ViewPort &port, bool grow)
{
    if (!view_.zoom(port, grow))
        return;
    reset_->setEnabled(true);
    draw();
}

void ChartPage::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    if (due_)
        draw();
}

void ChartPage::draw()
{
    if (building_)
        return;
    if (!isVisible()) {
        due_ = true;
        return;
    }
    building_ = true;
    plot_->showView(view_, now(), selected_);
    plot_->replot(QCustomPlot::rpImmediateRefresh);
    due_ = false;
    ++draws_;
    building_ = false;
}

QString ChartPage::toolTipAt(const QPoint &pos) const
{
    int probe = -1;
    return plot_->hotSpotAt(pos, &probe);
}

void ChartPage::clickAt(const QPoint &pos)
{
    int probe = -1;
    const QString title = plot_->hotSpotAt(pos, &probe);
    if (!title.isEmpty()) {
        const int chosen = clickedProbe(device_, title);
        const std::vector<int> order = seriesOrder(device_.probeSlots());
        const auto at = std::find(order.begin(), order.end(), chosen);
        selected_ = at == order.end() ? 0 : int(at - order.begin());
    }
    draw();
}

QImage ChartPage::chartImage(double scale)
{
    const bool hidden = !isVisible();
    // A page not on screen builds its chart for the file all the same.
    if (hidden || due_)
        plot_->showView(view_, now(), selected_);
    const QImage image = plot_->image(kChartOutputWidth, kChartOutputHeight, scale);
    if (!hidden)
        plot_->replot(QCustomPlot::rpQueuedReplot);
    return image;
}

void ChartPage::printChart()
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

bool ChartPage::printTo(QPrinter &printer)
{
    const double dpiScale = printer.resolution() / 96.0;
    QString error;
    const bool printed = cz::printChart(printer, chartImage(std::clamp(dpiScale, 1.0, 4.0)),
                                        chartDocumentName(device_, sampleTime(view_.first + 1), sampleTime(view_.last)),
                                        &error);
    if (!error.isEmpty())
        context_.prompter.tell(this, MessageIcon::Error, error);
    return printed;
}

void ChartPage::saveChart()
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

bool ChartPage::saveTo(const QString &requested)
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
        const QImage image = chartImage();  // first: it may draw the series afresh
        ok = saveChartImage(image, format, plot_->seriesColors(), path);
    }
    if (!ok)
        context_.prompter.tell(this, MessageIcon::Error, chartNotSavedMessage(path));
    return ok;
}

void ChartPage::openColorsAndSymbols()
{
    const int at = slot();
    if (at < 0)
        return;
    ChartStyleDialog dialog(context_, at, this);
    if (dialog.exec() != QDialog::Accepted)
        return;
    context_.store.setChartStyle(at, dialog.chartStyle());
}

} // namespace cz
