// The probe configuration sheet: one page per probe of a device, on a
// scratch copy that OK hands back to whoever opened it.
#pragma once

#include "ConfigContext.h"

#include <QDialog>

#include <memory>

class QPushButton;
class QTabWidget;

namespace cz {

class CDeviceConfigPage;
struct DeviceRecord;

class CDeviceConfigSheet final : public QDialog {
    Q_OBJECT
public:
    // Pages for every probe of `device`, titled by its name.
    CDeviceConfigSheet(ConfigContext &context, const DeviceRecord &device, QWidget *parent = nullptr);
    ~CDeviceConfigSheet() override;

    // After OK: the device with its probes as the pages left them.
    const DeviceRecord &scratch() const { return *scratch_; }
    int pageCount() const;
    CDeviceConfigPage *page(int index) const;
    QTabWidget &tabs() { return *tabs_; }
    QPushButton *okButton, *cancelButton;

private:
    void activatePage(int index);

    std::unique_ptr<DeviceRecord> scratch_;
    QTabWidget *tabs_;
    QList<CDeviceConfigPage *> pages_;
};

} // namespace cz
