// The writers of the probe event logs, the probe data files and the error
// logs. Each entry opens, appends and closes its file, so other programs may
// read or move the file between entries; a file that cannot be opened is
// skipped.
#pragma once

#include "store/ProbeLog.h"

#include <QByteArray>

namespace cz {

class Clock;

// "<date> <time>: <message>\r\n" appended to `path`.
void appendProbeLog(const Clock &clock, const QByteArray &path, const QByteArray &message);
// "<date> <time>: <message>" appended to `path`; the message ends its own
// line (or runs on into the next entry).
void appendErrorLog(const Clock &clock, const QByteArray &path, const QByteArray &message);
// "<date>,<time>,<display text>\r\n" appended to a probe's data file.
void appendDataLine(const QByteArray &path, const QByteArray &date, const QByteArray &time,
                    const QByteArray &displayText);

// The event-log sink of the running program.
class EventLog final : public ProbeLogSink {
public:
    explicit EventLog(const Clock &clock) : clock_(clock) {}
    void appendProbeLog(const QByteArray &path, const QByteArray &message) override
    {
        cz::appendProbeLog(clock_, path, message);
    }
    void appendProbeLogLines(const QByteArray &path, const QList<QByteArray> &messages) override;

private:
    const Clock &clock_;
};

} // namespace cz
