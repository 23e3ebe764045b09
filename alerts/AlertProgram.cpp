#include "alerts/AlertProgram.h"

#include "alerts/Spawn.h"
#include "store/DeviceStore.h"
#include "store/ProbeLog.h"

namespace cz {

namespace {

constexpr int kSlots = 32;
constexpr int kSlotLength = 259;

// Splits one option's text at blanks; a word that begins with a double
// quote runs to the matching one, quotes kept.
void appendWords(const QByteArray &text, QList<QByteArray> &args)
{
    int i = 0;
    while (i < text.size() && args.size() < kSlots) {
        while (i < text.size() && text[i] == ' ')
            ++i;
        if (i >= text.size())
            break;
        int end;
        if (text[i] == '"') {
            end = text.indexOf('"', i + 1);
            end = end < 0 ? int(text.size()) : end + 1;
        } else {
            end = text.indexOf(' ', i);
            if (end < 0)
                end = int(text.size());
        }
        args.append(text.mid(i, end - i).left(kSlotLength));
        i = end;
    }
}

} // namespace

ProgramCommand parseProgramCommand(const QByteArray &command)
{
    ProgramCommand c;
    int closing = -1;
    if (!command.contains('"')) {
        c.path = command;
    } else {
        closing = int(command.indexOf('"', 1));
        c.path = closing < 0 ? command.mid(1) : command.mid(1, closing - 1);
    }
    const int slash = int(c.path.lastIndexOf('/'));
    c.valid = c.path.startsWith('/') && slash >= 0 && slash + 1 < c.path.size();
    if (!c.valid)
        return c;
    c.arguments.append(c.path.mid(slash + 1).left(kSlotLength));
    if (closing < 0 || closing + 1 >= command.size())
        return c;
    // Options start at a "-" or "/" at the start or after a blank; one
    // inside a word (a value such as a-b or a path) stays part of it, and a
    // quoted value is never split.
    const QByteArray rest = command.mid(closing + 2);
    QByteArray option;
    bool quoted = false;
    for (int i = 0; i < rest.size(); ++i) {
        const char ch = rest[i];
        if (ch == '"')
            quoted = !quoted;
        const bool starts = !quoted && (ch == '-' || ch == '/') && (i == 0 || rest[i - 1] == ' ');
        if (starts) {
            appendWords(option, c.arguments);
            option.clear();
            continue;
        }
        option += ch;
    }
    appendWords(option, c.arguments);
    return c;
}

void runAlertProgram(DeviceStore &store, int slot, int probeIndex, const QByteArray &command)
{
    const DeviceRecord *d = store.device(slot);
    const ProbeRecord *p = d ? d->probe(probeIndex) : nullptr;
    if (!p)
        return;
    const ProgramCommand program = parseProgramCommand(command);
    const QByteArray what = "Spawn of \"" + command + "\" for device " + QByteArray::number(slot) + " probe " +
                            QByteArray::number(probeIndex) + " failed.";
    if (!program.valid) {
        if (d->LoggingEnabled)
            store.probeLog().appendProbeLog(p->LogFile.bytes(), what + " (invalid path format)");
        return;
    }
    const int error = spawnDetached({program.path, program.arguments, {}, false});
    if (error && d->LoggingEnabled)
        store.probeLog().appendProbeLog(p->LogFile.bytes(), what + " Reason: " + QByteArray::number(error));
}

} // namespace cz
