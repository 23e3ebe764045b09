// "Additional Alert Options": the programs a probe's alerts run and the
// alerts that trigger the device's voice dialer.
#pragma once

#include "store/Records.h"

#include <QDialog>

namespace cz {

class FileChooser;

class AlertOptionsDialog final : public QDialog {
    Q_OBJECT
public:
    // Opening wraps each program to run in double quotes in `probe` itself;
    // OK stores the programs and flags into it, Cancel stores nothing more.
    // Without a dialer on the device, no alert triggers it.
    AlertOptionsDialog(ProbeRecord &probe, bool deviceDialerEnabled, FileChooser &files, QWidget *parent = nullptr);
    void accept() override;

private:
    ProbeRecord &probe_;
    ProbeRecord edited_;
    FileChooser &files_;
};

} // namespace cz
