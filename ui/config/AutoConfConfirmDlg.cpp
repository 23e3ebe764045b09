#include "AutoConfConfirmDlg.h"

#include "FormWidgets.h"

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

AutoConfConfirmDlg::AutoConfConfirmDlg(Family family, const QByteArray &address, const FetchedConfiguration &c,
                                       QWidget *parent)
    : QDialog(parent)
{
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
    layout->addLayout(okCancelRow(this, &okButton, &cancelButton));
    connect(okButton, &QPushButton::clicked, this, &QDialog::accept);
    connect(cancelButton, &QPushButton::clicked, this, &QDialog::reject);
    okButton->setFocus();
}

std::unique_ptr<AutoConfConfirmDlg> autoConfConfirmation(const QByteArray &address, const FetchedConfiguration &c,
                                                         QWidget *parent)
{
    switch (c.modelIndex) {
    case 2: return std::make_unique<CAutoConfConfirmRMDlg>(address, c, parent);
    case 1:
    case 4: return std::make_unique<CAutoConfConfirm16Dlg>(address, c, parent);
    default: return std::make_unique<CAutoConfConfirm04Dlg>(address, c, parent);
    }
}

} // namespace cz
