#include "AppState.h"

#include "DeviceFile.h"
#include "IniFile.h"
#include "ProbeLog.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cstdio>
#include <new>

namespace cz {
namespace {

const QByteArray kDevicesSection = "Devices";

QByteArray deviceKey(int number)
{
    char buf[24];
    std::snprintf(buf, sizeof buf, "Device%03d", number);
    return buf;
}

QString shown(const QByteArray &bytes)
{
    return QString::fromUtf8(bytes);
}

} // namespace

AppState::AppState(DataFolder folder, const Clock &clock, ProbeLogSink &probeLog, QObject *parent)
    : QObject(parent), folder_(std::move(folder)), clock_(clock), probeLog_(probeLog)
{
}

AppState::~AppState() = default;

void AppState::setStatus(const QString &text)
{
    status_ = text.left(255);
    emit statusChanged(status_);
}

void AppState::report(MessageIcon icon, const QString &text)
{
    emit message(icon, text);
}

void AppState::checkFolder(const QByteArray &path, const char *which)
{
    if (!ensureFolder(path))
        report(MessageIcon::Error, incompleteInstallationMessage(which));
}

void AppState::readProgramSettings()
{
    setStatus(QStringLiteral("Status: reading program initialization file..."));
    for (auto &d : devices)
        d.reset();
    deviceCount = 0;

    checkFolder(folder_.root, "common dir");
    IniFile ini;
    ini.load(QFile::decodeName(folder_.settingsFile()));
    settings.read(ini);

    checkFolder(folder_.devices(), "device dir");
    for (int k = 1; k <= kMaxDevices; ++k) {
        const QByteArray name = ini.readString(kDevicesSection, deviceKey(k), "", 65);
        if (name.isEmpty())
            continue;
        setStatus(QStringLiteral("Status: reading device info for %1...").arg(shown(name)));
        loadDevice(name);
    }

    checkFolder(folder_.logs(), "log dir");
    checkFolder(folder_.save(), "save dir");
    checkFolder(folder_.data(), "data dir");
    checkFolder(folder_.help(), "help dir");
    checkFolder(folder_.devices(), "device dir");
    checkFolder(folder_.templates(), "template dir");
    checkFolder(folder_.sounds(), "sounds dir");
    installDefaultFiles(folder_);
}

int AppState::loadDevice(const QByteArray &name)
{
    const QString problem = deviceNameProblem(name);
    if (!problem.isEmpty()) {
        report(MessageIcon::Error, problem + QStringLiteral(" The device is not loaded."));
        return -1;
    }
    if (deviceCount >= kMaxDevices)
        return -1;
    const int slot = deviceCount;
    auto device = readDeviceFile(folder_.deviceFile(name), slot);
    if (!device)
        return -1;
    if (device->DeviceName.empty())
        device->DeviceName = name;
    devices[std::size_t(slot)] = std::move(device);
    ++deviceCount;
    return slot;
}

std::unique_ptr<DeviceRecord> AppState::readDeviceFile(const QByteArray &path, int slot)
{
    std::unique_ptr<DeviceRecord> device;
    try {
        device = std::make_unique<DeviceRecord>();
        IniFile ini;
        ini.load(QFile::decodeName(path));
        readDeviceKeys(ini, *device);
        // Records hold at most 16 probes; a count outside 0..16 is damage.
        device->ProbeCount = std::clamp(device->ProbeCount, 0, kMaxProbes);
        for (int i = 0; i < device->ProbeCount; ++i) {
            setStatus(QStringLiteral("Status: reading device info for %1 probe %2...")
                          .arg(device->DeviceName.str())
                          .arg(i + 1));
            device->Probes[std::size_t(i)] = std::make_unique<ProbeRecord>();
            readProbeKeys(ini, i, *device->Probes[std::size_t(i)]);
        }
    } catch (const std::bad_alloc &) {
        report(MessageIcon::Error,
               QStringLiteral("WARNING: not enough memory for devices.\n Please contact Varnholt Technical Support."));
        if (!device)
            return nullptr;
    }
    resetRunState(*device, slot, folder_.root);
    for (int i = 0; i < device->probeSlots(); ++i) {
        ProbeRecord *p = device->probe(i);
        // A probe whose file names no event log logs to the usual place.
        if (p && p->LogFile.empty())
            p->LogFile = probeFilePath(folder_.logs(), device->DeviceName.bytes(), p->ProbeNumber,
                                       p->ProbeName.bytes(), "log");
    }
    return device;
}

bool AppState::writeProgramSettings()
{
    setStatus(QStringLiteral("Status: writing program configuration data..."));
    const QString path = QFile::decodeName(folder_.settingsFile());
    IniFile ini;
    ini.load(path);
    settings.write(ini);
    QString error;
    if (ini.save(path, &error))
        return true;
    report(MessageIcon::Error, QStringLiteral("The program settings could not be saved to \"%1\": %2").arg(path, error));
    return false;
}

bool AppState::writeDevicesSection()
{
    const QString path = QFile::decodeName(folder_.settingsFile());
    IniFile ini;
    ini.load(path);
    std::vector<std::pair<QByteArray, QByteArray>> entries;
    for (int slot = 0; slot < deviceCount; ++slot)
        entries.emplace_back(deviceKey(slot + 1), devices[std::size_t(slot)]->DeviceName.bytes());
    ini.replaceSection(kDevicesSection, entries);
    QString error;
    if (ini.save(path, &error))
        return true;
    report(MessageIcon::Error, QStringLiteral("The device list could not be saved to \"%1\": %2").arg(path, error));
    return false;
}

bool AppState::writeDeviceFile(int slot, bool writeAll)
{
    return saveDeviceFile(slot, writeAll, writeAll);
}

bool AppState::saveDeviceFile(int slot, bool writeAll, bool announceNewDevice)
{
    DeviceRecord *device = this->device(slot);
    if (!device)
        return false;
    const QByteArray name = device->DeviceName.bytes();
    setStatus(QStringLiteral("Status: writing device configuration data for %1...").arg(shown(name)));
    const QString problem = deviceNameProblem(name);
    if (!problem.isEmpty()) {
        report(MessageIcon::Error, problem + QStringLiteral(" The device's settings were not saved."));
        return false;
    }

    const QString path = QFile::decodeName(folder_.deviceFile(name));
    const bool exists = QFileInfo::exists(path);
    const bool created = writeAll && !exists;
    IniFile ini;
    if (created) {
        QStringList errors;
        ini.parse(deviceFileSkeleton(folder_.templates(), device->probeSlots(), &errors));
        for (const QString &e : errors)
            report(MessageIcon::Error, e);
    } else if (exists && !ini.load(path)) {
        report(MessageIcon::Error, QStringLiteral("The device file \"%1\" could not be read, so it was not saved.").arg(path));
        return false;
    }

    const std::vector<WrittenKey> written = putDeviceKeys(ini, *device, writeAll);
    if (!written.empty() || created) {
        QString error;
        if (!ini.save(path, &error)) {
            report(MessageIcon::Error,
                   created ? QStringLiteral("Error opening device initialization file.\n")
                           : QStringLiteral("The device file \"%1\" could not be saved: %2").arg(path, error));
            return false;
        }
    }

    device->ChangedKeys = writeAll ? kAllKeys : 0;
    for (int i = 0; i < device->probeSlots(); ++i)
        if (ProbeRecord *p = device->probe(i))
            p->ChangedKeys = 0;

    if (announceNewDevice)
        logToDevice(*device, "New device added.");
    else if (!writeAll && device->LoggingEnabled)
        logSavedKeys(*device, written);

    if (!status_.contains(QLatin1String("ERROR")))
        setStatus(QStringLiteral("Status: monitoring devices..."));
    return true;
}

bool AppState::writeAllDeviceFiles()
{
    bool ok = true;
    for (int slot = 0; slot < deviceCount; ++slot)
        ok = writeDeviceFile(slot, false) && ok;
    return ok;
}

bool AppState::deleteDevice(int slot)
{
    DeviceRecord *device = this->device(slot);
    if (!device)
        return false;
    const QByteArray name = device->DeviceName.bytes();
    devices[std::size_t(slot)].reset();
    emit deviceRemoved(slot);
    if (deviceNameProblem(name).isEmpty())
        QFile::remove(QFile::decodeName(folder_.deviceFile(name)));
    --deviceCount;
    for (int s = slot; s < deviceCount; ++s) {
        devices[std::size_t(s)] = std::move(devices[std::size_t(s + 1)]);
        for (int i = 0; i < kMaxProbes; ++i)
            if (ProbeRecord *p = devices[std::size_t(s)]->probe(i))
                p->DeviceNumber = s;
    }
    return writeDevicesSection();
}

bool AppState::renameDevice(int slot, const QByteArray &newName)
{
    DeviceRecord *device = this->device(slot);
    if (!device)
        return false;
    const QString problem = deviceNameProblem(newName);
    if (!problem.isEmpty()) {
        report(MessageIcon::Error, problem);
        return false;
    }
    const QByteArray oldName = device->DeviceName.bytes();
    for (int i = 0; i < device->probeSlots(); ++i) {
        ProbeRecord *p = device->probe(i);
        if (!p)
            continue;
        p->LogFile = p->LogFile.bytes().replace(oldName, newName);
        p->DataLogFile = p->DataLogFile.bytes().replace(oldName, newName);
        p->markChanged(ProbeBit::LogFile);
    }
    device->DeviceName = newName;
    device->markChanged(DeviceBit::DeviceName);
    // A file that does not exist yet under the new name gets every key, so
    // that nothing of the device's settings stays behind in the old file.
    const bool fresh = !QFileInfo::exists(QFile::decodeName(folder_.deviceFile(newName)));
    const bool saved = saveDeviceFile(slot, fresh, false);
    if (saved && fresh)
        device->ChangedKeys = 0;
    emit deviceRenamed(slot);
    return writeDevicesSection() && saved;
}

// One "<key> saved as "<value>"" line per saved key: device keys to every
// enabled probe's log, probe keys to their own probe's log if it is enabled.
void AppState::logSavedKeys(const DeviceRecord &device, const std::vector<WrittenKey> &written)
{
    const int probes = device.probeSlots();
    std::vector<QList<QByteArray>> lines(static_cast<std::size_t>(probes));
    for (const WrittenKey &k : written) {
        if (k.key == "LastContactTimeVal")
            continue;
        const QByteArray line = k.key + " saved as \"" + k.value + '"';
        for (int i = 0; i < probes; ++i)
            if (k.probeIndex < 0 || k.probeIndex == i)
                lines[std::size_t(i)].append(line);
    }
    for (int i = 0; i < probes; ++i) {
        const ProbeRecord *p = device.probe(i);
        if (p && p->ProbeEnabled && !lines[std::size_t(i)].isEmpty())
            probeLog_.appendProbeLogLines(p->LogFile.bytes(), lines[std::size_t(i)]);
    }
}

void AppState::logToDevice(const DeviceRecord &device, const QByteArray &message)
{
    if (!device.LoggingEnabled)
        return;
    for (int i = 0; i < device.probeSlots(); ++i) {
        const ProbeRecord *p = device.probe(i);
        if (p && p->ProbeEnabled)
            probeLog_.appendProbeLog(p->LogFile.bytes(), message);
    }
}

void AppState::logToAllDevices(const QByteArray &message)
{
    for (int slot = 0; slot < deviceCount; ++slot)
        logToDevice(*devices[std::size_t(slot)], message);
}

} // namespace cz
