// The "Program" section of "Corvanta Zephtra.ini": colours, margins,
// start-up options and the layout of the probe list.
#pragma once

#include "store/FixedText.h"

#include <QByteArray>

#include <array>
#include <cstdint>

namespace cz {

class IniFile;
enum class AlarmState : std::int32_t;

inline constexpr int kListColumns = 41;

struct ListColumn {
    std::int32_t Enabled = 1;
    std::int32_t Index = 0;
    std::int32_t Width = 0;
    FixedText<36> Title;
};

struct ListColumnDefault {
    const char *title;
    int width;
};
const ListColumnDefault &listColumnDefault(int column);

struct ProgramSettings {
    std::int32_t StartMinimized = 0;
    std::int32_t ShowDisabledProbes = 0;
    std::int32_t HighAlarmColor = 255;
    std::int32_t HighCautionColor = 65535;
    std::int32_t NormalColor = 65280;
    std::int32_t LowCautionColor = 65535;
    std::int32_t LowAlarmColor = 255;
    std::int32_t PointerColor = 255;
    std::int32_t LegendAreaColor = 0;
    std::int32_t PlotAreaColor = 0;
    std::int32_t YAxis1Color = 8438015;
    std::int32_t YAxis2Color = 8438015;
    std::int32_t XAxisColor = 16761024;
    std::int32_t GridColor = 16761024;
    std::int32_t TemperatureLowMargin = 10;
    std::int32_t TemperatureHighMargin = 10;
    std::array<ListColumn, kListColumns> Columns;
    // printf pattern of the voice dialer's serial port path, given port n-1;
    // empty: "/dev/ttyS%d". Written back only when the file has it.
    FixedText<261> SerialPortPattern;
    // Where the metrics page is served ("PORT" or "HOST:PORT"); empty: not
    // served. Written back only when set.
    FixedText<261> MetricsAddress;
    // The tray icon and the desktop notifications of alerts (1: on). Each is
    // written back only when off or already in the file.
    std::int32_t ShowTrayIcon = 1;
    std::int32_t DesktopNotifications = 1;

    ProgramSettings();
    // The colour (0x00BBGGRR) of a probe in `state`, in the list, the
    // meters and the tray.
    std::int32_t stateColor(AlarmState state) const;
    // Reads every "Program" key, absent ones at their defaults.
    void read(const IniFile &ini);
    // Writes every "Program" key.
    void write(IniFile &ini) const;
};

} // namespace cz
