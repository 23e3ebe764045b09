// The readings, device health and alert counts in the Prometheus text
// format, for a monitoring stack that watches several programs at once.
#pragma once

#include "monitor/AlarmEvaluation.h"

#include <QByteArray>

namespace cz {

class DeviceStore;
class QueryCycle;

// What the program as a whole has done since it started.
struct ProgramMetrics {
    QByteArray version;
    double startTime = 0;  // seconds since 1970
    int emailQueueLength = 0;
    quint64 emailsSent = 0;
    quint64 emailsFailed = 0;
    AlarmEvaluation::AlertCounts alerts;
};


// The whole page: one family after the other, each with its HELP and TYPE
// lines. A probe without a reading has no value line; every other series is
// always there.
QByteArray metricsExposition(const DeviceStore &store, const QueryCycle &cycle, const ProgramMetrics &program);

// A label value as the text format wants it: valid UTF-8 with backslash,
// double quote and line feed escaped.
QByteArray metricsLabelValue(const QByteArray &text);

} // namespace cz
