// "Device Query Failure Email Configuration Details": where a device's
// query-failure e-mail is set up and tested. It edits the device (a working
// copy) as the fields are typed; Cancel puts back what was there.
#pragma once

#include "store/Records.h"

#include <QDialog>

#include <memory>

class QLineEdit;

namespace cz {

struct WindowContext;

class QueryFailureEmailDialog final : public QDialog {
    Q_OBJECT
public:
    QueryFailureEmailDialog(WindowContext &context, DeviceRecord &device, QWidget *parent = nullptr);
    ~QueryFailureEmailDialog() override;
    void reject() override;

private:
    void sendTestMessage();
    void browseRecipients();

    WindowContext &context_;
    DeviceRecord &device_;
    std::unique_ptr<DeviceRecord> before_;
    QLineEdit *server_, *port_, *from_, *to_, *user_, *password_, *subject_, *body_;
};

} // namespace cz
