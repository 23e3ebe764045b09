// "Add A Device": a new device's address, name, port, model, interval,
// logging and proxy, typed or fetched from the device by "Auto Configure";
// then its probes in the probe sheet. Monitoring goes on meanwhile.
#pragma once

#include "store/NewDevice.h"
#include "ui/config/ConnectionFields.h"

#include <QDialog>

#include <memory>

class QComboBox;
class QLabel;
class QPushButton;

namespace cz {

class DeviceAutoConfiguration;
struct AutoConfigResult;
struct WindowContext;

class AddDeviceDialog final : public QDialog {
    Q_OBJECT
public:
    AddDeviceDialog(WindowContext &context, QWidget *parent = nullptr);
    ~AddDeviceDialog() override;

    // After "Auto Configure" found the address already configured and the
    // operator chose to reconfigure it: that device's slot, else -1.
    int reconfigureSlot() const { return reconfigureSlot_; }
    // A device is being contacted or its name looked up.
    bool busy() const;

    // While the device is being contacted, Cancel abandons that.
    void reject() override;

signals:
    // The probe sheet finished a new device. Whoever adds it closes this
    // dialog with accept(); a device that cannot be added leaves it open.
    void deviceReady(const cz::DeviceRecord &device);

private:
    void add();
    void autoConfigure();
    NewDeviceSettings typedSettings() const;
    void autoConfigured(const AutoConfigResult &result);
    // Checks the device, looks its address up, then runs the probe sheet.
    void build(const NewDeviceSettings &settings);
    void configureProbes(const DeviceRecord &device);
    void setBusy(const QString &what);
    void updateEnabling();

    WindowContext &context_;
    std::unique_ptr<DeviceAutoConfiguration> autoConfiguration_;
    DeviceFields typed_;
    ConnectionFields fields_;
    QComboBox *model_;
    QLabel *progress_;
    QPushButton *add_, *autoConfigure_, *cancel_;
    int lookupId_ = -1;
    int reconfigureSlot_ = -1;
};

} // namespace cz
