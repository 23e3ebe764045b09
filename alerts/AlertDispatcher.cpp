#include "AlertDispatcher.h"

#include "AlertProgram.h"
#include "ProbeAlertEmail.h"
#include "QueryFailureEmail.h"
#include "SoundPlayer.h"

namespace cz {

AlertDispatcher::AlertDispatcher(DeviceStore &app, SoundPlayer &sound)
    : app_(app), sound_(sound), queue_(app), dialer_(app)
{
}

void AlertDispatcher::playSound(DeviceStore &, const QByteArray &file)
{
    sound_.play(file);
}

void AlertDispatcher::sendAlarmEmail(DeviceStore &app, int slot, int probeIndex, double threshold)
{
    SendProbeAlertEmail(app, queue_, slot, probeIndex, threshold);
}

void AlertDispatcher::triggerVoiceDialer(DeviceStore &, int slot, int test)
{
    dialer_.TriggerVoiceDialer(slot, test);
}

void AlertDispatcher::runAlertProgram(DeviceStore &app, int slot, int probeIndex, const QByteArray &program)
{
    RunAlertProgram(app, slot, probeIndex, program);
}

void AlertDispatcher::sendQueryFailureEmail(int slot)
{
    SendQueryFailureEmail(app_, queue_, slot);
}

void AlertDispatcher::sendQueryResolvedEmail(int slot, int failedQueries, qint64 silentSeconds)
{
    SendQueryResolvedEmail(app_, queue_, slot, failedQueries, silentSeconds);
}

} // namespace cz
