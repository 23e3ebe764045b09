#include "ui/chart/SymbolPickerDialog.h"

#include "ui/chart/SymbolGrid.h"
#include "ui/widgets/FormWidgets.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace cz {

SymbolPickerDialog::SymbolPickerDialog(int symbol, const QColor &color, const QColor &background, QWidget *parent)
    : QDialog(parent), symbol_(symbol)
{
    setWindowTitle(QStringLiteral("Data Symbol Selector"));
    auto *layout = new QVBoxLayout(this);
    auto *text = new QLabel(QStringLiteral("Select one of the symbols below and press OK or press the No Symbol button to\n"
                                           "erase the symbol for this probe. Infotips will still be displayed for data "
                                           "points."),
                            this);
    layout->addWidget(text);
    grid_ = new SymbolGrid(symbol, color, background, this);
    layout->addWidget(grid_, 0, Qt::AlignHCenter);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    QPushButton *none = buttons->addButton(QStringLiteral("No Symbol"), QDialogButtonBox::ResetRole);
    none->setAutoDefault(false);
    layout->addWidget(buttons);
    chainTabOrder({grid_, buttons});
    connect(none, &QPushButton::clicked, this, [this] {
        symbol_ = -1;
        accept();
    });
    connect(buttons, &QDialogButtonBox::accepted, this, [this] {
        symbol_ = grid_->current();
        accept();
    });
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(grid_, &SymbolGrid::chosen, this, [this](int chosen) {
        symbol_ = chosen;
        accept();
    });
    grid_->setFocus();
}

} // namespace cz
