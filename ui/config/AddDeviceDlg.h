// "Add A Device": a new device's address, name, port, model, interval,
// logging and proxy, typed or fetched from the device by "Auto Configure";
// then its probes in the probe sheet. Monitoring goes on meanwhile.
#pragma once

#include "ConfigContext.h"
#include "ConnectionFields.h"
#include "NewDevice.h"

#include <QDialog>

#include <functional>
#include <memory>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;

namespace cz {

class DeviceAutoConfiguration;
class YesNoField;
struct AutoConfResult;

class CAddDeviceDlg final : public QDialog, public ConnectionFields {
    Q_OBJECT
public:
    CAddDeviceDlg(ConfigContext &context, QWidget *parent = nullptr);
    ~CAddDeviceDlg() override;

    // Adds the device the probe sheet finished; false keeps this dialog
    // open.
    std::function<bool(const DeviceRecord &device)> addDevice;
    // After "Auto Configure" found the address already configured and the
    // operator chose to reconfigure it: that device's slot, else -1.
    int reconfigureSlot() const { return reconfigureSlot_; }
    bool busy() const;

    QComboBox *model;
    QLabel *progress;
    QPushButton *addButton, *autoButton, *cancelButton;

    void add();
    void autoConfigure();
    // While the device is being contacted, Cancel abandons that.
    void reject() override;

private:
    NewDeviceSettings typedSettings() const;
    void autoConfigured(const AutoConfResult &result);
    // Checks the device, looks its address up, then runs the probe sheet.
    void build(const NewDeviceSettings &settings);
    void configureProbes(const DeviceRecord &device);
    void setBusy(const QString &what);
    void updateEnabling();

    ConfigContext &context_;
    std::unique_ptr<DeviceAutoConfiguration> autoConf_;
    int lookupId_ = -1;
    int reconfigureSlot_ = -1;
};

} // namespace cz
