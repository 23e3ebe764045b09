// The alert actions the alarm evaluation runs, carried out for real: sound,
// e-mail through the queue, the voice dialer and alert programs; and the
// query-failure e-mail.
#pragma once

#include "AlertActions.h"
#include "EmailQueue.h"
#include "VoiceDialer.h"

namespace cz {

class SoundPlayer;

class AlertDispatcher final : public AlertActions {
public:
    AlertDispatcher(DeviceStore &app, SoundPlayer &sound);

    void playSound(DeviceStore &app, const QByteArray &file) override;
    void sendAlarmEmail(DeviceStore &app, int slot, int probeIndex, double threshold) override;
    void triggerVoiceDialer(DeviceStore &app, int slot, int test) override;
    void runAlertProgram(DeviceStore &app, int slot, int probeIndex, const QByteArray &program) override;
    void sendQueryFailureEmail(int slot);
    void sendQueryResolvedEmail(int slot, int failedQueries, qint64 silentSeconds);

    EmailQueue &emailQueue() { return queue_; }
    const EmailQueue &emailQueue() const { return queue_; }
    VoiceDialer &dialer() { return dialer_; }

private:
    DeviceStore &app_;
    SoundPlayer &sound_;
    EmailQueue queue_;
    VoiceDialer dialer_;
};

} // namespace cz
