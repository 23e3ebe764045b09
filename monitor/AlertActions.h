// The alert actions the alarm evaluation starts, behind an interface: the
// alerts library carries them out; tests record them.
#pragma once

#include <QByteArray>

namespace cz {

class DeviceStore;

// The threshold of a clear alert: none.
inline constexpr double kNoThreshold = 1.7e308;

class AlertActions {
public:
    virtual ~AlertActions() = default;
    // Plays a sound file once, without waiting.
    virtual void playSound(DeviceStore &store, const QByteArray &file) = 0;
    // The alarm, caution or clear e-mail of a probe; `threshold` is the one
    // crossed, 0 for a switch alarm, kNoThreshold for a clear.
    virtual void sendAlarmEmail(DeviceStore &store, int slot, int probeIndex, double threshold) = 0;
    virtual void triggerVoiceDialer(DeviceStore &store, int slot, int flag) = 0;
    virtual void runAlertProgram(DeviceStore &store, int slot, int probeIndex, const QByteArray &program) = 0;
};

} // namespace cz
