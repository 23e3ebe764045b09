#include "store/ProgramSettings.h"

#include "store/CFormat.h"
#include "store/IniFile.h"
#include "store/Records.h"

#include <cstdio>

namespace cz {
namespace {

const QByteArray kSection = "Program";

constexpr std::array<ListColumnDefault, kListColumns> kColumnDefaults = {{
    {"Device Name", 81},           {"Probe Number", 84},         {"Probe Group", 76},
    {"Probe Name", 75},            {"Probe Type", 71},           {"Probe Enabled", 86},
    {"Current Value", 80},         {"Alarm State", 70},          {"Alarm Date", 68},
    {"Alarm Time", 68},            {"Alarm Cleared Date", 107},  {"Alarm Cleared Time", 107},
    {"Consecutive Alarms", 109},   {"Current Temp", 80},         {"Current Humidity", 93},
    {"Current Wetness", 95},       {"Switch State", 76},         {"Last Contact Date", 102},
    {"Last Contact Time", 102},    {"Highest Temp", 82},         {"Highest Temp Date", 108},
    {"Highest Temp Time", 108},    {"Lowest Temp", 80},          {"Lowest Temp Date", 106},
    {"Lowest Temp Time", 106},     {"Highest Humidity", 95},     {"Highest Humidity Date", 121},
    {"Highest Humidity Time", 121}, {"Lowest Humidity", 93},     {"Lowest Humidity Date", 119},
    {"Lowest Humidity Time", 119}, {"Highest Wetness", 97},      {"Highest Wetness Date", 123},
    {"Highest Wetness Time", 123}, {"Lowest Wetness", 95},       {"Lowest Wetness Date", 121},
    {"Lowest Wetness Time", 121},  {"Switch Open Date", 103},    {"Switch Open Time", 103},
    {"Switch Close Date", 103},    {"Switch Close Time", 103},
}};

// The plain keys in file order; colours are read as text and converted.
struct PlainKey {
    const char *name;
    std::int32_t ProgramSettings::*field;
    bool colour;
};

constexpr PlainKey kKeys[] = {
    {"StartMinimized", &ProgramSettings::StartMinimized, false},
    {"ShowDisabledProbes", &ProgramSettings::ShowDisabledProbes, false},
    {"HighAlarmColor", &ProgramSettings::HighAlarmColor, true},
    {"HighCautionColor", &ProgramSettings::HighCautionColor, true},
    {"NormalColor", &ProgramSettings::NormalColor, true},
    {"LowCautionColor", &ProgramSettings::LowCautionColor, true},
    {"LowAlarmColor", &ProgramSettings::LowAlarmColor, true},
    {"PointerColor", &ProgramSettings::PointerColor, true},
    {"LegendAreaColor", &ProgramSettings::LegendAreaColor, true},
    {"PlotAreaColor", &ProgramSettings::PlotAreaColor, true},
    {"YAxis1Color", &ProgramSettings::YAxis1Color, true},
    {"YAxis2Color", &ProgramSettings::YAxis2Color, true},
    {"XAxisColor", &ProgramSettings::XAxisColor, true},
    {"GridColor", &ProgramSettings::GridColor, true},
    {"TemperatureLowMargin", &ProgramSettings::TemperatureLowMargin, false},
    {"TemperatureHighMargin", &ProgramSettings::TemperatureHighMargin, false},
};

// Settings of this edition alone, on (1) by default: a file that never
// turned them off does not hold them.
struct DesktopKey {
    const char *name;
    std::int32_t ProgramSettings::*field;
};
constexpr DesktopKey kDesktopKeys[] = {
    {"ShowTrayIcon", &ProgramSettings::ShowTrayIcon},
    {"DesktopNotifications", &ProgramSettings::DesktopNotifications},
};

QByteArray columnKey(int column, const char *what)
{
    char buf[40];
    std::snprintf(buf, sizeof buf, "ListColumn%02d%s", column, what);
    return buf;
}

} // namespace

const ListColumnDefault &listColumnDefault(int column)
{
    return kColumnDefaults[std::size_t(column)];
}

ProgramSettings::ProgramSettings()
{
    for (int c = 0; c < kListColumns; ++c) {
        Columns[c].Index = c;
        Columns[c].Width = kColumnDefaults[c].width;
        Columns[c].Title = kColumnDefaults[c].title;
    }
}

std::int32_t ProgramSettings::stateColor(AlarmState state) const
{
    switch (state) {
    case AlarmState::HighAlarm: return HighAlarmColor;
    case AlarmState::HighCaution: return HighCautionColor;
    case AlarmState::LowCaution: return LowCautionColor;
    case AlarmState::LowAlarm: return LowAlarmColor;
    default: return NormalColor;
    }
}

void ProgramSettings::read(const IniFile &ini)
{
    const ProgramSettings defaults;
    for (const PlainKey &k : kKeys) {
        if (k.colour) {
            const QByteArray fallback = QByteArray::number(defaults.*k.field);
            this->*k.field = parseInt32(ini.readString(kSection, k.name, fallback, 256));
        } else {
            this->*k.field = ini.readInt(kSection, k.name, defaults.*k.field);
        }
    }
    for (int c = 0; c < kListColumns; ++c) {
        ListColumn &col = Columns[c];
        col.Index = ini.readInt(kSection, columnKey(c, "Index"), c);
        col.Width = ini.readInt(kSection, columnKey(c, "Width"), kColumnDefaults[c].width);
        col.Enabled = ini.readInt(kSection, columnKey(c, "Enabled"), 1);
        col.Title = ini.readString(kSection, columnKey(c, "Title"), kColumnDefaults[c].title, 36);
    }
    SerialPortPattern = ini.readString(kSection, "SerialPortPattern", "", 261);
    MetricsAddress = ini.readString(kSection, "MetricsAddress", "", 261);
    for (const DesktopKey &k : kDesktopKeys)
        this->*k.field = ini.readInt(kSection, k.name, 1);
}

void ProgramSettings::write(IniFile &ini) const
{
    for (const PlainKey &k : kKeys)
        ini.setValue(kSection, k.name, QByteArray::number(this->*k.field));
    for (int c = 0; c < kListColumns; ++c) {
        const ListColumn &col = Columns[c];
        ini.setValue(kSection, columnKey(c, "Index"), QByteArray::number(col.Index));
        ini.setValue(kSection, columnKey(c, "Title"), col.Title.bytes());
        ini.setValue(kSection, columnKey(c, "Width"), QByteArray::number(col.Width));
        ini.setValue(kSection, columnKey(c, "Enabled"), QByteArray::number(col.Enabled));
    }
    if (!SerialPortPattern.empty())
        ini.setValue(kSection, "SerialPortPattern", SerialPortPattern.bytes());
    if (!MetricsAddress.empty())
        ini.setValue(kSection, "MetricsAddress", MetricsAddress.bytes());
    for (const DesktopKey &k : kDesktopKeys)
        ini.setOptionalValue(kSection, k.name, QByteArray::number(this->*k.field), "1");
}

} // namespace cz
