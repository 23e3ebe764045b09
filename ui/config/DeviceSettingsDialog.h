// "Configure A Device": a configured device's connection, logging, proxy,
// query-failure alert and voice dialer settings, edited on a working copy.
// The device itself keeps its settings (and is polled with them) until the
// dialog closes with "Update" and the copy is committed.
#pragma once

#include "ui/config/ConnectionFields.h"

#include <QDialog>

#include <memory>

class QCheckBox;
class QComboBox;
class QPushButton;

namespace cz {

struct DeviceRecord;
struct WindowContext;

class DeviceSettingsDialog final : public QDialog {
    Q_OBJECT
public:
    DeviceSettingsDialog(WindowContext &context, int slot, QWidget *parent = nullptr);
    ~DeviceSettingsDialog() override;

    // The edited copy; after "Update" it is what the device is to become.
    const DeviceRecord &working() const { return *working_; }

    // "Update": the fields are checked, then the dialog closes.
    void accept() override;
    // "Cancel", the Escape key and the window's close ask first.
    void reject() override;

private:
    void edited();
    void updateEnabling();
    void configureProbes();
    void editEmailDetails();

    WindowContext &context_;
    int slot_;
    std::unique_ptr<DeviceRecord> working_;
    ConnectionFields fields_;
    QCheckBox *queryFailAlert_;
    QComboBox *queryFailCount_;
    QPushButton *emailDetails_;
    QPushButton *update_;
};

} // namespace cz
