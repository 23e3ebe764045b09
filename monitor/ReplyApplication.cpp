#include "monitor/ReplyApplication.h"

#include "monitor/DailyRollover.h"
#include "monitor/ProbeEvaluation.h"
#include "net/ReplyParser.h"
#include "store/CFormat.h"
#include "store/DeviceStore.h"
#include "store/LogFiles.h"

namespace cz {

int applyDeviceReply(DeviceStore &store, int slot, const QByteArray &reply, int notFirstQuery,
                     ProbeEvaluation *evaluation)
{
    DeviceRecord *device = store.deviceForUpdate(slot);
    if (!device)
        return 0;
    // One time for every stamp of this reply.
    const std::int64_t now = store.clock().now();
    const QByteArray date = dateText(now);
    const QByteArray time = clockText(now);
    rollOverDailyFiles(store);

    const ParsedReply parsed = parseDeviceReply(*device, reply);
    for (std::size_t i = 0; i < parsed.fields.size(); ++i) {
        ProbeRecord *probe = device->probe(int(i));
        if (!probe)
            continue;
        const QByteArray &field = parsed.fields[i];
        probe->CurrentValueText = probeDisplayText(probe->ProbeType, field);
        if (probe->ProbeEnabled && device->LoggingEnabled)
            appendDataLine(probe->DataLogFile.bytes(), date, time, probe->CurrentValueText.bytes());
        if (evaluation)
            evaluation->evaluateProbeValue(store, slot, int(i), field, now, notFirstQuery);
    }
    return parsed.complete ? 1 : 0;
}

} // namespace cz
