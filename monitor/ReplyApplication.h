// A device's reply put to use: the day's files rolled over, each probe's
// field shown, written to its data file and evaluated.
#pragma once

#include <QByteArray>

namespace cz {

class DeviceStore;
class ProbeEvaluation;

// Applies the reply of device `slot` to its probes, in probe order. Returns
// 1 when every probe had its field, 0 at the first probe whose field is
// missing (the probes before it keep what this call gave them).
int applyDeviceReply(DeviceStore &store, int slot, const QByteArray &reply, int notFirstQuery,
                     ProbeEvaluation *evaluation);

} // namespace cz
