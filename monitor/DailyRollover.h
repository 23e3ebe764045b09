// The daily rollover of the probe files.
#pragma once

namespace cz {

class DeviceStore;

// When the day has changed since the probe files were started, moves every
// file of "Data" and then of "Logs" into a folder named by the old day, and
// makes today the current day.
void rollOverDailyFiles(DeviceStore &store);

} // namespace cz
