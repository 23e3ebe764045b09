#include "tools/devsim/DeviceSimulator.h"

#include <QPointer>
#include <QRandomGenerator>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <QUrl>

#include <sys/socket.h>

namespace devsim {

namespace {

constexpr int kMaxRequestBytes = 16384;
constexpr int kLongReplyBytes = 3000;
constexpr int kHugeReplyBytes = 5 * 1024 * 1024;

QByteArray httpReply(const char *status, const QByteArray &body, qsizetype announcedLength)
{
    return QByteArray("HTTP/1.0 ") + status +
           "\r\nContent-Type: text/plain\r\nConnection: close\r\nContent-Length: " +
           QByteArray::number(announcedLength) + "\r\n\r\n" + body;
}

// Closes with a TCP reset instead of an orderly end.
void resetConnection(QTcpSocket *socket)
{
    const linger hard{1, 0};
    ::setsockopt(int(socket->socketDescriptor()), SOL_SOCKET, SO_LINGER, &hard, sizeof hard);
    socket->abort();
}

} // namespace

struct DeviceSimulator::Served {
    SimDevice device;  // unused by the control port
    QTcpServer *server = nullptr;
    QList<SimRequest> requests;
};

DeviceSimulator::DeviceSimulator(QHostAddress host, QObject *parent) : QObject(parent), host_(std::move(host))
{
    clock_.start();
}

DeviceSimulator::~DeviceSimulator() = default;

double DeviceSimulator::time() const
{
    return frozen_ >= 0 ? frozen_ : clock_.elapsed() / 1000.0 + offset_;
}

quint16 DeviceSimulator::listenControl(quint16 port)
{
    control_ = std::make_unique<Served>();
    control_->server = new QTcpServer(this);
    connect(control_->server, &QTcpServer::newConnection, this, [this] { onConnection(*control_); });
    if (!control_->server->listen(host_, port)) {
        error_ = QStringLiteral("control port %1: %2").arg(port).arg(control_->server->errorString());
        return 0;
    }
    return control_->server->serverPort();
}

int DeviceSimulator::addDevice(const SimDevice &device)
{
    auto served = std::make_unique<Served>();
    served->device = device;
    served->server = new QTcpServer(this);
    Served &ref = *served;
    connect(served->server, &QTcpServer::newConnection, this, [this, &ref] { onConnection(ref); });
    if (!served->server->listen(host_, device.port)) {
        error_ = QStringLiteral("port %1: %2").arg(device.port).arg(served->server->errorString());
        delete served->server;
        return -1;
    }
    served->device.port = served->server->serverPort();
    if (device.fault == Fault::Refuse)
        served->server->close();
    devices_.push_back(std::move(served));
    return int(devices_.size()) - 1;
}

SimDevice &DeviceSimulator::device(int index)
{
    return devices_.at(std::size_t(index))->device;
}

quint16 DeviceSimulator::port(int index) const
{
    return devices_.at(std::size_t(index))->device.port;
}

int DeviceSimulator::indexOfPort(quint16 port) const
{
    for (std::size_t i = 0; i < devices_.size(); ++i) {
        if (devices_[i]->device.port == port)
            return int(i);
    }
    return -1;
}

void DeviceSimulator::listen(Served &served)
{
    if (!served.server->isListening())
        served.server->listen(host_, served.device.port);
}

void DeviceSimulator::setFault(int index, Fault fault, int faultMs)
{
    Served &served = *devices_.at(std::size_t(index));
    served.device.fault = fault;
    if (faultMs >= 0)
        served.device.faultMs = faultMs;
    // A refusing device has no listening socket at all.
    if (fault == Fault::Refuse)
        served.server->close();
    else
        listen(served);
}

QList<SimRequest> DeviceSimulator::requests(int index) const
{
    return devices_.at(std::size_t(index))->requests;
}

void DeviceSimulator::clearRequests(int index)
{
    devices_.at(std::size_t(index))->requests.clear();
}

void DeviceSimulator::onConnection(Served &served)
{
    while (QTcpSocket *socket = served.server->nextPendingConnection()) {
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QTcpSocket::readyRead, this, [this, &served, socket] { onRequestData(served, socket); });
    }
}

