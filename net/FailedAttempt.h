// What a failed attempt at a device page leaves behind.
#pragma once

#include <QByteArray>

namespace cz {

class DeviceStore;

// The attempt's error-log entry in "InternetError.log" (when the device logs
// query failures) and the "attempt #n" status.
void reportFailedAttempt(DeviceStore &store, bool logQueryFailures, int attempt, const QByteArray &error);

} // namespace cz
