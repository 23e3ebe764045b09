// The alert actions the alarm evaluation runs, carried out for real: sound,
// e-mail through the queue, the voice dialer and alert programs; and the
// query-failure e-mail.
#pragma once

#include "alerts/EmailQueue.h"
#include "alerts/VoiceDialer.h"
#include "monitor/AlertActions.h"

namespace cz {

class SoundPlayer;

class AlertDispatcher final : public AlertActions {
public:
    AlertDispatcher(DeviceStore &store, SoundPlayer &sound);

    void playSound(DeviceStore &store, const QByteArray &file) override;
    void sendAlarmEmail(DeviceStore &store, int slot, int probeIndex, double threshold) override;
    void triggerVoiceDialer(DeviceStore &store, int slot, int test) override;
    void runAlertProgram(DeviceStore &store, int slot, int probeIndex, const QByteArray &program) override;
    void sendQueryFailureEmail(int slot);
    void sendQueryResolvedEmail(int slot, int failedQueries, qint64 silentSeconds);

    EmailQueue &emailQueue() { return queue_; }
    const EmailQueue &emailQueue() const { return queue_; }
    VoiceDialer &dialer() { return dialer_; }

private:
    DeviceStore &store_;
    SoundPlayer &sound_;
    EmailQueue queue_;
    VoiceDialer dialer_;
};

} // namespace cz
