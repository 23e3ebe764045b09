// The alert e-mail of one probe: composed from the probe's own mail
// settings when its state changes, then sent by the mailer script when the
// e-mail queue comes to it.
#pragma once

namespace cz {

class DeviceStore;
class EmailQueue;

// `threshold` is the one the reading crossed, kNoValue for a clear. The
// probe's AlarmState already holds the new state. Configuration faults go
// to "EmailErrors.log" when the device logs query failures.
void sendProbeAlertEmail(DeviceStore &store, EmailQueue &queue, int slot, int probeIndex, double threshold);

} // namespace cz
