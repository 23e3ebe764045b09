// What a probe's meter shows: its scale, the five coloured zones, the
// pointer and the value text, worked out from the probe and the program's
// colours and margins.
#pragma once

#include "store/ProgramSettings.h"
#include "store/Records.h"

#include <QColor>
#include <QString>

#include <array>

namespace cz {

struct MeterZone {
    double from = 0, to = 0;
    QColor color;
    bool operator==(const MeterZone &) const = default;
};

struct MeterLook {
    double low = 0, high = 100;   // the scale, bottom to top
    double tick = 10;             // a labelled tick every `tick`
    bool blankLabels = false;     // a switch's scale has no numbers
    bool switchCaptions = false;  // "desolC" and "nepO" beside a switch's scale
    std::array<MeterZone, 5> zones{};
    int zoneCount = 0;
    double pointer = 0;
    QColor pointerColor;
    QString text;
    bool operator==(const MeterLook &) const = default;
};

MeterLook meterLook(const ProbeRecord &probe, const ProgramSettings &settings);

} // namespace cz
