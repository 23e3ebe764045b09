// In-memory records of the monitored devices and their probes.
#pragma once

#include "store/ChangedKeys.h"
#include "store/FixedText.h"
#include "store/History.h"
#include "store/TimeHistory.h"
#include "store/ValueHistory.h"

#include <QByteArray>
#include <QList>

#include <array>
#include <cstdint>
#include <limits>
#include <memory>

namespace cz {

inline constexpr double kNoTemp = kNoValue;                                         // no temperature reading
inline constexpr std::int32_t kNoReading = std::numeric_limits<std::int32_t>::min(); // no humidity / wetness reading
inline constexpr int kMaxDevices = 256;
inline constexpr int kMaxProbes = 16;

enum class ProbeType : std::int32_t { Temperature = 0, Humidity = 1, Wetness = 2, Switch = 3 };
enum class DisplayUnits : std::int32_t { F = 0, C = 1, K = 2, R = 3 };
enum class AlarmState : std::int32_t { Normal = 0, HighAlarm = 1, HighCaution = 2, LowCaution = 3, LowAlarm = 4 };
enum class SwitchAlarmCondition : std::int32_t { Never = 0, OnOpen = 1, OnClose = 2 };

// Values of ProbeRecord::SwitchState.
inline constexpr std::int32_t kSwitchUnknown = 0;
inline constexpr std::int32_t kSwitchOpen = 2;
inline constexpr std::int32_t kSwitchClosed = 8;

const char *probeTypeText(ProbeType type);          // "Temperature", ... ; "" when out of range
char unitLetter(DisplayUnits units);                // 'F', 'C', 'K', 'R'; '?' when out of range
const char *unitName(DisplayUnits units);           // "Fahrenheit", ...; "" when out of range
// The threshold of `band` (HighAlarm .. LowAlarm) of a temperature, humidity
// or wetness probe, in the probe's units.
struct ProbeRecord;
double probeThreshold(const ProbeRecord &probe, AlarmState band);
// A temperature difference (a margin) in `from` degrees as `to` degrees:
// Celsius and Kelvin degrees are 1.8 Fahrenheit or Rankine ones.
double convertTemperatureDifference(double difference, DisplayUnits from, DisplayUnits to);
const char *alarmStateText(AlarmState state);       // "Normal", "High Alarm", ...
const char *switchConditionText(SwitchAlarmCondition condition);

std::int32_t defaultChartColor(int probeIndex);     // 0x00BBGGRR, by probe number - 1
std::int32_t defaultChartSymbol(int probeIndex);

struct ProbeRecord : KeyChanges {
    std::int32_t SMTPPort = 25;
    cz::ProbeType ProbeType = cz::ProbeType::Temperature;
    cz::AlarmState AlarmState = cz::AlarmState::Normal;
    std::int32_t ProbeNumber = 0;
    std::int32_t GroupNumber = 0;
    std::int32_t DeviceNumber = 0;
    cz::DisplayUnits DisplayUnits = cz::DisplayUnits::F;
    std::int32_t ChartDataSymbol = 0;
    std::int32_t ConsecutiveAlarmCount = 0;
    std::int32_t ConsecutiveAlarmThreshold = 0;
    std::int32_t ProbeEnabled = 0;
    std::int32_t AlarmSound = 0;
    std::int32_t CautionSound = 0;
    std::int32_t SendAlarmEmail = 0;
    std::int32_t SendClearEmail = 0;
    std::int32_t SendCautionEmail = 0;
    std::int32_t RunProgramAlarm = 0;
    std::int32_t RunProgramClear = 0;
    std::int32_t RunProgramCaution = 0;
    std::int32_t TriggerDialerAlarm = 0;
    std::int32_t TriggerDialerCaution = 0;
    std::int32_t TriggerDialerClear = 0;
    std::int32_t HighAlarmSent = 0;
    std::int32_t HighCautionSent = 0;
    std::int32_t LowCautionSent = 0;
    std::int32_t LowAlarmSent = 0;
    std::int64_t LastAlarmSetTimeVal = 0;
    std::int64_t LastAlarmClearedTimeVal = 0;
    std::int64_t HighestTempTimeVal = 0;
    std::int64_t LowestTempTimeVal = 0;
    std::int64_t HighestHumidityTimeVal = 0;
    std::int64_t LowestHumidityTimeVal = 0;
    std::int64_t HighestWetnessTimeVal = 0;
    std::int64_t LowestWetnessTimeVal = 0;
    std::int64_t SwitchOpenTimeVal = 0;
    std::int64_t SwitchCloseTimeVal = 0;
    ValueHistory Values;
    std::int32_t ChartDataColor = 0;
    FixedText<261> ProbeName;
    FixedText<261> GroupName;
    FixedText<32> CurrentValueText;
    std::uint8_t Flag = 0;
    FixedText<261> EmailTo;
    FixedText<261> SMTPServer;
    FixedText<261> EmailTemplate;
    FixedText<257> EmailFrom;
    FixedText<257> EmailSMTPUser;
    FixedText<257> EmailSMTPPass;
    FixedText<257> EmailAlarmSubject;
    FixedText<257> EmailCautionSubject;
    FixedText<257> EmailClearedSubject;
    FixedText<261> AlarmSoundFile;
    FixedText<261> CautionSoundFile;
    FixedText<1025> ProgramAlarm;
    FixedText<1025> ProgramCaution;
    FixedText<1025> ProgramClear;
    FixedText<261> LogFile;
    FixedText<261> DataLogFile;
    FixedText<1025> Notes;
    double CurrentTemp = kNoTemp;
    double HighestTemp = 0;
    double LowestTemp = 0;
    double HighAlarmTemp = 0;
    double HighCautionTemp = 0;
    double LowCautionTemp = 0;
    double LowAlarmTemp = 0;
    // How far inside a threshold a reading must come back before the probe
    // leaves its alarm or caution state (probe units; 0: at the threshold).
    double ClearMargin = 0;
    std::int32_t CurrentHumidity = kNoReading;
    std::int32_t HighestHumidity = 0;
    std::int32_t LowestHumidity = 0;
    std::int32_t HighAlarmHumidity = 0;
    std::int32_t HighCautionHumidity = 0;
    std::int32_t LowCautionHumidity = 0;
    std::int32_t LowAlarmHumidity = 0;
    std::int32_t CurrentWetness = kNoReading;
    std::int32_t HighestWetness = 0;
    std::int32_t LowestWetness = 0;
    std::int32_t HighAlarmWetness = 0;
    std::int32_t HighCautionWetness = 0;
    std::int32_t LowCautionWetness = 0;
    std::int32_t LowAlarmWetness = 0;
    std::int32_t SwitchState = kSwitchUnknown;
    cz::SwitchAlarmCondition SwitchAlarmCondition = cz::SwitchAlarmCondition::Never;

