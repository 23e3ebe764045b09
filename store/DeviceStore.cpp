#include "store/DeviceStore.h"

#include "store/DeviceFile.h"
#include "store/FileWrite.h"
#include "store/IniFile.h"
#include "store/ProbeLog.h"

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

DeviceStore::DeviceStore(DataFolder folder, const Clock &clock, ProbeLogSink &probeLog, ProgramStatus &status,
                         QObject *parent)
    : QObject(parent), folder_(std::move(folder)), clock_(clock), probeLog_(probeLog), status_(status)
{
}

DeviceStore::~DeviceStore() = default;

void DeviceStore::checkFolder(const QByteArray &path, const char *which)
{
    if (!ensureFolder(path))
        status_.report(MessageIcon::Error, incompleteInstallationMessage(which));
}

void DeviceStore::readProgramSettings()
{
    status_.set(QStringLiteral("Status: reading program initialization file..."));
    for (auto &d : devices_)
        d.reset();
    deviceCount_ = 0;

    checkFolder(folder_.root, "common dir");
    removeInterruptedSaves(folder_.root);
    removeInterruptedSaves(folder_.devices());
    IniFile ini;
    ini.load(QFile::decodeName(folder_.settingsFile()));
    settings.read(ini);

    checkFolder(folder_.devices(), "device dir");
    for (int k = 1; k <= kMaxDevices; ++k) {
        const QByteArray name = ini.readString(kDevicesSection, deviceKey(k), "", 65);
        if (name.isEmpty())
            continue;
        status_.set(QStringLiteral("Status: reading device info for %1...").arg(shown(name)));
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

int DeviceStore::loadDevice(const QByteArray &name)
{
    const QString problem = deviceNameProblem(name);
    if (!problem.isEmpty()) {
        status_.report(MessageIcon::Error, problem + QStringLiteral(" The device is not loaded."));
        return -1;
    }
    if (deviceCount_ >= kMaxDevices)
        return -1;
    const int slot = deviceCount_;
    const QByteArray path = folder_.deviceFile(name);
    if (!QFileInfo::exists(QFile::decodeName(path)))
        status_.report(MessageIcon::Warning,
                       QStringLiteral("The settings file of device \"%1\" is missing:\n%2\nThe device starts with "
                                      "default settings; its file is written again when it is saved.")
                           .arg(shown(name), QFile::decodeName(path)));
    auto device = readDeviceFile(path, slot);
    if (!device)
        return -1;
    if (device->DeviceName.empty())
        device->DeviceName = name;
    device->id = ++lastId_;
    devices_[std::size_t(slot)] = std::move(device);
    ++deviceCount_;
    return slot;
}

std::unique_ptr<DeviceRecord> DeviceStore::readDeviceFile(const QByteArray &path, int slot)
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
            status_.set(QStringLiteral("Status: reading device info for %1 probe %2...")
                            .arg(device->DeviceName.str(), QString::number(i + 1)));
            device->Probes[std::size_t(i)] = std::make_unique<ProbeRecord>();
            readProbeKeys(ini, i, *device->Probes[std::size_t(i)]);
        }
    } catch (const std::bad_alloc &) {
        status_.report(MessageIcon::Error,
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

bool DeviceStore::writeProgramSettings()
{
    status_.set(QStringLiteral("Status: writing program configuration data..."));
    const QString path = QFile::decodeName(folder_.settingsFile());
    IniFile ini;
    ini.load(path);
    settings.write(ini);
    QString error;
    if (ini.save(path, &error))
        return true;
    status_.report(MessageIcon::Error, QStringLiteral("The program settings could not be saved to \"%1\": %2").arg(path, error));
    return false;
}

bool DeviceStore::writeDevicesSection()
{
    const QString path = QFile::decodeName(folder_.settingsFile());
    IniFile ini;
    ini.load(path);
    std::vector<std::pair<QByteArray, QByteArray>> entries;
    for (int slot = 0; slot < deviceCount_; ++slot)
        entries.emplace_back(deviceKey(slot + 1), devices_[std::size_t(slot)]->DeviceName.bytes());
    ini.replaceSection(kDevicesSection, entries);
    QString error;
    if (ini.save(path, &error))
        return true;
    status_.report(MessageIcon::Error, QStringLiteral("The device list could not be saved to \"%1\": %2").arg(path, error));
    return false;
}

bool DeviceStore::writeDeviceFile(int slot, bool writeAll)
{
    return saveDeviceFile(slot, writeAll ? SaveKeys::EveryKeyNew : SaveKeys::Changed);
}

bool DeviceStore::saveDeviceFile(int slot, SaveKeys keys)
{
    DeviceRecord *device = deviceForUpdate(slot);
    if (!device)
        return false;
    const QByteArray name = device->DeviceName.bytes();
    status_.set(QStringLiteral("Status: writing device configuration data for %1...").arg(shown(name)));
    const QString problem = deviceNameProblem(name);
    if (!problem.isEmpty()) {
        status_.report(MessageIcon::Error, problem + QStringLiteral(" The device's settings were not saved."));
        return false;
    }

    const QString path = QFile::decodeName(folder_.deviceFile(name));
    const bool exists = QFileInfo::exists(path);
    // A file that is missing (renamed, lost) is laid out again with every
    // key, so that nothing of the device's settings is left out.
    const bool created = !exists;
    if (created && keys == SaveKeys::Changed)
        keys = SaveKeys::EveryKeyEdited;
    const bool writeAll = keys != SaveKeys::Changed;
    IniFile ini;
    if (created) {
        QStringList errors;
        ini.parse(deviceFileSkeleton(folder_.templates(), device->probeSlots(), &errors));
        for (const QString &e : errors)
            status_.report(MessageIcon::Error, e);
    } else if (exists && !ini.load(path)) {
        status_.report(MessageIcon::Error, QStringLiteral("The device file \"%1\" could not be read, so it was not saved.").arg(path));
        return false;
    }

    // The keys an edit changed, to be logged though every key is written.
    std::vector<WrittenKey> changed;
    if (keys == SaveKeys::EveryKeyEdited) {
        IniFile scratch;
        changed = putDeviceKeys(scratch, *device, false);
    }
    const std::vector<WrittenKey> written = putDeviceKeys(ini, *device, writeAll);
    if (!written.empty() || created) {
        QString error;
        bool narrowed = false;
        // A device file can hold passwords.
        if (!ini.save(path, &error, FileAccess::OwnerOnly, &narrowed)) {
            status_.report(MessageIcon::Error,
                   created ? QStringLiteral("Error opening device initialization file.\n")
                           : QStringLiteral("The device file \"%1\" could not be saved: %2").arg(path, error));
            return false;
        }
        if (narrowed)
            status_.note(narrowedFileNotice(path));
    }

    device->Changed.clear();
    if (keys == SaveKeys::EveryKeyNew)
        device->Changed.markAll();
    for (int i = 0; i < device->probeSlots(); ++i)
        if (ProbeRecord *p = device->probe(i))
            p->Changed.clear();

    if (keys == SaveKeys::EveryKeyNew)
        logToDevice(*device, "New device added.");
    else if (device->LoggingEnabled)
        logSavedKeys(*device, keys == SaveKeys::Changed ? written : changed);

    if (!status_.showsError())
        status_.set(QStringLiteral("Status: monitoring devices..."));
    return true;
}

bool DeviceStore::writeAllDeviceFiles()
{
    bool ok = true;
    for (int slot = 0; slot < deviceCount_; ++slot)
        ok = writeDeviceFile(slot, false) && ok;
    return ok;
}

bool DeviceStore::deleteDevice(int slot)
{
    if (!device(slot))
        return false;
    // Views let go of the record's probes before it goes.
    emit deviceAboutToBeRemoved(slot);
    const QByteArray name = devices_[std::size_t(slot)]->DeviceName.bytes();
    devices_[std::size_t(slot)].reset();
    if (deviceNameProblem(name).isEmpty())
        QFile::remove(QFile::decodeName(folder_.deviceFile(name)));
    --deviceCount_;
    for (int s = slot; s < deviceCount_; ++s) {
        devices_[std::size_t(s)] = std::move(devices_[std::size_t(s + 1)]);
        for (int i = 0; i < kMaxProbes; ++i)
            if (ProbeRecord *p = devices_[std::size_t(s)]->probe(i))
                p->DeviceNumber = s;
    }
    emit deviceRemoved(slot);
    return writeDevicesSection();
}

int DeviceStore::slotOf(const DeviceRecord *device) const
{
    for (int slot = 0; slot < deviceCount_; ++slot)
        if (devices_[std::size_t(slot)].get() == device)
            return slot;
    return -1;
}

int DeviceStore::slotWithId(std::uint64_t id) const
{
    for (int slot = 0; slot < deviceCount_; ++slot)
        if (devices_[std::size_t(slot)]->id == id)
            return slot;
    return -1;
}

int DeviceStore::addDevice(std::unique_ptr<DeviceRecord> device)
{
    if (!device || deviceCount_ >= kMaxDevices)
        return -1;
    const int slot = deviceCount_++;
    device->id = ++lastId_;
    for (int i = 0; i < kMaxProbes; ++i)
        if (ProbeRecord *p = device->probe(i))
            p->DeviceNumber = slot;
    devices_[std::size_t(slot)] = std::move(device);
    emit deviceAdded(slot);
    return slot;
}


bool DeviceStore::commitDevice(int slot, const DeviceRecord &edited)
{
    DeviceRecord *live = deviceForUpdate(slot);
    if (!live)
        return false;
    const QByteArray oldName = live->DeviceName.bytes();
    const QByteArray newName = edited.DeviceName.bytes();
    if (newName != oldName && !renameDevice(slot, newName))
        return false;
    // What monitoring keeps up to date, and the name (given above), stay as
    // the live record has them; the rest is compared and taken.
    DeviceRecord copy;
    copyDeviceRecord(&copy, edited);
    copy.DeviceName = live->DeviceName;
    copy.PreviousNames = live->PreviousNames;
    copy.LastContactTimeVal = live->LastContactTimeVal;
    copy.QueryFailureCount = live->QueryFailureCount;
    copy.QueryDue = live->QueryDue;
    copy.NextSampleTime = live->NextSampleTime;
    copy.Times = live->Times;
    markEditedKeys(*live, copy);
    copy.Changed.add(live->Changed);
    // The probes stay where they are: the list and the engine hold them.
    for (int i = 0; i < kMaxProbes; ++i)
        copy.Probes[std::size_t(i)] = std::move(live->Probes[std::size_t(i)]);
    copyDeviceRecord(live, copy);
    for (int i = 0; i < kMaxProbes; ++i)
        live->Probes[std::size_t(i)] = std::move(copy.Probes[std::size_t(i)]);
    for (int i = 0; i < live->probeSlots(); ++i) {
        ProbeRecord *p = live->probe(i);
        const ProbeRecord *e = edited.probe(i);
        if (!p || !e)
            continue;
        ProbeRecord updated;
        copyProbeRecord(&updated, *e);
        copyRunState(updated, *p);
        updated.DeviceNumber = slot;
        if (newName != oldName) {
            updated.LogFile = renamedProbeFilePath(updated.LogFile.bytes(), oldName, newName);
            updated.DataLogFile = renamedProbeFilePath(updated.DataLogFile.bytes(), oldName, newName);
        }
        markEditedKeys(*p, updated);
        updated.Changed.add(p->Changed);
        copyProbeRecord(p, updated);
    }
    const bool saved = saveDeviceFile(slot, SaveKeys::EveryKeyEdited);
    emit deviceChanged(slot);
    return saved;
}

void DeviceStore::setProbesEnabled(const QList<const ProbeRecord *> &probes, bool enabled)
{
    for (const ProbeRecord *probe : probes) {
        DeviceRecord *d = deviceForUpdate(probe->DeviceNumber);
        for (int i = 0; d && i < d->probeSlots(); ++i) {
            ProbeRecord *p = d->probe(i);
            if (p == probe && (p->ProbeEnabled != 0) != enabled) {
                p->ProbeEnabled = enabled ? 1 : 0;
                p->markChanged("ProbeEnabled");
            }
        }
    }
}

void DeviceStore::setChartStyle(int slot, const ChartStyle &style)
{
    DeviceRecord *d = deviceForUpdate(slot);
    if (!d)
        return;
    d->PlotLineWidth = style.lineWidth;
    d->markChanged("PlotLineWidth");
    for (int i = 0; i < d->probeSlots(); ++i) {
        if (ProbeRecord *p = d->probe(i)) {
            p->ChartDataColor = style.colors[std::size_t(i)];
            p->ChartDataSymbol = style.symbols[std::size_t(i)];
            p->markChanged("ChartDataColor");
        }
    }
    emit chartStyleChanged(slot);
}

void DeviceStore::setLegendShowsProbeNames(int slot, bool show)
{
    DeviceRecord *d = deviceForUpdate(slot);
    if (!d)
        return;
    d->ShowProbeNamesInLegend = show ? 1 : 0;
    d->markChanged("ShowProbeNamesInLegend");
    emit chartStyleChanged(slot);
}

bool DeviceStore::renameDevice(int slot, const QByteArray &newName)
{
    DeviceRecord *device = deviceForUpdate(slot);
    if (!device)
        return false;
    const QString problem = deviceNameProblem(newName);
    if (!problem.isEmpty()) {
        status_.report(MessageIcon::Error, problem);
        return false;
    }
    const QByteArray oldName = device->DeviceName.bytes();
    for (int i = 0; i < device->probeSlots(); ++i) {
        ProbeRecord *p = device->probe(i);
        if (!p)
            continue;
        p->LogFile = renamedProbeFilePath(p->LogFile.bytes(), oldName, newName);
        p->DataLogFile = renamedProbeFilePath(p->DataLogFile.bytes(), oldName, newName);
        p->markChanged("LogFile");
    }
    device->DeviceName = newName;
    device->markChanged("DeviceName");
    // Its files stay under the old name; the chart history is read from them.
    addPreviousName(*device, oldName);
    device->markChanged("PreviousNames");
    // A file that does not exist yet under the new name gets every key, so
    // that nothing of the device's settings stays behind in the old file.
    const bool saved = saveDeviceFile(slot, SaveKeys::Changed);
    emit deviceRenamed(slot);
    return writeDevicesSection() && saved;
}

// One "<key> saved as "<value>"" line per saved key: device keys to every
// enabled probe's log, probe keys to their own probe's log if it is enabled.
// A password is never written to a log: "<key> saved as (hidden)".
void DeviceStore::logSavedKeys(const DeviceRecord &device, const std::vector<WrittenKey> &written)
{
    const int probes = device.probeSlots();
    std::vector<QList<QByteArray>> lines(static_cast<std::size_t>(probes));
    for (const WrittenKey &k : written) {
        // Kept by the program, not set by anyone: not a settings change.
        if (k.key == "LastContactTimeVal" || k.key == "PreviousNames")
            continue;
        const QByteArray line =
            k.key + " saved as " + (isPasswordKey(k.key) ? QByteArray("(hidden)") : '"' + k.value + '"');
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

void DeviceStore::logToDevice(const DeviceRecord &device, const QByteArray &message)
{
    if (!device.LoggingEnabled)
        return;
    for (int i = 0; i < device.probeSlots(); ++i) {
        const ProbeRecord *p = device.probe(i);
        if (p && p->ProbeEnabled)
            probeLog_.appendProbeLog(p->LogFile.bytes(), message);
    }
}

void DeviceStore::logToAllDevices(const QByteArray &message)
{
    for (int slot = 0; slot < deviceCount_; ++slot)
        logToDevice(*devices_[std::size_t(slot)], message);
}

} // namespace cz
