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

} // namespace

QString countedText(int n, const char *one, const char *many)
{
    return QStringLiteral("%1 %2").arg(n).arg(QLatin1String(n == 1 ? one : many));
}

QString probeCountsText(std::initializer_list<std::pair<int, const char *>> counts)
{
    QStringList parts;
    for (const auto &[n, what] : counts) {
        if (!n)
            continue;
        parts << (parts.isEmpty() ? QStringLiteral("%1 %2 %3").arg(n).arg(n == 1 ? "probe" : "probes", what)
                                  : QStringLiteral("%1 %2").arg(n).arg(QLatin1String(what)));
    }
    return parts.join(QStringLiteral(", "));
}

bool deviceNotAnswering(const DeviceRecord &device)
{
    return device.QueryFailureCount >= std::max(1, device.QueryFailThreshold);
}

QString SiteSummary::text() const
{
    QStringList parts;
    if (const QString probes = probeCountsText({{alarmProbes, "in alarm"}, {cautionProbes, "in caution"}});
        !probes.isEmpty())
        parts << probes;
    if (silentDevices)
        parts << countedText(silentDevices, "device not answering", "devices not answering");
    return parts.isEmpty() ? QStringLiteral("All probes normal") : parts.join(QStringLiteral("; "));
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
