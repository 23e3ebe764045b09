// The probe configuration sheet: one page per probe of a device, on a copy
// of the device that OK hands back to whoever opened it.
#pragma once

#include <QDialog>

#include <memory>

class QTabWidget;

namespace cz {

class ProbeSettingsPage;
struct DeviceRecord;
struct WindowContext;

class ProbeSettingsSheet final : public QDialog {
    Q_OBJECT
public:
    // Pages for every probe of `device`, titled by its name.
    ProbeSettingsSheet(WindowContext &context, const DeviceRecord &device, QWidget *parent = nullptr);
    ~ProbeSettingsSheet() override;

    // After OK: the device with its probes as the pages left them.
    const DeviceRecord &edited() const { return *edited_; }
    // OK: every page that was shown settles what it shows.
    void accept() override;

private:
    void activatePage(int index);

    std::unique_ptr<DeviceRecord> edited_;
    QTabWidget *tabs_;
    QList<ProbeSettingsPage *> pages_;
};

} // namespace cz
