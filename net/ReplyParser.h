// The readings pages of the devices: "name|value|name|value..." from
// "/temp", "units|value|value..." from "/data" of the combined sensor model.
#pragma once

#include "Records.h"

#include <QByteArray>

#include <cstdint>

namespace cz {

class AppState;
class ProbeEvaluation;

// Reads the reply of device `slot` into its probes: each probe's field is
// cut, converted to the probe's scale, shown, written to the probe's data
// file and handed to `evaluation` (when given). The daily rollover of the
// probe files comes first. Returns 1 when every probe had its field, 0 at
// the first probe whose field is missing (the probes before it keep what
// this call gave them).
int ParseDeviceReply(AppState &app, int slot, const QByteArray &reply, int notFirstQuery,
                     ProbeEvaluation *evaluation);

// A temperature text converted from one scale to another, written with
// one decimal. A scale code outside 0..3 leaves the value as it is.
QByteArray ConvertTemperatureText(DisplayUnits from, DisplayUnits to, const QByteArray &valueText);

// The text the probe list and the data file show for a probe's field.
QByteArray probeDisplayText(ProbeType type, const QByteArray &field);

} // namespace cz
