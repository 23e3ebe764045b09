// What the program holds for its whole run: the data folder, the program
// settings, the 256 device slots, the status line and the run flags; and the
// operations that read and save them.
#pragma once

#include "Clock.h"
#include "DataFolder.h"
#include "ProgramSettings.h"
#include "Records.h"

#include <QObject>
#include <QString>

#include <array>
#include <memory>
#include <vector>

namespace cz {

class ProbeLogSink;
struct WrittenKey;

// The kind of a message the engine has for the operator; the window shows
// it in a message box with the matching icon, headless mode prints it.
enum class MessageIcon { Error, Warning, Exclamation, Information, Question, Stop };

class AppState : public QObject {
    Q_OBJECT
public:
    AppState(DataFolder folder, const Clock &clock, ProbeLogSink &probeLog, QObject *parent = nullptr);
    ~AppState() override;

    const DataFolder &folder() const { return folder_; }
    const Clock &clock() const { return clock_; }
    ProbeLogSink &probeLog() { return probeLog_; }

    ProgramSettings settings;
    std::array<std::unique_ptr<DeviceRecord>, kMaxDevices> devices;
    int deviceCount = 0;
    DeviceRecord *device(int slot) const
    {
        return slot >= 0 && slot < deviceCount ? devices[std::size_t(slot)].get() : nullptr;
    }

    // Run flags.
    int ShuttingDown = 0;
    int ConfigurationInProgress = 0;
    int FirstQueryDone = 0;
    // "%m-%d-%y" of the day whose probe files are in "Logs" and "Data"; the
    // daily rollover moves them when the day changes.
    QByteArray currentDateText;
    QByteArray startDate;

    // The status line: always begins "Status:" or "ERROR".
    QString status() const { return status_; }
    void setStatus(const QString &text);
    void report(MessageIcon icon, const QString &text);

    // Program folder (where the mailer lives).
    QString programFolder;

    // Start-up: the data folder and its sub-folders, the program settings,
    // every listed device, and the shipped templates where missing.
    void readProgramSettings();
    // Every "Program" key; "Devices" is left as it is.
    bool writeProgramSettings();
    // The "Devices" section, whole, from the slots in order.
    bool writeDevicesSection();

    // Reads "Devices/<name>.ini" into the next free slot (a missing file
    // gives a device with defaults). Returns the slot, or -1.
    int loadDevice(const QByteArray &name);
    // Saves a device file: with `writeAll` (a device just added) a missing
    // file is first laid out from the templates and every key is written;
    // otherwise only the keys whose changed-keys bits are set.
    bool writeDeviceFile(int slot, bool writeAll);
    // Every device file, changed keys only.
    bool writeAllDeviceFiles();
    // Deletes the device's file and record; later devices move down a slot.
    bool deleteDevice(int slot);
    // Gives a device a new name: its probe file paths follow the new name,
    // its file is written under the new name, old files stay where they are.
    bool renameDevice(int slot, const QByteArray &newName);

    // One event-log line to every enabled probe of every device that logs.
    void logToAllDevices(const QByteArray &message);
    void logToDevice(const DeviceRecord &device, const QByteArray &message);

signals:
    void statusChanged(const QString &status);
    void message(cz::MessageIcon icon, const QString &text);
    void deviceRemoved(int slot);
    void deviceRenamed(int slot);

private:
    void checkFolder(const QByteArray &path, const char *which);
    bool saveDeviceFile(int slot, bool writeAll, bool announceNewDevice);
    void logSavedKeys(const DeviceRecord &device, const std::vector<WrittenKey> &written);
    std::unique_ptr<DeviceRecord> readDeviceFile(const QByteArray &path, int slot);

    DataFolder folder_;
    const Clock &clock_;
    ProbeLogSink &probeLog_;
    QString status_;
};

} // namespace cz
