// libFuzzer target: any bytes as a device's readings reply. The first two
// bytes choose the model, the probe count and types and the scales.
#include "monitor/AlarmEvaluation.h"
#include "monitor/AlertActions.h"
#include "monitor/ReplyApplication.h"
#include "net/HttpSession.h"
#include "net/ReplyParser.h"
#include "store/CFormat.h"
#include "store/DeviceStore.h"
#include "store/LogFiles.h"
#include "store/SystemClock.h"

#include <QTemporaryDir>

#include <cstddef>
#include <cstdint>

using namespace cz;

namespace {

struct NoActions final : AlertActions {
    void playSound(DeviceStore &, const QByteArray &) override {}
    void sendAlarmEmail(DeviceStore &, int, int, double) override {}
    void triggerVoiceDialer(DeviceStore &, int, int) override {}
    void runAlertProgram(DeviceStore &, int, int, const QByteArray &) override {}
};

struct Setup {
    Setup()
        : evaluation(actions), log(SystemClock::instance()),
          state(DataFolder{QFile::encodeName(dir.path())}, SystemClock::instance(), log, status)
    {
        state.readProgramSettings();
        state.currentDateText = dateText(SystemClock::instance().now());
        auto device = std::make_unique<DeviceRecord>();
        device->DeviceName = "Fuzz";
        device->ProbeCount = kMaxProbes;
        for (int i = 0; i < kMaxProbes; ++i)
            device->Probes[std::size_t(i)] = std::make_unique<ProbeRecord>();
        resetRunState(*device, 0, state.folder().root);
        state.addDevice(std::move(device));
    }
    NoActions actions;
    AlarmEvaluation evaluation;
    QTemporaryDir dir;
    EventLog log;
    ProgramStatus status;
    DeviceStore state;
};

constexpr const char *kModels[] = {"Model R4", "Model R16", "model rm1", "Model P4", "Model P16", "Unknown"};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static Setup setup;
    if (size < 2)
        return 0;
    DeviceRecord &device = *setup.state.deviceForUpdate(0);
    device.DeviceModel = kModels[data[0] % 6];
    device.ProbeCount = (data[0] >> 3) % (kMaxProbes + 2) - 1; // -1 .. 16
    device.DisplayUnits = DisplayUnits(data[1] & 3);
    for (int i = 0; i < kMaxProbes; ++i) {
        ProbeRecord &probe = *device.Probes[std::size_t(i)];
        probe.ProbeType = ProbeType((data[1] >> 2) + i & 3);
        probe.DisplayUnits = DisplayUnits((data[1] >> 4) + i & 7); // codes out of range too
        probe.HighAlarmTemp = 85, probe.HighCautionTemp = 80, probe.LowCautionTemp = 50, probe.LowAlarmTemp = 40;
        probe.HighAlarmHumidity = 85, probe.HighCautionHumidity = 80, probe.LowCautionHumidity = 50;
        probe.ConsecutiveAlarmThreshold = 2;
        probe.SendAlarmEmail = probe.SendClearEmail = probe.AlarmSound = 1;
    }
    const QByteArray body(reinterpret_cast<const char *>(data + 2), qsizetype(size - 2));
    applyDeviceReply(setup.state, 0, replyText(body), 1, &setup.evaluation);
    convertTemperatureText(DisplayUnits(data[1] & 7), DisplayUnits(data[0] & 7), replyText(body));
    return 0;
}
