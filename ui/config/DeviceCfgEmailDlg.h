// "Device Query Failure Email Configuration Details": where a device's
// query-failure e-mail is set up and tested.
#pragma once

#include "ConfigContext.h"

#include <QDialog>

class QLineEdit;
class QPushButton;

namespace cz {

struct DeviceRecord;
struct EmailTestContext;
struct EmailTestFields;

// The report and run callbacks of the e-mail tests, for a dialog that may
// be gone by the time a queued test reports.
EmailTestContext emailTestContext(ConfigContext &context, QWidget *dialog);

// The connection fields of an e-mail test, as typed.
EmailTestFields mailConnectionFields(const QLineEdit *server, const QLineEdit *port, const QLineEdit *user,
                                     const QLineEdit *password, const QLineEdit *recipients, const QLineEdit *sender);

class CDeviceCfgEmailDlg final : public QDialog {
    Q_OBJECT
public:
    // Edits the mail settings of `device` (a working copy); OK stores them.
    CDeviceCfgEmailDlg(ConfigContext &context, DeviceRecord &device, QWidget *parent = nullptr);

    QLineEdit *server, *port, *from, *to, *user, *password, *subject, *body;
    QPushButton *browseButton, *testButton, *okButton, *cancelButton;

    void sendTestMessage();
    void browseRecipients();

private:
    void store();

    ConfigContext &context_;
    DeviceRecord &device_;
};

} // namespace cz
