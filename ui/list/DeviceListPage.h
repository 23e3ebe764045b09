// The "Device List" page: the probe list and its eight buttons.
#pragma once

#include <QWidget>

class QLabel;
class QPushButton;

namespace cz {

class DeviceStore;
class ProbeListView;
class ProbeStatusWindows;
class ProbeTableModel;
class Prompter;
struct ProbeRecord;

class DeviceListPage final : public QWidget {
    Q_OBJECT
public:
    DeviceListPage(DeviceStore &store, Prompter &prompter, QWidget *parent = nullptr);

    // Rows and columns anew (devices added or removed), then sorted.
    void rebuild();
    // The cells whose records changed since the last refresh.
    void refresh();
    ProbeTableModel &model() { return *model_; }
    ProbeStatusWindows &statusWindows() { return *statusWindows_; }

    void enableSelected(bool enable);
    void toggleDisabledProbes();
    void deleteSelectedDevice();
    void configureSelectedDevice();
    void showAbout();
    // "Configure Corvanta Zephtra"; OK recolours the rows and meters.
    void configureProgram();

signals:
    // "Configure Selected Device" chose device `slot`.
    void configureRequested(int slot);
    // "Add A Device" was pressed.
    void addRequested();
    // "Configure Corvanta Zephtra" was closed with OK.
    void programConfigured();

protected:
    void showEvent(QShowEvent *event) override;

private:
    // The one device the selection lies in, or -1 after saying why not.
    int selectedDevice(const QString &manyDevicesText);
    void updateSelectionButtons();
    void updateShowHideButton();

    DeviceStore &store_;
    Prompter &prompter_;
    ProbeTableModel *model_;
    ProbeListView *list_;
    ProbeStatusWindows *statusWindows_;
    QLabel *firstDeviceHint_;
    QPushButton *add_, *configure_, *disable_, *enable_, *delete_, *showHide_, *program_, *about_;
};

} // namespace cz
