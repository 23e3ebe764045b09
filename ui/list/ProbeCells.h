// What the probe list shows in each cell, chosen by the column's title, and
// which record changes touch which column.
#pragma once

#include <QColor>
#include <QString>

#include <cstdint>

namespace cz {

struct DeviceRecord;
struct ProbeRecord;
struct ProgramSettings;

// The kinds of cell, one per default column title, in column table order.
namespace ColumnKind {
enum : int {
    DeviceName, ProbeNumber, ProbeGroup, ProbeName, ProbeTypeKind, ProbeEnabled, CurrentValue, AlarmStateKind,
    AlarmDate, AlarmTime, ClearedDate, ClearedTime, ConsecutiveAlarms, CurrentTemp, CurrentHumidity,
    CurrentWetness, SwitchState, ContactDate, ContactTime, HighestTemp, HighestTempDate, HighestTempTime,
    LowestTemp, LowestTempDate, LowestTempTime, HighestHumidity, HighestHumidityDate, HighestHumidityTime,
    LowestHumidity, LowestHumidityDate, LowestHumidityTime, HighestWetness, HighestWetnessDate,
    HighestWetnessTime, LowestWetness, LowestWetnessDate, LowestWetnessTime, SwitchOpenDate, SwitchOpenTime,
    SwitchCloseDate, SwitchCloseTime
};
}

// The kind of a column: its title looked up among the 41 default titles
// without regard to case; -1 for a title none of them has.
int columnKind(const QString &title);

// The cell text of a column of kind `kind` for `probe` of `device`.
QString probeCellText(int kind, const DeviceRecord &device, const ProbeRecord &probe);

// The row background: the colour setting for the alarm state, for enabled
// probes only (invalid: the list's own background).
QColor rowColour(const ProgramSettings &settings, const ProbeRecord &probe);

} // namespace cz
