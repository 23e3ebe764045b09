// "Apply to all probes": one probe's settings of a kind copied to the other
// probes of the same device (a working copy being edited).
#pragma once

#include "store/Records.h"

namespace cz {

enum class ProbeSettingsGroup {
    // The four thresholds of every type, the switch condition and the
    // consecutive alarm threshold; only to probes of the same type.
    Thresholds,
    // Whether to mail, the server, port, sender, recipients, login,
    // template and the three subjects.
    Email,
    // Whether to play, and the two sound files.
    Sounds,
};

// Copies `group` from probe `fromIndex` to every other probe of `device`;
// returns how many probes took it.
int applyToAllProbes(DeviceRecord &device, int fromIndex, ProbeSettingsGroup group);

} // namespace cz
