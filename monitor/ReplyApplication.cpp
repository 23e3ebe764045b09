#include "ReplyApplication.h"

#include "CFormat.h"
#include "DailyRollover.h"
#include "DeviceStore.h"
#include "LogFiles.h"
#include "ProbeEvaluation.h"
#include "ReplyParser.h"

namespace cz {

int ApplyDeviceReply(DeviceStore &store, int slot, const QByteArray &reply, int notFirstQuery,
                     ProbeEvaluation *evaluation)
{
    DeviceRecord *device = store.deviceForUpdate(slot);
    if (!device)
        return 0;
    // One time for every stamp of this reply.
    const std::int64_t now = store.clock().now();
    const QByteArray date = dateText(now);
    const QByteArray time = clockText(now);
    RollOverDailyFiles(store);

    const ParsedReply parsed = ParseDeviceReply(*device, reply);
    for (std::size_t i = 0; i < parsed.fields.size(); ++i) {
        ProbeRecord *probe = device->probe(int(i));
        if (!probe)
            continue;
        const QByteArray &field = parsed.fields[i];
        probe->CurrentValueText = probeDisplayText(probe->ProbeType, field);
        if (probe->ProbeEnabled && device->LoggingEnabled)
            AppendDataLine(probe->DataLogFile.bytes(), date, time, probe->CurrentValueText.bytes());
        if (evaluation)
            evaluation->evaluateProbeValue(store, slot, int(i), field, now, notFirstQuery);
    }
    return parsed.complete ? 1 : 0;
}

} // namespace cz
