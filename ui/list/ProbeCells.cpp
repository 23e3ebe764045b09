#include "ui/list/ProbeCells.h"

#include "store/CFormat.h"
#include "store/DeviceFile.h"
#include "store/History.h"
#include "store/ProgramSettings.h"
#include "store/Records.h"
#include "ui/widgets/ColorSwatch.h"

namespace cz {

using namespace ColumnKind;

namespace {


QString text(const QByteArray &bytes)
{
    return QString::fromUtf8(bytes);
}

QString dateOrNever(std::int64_t t)
{
    return t > 0 ? text(longDateText(t)) : QStringLiteral("Never");
}

QString timeOrNever(std::int64_t t)
{
    return t > 0 ? text(longTimeText(t)) : QStringLiteral("Never");
}

QString degrees(double value, DisplayUnits units)
{
    if (value == kNoValue)
        return QStringLiteral("n/a");
    return text(formatFixed(value, 2)) + ' ' + QLatin1Char(unitLetter(units));
}

QString percent(std::int32_t value)
{
    return QString::number(value) + QStringLiteral(" %");
}

const char *const kUnitNames[] = {"deg. F", "deg. C", "deg. K", "deg. R"};

} // namespace

int columnKind(const QString &title)
{
    for (int k = 0; k < kListColumns; ++k)
        if (title.compare(QLatin1String(listColumnDefault(k).title), Qt::CaseInsensitive) == 0)
            return k;
    return -1;
}

QString probeCellText(int kind, const DeviceRecord &d, const ProbeRecord &p)
{
    const bool temperature = p.ProbeType == ProbeType::Temperature, humidity = p.ProbeType == ProbeType::Humidity,
               wetness = p.ProbeType == ProbeType::Wetness, isSwitch = p.ProbeType == ProbeType::Switch;
    const QString na = QStringLiteral("n/a");
    switch (kind) {
    case DeviceName: return text(d.DeviceName.bytes());
    case ProbeNumber: return QStringLiteral("%1").arg(p.ProbeNumber, 2, 10, QLatin1Char('0'));
    case ProbeGroup: return text(p.GroupName.bytes());
    case ProbeName: return text(p.ProbeName.bytes());
    case ProbeTypeKind: return QLatin1String(probeTypeText(p.ProbeType));
    case ProbeEnabled: return p.ProbeEnabled ? QStringLiteral("Yes") : QStringLiteral("No");
    case CurrentValue: {
        const QString value = text(p.CurrentValueText.bytes());
        if (temperature) {
            const int u = int(p.DisplayUnits);
            return value + QStringLiteral("   ") + QLatin1String(u >= 0 && u < 4 ? kUnitNames[u] : "");
        }
        if (humidity)
            return value + QStringLiteral("   % RH");
        if (wetness)
            return value + QStringLiteral("   %");
        return value;
    }
    case AlarmStateKind: {
        static const char *const names[] = {"Normal", "Alarm High", "Caution High", "Caution Low", "Alarm Low"};
        const int s = int(p.AlarmState);
        return QLatin1String(s >= 0 && s < 5 ? names[s] : "Normal");
    }
    case AlarmDate: return dateOrNever(p.LastAlarmSetTimeVal);
    case AlarmTime: return timeOrNever(p.LastAlarmSetTimeVal);
    case ClearedDate: return dateOrNever(p.LastAlarmClearedTimeVal);
    case ClearedTime: return timeOrNever(p.LastAlarmClearedTimeVal);
    case ConsecutiveAlarms: return QString::number(p.ConsecutiveAlarmCount);
    case CurrentTemp: return temperature ? degrees(p.CurrentTemp, p.DisplayUnits) : na;
    case CurrentHumidity: return humidity && p.CurrentHumidity != kNoReading ? percent(p.CurrentHumidity) : na;
    case CurrentWetness: return wetness && p.CurrentWetness != kNoReading ? percent(p.CurrentWetness) : na;
    case SwitchState:
        switch (p.SwitchState) {
        case kSwitchOpen: return QStringLiteral("Open");
        case kSwitchClosed: return QStringLiteral("Closed");
        case kSwitchUnknown: return na;
        default: return QStringLiteral("Unknown (%1)").arg(p.SwitchState);
        }
    case ContactDate: return text(longDateText(d.LastContactTimeVal));
    case ContactTime: return text(longTimeText(d.LastContactTimeVal));
    case HighestTemp: return temperature ? degrees(p.HighestTemp, p.DisplayUnits) : na;
    case HighestTempDate: return temperature ? dateOrNever(p.HighestTempTimeVal) : na;
    case HighestTempTime: return temperature ? timeOrNever(p.HighestTempTimeVal) : na;
    case LowestTemp: return temperature ? degrees(p.LowestTemp, p.DisplayUnits) : na;
    case LowestTempDate: return temperature ? dateOrNever(p.LowestTempTimeVal) : na;
    case LowestTempTime: return temperature ? timeOrNever(p.LowestTempTimeVal) : na;
    case HighestHumidity: return humidity ? percent(p.HighestHumidity) : na;
    case HighestHumidityDate: return humidity ? dateOrNever(p.HighestHumidityTimeVal) : na;
    case HighestHumidityTime: return humidity ? timeOrNever(p.HighestHumidityTimeVal) : na;
    case LowestHumidity: return humidity ? percent(p.LowestHumidity) : na;
    case LowestHumidityDate: return humidity ? dateOrNever(p.LowestHumidityTimeVal) : na;
    case LowestHumidityTime: return humidity ? timeOrNever(p.LowestHumidityTimeVal) : na;
    case HighestWetness: return wetness ? percent(p.HighestWetness) : na;
    case HighestWetnessDate: return wetness ? dateOrNever(p.HighestWetnessTimeVal) : na;
    case HighestWetnessTime: return wetness ? timeOrNever(p.HighestWetnessTimeVal) : na;
    case LowestWetness: return wetness ? percent(p.LowestWetness) : na;
    case LowestWetnessDate: return wetness ? dateOrNever(p.LowestWetnessTimeVal) : na;
    case LowestWetnessTime:
        // "Never" follows the highest wetness time (kept as it always was).
        if (!wetness)
            return na;
        return p.HighestWetnessTimeVal > 0 ? text(longTimeText(p.LowestWetnessTimeVal)) : QStringLiteral("Never");
    case SwitchOpenDate: return isSwitch ? dateOrNever(p.SwitchOpenTimeVal) : na;
    case SwitchOpenTime: return isSwitch ? timeOrNever(p.SwitchOpenTimeVal) : na;
    case SwitchCloseDate: return isSwitch ? dateOrNever(p.SwitchCloseTimeVal) : na;
    case SwitchCloseTime: return isSwitch ? timeOrNever(p.SwitchCloseTimeVal) : na;
    default: return QString();
    }
}

QColor rowColour(const ProgramSettings &s, const ProbeRecord &p)
{
    if (!p.ProbeEnabled)
        return {};
    return colorFromSetting(s.stateColor(p.AlarmState));
}

} // namespace cz
