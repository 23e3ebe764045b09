#include "monitor/SiteSummary.h"

#include "store/DeviceStore.h"

#include <QStringList>

#include <algorithm>

namespace cz {

namespace {

int stateRank(AlarmState s)
{
    switch (s) {
    case AlarmState::HighAlarm: return 4;
    case AlarmState::LowAlarm: return 3;
    case AlarmState::HighCaution: return 2;
    case AlarmState::LowCaution: return 1;
    default: return 0;
    }
}

QString counted(int n, const char *one, const char *many)
{
    return QStringLiteral("%1 %2").arg(n).arg(QLatin1String(n == 1 ? one : many));
}

} // namespace

bool deviceNotAnswering(const DeviceRecord &device)
{
    return device.QueryFailureCount >= std::max(1, device.QueryFailThreshold);
}

QString SiteSummary::text() const
{
    QStringList probes;
    if (alarmProbes)
        probes << counted(alarmProbes, "probe in alarm", "probes in alarm");
    if (cautionProbes)
        probes << (probes.isEmpty() ? counted(cautionProbes, "probe in caution", "probes in caution")
                                    : QStringLiteral("%1 in caution").arg(cautionProbes));
    QString text = probes.join(QStringLiteral(", "));
    if (silentDevices) {
        if (!text.isEmpty())
            text += QStringLiteral("; ");
        text += counted(silentDevices, "device not answering", "devices not answering");
    }
    return text.isEmpty() ? QStringLiteral("All probes normal") : text;
}

SiteSummary summarizeSite(const DeviceStore &store)
{
    SiteSummary s;
    for (int slot = 0; slot < store.deviceCount(); ++slot) {
        const DeviceRecord &d = *store.device(slot);
        if (deviceNotAnswering(d))
            ++s.silentDevices;
        for (int i = 0; i < d.probeSlots(); ++i) {
            const ProbeRecord *p = d.probe(i);
            if (!p || !p->ProbeEnabled || p->AlarmState == AlarmState::Normal)
                continue;
            const bool alarm = p->AlarmState == AlarmState::HighAlarm || p->AlarmState == AlarmState::LowAlarm;
            ++(alarm ? s.alarmProbes : s.cautionProbes);
            if (stateRank(p->AlarmState) > stateRank(s.shownState))
                s.shownState = p->AlarmState;
        }
    }
    if (s.alarmProbes)
        s.worst = SiteSummary::Worst::Alarm;
    else if (s.silentDevices)
        s.worst = SiteSummary::Worst::NotAnswering;
    else if (s.cautionProbes)
        s.worst = SiteSummary::Worst::Caution;
    return s;
}

} // namespace cz
