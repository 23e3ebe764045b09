// "Configure Corvanta Zephtra": the alarm-state colours of the list and
// the meters, the meter pointer, the chart colours, the temperature display
// margins, whether the program starts minimised (which takes effect at
// once), and the tray icon and desktop notifications. OK stores the rest in
// the program settings.
#pragma once

#include <QDialog>

#include <array>
#include <cstdint>

class QCheckBox;
class QComboBox;

namespace cz {

class ColorSwatch;
class DeviceStore;

class ProgramSettingsDialog final : public QDialog {
    Q_OBJECT
public:
    static constexpr int kColours = 12;
    ProgramSettingsDialog(DeviceStore &store, QWidget *parent = nullptr);

    // OK: the colours, margins, tray icon and notifications go into the
    // program settings.
    void accept() override;

private:
    void choose(int row);

    DeviceStore &store_;
    std::array<std::int32_t, kColours> colours_{};
    std::array<ColorSwatch *, kColours> swatches_{};
    QComboBox *from_;
    QComboBox *to_;
    QCheckBox *trayIcon_;
    QCheckBox *notifications_;
};

} // namespace cz
