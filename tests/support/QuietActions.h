// Stand-ins for what the alarm evaluation sets off, for tests and
// benchmarks that watch something else: alert actions that do nothing, and
// a sound player that keeps what it was asked to play.
#pragma once

#include "alerts/SoundPlayer.h"
#include "monitor/AlertActions.h"

#include <QByteArray>
#include <QList>

namespace cz::test {

class NoAlertActions final : public AlertActions {
public:
    void playSound(DeviceStore &, const QByteArray &) override {}
    void sendAlarmEmail(DeviceStore &, int, int, double) override {}
    void triggerVoiceDialer(DeviceStore &, int, int) override {}
    void runAlertProgram(DeviceStore &, int, int, const QByteArray &) override {}
};

class RecordingSound final : public SoundPlayer {
public:
    void play(const QByteArray &file) override { played << file; }
    QList<QByteArray> played;
};

} // namespace cz::test
