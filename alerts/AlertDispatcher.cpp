#include "alerts/AlertDispatcher.h"

#include "alerts/AlertProgram.h"
#include "alerts/ProbeAlertEmail.h"
#include "alerts/QueryFailureEmail.h"
#include "alerts/SoundPlayer.h"

namespace cz {

AlertDispatcher::AlertDispatcher(DeviceStore &store, SoundPlayer &sound)
    : store_(store), sound_(sound), queue_(store), dialer_(store)
{
}

void AlertDispatcher::playSound(DeviceStore &, const QByteArray &file)
{
    sound_.play(file);
}

void AlertDispatcher::sendAlarmEmail(DeviceStore &store, int slot, int probeIndex, double threshold)
{
    sendProbeAlertEmail(store, queue_, slot, probeIndex, threshold);
}

void AlertDispatcher::triggerVoiceDialer(DeviceStore &, int slot, int test)
{
    dialer_.trigger(slot, test);
}

void AlertDispatcher::runAlertProgram(DeviceStore &store, int slot, int probeIndex, const QByteArray &program)
{
    cz::runAlertProgram(store, slot, probeIndex, program);
}

void AlertDispatcher::sendQueryFailureEmail(int slot)
{
    cz::sendQueryFailureEmail(store_, queue_, slot);
}

void AlertDispatcher::sendQueryResolvedEmail(int slot, int failedQueries, qint64 silentSeconds)
{
    cz::sendQueryResolvedEmail(store_, queue_, slot, failedQueries, silentSeconds);
}

} // namespace cz
