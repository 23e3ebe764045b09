// The e-mail a device's own mail settings send when it stops answering, and
// the one that follows when it answers again.
#pragma once

#include <QtGlobal>

namespace cz {

class DeviceStore;
class EmailQueue;

// Does nothing unless the device's SendQueryFailMessage is set. Every fault
// is reported as an error message, and nothing is logged.
void sendQueryFailureEmail(DeviceStore &store, EmailQueue &queue, int slot);
// The same settings tell the recipients that the device answers again after
// `failedQueries` failed queries and `silentSeconds` without an answer; the
// subject is the query-failure subject with "Resolved: " in front.
void sendQueryResolvedEmail(DeviceStore &store, EmailQueue &queue, int slot, int failedQueries, qint64 silentSeconds);

} // namespace cz