void DeviceSimulator::onRequestData(Served &served, QTcpSocket *socket)
{
    if (socket->property("answered").toBool()) {
        socket->readAll();
        return;
    }
    QByteArray request = socket->property("request").toByteArray() + socket->readAll();
    qsizetype end = request.indexOf("\r\n\r\n");
    if (end < 0)
        end = request.indexOf("\n\n");
    if (end < 0 && request.size() < kMaxRequestBytes) {
        socket->setProperty("request", request);
        return;
    }
    socket->setProperty("answered", true);

    SimRequest seen;
    const QList<QByteArray> lines = request.left(end < 0 ? request.size() : end).split('\n');
    seen.requestLine = lines.value(0).trimmed();
    for (const QByteArray &line : lines.mid(1)) {
        const qsizetype colon = line.indexOf(':');
        const QByteArray key = line.left(colon).trimmed().toLower();
        if (key == "proxy-authorization")
            seen.proxyAuthorization = line.mid(colon + 1).trimmed();
        else if (key == "via")
            seen.via = line.mid(colon + 1).trimmed();
        else if (key == "user-agent")
            seen.userAgent = line.mid(colon + 1).trimmed();
    }
    QByteArray target = seen.requestLine.split(' ').value(1);
    if (target.startsWith("http://"))
        target = QUrl::fromEncoded(target).path(QUrl::FullyEncoded).toUtf8();
    const qsizetype query = target.indexOf('?');
    seen.path = query < 0 ? target : target.left(query);
    seen.query = query < 0 ? QByteArray() : target.mid(query + 1);
    if (&served == control_.get()) {
        bool ok = true;
        const QByteArray body = control(seen, ok);
        socket->write(httpReply(ok ? "200 OK" : "400 Bad Request", body, body.size()));
        socket->flush();
        socket->disconnectFromHost();
        return;
    }
    served.requests.append(seen);
    respond(served, socket, seen.path);
}

void DeviceSimulator::respond(Served &served, QTcpSocket *socket, const QByteArray &path)
{
    SimDevice &d = served.device;
    if (d.dropNext > 0) {
        --d.dropNext;
        socket->disconnectFromHost();
        return;
    }
    QByteArray body = d.page(path, time());
    const bool found = !body.isEmpty() || path == "/temp" || path == "/data";
    auto finish = [socket] {
        socket->flush();
        socket->disconnectFromHost();
    };

    switch (d.fault) {
    case Fault::None:
    case Fault::Refuse: // a connection that got in before the port closed
        socket->write(found ? httpReply("200 OK", body, body.size())
                            : httpReply("404 Not Found", "Not Found", 9));
        finish();
        return;
    case Fault::Hang:
        return; // the client gives up, or the device is switched back
    case Fault::Slow: {
        QPointer<QTcpSocket> guarded(socket);
        const QByteArray reply = httpReply("200 OK", body, body.size());
        QTimer::singleShot(d.faultMs, socket, [guarded, reply] {
            if (guarded) {
                guarded->write(reply);
                guarded->flush();
                guarded->disconnectFromHost();
            }
        });
        return;
    }
    case Fault::Stall: {
        const QByteArray reply = httpReply("200 OK", body, body.size());
        const qsizetype half = reply.size() - body.size() / 2;
        socket->write(reply.left(half));
        socket->flush();
        QPointer<QTcpSocket> guarded(socket);
        QTimer::singleShot(d.faultMs, socket, [guarded, rest = reply.mid(half)] {
            if (guarded) {
                guarded->write(rest);
                guarded->flush();
                guarded->disconnectFromHost();
            }
        });
        return;
    }
    case Fault::Truncate:
        socket->write(httpReply("200 OK", body.left(body.size() / 2), body.size()));
        finish();
        return;
    case Fault::Long:
    case Fault::Huge: {
        const int size = d.fault == Fault::Long ? kLongReplyBytes : kHugeReplyBytes;
        QByteArray padded = body + '|';
        padded.reserve(size);
        while (padded.size() < size)
            padded += "padding-";
        socket->write(httpReply("200 OK", padded, padded.size()));
        finish();
        return;
    }
    case Fault::Nul: {
        QByteArray text = body;
        const qsizetype second = text.indexOf('|', text.indexOf('|', text.indexOf('|') + 1) + 1);
        text.insert(second < 0 ? text.size() : second, '\0');
        socket->write(httpReply("200 OK", text, text.size()));
        finish();
        return;
    }
    case Fault::Trickle: {
        const QByteArray reply = httpReply("200 OK", body, body.size());
        const qsizetype statusLine = reply.indexOf('\n') + 1;
        socket->write(reply.left(statusLine));
        socket->flush();
        auto *timer = new QTimer(socket);
        timer->setInterval(std::max(1, d.faultMs));
        connect(timer, &QTimer::timeout, socket, [socket, timer, reply, sent = statusLine]() mutable {
            if (sent >= reply.size()) {
                timer->stop();
                socket->disconnectFromHost();
                return;
            }
            socket->write(reply.mid(sent++, 1));
            socket->flush();
        });
        timer->start();
        return;
    }
    case Fault::Http500: {
        const QByteArray text = "Internal Server Error: sensor bus fault";
        socket->write(httpReply("500 Internal Server Error", text, text.size()));
        finish();
        return;
    }
    case Fault::Garbage: {
        // Random bytes, none of them NUL but the eighth.
        QByteArray junk(512, '\0');
        for (char &c : junk)
            c = char(QRandomGenerator::global()->bounded(1, 256));
        junk[7] = '\0';
        junk[0] = '\x9c'; // never the start of a status line
        socket->write(junk);
        finish();
        return;
    }
    case Fault::Reset:
        socket->write(httpReply("200 OK", body.left(body.size() / 2), body.size()));
        socket->flush();
        socket->waitForBytesWritten(100);
        resetConnection(socket);
        return;
    case Fault::Bare:
        socket->write(body);
        finish();
        return;
    }
}

} // namespace devsim
