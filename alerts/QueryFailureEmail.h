// The e-mail a device's own mail settings send when it stops answering.
#pragma once

namespace cz {

class DeviceStore;
class EmailQueue;

// Does nothing unless the device's SendQueryFailMessage is set. Every fault
// is reported as an error message, and nothing is logged.
void SendQueryFailureEmail(DeviceStore &app, EmailQueue &queue, int slot);

} // namespace cz
