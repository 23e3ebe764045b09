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

// The query interval list: text and seconds.
struct IntervalChoice {
    const char *text;
    int seconds;
};
inline constexpr IntervalChoice kIntervalChoices[] = {
    {"5 secs.", 5},    {"10 secs.", 10},  {"15 secs.", 15},   {"30 secs.", 30},   {"1 min.", 60},
    {"2 mins.", 120},  {"3 mins.", 180},  {"4 mins.", 240},   {"5 mins.", 300},   {"10 mins.", 600},
    {"15 mins.", 900}, {"30 mins.", 1800}, {"1 hour", 3600}};
// Seconds for a list index; any other index gives 30.
int intervalSeconds(int index);

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
