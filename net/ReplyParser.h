// The readings pages of the devices: "name|value|name|value..." from
// "/temp", "units|value|value..." from "/data" of the combined sensor model.
#pragma once

#include "store/Records.h"

#include <QByteArray>

#include <vector>

namespace cz {

// The probe fields of one reply, in probe order.
struct ParsedReply {
    // One per probe up to the first whose field is missing: the trimmed
    // field, a temperature already converted to the probe's scale (empty
    // for a probe slot without a record).
    std::vector<QByteArray> fields;
    // Every probe had its field.
    bool complete = false;
};

// Cuts the reply of `device` into its probes' fields. The last probe's field
// runs to the end of the text, bars and all.
ParsedReply parseDeviceReply(const DeviceRecord &device, const QByteArray &reply);

// A temperature text converted from one scale to another, written with
// one decimal. A scale code outside 0..3 leaves the value as it is.
QByteArray convertTemperatureText(DisplayUnits from, DisplayUnits to, const QByteArray &valueText);

// The text the probe list and the data file show for a probe's field.
QByteArray probeDisplayText(ProbeType type, const QByteArray &field);

} // namespace cz
