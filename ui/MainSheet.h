// The main window "Corvanta Zephtra": the "Device List" page, one page per
// device, the status line, and the close that saves everything.
#pragma once

#include <QWidget>

#include <functional>

class QLabel;
class QPushButton;
class QTabWidget;

namespace cz {

class CDeviceDetails;
class DeviceStore;
class DeviceListPage;
class Prompter;
class QueryCycle;
struct ConfigContext;
struct DeviceRecord;

class MainSheet final : public QWidget {
    Q_OBJECT
public:
    MainSheet(ConfigContext &context, QueryCycle &cycle, QWidget *parent = nullptr);

    // Called once closing is confirmed, while the "Saving Data..." notice
    // shows: saves the settings and devices and logs the shutdown.
    std::function<void()> shutDown;

    DeviceListPage &deviceList() { return *deviceList_; }
    QTabWidget &tabs() { return *tabs_; }
    QLabel &statusLine() { return *status_; }
    // Places the window at the centre of the screen at its first size.
    void placeCentred();
    // Opens the help page; a failure says why.
    void openHelp();
    // "Configure A Device" for device `slot`; "Update" commits the edit.
    void configureDevice(int slot);
    // "Add A Device"; a device the probe sheet finishes is added.
    void addDevice();
    // Adds a finished new device: its file, the "Devices" list, its page and
    // rows, and its first (silent) query at once. False when it cannot be.
    bool addNewDevice(const DeviceRecord &device);
    // The chart page of device `slot`.
    CDeviceDetails *devicePage(int slot) const;

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    void addDevicePage(int slot);
    void scheduleRefresh();

    ConfigContext &context_;
    QueryCycle &cycle_;
    DeviceStore &app_;
    Prompter &prompter_;
    QTabWidget *tabs_;
    DeviceListPage *deviceList_;
    QLabel *status_;
    bool refreshPending_ = false;
    bool saving_ = false;
};

} // namespace cz
