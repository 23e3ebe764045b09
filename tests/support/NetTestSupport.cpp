#include "tests/support/NetTestSupport.h"

#include "store/CFormat.h"
#include "store/Records.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTcpServer>
#include <QThread>

namespace cz::test {

quint16 freeLoopbackPort()
{
    QTcpServer probe;
    return probe.listen(QHostAddress::LocalHost) ? probe.serverPort() : 0;
}

bool waitUntil(const std::function<bool()> &done, int timeoutMs)
{
    QElapsedTimer timer;
    timer.start();
    while (!done()) {
        if (timer.elapsed() > timeoutMs)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        QThread::msleep(1);
    }
    return true;
}

QList<QByteArray> RecordingEvaluation::textsFor(int slot) const
{
    QList<QByteArray> out;
    for (const EvaluatedValue &v : values)
        if (v.slot == slot)
            out.append(v.text);
    return out;
}

DeviceRecord &addDevice(DeviceStore &store, const QByteArray &name, const QByteArray &model, int port,
                        std::initializer_list<ProbeType> types)
{
    const int slot = store.deviceCount();
    auto device = newDeviceRecord(store.folder().root, name, model, port, int(types.size()));
    device->LogQueryFailures = 1;
    int i = 0;
    for (ProbeType type : types) {
        ProbeRecord *probe = device->probe(i++);
        probe->ProbeType = type;
        probe->ProbeName = "P" + QByteArray::number(i);
        probe->LogFile = probeFilePath(store.folder().logs(), name, i, probe->ProbeName.bytes(), "log");
    }
    resetRunState(*device, slot, store.folder().root);
    store.addDevice(std::move(device));
    return *store.deviceForUpdate(slot);
}

devsim::SimDevice simDevice(const QByteArray &model, std::initializer_list<double> values, const QByteArray &name)
{
    devsim::SimDevice d;
    d.model = model;
    d.name = name;
    int i = 0;
    for (double v : values) {
        devsim::SimProbe p;
        p.name = "Probe " + QByteArray::number(++i);
        p.scenario.value = v;
        d.probes.append(p);
    }
    return d;
}

NetFixture::NetFixture()
{
    store().readProgramSettings();
    store().currentDateText = dateText(clock.now());
    session.setTimeouts(1000, 400, 3000);
    QObject::connect(&status, &ProgramStatus::changed, [this](const QString &s) { statuses.append(s); });
}

DeviceRecord &NetFixture::addSimulated(const devsim::SimDevice &simulated, std::initializer_list<ProbeType> types)
{
    const int index = sim.addDevice(simulated);
    return addDevice(store(), simulated.name, simulated.model, sim.port(index), types);
}

} // namespace cz::test
