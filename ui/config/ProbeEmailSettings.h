// The "Email" box of a probe's page: whether each kind of alert is mailed,
// the server, sender, recipients, login and body template, the test
// message, the subject lines and "Apply to all probes on this device".
#pragma once

#include "store/Records.h"
#include "ui/widgets/FieldBinding.h"

#include <QGroupBox>

class QLineEdit;

namespace cz {

struct WindowContext;

class ProbeEmailSettings final : public QGroupBox {
    Q_OBJECT
public:
    // Binds its fields to the probe through `fields`; its controls are
    // added to `tabOrder`.
    ProbeEmailSettings(WindowContext &context, DeviceRecord &device, int probeIndex, FieldBinding<ProbeRecord> &fields,
                       QList<QWidget *> &tabOrder, QWidget *parent);
    // The mail settings are greyed while no kind of alert is mailed.
    void updateEnabling();

signals:
    // "Apply to all probes on this device" was pressed.
    void applyToAllRequested();
    // The subject lines were changed.
    void subjectsChanged();

private:
    ProbeRecord &probe() const { return *device_.probe(index_); }
    void browse(QLineEdit *field, const QString &title);
    void sendTestEmail();
    void customizeSubjectLines();

    WindowContext &context_;
    DeviceRecord &device_;
    int index_;
    QLineEdit *server_, *port_, *from_, *to_, *user_, *password_, *template_;
    QList<QWidget *> settings_;
};

} // namespace cz
