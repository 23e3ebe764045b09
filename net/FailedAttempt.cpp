#include "FailedAttempt.h"

#include "DeviceStore.h"
#include "LogFiles.h"

namespace cz {

void reportFailedAttempt(DeviceStore &store, bool logQueryFailures, int attempt, const QByteArray &error)
{
    if (logQueryFailures)
        AppendErrorLog(store.clock(), store.folder().internetErrorLog(), error.left(1024));
    store.status().set(QStringLiteral("ERROR: device query failed (attempt #%1, check error log...").arg(attempt));
}

} // namespace cz
