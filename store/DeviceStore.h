// The monitored devices: the data folder, the program settings, the 256
// device slots, and the operations that load, save, add, change, rename and
// delete devices. Windows read records through `device()` and change them
// only through these operations; the monitoring engine updates readings
// through `deviceForUpdate()`.
#pragma once

#include "store/Clock.h"
#include "store/DataFolder.h"
#include "store/ProgramSettings.h"
#include "store/ProgramStatus.h"
#include "store/Records.h"

#include <QList>
#include <QObject>
#include <QString>

#include <array>
#include <memory>
#include <vector>

namespace cz {

class ProbeLogSink;

// What the chart colours dialog chooses for a device.
struct ChartStyle {
    std::int32_t lineWidth = 1;
    std::array<std::int32_t, kMaxProbes> colors{};   // 0x00BBGGRR
    std::array<std::int32_t, kMaxProbes> symbols{};  // symbol index, -1 for none
};
struct WrittenKey;

class DeviceStore : public QObject {
    Q_OBJECT
public:
    DeviceStore(DataFolder folder, const Clock &clock, ProbeLogSink &probeLog, ProgramStatus &status,
                QObject *parent = nullptr);
    ~DeviceStore() override;

    const DataFolder &folder() const { return folder_; }
    const Clock &clock() const { return clock_; }
    ProbeLogSink &probeLog() { return probeLog_; }
    ProgramStatus &status() const { return status_; }

    ProgramSettings settings;

    int deviceCount() const { return deviceCount_; }
    const DeviceRecord *device(int slot) const
    {
        return slot >= 0 && slot < deviceCount_ ? devices_[std::size_t(slot)].get() : nullptr;
    }
    // The record itself, for the monitoring engine's readings and states.
    DeviceRecord *deviceForUpdate(int slot)
    {
        return slot >= 0 && slot < deviceCount_ ? devices_[std::size_t(slot)].get() : nullptr;
    }
    // The slot a record is in now (slots move down when a device is
    // deleted), or -1 when it is gone.
    int slotOf(const DeviceRecord *device) const;
    // The slot of the device with this id, or -1 when it is gone.
    int slotWithId(std::uint64_t id) const;

    // "%m-%d-%y" of the day whose probe files are in "Logs" and "Data"; the
    // daily rollover moves them when the day changes.
    QByteArray currentDateText;
    QByteArray startDate;

    // Start-up: removes what interrupted saves left behind, then reads the
    // data folder and its sub-folders, the program settings, every listed
    // device, and installs the shipped templates where missing.
    void readProgramSettings();
    // Every "Program" key; "Devices" is left as it is.
    bool writeProgramSettings();
    // The "Devices" section, whole, from the slots in order.
    bool writeDevicesSection();

    // Reads "Devices/<name>.ini" into the next free slot (a missing file
    // gives a device with defaults). Returns the slot, or -1.
    int loadDevice(const QByteArray &name);
    // Puts a new device into the next free slot and announces it with
    // deviceAdded. Returns the slot, or -1 when all slots are taken.
    int addDevice(std::unique_ptr<DeviceRecord> device);
    // Saves a device file: with `writeAll` (a device just added) a missing
    // file is first laid out from the templates and every key is written;
    // otherwise only the keys marked changed.
    bool writeDeviceFile(int slot, bool writeAll);
    // Every device file, changed keys only.
    bool writeAllDeviceFiles();
    // Takes the settings of an edited working copy of device `slot` (and of
    // its probes): a new name is given as renameDevice gives it, the keys
    // whose values differ are marked, the readings, states, extremes and
    // histories of the live record stay, and the file is saved with every
    // key; the keys that changed are logged as saved.
    bool commitDevice(int slot, const DeviceRecord &edited);
    // Enables or disables probes (marked for the next save).
    void setProbesEnabled(const QList<const ProbeRecord *> &probes, bool enabled);
    // The chart's line width and each probe's line colour and symbol,
    // marked for the next save.
    void setChartStyle(int slot, const ChartStyle &style);
    // Whether the chart legend names probes by name (marked for the next
    // save).
    void setLegendShowsProbeNames(int slot, bool show);
    // Deletes the device's file and record; later devices move down a slot.
    // deviceAboutToBeRemoved comes while the record still exists.
    bool deleteDevice(int slot);
    // Gives a device a new name: its probe file paths follow the new name,
    // its file is written under the new name, old files stay where they are.
    bool renameDevice(int slot, const QByteArray &newName);

    // One event-log line to every enabled probe of every device that logs.
    void logToAllDevices(const QByteArray &message);
    void logToDevice(const DeviceRecord &device, const QByteArray &message);

signals:
    void deviceAdded(int slot);
    void deviceAboutToBeRemoved(int slot);
    void deviceRemoved(int slot);
    void deviceRenamed(int slot);
    void deviceChanged(int slot);
    void chartStyleChanged(int slot);

private:
    void checkFolder(const QByteArray &path, const char *which);
    enum class SaveKeys {
        Changed,          // the keys marked changed, each logged as saved
        EveryKeyNew,      // every key of a device just added
        EveryKeyEdited,   // every key, the ones marked changed logged as saved
    };
    bool saveDeviceFile(int slot, SaveKeys keys);
    void logSavedKeys(const DeviceRecord &device, const std::vector<WrittenKey> &written);
    std::unique_ptr<DeviceRecord> readDeviceFile(const QByteArray &path, int slot);

    DataFolder folder_;
    const Clock &clock_;
    ProbeLogSink &probeLog_;
    ProgramStatus &status_;
    std::array<std::unique_ptr<DeviceRecord>, kMaxDevices> devices_;
    int deviceCount_ = 0;
    std::uint64_t lastId_ = 0;
};

} // namespace cz
