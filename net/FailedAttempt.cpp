#include "net/FailedAttempt.h"

#include "store/DeviceStore.h"
#include "store/LogFiles.h"

namespace cz {

void reportFailedAttempt(DeviceStore &store, bool logQueryFailures, int attempt, const QByteArray &error)
{
    if (logQueryFailures)
        appendErrorLog(store.clock(), store.folder().internetErrorLog(), error.left(1024));
    store.status().set(QStringLiteral("ERROR: device query failed (attempt #%1, check error log...").arg(attempt));
}

} // namespace cz
