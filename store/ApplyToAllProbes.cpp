#include "store/ApplyToAllProbes.h"

namespace cz {

namespace {

void copyThresholds(ProbeRecord &to, const ProbeRecord &from)
{
    using P = ProbeRecord;
    copyMembers(to, from,
                &P::HighAlarmTemp, &P::HighCautionTemp, &P::LowCautionTemp, &P::LowAlarmTemp, &P::ClearMargin, &P::HighAlarmHumidity,
                &P::HighCautionHumidity, &P::LowCautionHumidity, &P::LowAlarmHumidity, &P::HighAlarmWetness,
                &P::HighCautionWetness, &P::LowCautionWetness, &P::LowAlarmWetness, &P::SwitchAlarmCondition,
                &P::ConsecutiveAlarmThreshold);
}

void copyEmail(ProbeRecord &to, const ProbeRecord &from)
{
    using P = ProbeRecord;
    copyMembers(to, from,
                &P::SendAlarmEmail, &P::SendCautionEmail, &P::SendClearEmail, &P::SMTPServer, &P::SMTPPort,
                &P::EmailFrom, &P::EmailTo, &P::EmailSMTPUser, &P::EmailSMTPPass, &P::EmailTemplate,
                &P::EmailAlarmSubject, &P::EmailCautionSubject, &P::EmailClearedSubject);
}

void copySounds(ProbeRecord &to, const ProbeRecord &from)
{
    using P = ProbeRecord;
    copyMembers(to, from, &P::AlarmSound, &P::AlarmSoundFile, &P::CautionSound, &P::CautionSoundFile);
}

} // namespace

int applyToAllProbes(DeviceRecord &device, int fromIndex, ProbeSettingsGroup group)
{
    const ProbeRecord *from = device.probe(fromIndex);
    if (!from)
        return 0;
    int changed = 0;
    for (int i = 0; i < device.probeSlots(); ++i) {
        ProbeRecord *to = device.probe(i);
        if (!to || to == from)
            continue;
        switch (group) {
        case ProbeSettingsGroup::Thresholds:
            if (to->ProbeType != from->ProbeType)
                continue;
            copyThresholds(*to, *from);
            break;
        case ProbeSettingsGroup::Email: copyEmail(*to, *from); break;
        case ProbeSettingsGroup::Sounds: copySounds(*to, *from); break;
        }
        ++changed;
    }
    return changed;
}

} // namespace cz