    ProbeRecord() { CurrentValueText = "n/a"; }
};

// Everything of a device but its probes, so that it can be copied whole.
struct DeviceFields : KeyChanges {
    std::int32_t DevicePort = 80;
    std::int32_t ProbeCount = 4;
    std::int32_t UseProxy = 0;
    std::int32_t ProxyServerPort = 8080;
    cz::DisplayUnits DisplayUnits = cz::DisplayUnits::F;
    std::int32_t DialerPort = 1;
    std::int32_t QueryFailThreshold = 3;
    std::int32_t QueryFailureCount = 0;
    std::int32_t PlotLineWidth = 1;
    std::int32_t SMTPServerPort = 25;
    std::int32_t QueryInterval = 30;
    double NextSampleTime = 0;  // time of the next history sample, seconds since 1970
    std::int32_t EnableDialer = 0;
    std::int32_t SendQueryFailMessage = 0;
    std::int32_t QueryDue = 0;
    std::int32_t LoggingEnabled = 0;
    std::int32_t LogQueryFailures = 0;
    std::int32_t ShowProbeNamesInLegend = 0;
    std::int64_t LastContactTimeVal = 0;
    TimeHistory Times;
    FixedText<65> DeviceName;
    FixedText<2049> DeviceAddress;
    FixedText<33> DeviceModel;
    FixedText<17> DeviceVersion;
    FixedText<33> DeviceSerial;
    FixedText<2049> ProxyServerAddress;
    FixedText<65> ProxyServerUserName;
    FixedText<65> ProxyServerPassword;
    FixedText<261> SMTPServerName;
    FixedText<257> EmailFromAddress;
    FixedText<261> EmailToAddress;
    FixedText<257> SMTPUsername;
    FixedText<257> SMTPPassword;
    FixedText<257> EmailSubjectText;
    FixedText<257> EmailBodyText;
    // The names the device had before, oldest first, joined by "/" (which
    // no device name holds): their data files still hold its history.
    FixedText<1025> PreviousNames;

