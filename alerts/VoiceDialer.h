// The voice dialer: a dialling box on a serial port that calls out when
// its DTR line is raised for a moment.
#pragma once

#include <QByteArray>
#include <QObject>

#include <map>
#include <memory>

class QSerialPort;

namespace cz {

class DeviceStore;
struct DeviceRecord;

class VoiceDialer : public QObject {
    Q_OBJECT
public:
    explicit VoiceDialer(DeviceStore &store, QObject *parent = nullptr);
    ~VoiceDialer() override;

    // Raises DTR on the device's dialer port for 300 ms, then logs. With
    // `test` set, the device being edited is used for the port and the
    // probes, and `slot` only names it.
    void trigger(int slot, int test);
    // The device the configure-device dialog is editing (for its test).
    void setEditedDevice(const DeviceRecord *device) { edited_ = device; }
    // The port path for dialer port n.
    QByteArray portName(int dialerPort) const;

signals:
    // A pulse has ended (or the port could not be opened).
    void finished(int slot);

private:
    void logToProbes(const DeviceRecord &device, const QByteArray &message, int times);

    DeviceStore &store_;
    const DeviceRecord *edited_ = nullptr;
    std::map<int, std::unique_ptr<QSerialPort>> open_;
};

} // namespace cz
