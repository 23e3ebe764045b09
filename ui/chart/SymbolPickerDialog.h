// "Data Symbol Selector": the 36 symbols to choose from, or none.
#pragma once

#include <QDialog>

namespace cz {

class SymbolGrid;

class SymbolPickerDialog final : public QDialog {
    Q_OBJECT
public:
    // `color` 0 is drawn in the dialog's default colour instead.
    SymbolPickerDialog(int symbol, const QColor &color, const QColor &background, QWidget *parent = nullptr);
    // The symbol chosen: 0 .. 35, or -1 after "No Symbol".
    int symbol() const { return symbol_; }

private:
    SymbolGrid *grid_;
    int symbol_;
};

} // namespace cz
