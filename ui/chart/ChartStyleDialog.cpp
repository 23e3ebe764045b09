#include "ui/chart/ChartStyleDialog.h"

#include "ui/chart/ChartView.h"
#include "ui/chart/SymbolPickerDialog.h"
#include "ui/chart/SymbolPreview.h"
#include "ui/Prompter.h"
#include "ui/widgets/ColorSwatch.h"
#include "ui/widgets/FormWidgets.h"
#include "ui/WindowContext.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace cz {

namespace {

constexpr int kLegendNameLength = 16;

} // namespace

ChartStyleDialog::ChartStyleDialog(WindowContext &context, int slot, QWidget *parent)
    : QDialog(parent), context_(context), slot_(slot)
{
    setWindowTitle(QStringLiteral("Data Set Colors and Symbols"));
    const DeviceRecord *device = context.store.device(slot);
    const int probes = device ? device->probeSlots() : 0;
    style_.lineWidth = device && device->PlotLineWidth >= 1 && device->PlotLineWidth <= 5 ? device->PlotLineWidth : 1;

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(QStringLiteral("Double-click on a color box or data set symbol to invoke a chooser"), this));
    auto *grid = new QGridLayout;
    grid->setHorizontalSpacing(10);
    grid->setVerticalSpacing(2);
    QList<QWidget *> order;
    // Only the device's probes have rows; the dialog is as tall as they need.
    for (int i = 0; i < probes; ++i) {
        const ProbeRecord *p = device->probe(i);
        style_.colors[std::size_t(i)] = p ? p->ChartDataColor : 0;
        style_.symbols[std::size_t(i)] = p ? p->ChartDataSymbol : -1;
        auto *color = new ColorSwatch(QStringLiteral("Probe %1 Data").arg(i + 1), this);
        auto *symbol = new SymbolPreview(QStringLiteral("Probe %1 Data Symbol:").arg(i + 1), this);
        grid->addWidget(buddyLabel(QStringLiteral("Probe %1 Data Color:").arg(i + 1), color, this), i, 0);
        grid->addWidget(color, i, 1);
        grid->addWidget(buddyLabel(QStringLiteral("Probe %1 Data Symbol:").arg(i + 1), symbol, this), i, 2);
        grid->addWidget(symbol, i, 3);
        colorBoxes_.push_back(color);
        symbolBoxes_.push_back(symbol);
        order << color << symbol;
        connect(color, &ColorSwatch::activated, this, [this, i] { chooseColor(i); });
        connect(symbol, &SymbolPreview::activated, this, [this, i] { chooseSymbol(i); });
        showProbe(i);
    }
    grid->setColumnStretch(4, 1);
    layout->addLayout(grid);

    auto *thicknessRow = new QHBoxLayout;
    auto *thickness = new QComboBox(this);
    for (int w = 1; w <= 5; ++w)
        thickness->addItem(QString::number(w));
    thickness->setCurrentIndex(style_.lineWidth - 1);
    thicknessRow->addWidget(buddyLabel(QStringLiteral("Plot line thickness:"), thickness, this));
    thicknessRow->addWidget(thickness);
    thicknessRow->addWidget(new QLabel(QStringLiteral("pixels"), this));
    thicknessRow->addStretch(1);
    layout->addLayout(thicknessRow);
    auto *names = new QCheckBox(QStringLiteral("Display probe names in chart legend"), this);
    names->setChecked(device && device->ShowProbeNamesInLegend != 0);
    layout->addWidget(names);
    QDialogButtonBox *buttons = okCancelButtons(this);
    layout->addWidget(buttons);
    order << thickness << names << buttons;
    chainTabOrder(order);

    connect(thickness, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (index >= 0)
            style_.lineWidth = index + 1;
    });
    connect(names, &QCheckBox::toggled, this, &ChartStyleDialog::legendNamesToggled);
}

void ChartStyleDialog::showProbe(int probe)
{
    const QColor color = colorFromSetting(style_.colors[std::size_t(probe)]);
    colorBoxes_[std::size_t(probe)]->setColor(color);
    symbolBoxes_[std::size_t(probe)]->show(style_.symbols[std::size_t(probe)], color);
}

void ChartStyleDialog::chooseColor(int probe)
{
    QColor color = colorFromSetting(style_.colors[std::size_t(probe)]);
    if (!cz::chooseColor(this, color))
        return;
    style_.colors[std::size_t(probe)] = settingFromColor(color);
    showProbe(probe);
}

void ChartStyleDialog::chooseSymbol(int probe)
{
    const QColor color = colorFromSetting(style_.colors[std::size_t(probe)]);
    const QColor background = colorFromSetting(context_.store.settings.PlotAreaColor);
    SymbolPickerDialog selector(style_.symbols[std::size_t(probe)], color, background, this);
    if (selector.exec() == QDialog::Accepted)
        style_.symbols[std::size_t(probe)] = selector.symbol();
    showProbe(probe);
}

void ChartStyleDialog::legendNamesToggled(bool on)
{
    const DeviceRecord *device = context_.store.device(slot_);
    if (!device)
        return;
    if (on && device->ShowProbeNamesInLegend != 1)
        context_.prompter.tell(this, MessageIcon::Exclamation,
                               QStringLiteral("Probe names displayed in the chart legend\nwill be truncated to %1 "
                                              "characters.\n\nThe actual probe names are not changed,\nbut only the "
                                              "first %1 characters of the\nname will be displayed in the chart legend.")
                                   .arg(kLegendNameLength));
    // Takes effect at once; Cancel leaves it.
    context_.store.setLegendShowsProbeNames(slot_, on);
}

} // namespace cz
