// The demo's first day: data files for the hours before now of every
// device in a data folder that a simulated device serves (matched by
// port), holding what the simulator would have answered at each query, so
// that the charts show a real history from the first start.
#pragma once

#include "store/PastDataFiles.h"
#include "tools/devsim/SimDevice.h"

#include <QString>

#include <cstdint>

namespace devsim {

// Returns the number of devices written for, and in `report` what was done
// to which file; -1 with `error` set when the data folder cannot be read,
// a running program holds it, or a file cannot be written. Existing lines
// are never changed (see writePastDataFiles).
int writeDemoHistory(const QString &dataFolder, const QList<SimDevice> &devices, std::int64_t now, int hours,
                     QString &error, cz::PastDataReport &report);

} // namespace devsim
