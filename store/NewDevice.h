// A device being added: what the add-device dialog (typed or fetched from
// the device) knows of it, and the records built from that.
#pragma once

#include "store/DataFolder.h"
#include "store/Records.h"

#include <QByteArray>

#include <array>
#include <memory>

namespace cz {

// The models, in the order of the add-device dialog's list.
inline constexpr const char *kDeviceModels[] = {"Model R4", "Model R16", "Model RM1", "Model P4", "Model P16"};

struct NewDeviceSettings {
    // What was typed: address, name, port, interval, logging and proxy (the
    // record's defaults until the operator changes them).
    DeviceFields typed;
    QByteArray model;          // "Model R4", ...
    int probeCount = 0;
    DisplayUnits units = DisplayUnits::F;
    QByteArray serial, firmware;
    std::array<QByteArray, 4> groupNames;
    std::array<QByteArray, kMaxProbes> probeNames;
    std::array<QByteArray, kMaxProbes> probeTypes;  // "Temperature", "Humidity", ...
};

// The probe count "Add" gives a model (4, 16, 12, 4, 16); 0 for no model.
int modelProbeCount(const QByteArray &model);

// "Add" without automatic configuration: the model's probe count, groups
// "Group 1", probes "Probe %02d" measuring temperature, units F.
void fillTypedDevice(NewDeviceSettings &settings);

// The working records of a new device: every probe enabled with no alert
// action, its group (four groups of three on the combined sensor model),
// name ("Probe%02d" when none), type and unit, the default template and
// subjects, its log and data files in the data folder, and its chart
// colour and symbol.
std::unique_ptr<DeviceRecord> buildNewDevice(const NewDeviceSettings &settings, const DataFolder &folder);

} // namespace cz
