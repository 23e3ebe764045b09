// What happens to each probe value read from a device: the alarm evaluation
// behind an interface, so the reply parser does not depend on it.
#pragma once

#include <QByteArray>

#include <cstdint>

namespace cz {

class DeviceStore;

class ProbeEvaluation {
public:
    virtual ~ProbeEvaluation() = default;
    // `valueText` is the probe's field, already converted to the probe's
    // temperature scale; `now` is the time of the reply; alerts fire only
    // when `notFirstQuery` is non-zero.
    virtual void evaluateProbeValue(DeviceStore &store, int slot, int probeIndex, const QByteArray &valueText,
                                    std::int64_t now, int notFirstQuery) = 0;
};

} // namespace cz
