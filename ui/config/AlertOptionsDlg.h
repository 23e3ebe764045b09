// "Additional Alert Options": the programs a probe's alerts run and the
// alerts that trigger the device's voice dialer.
#pragma once

#include <QDialog>

class QCheckBox;
class QLineEdit;
class QPushButton;

namespace cz {

class FileChooser;
struct ProbeRecord;

class CAlertOptionsDlg final : public QDialog {
    Q_OBJECT
public:
    // Opening wraps each program to run in double quotes in `probe` itself;
    // OK stores the programs and flags into it, Cancel stores nothing more.
    CAlertOptionsDlg(ProbeRecord &probe, bool deviceDialerEnabled, FileChooser &files, QWidget *parent = nullptr);

    struct Condition {
        QCheckBox *run;
        QLineEdit *program;
        QPushButton *browse;
        QCheckBox *dialer;
    };
    Condition alarm, caution, cleared;
    QPushButton *okButton, *cancelButton;

private:
    void store();

    ProbeRecord &probe_;
    bool dialerEnabled_;
    FileChooser &files_;
};

} // namespace cz
