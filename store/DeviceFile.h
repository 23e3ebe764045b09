// The keys of a device file ("Devices/<name>.ini"): how each is written,
// read back, and which keys are saved together when one of them changed.
#pragma once

#include "store/Records.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <vector>

namespace cz {

class IniFile;

// "Probe%02d"
QByteArray probeSection(int probeNumber);

// Reads the "Device" keys into a new record; absent keys keep the record's
// defaults.
void readDeviceKeys(const IniFile &ini, DeviceRecord &device);
// Reads section "Probe%02d" (probeIndex + 1) into a new record, the same way.
void readProbeKeys(const IniFile &ini, int probeIndex, ProbeRecord &probe);

// One key put into the file; probeIndex is -1 for a device key.
struct WrittenKey {
    int probeIndex;
    QByteArray key;
    QByteArray value;
};

// Puts into `ini`, in file order, every key of the device and of its
// probes that is marked changed, or saved with one that is (every key with
// `writeAll`). Temperatures without a reading are left out.
std::vector<WrittenKey> putDeviceKeys(IniFile &ini, const DeviceRecord &device, bool writeAll);

// The text a new device file starts with: the device template, then per
// probe the banner and the probe template with "[ProbeXX]" numbered.
// A template that cannot be read adds its message to `errors`.
QByteArray deviceFileSkeleton(const QByteArray &templatesFolder, int probeCount, QStringList *errors);

// SMTPPassword, ProxyServerPassword and the probes' EmailSMTPPass.
bool isPasswordKey(const QByteArray &key);

// Empty when `name` can be a device name (it is part of file names);
// otherwise the reason it cannot.
QString deviceNameProblem(const QByteArray &name);

// Marks changed the keys whose written text differs between `edited` and
// `live` (texts compared without regard to case).
void markEditedKeys(const DeviceRecord &live, DeviceRecord &edited);
void markEditedKeys(const ProbeRecord &live, ProbeRecord &edited);

} // namespace cz
