// What the whole site comes to at a glance: how many enabled probes are in
// alarm or caution and how many devices do not answer, and the worst of it.
#pragma once

#include "store/Records.h"

#include <QString>

#include <initializer_list>
#include <utility>

namespace cz {

class DeviceStore;

// A device whose failed queries in a row have reached its query-failure
// threshold (0 or less acts as 1): its alert has been raised.
bool deviceNotAnswering(const DeviceRecord &device);

struct SiteSummary {
    // In rising order of severity.
    enum class Worst { Normal, Caution, NotAnswering, Alarm };
    Worst worst = Worst::Normal;
    // The state whose colour stands for the worst one (a high state before
    // a low one); Normal when nothing is in alarm or caution.
    AlarmState shownState = AlarmState::Normal;
    int alarmProbes = 0;
    int cautionProbes = 0;
    int silentDevices = 0;

    bool operator==(const SiteSummary &) const = default;
    // "2 probes in alarm, 1 in caution; 1 device not answering", or
    // "All probes normal".
    QString text() const;
};

SiteSummary summarizeSite(const DeviceStore &store);

// "1 device", "3 devices": `n` with the noun that fits it.
QString countedText(int n, const char *one, const char *many);
// The counts that are not 0, the first naming the probes: "12 probes in
// alarm, 3 in caution"; empty when all are 0.
QString probeCountsText(std::initializer_list<std::pair<int, const char *>> counts);

} // namespace cz
