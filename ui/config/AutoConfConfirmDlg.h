// "Automatic Configuration Details": what a device told about itself,
// shown for the operator to accept before the device is built. One window
// per model family: 4 probes, 16 probes, and the combined sensor model
// with its firmware, four groups and probe types.
#pragma once

#include "AutoConfiguration.h"

#include <QDialog>

class QPushButton;

namespace cz {

class AutoConfConfirmDlg : public QDialog {
    Q_OBJECT
public:
    QPushButton *okButton, *cancelButton;

protected:
    enum class Family { FourProbes, SixteenProbes, CombinedSensor };
    AutoConfConfirmDlg(Family family, const QByteArray &address, const FetchedConfiguration &c, QWidget *parent);
};

class CAutoConfConfirm04Dlg final : public AutoConfConfirmDlg {
    Q_OBJECT
public:
    CAutoConfConfirm04Dlg(const QByteArray &address, const FetchedConfiguration &c, QWidget *parent = nullptr)
        : AutoConfConfirmDlg(Family::FourProbes, address, c, parent) {}
};

class CAutoConfConfirm16Dlg final : public AutoConfConfirmDlg {
    Q_OBJECT
public:
    CAutoConfConfirm16Dlg(const QByteArray &address, const FetchedConfiguration &c, QWidget *parent = nullptr)
        : AutoConfConfirmDlg(Family::SixteenProbes, address, c, parent) {}
};

class CAutoConfConfirmRMDlg final : public AutoConfConfirmDlg {
    Q_OBJECT
public:
    CAutoConfConfirmRMDlg(const QByteArray &address, const FetchedConfiguration &c, QWidget *parent = nullptr)
        : AutoConfConfirmDlg(Family::CombinedSensor, address, c, parent) {}
};

// The window for the configuration's model.
std::unique_ptr<AutoConfConfirmDlg> autoConfConfirmation(const QByteArray &address, const FetchedConfiguration &c,
                                                         QWidget *parent);

} // namespace cz
