// "Configure A Device": a configured device's connection, logging, proxy,
// query-failure alert and voice dialer settings, edited on a working copy.
// The device itself keeps its settings (and is polled with them) until the
// dialog closes with "Update" and the copy is committed.
#pragma once

#include "ConfigContext.h"
#include "ConnectionFields.h"

#include <QDialog>

#include <memory>

class QCheckBox;
class QComboBox;
class QLineEdit;
class QPushButton;

namespace cz {

class YesNoField;
struct DeviceRecord;

class CCfgDeviceDlg final : public QDialog, public ConnectionFields {
    Q_OBJECT
public:
    CCfgDeviceDlg(ConfigContext &context, int slot, QWidget *parent = nullptr);
    ~CCfgDeviceDlg() override;

    // The edited copy; after "Update" it is what the device is to become.
    DeviceRecord &working() { return *working_; }
    int slot() const { return slot_; }

    QLineEdit *model;
    QCheckBox *queryFailAlert;
    QComboBox *queryFailCount;
    QPushButton *emailDetails;
    QCheckBox *dialer;
    QComboBox *dialerPort;
    QPushButton *testDialer, *updateButton, *probesButton, *cancelButton;

    void update();
    void configureProbes();
    void editEmailDetails();
    // "Cancel", the Escape key and the window's close ask first.
    void reject() override;

private:
    void fill();
    void connectFields();
    void changed();
    void updateEnabling();

    ConfigContext &context_;
    int slot_;
    std::unique_ptr<DeviceRecord> working_;
    bool filling_ = false;
};

} // namespace cz
