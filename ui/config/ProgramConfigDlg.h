// "Configure Corvanta Zephtra": the alarm-state colours of the list and
// the meters, the meter pointer, the chart colours, the temperature display
// margins, and whether the program starts minimised (which takes effect at
// once). OK stores the colours and margins in the program settings.
#pragma once

#include <QDialog>

#include <array>
#include <cstdint>

class QCheckBox;
class QComboBox;
class QPushButton;

namespace cz {

class ColorSwatch;
class DeviceStore;

class CProgramConfigDlg final : public QDialog {
    Q_OBJECT
public:
    static constexpr int kColours = 12;
    CProgramConfigDlg(DeviceStore &store, QWidget *parent = nullptr);

    // The row of each colour, in the order of the two groups.
    ColorSwatch &swatch(int row) { return *swatches_[std::size_t(row)]; }
    QPushButton &chooseButton(int row) { return *buttons_[std::size_t(row)]; }
    // The list after "From" and the one after "... threshold to".
    QComboBox &fromList() { return *from_; }
    QComboBox &toList() { return *to_; }
    QCheckBox &startMinimized() { return *minimized_; }
    // OK: the colours and margins go into the program settings.
    void accept() override;

private:
    void choose(int row);

    DeviceStore &store_;
    std::array<std::int32_t, kColours> colours_{};
    std::array<ColorSwatch *, kColours> swatches_{};
    std::array<QPushButton *, kColours> buttons_{};
    QComboBox *from_;
    QComboBox *to_;
    QCheckBox *minimized_;
};

} // namespace cz
