#include "ui/config/ProgramSettingsDialog.h"

#include "store/DeviceStore.h"
#include "ui/widgets/ColorSwatch.h"
#include "ui/widgets/FormWidgets.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace cz {

namespace {

struct ColourRow {
    const char *label;
    std::int32_t ProgramSettings::*setting;
};

// The first six rows are the list's and meters' colours, the rest the
// charts'.
const std::array<ColourRow, ProgramSettingsDialog::kColours> kRows = {{
    {"High Alarm Range", &ProgramSettings::HighAlarmColor},
    {"High Caution Range", &ProgramSettings::HighCautionColor},
    {"Normal Range", &ProgramSettings::NormalColor},
    {"Low Caution Range", &ProgramSettings::LowCautionColor},
    {"Low Alarm Range", &ProgramSettings::LowAlarmColor},
    {"Meter Pointer", &ProgramSettings::PointerColor},
    {"Legend Area Background", &ProgramSettings::LegendAreaColor},
    {"Plot Area Background", &ProgramSettings::PlotAreaColor},
    {"Temperature Axis", &ProgramSettings::YAxis1Color},
    {"Humidity / Wetness Axis", &ProgramSettings::YAxis2Color},
    {"Date / Time Axis", &ProgramSettings::XAxisColor},
    {"Plot Area Grid", &ProgramSettings::GridColor},
}};
constexpr int kListRows = 6;

QComboBox *marginList(QWidget *parent, int selected)
{
    auto *list = new QComboBox(parent);
    for (int i = 0; i < 50; ++i)
        list->addItem(QString::number(i));
    list->setCurrentIndex(selected >= 0 && selected < 50 ? selected : 0);
    return list;
}

} // namespace

ProgramSettingsDialog::ProgramSettingsDialog(DeviceStore &store, QWidget *parent) : QDialog(parent), store_(store)
{
    setWindowTitle(QStringLiteral("Configure Corvanta Zephtra"));
    const ProgramSettings &s = store.settings;
    auto *groups = new QHBoxLayout;
    QList<QWidget *> order;
    QGridLayout *grid = nullptr;
    for (int row = 0; row < kColours; ++row) {
        if (row == 0 || row == kListRows) {
            auto *group = new QGroupBox(row == 0 ? QStringLiteral("Main List and Probe Status Alarm State Colors")
                                                 : QStringLiteral("Chart Colors"),
                                        this);
            grid = new QGridLayout(group);
            grid->setColumnStretch(0, 1);
            groups->addWidget(group, 1, Qt::AlignTop);
        }
        const QString label = QString::fromLatin1(kRows[std::size_t(row)].label);
        colours_[std::size_t(row)] = s.*kRows[std::size_t(row)].setting;
        auto *swatch = new ColorSwatch(label, this);
        swatch->setColor(colorFromSetting(colours_[std::size_t(row)]));
        auto *button = plainButton(QStringLiteral("Choose color..."), this);
        button->setAccessibleDescription(label);
        const int at = row < kListRows ? row : row - kListRows;
        grid->addWidget(buddyLabel(label, swatch, this), at, 0);
        grid->addWidget(swatch, at, 1);
        grid->addWidget(button, at, 2);
        swatches_[std::size_t(row)] = swatch;
        order << swatch << button;
        connect(button, &QPushButton::clicked, this, [this, row] { choose(row); });
        connect(swatch, &ColorSwatch::activated, this, [this, row] { choose(row); });
    }

    // "From" edits the high margin and the list before "degrees above"
    // the low one: the captions are crossed, the lists are not.
    auto *range = new QGroupBox(QStringLiteral("Chart And Temperature Probe Display Range"), this);
    auto *rangeRow = new QHBoxLayout(range);
    from_ = marginList(this, s.TemperatureHighMargin);
    to_ = marginList(this, s.TemperatureLowMargin);
    rangeRow->addWidget(buddyLabel(QStringLiteral("From"), from_, this));
    rangeRow->addWidget(from_);
    rangeRow->addWidget(buddyLabel(QStringLiteral("degrees below Low Alarm threshold to"), to_, this));
    rangeRow->addWidget(to_);
    rangeRow->addWidget(new QLabel(QStringLiteral("degrees above High Alarm threshold"), this));
    rangeRow->addStretch(1);

    auto *minimized =
        new QCheckBox(QStringLiteral("Start Corvanta Zephtra in a minimized window at program launch."), this);
    minimized->setChecked(s.StartMinimized != 0);
    // Takes effect at once; Cancel leaves it.
    connect(minimized, &QCheckBox::toggled, this, [this](bool on) { store_.settings.StartMinimized = on ? 1 : 0; });

    trayIcon_ = new QCheckBox(QStringLiteral("Show Corvanta Zephtra's state in the system tray."), this);
    trayIcon_->setChecked(s.ShowTrayIcon != 0);
    notifications_ = new QCheckBox(
        QStringLiteral("Show a desktop notification for every alarm, caution and clear, and for devices that stop "
                       "answering."),
        this);
    notifications_->setChecked(s.DesktopNotifications != 0);

    auto *layout = new QVBoxLayout(this);
    layout->addLayout(groups);
    layout->addWidget(range);
    layout->addWidget(minimized);
    layout->addWidget(trayIcon_);
    layout->addWidget(notifications_);
    QDialogButtonBox *buttons = okCancelButtons(this);
    layout->addWidget(buttons);
    order << from_ << to_ << minimized << trayIcon_ << notifications_ << buttons;
    chainTabOrder(order);
}

void ProgramSettingsDialog::choose(int row)
{
    QColor colour = colorFromSetting(colours_[std::size_t(row)]);
    if (!chooseColor(this, colour))
        return;
    colours_[std::size_t(row)] = settingFromColor(colour);
    swatches_[std::size_t(row)]->setColor(colour);
}

void ProgramSettingsDialog::accept()
{
    ProgramSettings &s = store_.settings;
    for (int row = 0; row < kColours; ++row)
        s.*kRows[std::size_t(row)].setting = colours_[std::size_t(row)];
    s.TemperatureHighMargin = from_->currentIndex();
    s.TemperatureLowMargin = to_->currentIndex();
    s.ShowTrayIcon = trayIcon_->isChecked() ? 1 : 0;
    s.DesktopNotifications = notifications_->isChecked() ? 1 : 0;
    QDialog::accept();
}

} // namespace cz
