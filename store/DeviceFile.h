// The keys of a device file ("Devices/<name>.ini"): how each is written,
// read back and tied to a bit of the changed-keys masks.
#pragma once

#include "store/Records.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <vector>

namespace cz {

class IniFile;

// Device changed-keys bits.
namespace DeviceBit {
inline constexpr std::uint64_t DevicePort = 1ull << 0, ProbeCount = 1ull << 1, UseProxy = 1ull << 2,
                               LastContactTimeVal = 1ull << 3, DisplayUnits = 1ull << 4, DeviceName = 1ull << 5,
                               DeviceAddress = 1ull << 6, DeviceModel = 1ull << 7, DeviceVersion = 1ull << 8,
                               DeviceSerial = 1ull << 9, ProxyServerPort = 1ull << 11,
                               ProxyServerAddress = 1ull << 12, ProxyServerUserName = 1ull << 13,
                               ProxyServerPassword = 1ull << 14, EnableDialer = 1ull << 15, DialerPort = 1ull << 16,
                               QueryFailThreshold = 1ull << 17, SendQueryFailMessage = 1ull << 18,
                               SMTPServerName = 1ull << 19, SMTPServerPort = 1ull << 20,
                               EmailFromAddress = 1ull << 21, EmailToAddress = 1ull << 22, SMTPUsername = 1ull << 23,
                               SMTPPassword = 1ull << 24, EmailSubjectText = 1ull << 25, EmailBodyText = 1ull << 26,
                               PlotLineWidth = 1ull << 27, QueryInterval = 1ull << 28, LoggingEnabled = 1ull << 29,
                               LogQueryFailures = 1ull << 30, ShowProbeNamesInLegend = 1ull << 31,
                               PreviousNames = 1ull << 32;
}

// Probe changed-keys bits. The probe has more keys than the mask has bits,
// so keys that always change together share one.
namespace ProbeBit {
inline constexpr std::uint64_t Numbers = 1ull << 0,  // DeviceNumber, ProbeNumber
    ConsecutiveAlarmThreshold = 1ull << 1,
    StateOrCount = 1ull << 2,                        // AlarmState, ConsecutiveAlarmCount
    DisplayUnits = 1ull << 3, ProbeType = 1ull << 4, GroupNumber = 1ull << 5, ProbeEnabled = 1ull << 6,
    SendAlarmEmail = 1ull << 7, SendCautionEmail = 1ull << 8, SendClearEmail = 1ull << 9,
    AlarmSound = 1ull << 10, CautionSound = 1ull << 11,
    AlarmSetOrCleared = 1ull << 12,                  // AlarmState
    LastAlarmSetTimeVal = 1ull << 13, LastAlarmClearedTimeVal = 1ull << 14,
    ChartColorSymbol = 1ull << 15,                   // ChartDataSymbol, ChartDataColor
    RunProgramAlarm = 1ull << 16, RunProgramCaution = 1ull << 17, RunProgramClear = 1ull << 18,
    TriggerDialerAlarm = 1ull << 19, TriggerDialerCaution = 1ull << 20, TriggerDialerClear = 1ull << 21,
    ProbeName = 1ull << 22, GroupName = 1ull << 23, EmailTo = 1ull << 24, EmailFrom = 1ull << 25,
    SMTPServer = 1ull << 26, SMTPPort = 1ull << 27, EmailSMTPUser = 1ull << 28, EmailSMTPPass = 1ull << 29,
    EmailTemplate = 1ull << 30, EmailAlarmSubject = 1ull << 31, EmailCautionSubject = 1ull << 32,
    HighAlarmTemp = 1ull << 33, HighCautionTemp = 1ull << 34, LogFile = 1ull << 35,
    EmailClearedSubject = 1ull << 36, CurrentTemp = 1ull << 37,
    HighestTemp = 1ull << 38,                        // with its time keys
    LowCautionTemp = 1ull << 39, LowAlarmTemp = 1ull << 40, AlarmSoundFile = 1ull << 41,
    CautionSoundFile = 1ull << 42,
    LowestTemp = 1ull << 43,                         // with its time keys
    CurrentHumidity = 1ull << 44, HighestHumidity = 1ull << 45, LowestHumidity = 1ull << 46,
    DataLogFile = 1ull << 47, Notes = 1ull << 48, ProgramAlarm = 1ull << 49, ProgramCaution = 1ull << 50,
    ProgramClear = 1ull << 51, HighestWetness = 1ull << 52, LowestWetness = 1ull << 53,
    SwitchAlarmCondition = 1ull << 54,
    WetnessOrSwitch = 1ull << 55,                    // CurrentWetness, the switch state and its times
    HighAlarmHumidity = 1ull << 56, HighCautionHumidity = 1ull << 57, LowCautionHumidity = 1ull << 58,
    LowAlarmHumidity = 1ull << 59, HighAlarmWetness = 1ull << 60, HighCautionWetness = 1ull << 61,
    LowCautionWetness = 1ull << 62, LowAlarmWetness = 1ull << 63;
}

inline constexpr std::uint64_t kAllKeys = ~0ull;

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
// probes whose bit is set in `deviceMask` or in the probe's ChangedKeys
// (every key with `writeAll`). Temperatures without a reading are left out.
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

// Sets the bits of the keys whose written text differs between `edited`
// and `live` (texts compared without regard to case).
void markEditedKeys(const DeviceRecord &live, DeviceRecord &edited);
void markEditedKeys(const ProbeRecord &live, ProbeRecord &edited);

} // namespace cz
