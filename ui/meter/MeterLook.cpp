#include "ui/meter/MeterLook.h"

#include "ui/widgets/ColorSwatch.h"

#include <cmath>

namespace cz {

namespace {

void fiveZones(MeterLook &look, const ProgramSettings &s, double lowAlarm, double lowCaution, double highCaution,
               double highAlarm)
{
    const double edges[] = {look.low, lowAlarm, lowCaution, highCaution, highAlarm, look.high};
    const std::int32_t colours[] = {s.LowAlarmColor, s.LowCautionColor, s.NormalColor, s.HighCautionColor,
                                    s.HighAlarmColor};
    for (int i = 0; i < 5; ++i)
        look.zones[std::size_t(i)] = {edges[i], edges[i + 1], colorFromSetting(colours[i])};
    look.zoneCount = 5;
}

} // namespace

MeterLook meterLook(const ProbeRecord &p, const ProgramSettings &s)
{
    MeterLook look;
    look.pointerColor = colorFromSetting(s.PointerColor);
    switch (p.ProbeType) {
    case ProbeType::Temperature: {
        // Thresholds by their whole parts, the scale widened by the margins.
        const double lowAlarm = std::trunc(p.LowAlarmTemp), highAlarm = std::trunc(p.HighAlarmTemp);
        look.low = lowAlarm - s.TemperatureLowMargin;
        look.high = highAlarm + s.TemperatureHighMargin;
        look.tick = double((std::int64_t(look.high) - std::int64_t(look.low)) / 10);
        fiveZones(look, s, lowAlarm, std::trunc(p.LowCautionTemp), std::trunc(p.HighCautionTemp), highAlarm);
        look.pointer = p.CurrentTemp;
        look.text = QString::asprintf("%.1f %c", p.CurrentTemp, unitLetter(p.DisplayUnits));
        break;
    }
    case ProbeType::Humidity:
    case ProbeType::Wetness: {
        const bool humidity = p.ProbeType == ProbeType::Humidity;
        look.low = 0;
        look.high = 100;
        look.tick = 10;
        if (humidity)
            fiveZones(look, s, p.LowAlarmHumidity, p.LowCautionHumidity, p.HighCautionHumidity, p.HighAlarmHumidity);
        else
            fiveZones(look, s, p.LowAlarmWetness, p.LowCautionWetness, p.HighCautionWetness, p.HighAlarmWetness);
        const std::int32_t value = humidity ? p.CurrentHumidity : p.CurrentWetness;
        look.pointer = value;
        look.text = QString::asprintf("%d %%", value);
        break;
    }
    case ProbeType::Switch: {
        look.low = 0;
        look.high = 2;
        look.tick = 1;
        look.blankLabels = true;
        look.switchCaptions = true;
        const QColor normal = colorFromSetting(s.NormalColor), alarm = colorFromSetting(s.HighAlarmColor);
        const bool alarmOnOpen = p.SwitchAlarmCondition == SwitchAlarmCondition::OnOpen;
        const bool alarmOnClose = p.SwitchAlarmCondition == SwitchAlarmCondition::OnClose;
        look.zones[0] = {0, 1, alarmOnOpen ? alarm : normal};
        look.zones[1] = {1, 2, alarmOnClose ? alarm : normal};
        look.zoneCount = 2;
        // Anything but open, no reading included, reads "Closed".
        const bool open = p.SwitchState == kSwitchOpen;
        look.pointer = open ? 0.5 : 1.5;
        look.text = open ? QStringLiteral("Open") : QStringLiteral("Closed");
        break;
    }
    }
    return look;
}

} // namespace cz
