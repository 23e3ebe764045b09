// "Data Set Colors and Symbols": per probe the colour of its chart line and
// the symbol at its data points, the line thickness, and whether the legend
// shows probe names (which takes effect at once).
#pragma once

#include "store/DeviceStore.h"

#include <QDialog>

#include <vector>

namespace cz {

class ColorSwatch;
class SymbolPreview;
struct WindowContext;

class ChartStyleDialog final : public QDialog {
    Q_OBJECT
public:
    ChartStyleDialog(WindowContext &context, int slot, QWidget *parent = nullptr);
    // What OK stores: the thickness and every probe's colour and symbol.
    const ChartStyle &chartStyle() const { return style_; }

private:
    void chooseColor(int probe);
    void chooseSymbol(int probe);
    void showProbe(int probe);
    void legendNamesToggled(bool on);

    WindowContext &context_;
    int slot_;
    ChartStyle style_;
    std::vector<ColorSwatch *> colorBoxes_;
    std::vector<SymbolPreview *> symbolBoxes_;
};

} // namespace cz
