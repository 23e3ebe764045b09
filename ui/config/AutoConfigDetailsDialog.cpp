#include "ui/config/AutoConfigDetailsDialog.h"

#include "ui/widgets/FormWidgets.h"

#include <QDialogButtonBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace cz {

namespace {

// A value shown, not edited, that a screen reader reads with its label.
QLineEdit *shownValue(const QString &text, QWidget *parent)
{
    auto *value = new QLineEdit(text, parent);
    value->setReadOnly(true);
    value->setCursorPosition(0);
    return value;
}

} // namespace

AutoConfigDetailsDialog::AutoConfigDetailsDialog(const QByteArray &address, const FetchedConfiguration &c,
                                                 QWidget *parent)
    : QDialog(parent)
{
    enum class Family { FourProbes, SixteenProbes, CombinedSensor };
    const Family family = c.modelIndex == 2                         ? Family::CombinedSensor
                          : c.modelIndex == 1 || c.modelIndex == 4 ? Family::SixteenProbes
                                                                   : Family::FourProbes;
    setWindowTitle(QStringLiteral("Automatic Configuration Details"));
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(QStringLiteral("Corvanta Zephtra found this device. Press OK to configure its "
                                                "probes, or Cancel to go back."),
                                 this));
    auto *grid = new QGridLayout;
    int row = 0;
    addRow(grid, row++, QStringLiteral("Device Address:"), shownValue(QString::fromUtf8(address), this));
    addRow(grid, row++, QStringLiteral("Device Name:"), shownValue(c.name.str(), this));
    addRow(grid, row++, QStringLiteral("Device Model:"), shownValue(c.model.str(), this));
    addRow(grid, row++, QStringLiteral("Serial Number:"), shownValue(c.serial.str(), this));
    if (family == Family::CombinedSensor)
        addRow(grid, row++, QStringLiteral("Firmware Version:"), shownValue(c.firmware.str(), this));
    addRow(grid, row++, QStringLiteral("Number of Probes:"), shownValue(QString::number(c.probeCount), this));
    addRow(grid, row++, QStringLiteral("Temperature Scale:"),
           shownValue(QStringLiteral("%1 (%2)").arg(QString::fromLatin1(unitName(c.units))).arg(QLatin1Char(unitLetter(c.units))),
                      this));
    grid->setColumnStretch(1, 1);
    layout->addLayout(grid);

    if (family == Family::CombinedSensor) {
        auto *groups = new QGridLayout;
        for (int g = 0; g < 4; ++g) {
            auto *box = new QGroupBox(QStringLiteral("Group %1").arg(g + 1), this);
            auto *boxGrid = new QGridLayout(box);
            addRow(boxGrid, 0, QStringLiteral("Group Name:"), shownValue(c.groupNames[std::size_t(g)].str(), box));
            for (int s = 0; s < 3; ++s) {
                const int i = 3 * g + s;
                addRow(boxGrid, s + 1,
                       QStringLiteral("%1 (probe %2):").arg(c.probeTypes[std::size_t(i)].str()).arg(i + 1),
                       shownValue(c.probeNames[std::size_t(i)].str(), box));
            }
            groups->addWidget(box, g / 2, g % 2);
        }
        layout->addLayout(groups);
    } else {
        auto *box = new QGroupBox(QStringLiteral("Probe Names"), this);
        auto *names = new QGridLayout(box);
        const int probes = family == Family::FourProbes ? 4 : 16;
        const int rows = family == Family::FourProbes ? 4 : 8;
        for (int i = 0; i < probes; ++i) {
            QLineEdit *name = shownValue(c.probeNames[std::size_t(i)].str(), box);
            names->addWidget(buddyLabel(QString::asprintf("Probe %02d:", i + 1), name, box), i % rows, 2 * (i / rows));
            names->addWidget(name, i % rows, 2 * (i / rows) + 1);
        }
        layout->addWidget(box);
    }
    QDialogButtonBox *buttons = okCancelButtons(this);
    layout->addWidget(buttons);
    buttons->button(QDialogButtonBox::Ok)->setFocus();
}

} // namespace cz
