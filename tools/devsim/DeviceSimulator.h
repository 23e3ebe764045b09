// Many simulated devices in one process, each an HTTP server on its own
// port, with faults and values that can be changed while they run.
#pragma once

#include "tools/devsim/SimDevice.h"

#include <QElapsedTimer>
#include <QHostAddress>
#include <QObject>

#include <memory>
#include <vector>

class QTcpServer;
class QTcpSocket;

namespace devsim {

// A request as the device saw it.
struct SimRequest {
    QByteArray requestLine;          // "GET /temp HTTP/1.1", or the absolute URL through a proxy
    QByteArray path;                 // "/temp"
    QByteArray proxyAuthorization;   // the Proxy-Authorization header, if any
    QByteArray via;                  // the Via header a proxy adds, if any
    QByteArray userAgent;
    QByteArray query;                // what follows "?" in the target
};

class DeviceSimulator : public QObject {
    Q_OBJECT
public:
    explicit DeviceSimulator(QHostAddress host = QHostAddress::LocalHost, QObject *parent = nullptr);
    ~DeviceSimulator() override;

    // Starts serving a device; returns its index, or -1 when its port
    // cannot be bound (errorString() says why).
    int addDevice(const SimDevice &device);
    int deviceCount() const { return int(devices_.size()); }
    // The device's description; change its probes, units or names at will.
    SimDevice &device(int index);
    quint16 port(int index) const;
    int indexOfPort(quint16 port) const;
    QString errorString() const { return error_; }

    void setFault(int index, Fault fault, int faultMs = -1);
    QList<SimRequest> requests(int index) const;
    void clearRequests(int index);

    // Serves the control API on `port` (0: any free port); returns the
    // port, or 0 when it cannot be bound.
    quint16 listenControl(quint16 port);

    // Scenario time in seconds: time since start plus an offset.
    double time() const;
    void setTimeOffset(double seconds) { offset_ = seconds; }
    // Freezes scenario time at `seconds` (tests), or lets it run again with a negative value.
    void freezeTime(double seconds) { frozen_ = seconds; }

private:
    struct Served;
    void listen(Served &served);
    void onConnection(Served &served);
    void onRequestData(Served &served, QTcpSocket *socket);
    void respond(Served &served, QTcpSocket *socket, const QByteArray &path);
    QByteArray control(const SimRequest &request, bool &ok);

    QHostAddress host_;
    std::vector<std::unique_ptr<Served>> devices_;
    std::unique_ptr<Served> control_;
    QElapsedTimer clock_;
    double offset_ = 0;
    double frozen_ = -1;
    QString error_;
};

} // namespace devsim
