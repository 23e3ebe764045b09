// The main window "Corvanta Zephtra": the "Device List" page, one page per
// device, the status line, and the close that saves everything.
#pragma once

#include <QWidget>

class QLabel;
class QPushButton;
class QTabWidget;

namespace cz {

class ChartPage;
class DeviceStore;
class DeviceListPage;
class Prompter;
class QueryCycle;
struct WindowContext;
struct DeviceRecord;

class MainWindow final : public QWidget {
    Q_OBJECT
public:
    MainWindow(WindowContext &context, QueryCycle &cycle, QWidget *parent = nullptr);

    // Places the window at the centre of the screen at its first size.
    void placeCentred();
    // Opens the help page; a failure says why.
    void openHelp();
    // "Configure A Device" for device `slot`; "Update" commits the edit.
    void configureDevice(int slot);
    // "Add A Device"; a device the probe sheet finishes is added.
    void addDevice();
    // The chart page of device `slot`.
    ChartPage *devicePage(int slot) const;

    // Brings the window up from the tray, the task bar or behind others.
    void showFromTray();
    // The window with its "Device List" page, or with a device's page.
    void showDeviceList();
    void showDevicePage(quint64 deviceId);
    // The status window of a probe, opened or raised.
    void showProbeStatus(quint64 deviceId, int probeIndex);

signals:
    // Closing was confirmed: while the "Saving Data..." notice shows, the
    // settings and devices are to be saved and the shutdown logged.
    void shutDownRequested();
    // "Configure Corvanta Zephtra" was closed with OK.
    void programConfigured();

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    // Adds a finished new device: its file, the "Devices" list, its page and
    // rows, and its first (silent) query at once. False when it cannot be.
    bool addNewDevice(const DeviceRecord &device);
    void addDevicePage(int slot);
    void scheduleRefresh();

    WindowContext &context_;
    QueryCycle &cycle_;
    DeviceStore &store_;
    Prompter &prompter_;
    QTabWidget *tabs_;
    DeviceListPage *deviceList_;
    QLabel *status_;
    bool refreshPending_ = false;
    bool saving_ = false;
};

} // namespace cz
