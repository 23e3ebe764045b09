#include "store/NewDevice.h"

#include <cstdio>

namespace cz {

namespace {

// Probes of each model of kDeviceModels.
constexpr int kModelProbes[] = {4, 16, 12, 4, 16};

bool isCombinedSensor(const QByteArray &model)
{
    return model.compare("Model RM1", Qt::CaseInsensitive) == 0;
}

QByteArray numbered(const char *format, int n)
{
    char buf[32];
    std::snprintf(buf, sizeof buf, format, n);
    return buf;
}

} // namespace

int modelProbeCount(const QByteArray &model)
{
    for (std::size_t i = 0; i < std::size(kDeviceModels); ++i)
        if (model.compare(kDeviceModels[i], Qt::CaseInsensitive) == 0)
            return kModelProbes[i];
    return 0;
}

void fillTypedDevice(NewDeviceSettings &s)
{
    s.probeCount = modelProbeCount(s.model);
    s.units = DisplayUnits::F;
    s.serial.clear();
    s.firmware.clear();
    for (QByteArray &g : s.groupNames)
        g = "Group 1";
    for (int i = 0; i < kMaxProbes; ++i) {
        s.probeNames[std::size_t(i)] = numbered("Probe %02d", i + 1);
        s.probeTypes[std::size_t(i)] = "Temperature";
    }
}

std::unique_ptr<DeviceRecord> buildNewDevice(const NewDeviceSettings &s, const DataFolder &folder)
{
    auto device = std::make_unique<DeviceRecord>();
    // What was typed, and everything else of the device at its defaults.
    const DeviceFields &t = s.typed;
    static_cast<DeviceFields &>(*device) = t;
    device->Changed.clear();
    device->DeviceModel = s.model;
    device->DeviceSerial = s.serial;
    device->DeviceVersion = s.firmware;
    device->ProbeCount = s.probeCount;
    // Units outside F, C, K and R are taken as F.
    const int units = int(s.units);
    device->DisplayUnits = units >= 0 && units <= 3 ? s.units : DisplayUnits::F;

    const bool combined = isCombinedSensor(s.model);
    for (int i = 0; i < device->probeSlots(); ++i) {
        auto p = std::make_unique<ProbeRecord>();
        p->ProbeNumber = i + 1;
        p->ProbeEnabled = 1;
        p->SMTPPort = 25;
        p->GroupNumber = combined ? i / 3 + 1 : 1;
        p->GroupName = s.groupNames[std::size_t(combined ? (i / 3) % 4 : 0)];
        p->ProbeName = s.probeNames[std::size_t(i)];
        if (p->ProbeName.empty())
            p->ProbeName = numbered("Probe%02d", i + 1);
        const QByteArray &type = s.probeTypes[std::size_t(i)];
        if (type.compare("Humidity", Qt::CaseInsensitive) == 0)
            p->ProbeType = ProbeType::Humidity;
        else if (type.compare("Wetness", Qt::CaseInsensitive) == 0)
            p->ProbeType = ProbeType::Wetness;
        else if (type.compare("Switch", Qt::CaseInsensitive) == 0)
            p->ProbeType = ProbeType::Switch;
        else
            p->ProbeType = ProbeType::Temperature;
        p->DisplayUnits = device->DisplayUnits;
        p->EmailTemplate = folder.defaultEmailTemplate();
        p->EmailAlarmSubject = kDefaultSubject;
        p->EmailCautionSubject = kDefaultSubject;
        p->EmailClearedSubject = kDefaultSubject;
        p->LogFile = probeFilePath(folder.logs(), t.DeviceName.bytes(), i + 1, p->ProbeName.bytes(), "log");
        p->DataLogFile = probeFilePath(folder.data(), t.DeviceName.bytes(), i + 1, p->ProbeName.bytes(), "csv");
        p->ChartDataColor = defaultChartColor(i);
        p->ChartDataSymbol = defaultChartSymbol(i);
        device->Probes[std::size_t(i)] = std::move(p);
    }
    return device;
}

} // namespace cz
