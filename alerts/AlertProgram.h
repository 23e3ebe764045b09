// The program a probe starts on a change of state.
#pragma once

#include <QByteArray>
#include <QList>

namespace cz {

class DeviceStore;

// The program path and its argument slots (slot 0 the program's file name)
// as taken from a command text: a quoted path, then options whose leading
// "-" or "/" is dropped. `valid` is false when the path is not absolute
// with a folder and a name.
struct ProgramCommand {
    QByteArray path;
    QList<QByteArray> arguments;
    bool valid = false;
};
ProgramCommand parseProgramCommand(const QByteArray &command);

// Starts the program detached; a failure is logged to the probe's log when
// the device logs.
void runAlertProgram(DeviceStore &store, int slot, int probeIndex, const QByteArray &command);

} // namespace cz
