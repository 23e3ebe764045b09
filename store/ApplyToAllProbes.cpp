#include "store/ApplyToAllProbes.h"

namespace cz {

namespace {

void copyThresholds(ProbeRecord &to, const ProbeRecord &from)
{
    to.HighAlarmTemp = from.HighAlarmTemp;
    to.HighCautionTemp = from.HighCautionTemp;
    to.LowCautionTemp = from.LowCautionTemp;
    to.LowAlarmTemp = from.LowAlarmTemp;
    to.HighAlarmHumidity = from.HighAlarmHumidity;
    to.HighCautionHumidity = from.HighCautionHumidity;
    to.LowCautionHumidity = from.LowCautionHumidity;
    to.LowAlarmHumidity = from.LowAlarmHumidity;
    to.HighAlarmWetness = from.HighAlarmWetness;
    to.HighCautionWetness = from.HighCautionWetness;
    to.LowCautionWetness = from.LowCautionWetness;
    to.LowAlarmWetness = from.LowAlarmWetness;
    to.SwitchAlarmCondition = from.SwitchAlarmCondition;
    to.ConsecutiveAlarmThreshold = from.ConsecutiveAlarmThreshold;
}

void copyEmail(ProbeRecord &to, const ProbeRecord &from)
{
    to.SendAlarmEmail = from.SendAlarmEmail;
    to.SendCautionEmail = from.SendCautionEmail;
    to.SendClearEmail = from.SendClearEmail;
    to.SMTPServer = from.SMTPServer;
    to.SMTPPort = from.SMTPPort;
    to.EmailFrom = from.EmailFrom;
    to.EmailTo = from.EmailTo;
    to.EmailSMTPUser = from.EmailSMTPUser;
    to.EmailSMTPPass = from.EmailSMTPPass;
    to.EmailTemplate = from.EmailTemplate;
    to.EmailAlarmSubject = from.EmailAlarmSubject;
    to.EmailCautionSubject = from.EmailCautionSubject;
    to.EmailClearedSubject = from.EmailClearedSubject;
}

void copySounds(ProbeRecord &to, const ProbeRecord &from)
{
    to.AlarmSound = from.AlarmSound;
    to.AlarmSoundFile = from.AlarmSoundFile;
    to.CautionSound = from.CautionSound;
    to.CautionSoundFile = from.CautionSoundFile;
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
