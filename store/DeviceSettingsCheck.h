// What an operator typed for a device, checked before anything is written.
#pragma once

#include <QString>

namespace cz {

class DeviceStore;
struct DeviceRecord;

// Empty when `device` can be saved as device `slot` (-1 for a device not
// added yet); otherwise a message that names the field at fault.
QString deviceSettingsProblem(const DeviceStore &store, int slot, const DeviceRecord &device);

} // namespace cz