    DeviceFields()
    {
        EmailSubjectText = "Corvanta Query Failure";
        EmailBodyText = "The device named $DEVICE_NAME has not responded for $QUERY_THRESH minutes.";
    }
};

struct DeviceRecord : DeviceFields {
    // Given by the store when the device is loaded or added, never reused:
    // work that outlives a device (a history being read) finds it by this.
    std::uint64_t id = 0;
    // Probe 1 is element 0; entries from ProbeCount on are null.
    std::array<std::unique_ptr<ProbeRecord>, kMaxProbes> Probes;

    int probeSlots() const { return ProbeCount < 0 ? 0 : (ProbeCount > kMaxProbes ? kMaxProbes : ProbeCount); }
    ProbeRecord *probe(int index) const { return index >= 0 && index < kMaxProbes ? Probes[index].get() : nullptr; }
};

// No alert of any state has fired since the last normal reading.
inline void clearAlertSentFlags(ProbeRecord &p)
{
    p.HighAlarmSent = p.HighCautionSent = p.LowCautionSent = p.LowAlarmSent = 0;
}

// The subject of an alert e-mail whose probe names none.
inline constexpr char kDefaultSubject[] = "Corvanta $ALARM_STATE on $DEVICE_NAME:$PROBE_NAME";

// Copy every configuration and state field and the histories; 0 when `to` is null.
// Copies the given members of one record to another.
template <typename Record, typename... Members>
void copyMembers(Record &to, const Record &from, Members... members)
{
    ((to.*members = from.*members), ...);
}

int copyProbeRecord(ProbeRecord *to, const ProbeRecord &from);
// The same for a device, without its probes.
int copyDeviceRecord(DeviceRecord *to, const DeviceRecord &from);

// What monitoring has learnt of a probe (state, counts, readings,
// extremes, history), copied onto an edited copy of it, which must not take
// that back.
void copyRunState(ProbeRecord &to, const ProbeRecord &live);

// A working copy of a device and its probes for a window to edit: every
// setting and state, without the reading histories.
std::unique_ptr<DeviceRecord> workingCopy(const DeviceRecord &device);

// "%s/Data/%s-Probe%02d-(%s).csv" and the matching ".log" path in "Logs".
QByteArray probeFilePath(const QByteArray &folder, const QByteArray &deviceName, int probeNumber,
                         const QByteArray &probeName, const char *extension);

// `path` with the device-name part of its file name ("<device>-Probe...")
// changed from `oldName` to `newName`; the folders, and a file named any
// other way, stay as they are.
QByteArray renamedProbeFilePath(const QByteArray &path, const QByteArray &oldName, const QByteArray &newName);
// The device's former names, oldest first.
QList<QByteArray> previousNames(const DeviceFields &device);
// Adds `oldName` as the newest former name; a name taken back leaves the list.
void addPreviousName(DeviceFields &device, const QByteArray &oldName);

// A device at 127.0.0.1 with `probeCount` enabled temperature probes named
// "Probe 1"..., logging on, its probe files in the data folder's "Logs" and
// "Data".
std::unique_ptr<DeviceRecord> newDeviceRecord(const QByteArray &dataFolder, const QByteArray &name,
                                              const QByteArray &model, int port, int probeCount);

// After a device has been read: monitoring starts with no readings, every
// probe Normal and no alert pending, whatever the file said.
void resetRunState(DeviceRecord &device, int slot, const QByteArray &dataFolder);

} // namespace cz
