#include "store/Records.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace cz {
namespace {

constexpr std::array<std::int32_t, kMaxProbes> kDefaultColors = {
    0x404080, 0x0000FF, 0x0080FF, 0x00FFFF, 0x00FF00, 0xFF8000, 0xFF00FF, 0xC0C0C0,
    0xFFFFFF, 0x8080FF, 0x800080, 0x008080, 0x00FFFF, 0x000080, 0xD1FFA4, 0xFF80FF};
constexpr std::array<std::int32_t, kMaxProbes> kDefaultSymbols = {1, 1, 1, 1, 1, 1, 1, 1, 1, 11, 6, 9, 7, 15, 12, 4};

} // namespace

const char *probeTypeText(ProbeType type)
{
    switch (type) {
    case ProbeType::Temperature: return "Temperature";
    case ProbeType::Humidity: return "Humidity";
    case ProbeType::Wetness: return "Wetness";
    case ProbeType::Switch: return "Switch";
    }
    return "";
}

char unitLetter(DisplayUnits units)
{
    const int i = int(units);
    return i >= 0 && i < 4 ? "FCKR"[i] : '?';
}

double probeThreshold(const ProbeRecord &p, AlarmState band)
{
    const std::size_t row = std::size_t(std::clamp(int(band) - 1, 0, 3));
    switch (p.ProbeType) {
    case ProbeType::Temperature:
        return std::array{p.HighAlarmTemp, p.HighCautionTemp, p.LowCautionTemp, p.LowAlarmTemp}[row];
    case ProbeType::Wetness:
        return std::array{p.HighAlarmWetness, p.HighCautionWetness, p.LowCautionWetness, p.LowAlarmWetness}[row];
    default:
        return std::array{p.HighAlarmHumidity, p.HighCautionHumidity, p.LowCautionHumidity, p.LowAlarmHumidity}[row];
    }
}

double convertTemperatureDifference(double difference, DisplayUnits from, DisplayUnits to)
{
    auto fine = [](DisplayUnits u) { return u == DisplayUnits::F || u == DisplayUnits::R; };
    if (fine(from) == fine(to))
        return difference;
    return fine(from) ? difference / 1.8 : difference * 1.8;
}

const char *unitName(DisplayUnits units)
{
    static constexpr const char *kNames[] = {"Fahrenheit", "Celsius", "Kelvin", "Rankine"};
    const int i = int(units);
    return i >= 0 && i < 4 ? kNames[i] : "";
}

const char *alarmStateText(AlarmState state)
{
    switch (state) {
    case AlarmState::Normal: return "Normal";
    case AlarmState::HighAlarm: return "High Alarm";
    case AlarmState::HighCaution: return "High Caution";
    case AlarmState::LowCaution: return "Low Caution";
    case AlarmState::LowAlarm: return "Low Alarm";
    }
    return "";
}

const char *switchConditionText(SwitchAlarmCondition condition)
{
    switch (condition) {
    case SwitchAlarmCondition::Never: return "Never alarm";
    case SwitchAlarmCondition::OnOpen: return "Alarm on open";
    case SwitchAlarmCondition::OnClose: return "Alarm on close";
    }
    return "";
}

std::int32_t defaultChartColor(int probeIndex)
{
    return kDefaultColors[std::size_t(probeIndex) % kMaxProbes];
}

std::int32_t defaultChartSymbol(int probeIndex)
{
    return kDefaultSymbols[std::size_t(probeIndex) % kMaxProbes];
}

int copyProbeRecord(ProbeRecord *to, const ProbeRecord &from)
{
    if (!to)
        return 0;
    if (to != &from)
        *to = from;
    return 1;
}

int copyDeviceRecord(DeviceRecord *to, const DeviceRecord &from)
{
    if (!to)
        return 0;
    if (to != &from)
        static_cast<DeviceFields &>(*to) = static_cast<const DeviceFields &>(from);
    return 1;
}

// What monitoring has learnt of a probe, which an edit made from an older
// copy must not take back.
void copyRunState(ProbeRecord &to, const ProbeRecord &live)
{
    using P = ProbeRecord;
    copyMembers(to, live,
                &P::AlarmState, &P::ConsecutiveAlarmCount, &P::HighAlarmSent, &P::HighCautionSent,
                &P::LowCautionSent, &P::LowAlarmSent, &P::LastAlarmSetTimeVal, &P::LastAlarmClearedTimeVal,
                &P::CurrentValueText, &P::CurrentTemp, &P::HighestTemp, &P::HighestTempTimeVal, &P::LowestTemp,
                &P::LowestTempTimeVal, &P::CurrentHumidity, &P::HighestHumidity, &P::HighestHumidityTimeVal,
                &P::LowestHumidity, &P::LowestHumidityTimeVal, &P::CurrentWetness, &P::HighestWetness,
                &P::HighestWetnessTimeVal, &P::LowestWetness, &P::LowestWetnessTimeVal, &P::SwitchState,
                &P::SwitchOpenTimeVal, &P::SwitchCloseTimeVal, &P::Values);
}

