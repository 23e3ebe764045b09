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
    AlertDispatcher(AppState &app, SoundPlayer &sound);

    void playSound(AppState &app, const QByteArray &file) override;
    void sendAlarmEmail(AppState &app, int slot, int probeIndex, double threshold) override;
    void triggerVoiceDialer(AppState &app, int slot, int test) override;
    void runAlertProgram(AppState &app, int slot, int probeIndex, const QByteArray &program) override;
    void sendQueryFailureEmail(int slot);

    EmailQueue &emailQueue() { return queue_; }
    VoiceDialer &dialer() { return dialer_; }

private:
    AppState &app_;
    SoundPlayer &sound_;
    EmailQueue queue_;
    VoiceDialer dialer_;
};

} // namespace cz
