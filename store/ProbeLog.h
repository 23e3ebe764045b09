// Where the store writes the event-log lines of probes (settings saved,
// device added): the engine's log writer in the program, a recorder in tests.
#pragma once

#include <QByteArray>
#include <QList>

namespace cz {

class ProbeLogSink {
public:
    virtual ~ProbeLogSink() = default;
    // Appends one dated line to the event log at `path`.
    virtual void appendProbeLog(const QByteArray &path, const QByteArray &message) = 0;
    // Several lines to one log, in order, in one go.
    virtual void appendProbeLogLines(const QByteArray &path, const QList<QByteArray> &messages)
    {
        for (const QByteArray &m : messages)
            appendProbeLog(path, m);
    }
};

} // namespace cz