std::unique_ptr<DeviceRecord> workingCopy(const DeviceRecord &device)
{
    auto copy = std::make_unique<DeviceRecord>();
    copyDeviceRecord(copy.get(), device);
    copy->Times = TimeHistory();
    for (int i = 0; i < kMaxProbes; ++i) {
        if (const ProbeRecord *p = device.probe(i)) {
            auto probe = std::make_unique<ProbeRecord>();
            *probe = *p;
            probe->Values = ValueHistory();
            copy->Probes[std::size_t(i)] = std::move(probe);
        }
    }
    return copy;
}

QByteArray probeFilePath(const QByteArray &folder, const QByteArray &deviceName, int probeNumber,
                         const QByteArray &probeName, const char *extension)
{
    // A probe name comes from the device or the operator; a slash in it must
    // not turn the file name into a path into another folder.
    QByteArray safeName = probeName;
    safeName.replace('/', '_');
    char number[8];
    std::snprintf(number, sizeof number, "%02d", probeNumber);
    return folder + '/' + deviceName + "-Probe" + number + "-(" + safeName + ")." + extension;
}

QByteArray renamedProbeFilePath(const QByteArray &path, const QByteArray &oldName, const QByteArray &newName)
{
    const qsizetype slash = path.lastIndexOf('/');
    const QByteArray file = path.mid(slash + 1);
    if (oldName.isEmpty() || !file.startsWith(oldName + "-Probe"))
        return path;
    return path.left(slash + 1) + newName + file.mid(oldName.size());
}

QList<QByteArray> previousNames(const DeviceFields &device)
{
    QList<QByteArray> names;
    for (const QByteArray &name : device.PreviousNames.bytes().split('/'))
        if (!name.isEmpty())
            names.append(name);
    return names;
}

void addPreviousName(DeviceFields &device, const QByteArray &oldName)
{
    // Kept to what the histories can reach back to, however often renamed.
    constexpr int kKept = 8;
    const QByteArray current = device.DeviceName.bytes();
    QList<QByteArray> names = previousNames(device);
    names.removeIf([&](const QByteArray &n) {
        return n.compare(oldName, Qt::CaseInsensitive) == 0 || n.compare(current, Qt::CaseInsensitive) == 0;
    });
    names.append(oldName);
    // The oldest go first when the names no longer fit the field.
    while (names.size() > kKept || (names.size() > 1 && names.join('/').size() >= qsizetype(device.PreviousNames.capacity)))
        names.removeFirst();
    device.PreviousNames = names.join('/');
}

std::unique_ptr<DeviceRecord> newDeviceRecord(const QByteArray &dataFolder, const QByteArray &name,
                                              const QByteArray &model, int port, int probeCount)
{
    auto device = std::make_unique<DeviceRecord>();
    device->DeviceName = name;
    device->DeviceAddress = "127.0.0.1";
    device->DeviceModel = model;
    device->DevicePort = port;
    device->ProbeCount = probeCount;
    device->LoggingEnabled = 1;
    for (int i = 0; i < probeCount && i < kMaxProbes; ++i) {
        auto p = std::make_unique<ProbeRecord>();
        p->ProbeNumber = i + 1;
        p->ProbeEnabled = 1;
        p->ProbeName = "Probe " + QByteArray::number(i + 1);
        p->LogFile = probeFilePath(dataFolder + "/Logs", name, i + 1, p->ProbeName.bytes(), "log");
        p->DataLogFile = probeFilePath(dataFolder + "/Data", name, i + 1, p->ProbeName.bytes(), "csv");
        device->Probes[std::size_t(i)] = std::move(p);
    }
    return device;
}

void resetRunState(DeviceRecord &device, int slot, const QByteArray &dataFolder)
{
    device.QueryFailureCount = 0;
    device.NextSampleTime = 0;
    device.LastContactTimeVal = 0;
    device.QueryDue = 0;
    device.Times.clear();
    device.Changed.clear();
    for (int i = 0; i < kMaxProbes; ++i) {
        ProbeRecord *p = device.probe(i);
        if (!p)
            continue;
        p->AlarmState = AlarmState::Normal;
        p->ConsecutiveAlarmCount = 0;
        p->DeviceNumber = slot;
        p->CurrentTemp = kNoTemp;
        p->CurrentHumidity = kNoReading;
        p->CurrentWetness = kNoReading;
        p->SwitchState = kSwitchUnknown;
        p->LastAlarmSetTimeVal = 0;
        p->LastAlarmClearedTimeVal = 0;
        p->SwitchOpenTimeVal = 0;
        p->SwitchCloseTimeVal = 0;
        clearAlertSentFlags(*p);
        p->CurrentValueText = "n/a";
        p->Values.clear();
        p->DataLogFile = probeFilePath(dataFolder + "/Data", device.DeviceName.bytes(), p->ProbeNumber,
                                       p->ProbeName.bytes(), "csv");
        p->Changed.clear();
    }
}

} // namespace cz
