// Devices for the network tests: simulated devices in this process, the
// matching records in the program state, and a recording alarm evaluation.
#pragma once

#include "monitor/ProbeEvaluation.h"
#include "net/HttpSession.h"
#include "tests/support/TestSupport.h"
#include "tools/devsim/DeviceSimulator.h"

#include <functional>
#include <initializer_list>
#include <vector>

namespace cz::test {

// A port free on 127.0.0.1, found by listening on it for a moment.
quint16 freeLoopbackPort();

// Runs the event loop until `done` holds or `timeoutMs` passes.
bool waitUntil(const std::function<bool()> &done, int timeoutMs = 15000);

struct EvaluatedValue {
    int slot;
    int probe;
    QByteArray text;
    int notFirstQuery;
};

class RecordingEvaluation : public ProbeEvaluation {
public:
    void evaluateProbeValue(DeviceStore &, int slot, int probeIndex, const QByteArray &valueText, std::int64_t,
                            int notFirstQuery) override
    {
        values.push_back({slot, probeIndex, valueText, notFirstQuery});
    }
    std::vector<EvaluatedValue> values;
    QList<QByteArray> textsFor(int slot) const;
};

// A device record in the next slot, with enabled probes of the given types,
// logging on and the usual log and data file paths.
DeviceRecord &addDevice(DeviceStore &store, const QByteArray &name, const QByteArray &model, int port,
                        std::initializer_list<ProbeType> types);

// A simulated device whose probes hold the given values.
devsim::SimDevice simDevice(const QByteArray &model, std::initializer_list<double> values,
                            const QByteArray &name = "Sim");

// A data folder, simulated devices and a session with short time-outs.
class NetFixture : public DataFolderFixture {
public:
    NetFixture();
    // Adds the simulated device and its record (due for the next walk).
    DeviceRecord &addSimulated(const devsim::SimDevice &sim, std::initializer_list<ProbeType> types);
    devsim::DeviceSimulator sim;
    HttpSession session;
    QStringList statuses;
};

} // namespace cz::test
