#include "alerts/VoiceDialer.h"

#include "store/DeviceStore.h"
#include "store/ProbeLog.h"

#include <QSerialPort>
#include <QTimer>

namespace cz {

VoiceDialer::VoiceDialer(DeviceStore &store, QObject *parent) : QObject(parent), store_(store) {}

VoiceDialer::~VoiceDialer() = default;

QByteArray VoiceDialer::portName(int dialerPort) const
{
    // Only the number is put in; the pattern is never used as a format.
    QByteArray pattern = store_.settings.SerialPortPattern.bytes();
    if (!pattern.contains("%d"))
        pattern = "/dev/ttyS%d";
    const qsizetype at = pattern.indexOf("%d");
    return pattern.left(at) + QByteArray::number(dialerPort - 1) + pattern.mid(at + 2);
}

void VoiceDialer::trigger(int slot, int test)
{
    const DeviceRecord *device = test ? edited_ : store_.device(slot);
    if (!device)
        return;
    // A pulse still running on this device's port is cut short.
    open_.erase(slot);
    const QByteArray name = portName(device->DialerPort);
    auto port = std::make_unique<QSerialPort>(QString::fromUtf8(name));
    if (!port->open(QIODevice::ReadWrite)) {
        logToProbes(*device, "Error initializing " + name + " for device " + QByteArray::number(slot) + '.', 1);
        emit finished(slot);
        return;
    }
    port->setDataTerminalReady(true);
    QSerialPort *raw = port.get();
    open_[slot] = std::move(port);
    QTimer::singleShot(300, raw, [this, slot, test, name, raw] {
        raw->setDataTerminalReady(false);
        raw->close();
        const DeviceRecord *d = test ? edited_ : store_.device(slot);
        if (d)
            logToProbes(*d, "Triggered voice dialer on " + name + " for device " + QByteArray::number(slot) + '.',
                        d->ProbeCount);
        // `raw` is running this call: it goes once the call has returned.
        if (auto it = open_.find(slot); it != open_.end() && it->second.get() == raw) {
            it->second.release()->deleteLater();
            open_.erase(it);
        }
        emit finished(slot);
    });
}

void VoiceDialer::logToProbes(const DeviceRecord &device, const QByteArray &message, int times)
{
    if (!device.LoggingEnabled)
        return;
    const QList<QByteArray> lines(qMax(times, 0), message);
    for (int i = 0; i < device.probeSlots(); ++i) {
        const ProbeRecord *p = device.probe(i);
        if (p && p->ProbeEnabled)
            store_.probeLog().appendProbeLogLines(p->LogFile.bytes(), lines);
    }
}

} // namespace cz
