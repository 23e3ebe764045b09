// "Data Set Colors and Symbols": per probe the colour of its chart line and
// the symbol at its data points, the line thickness, and whether the legend
// shows probe names (which takes effect at once).
#pragma once

#include "DeviceStore.h"

#include <QDialog>

#include <vector>

class QCheckBox;
class QComboBox;

namespace cz {

class ColorSwatch;
class SymbolPreview;
struct ConfigContext;

class CColorSymbolDlg final : public QDialog {
    Q_OBJECT
public:
    CColorSymbolDlg(ConfigContext &context, int slot, QWidget *parent = nullptr);
    // What OK stores: the thickness and every probe's colour and symbol.
    const ChartStyle &chartStyle() const { return style_; }

    ColorSwatch &colorBox(int probe) { return *colorBoxes_[std::size_t(probe)]; }
    SymbolPreview &symbolBox(int probe) { return *symbolBoxes_[std::size_t(probe)]; }
    QComboBox &thickness() { return *thickness_; }
    QCheckBox &probeNames() { return *names_; }

private:
    void chooseColor(int probe);
    void chooseSymbol(int probe);
    void showProbe(int probe);
    void legendNamesToggled(bool on);

    ConfigContext &context_;
    int slot_;
    ChartStyle style_;
    std::vector<ColorSwatch *> colorBoxes_;
    std::vector<SymbolPreview *> symbolBoxes_;
    QComboBox *thickness_;
    QCheckBox *names_;
};

} // namespace cz
