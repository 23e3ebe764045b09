#include "MetricsServer.h"

#include <QHttpServer>
#include <QHttpServerResponse>
#include <QTcpServer>

namespace cz {

namespace {

constexpr char kContentType[] = "text/plain; version=0.0.4; charset=utf-8";

bool parsePort(const QString &text, quint16 *port)
{
    bool ok = false;
    const uint value = text.toUInt(&ok);
    if (!ok || value > 65535)
        return false;
    *port = quint16(value);
    return true;
}

} // namespace

bool parseMetricsAddress(const QString &text, MetricsAddress *address, QString *error)
{
    const QString t = text.trimmed();
    const int colon = t.lastIndexOf(QLatin1Char(':'));
    QString host = colon < 0 ? QString() : t.left(colon);
    const QString port = colon < 0 ? t : t.mid(colon + 1);
    if (!parsePort(port, &address->port)) {
        *error = QStringLiteral("\"%1\" is not a metrics address: give PORT or HOST:PORT, such as 127.0.0.1:9464.")
                     .arg(t);
        return false;
    }
    if (host.startsWith(QLatin1Char('[')) && host.endsWith(QLatin1Char(']')))
        host = host.mid(1, host.size() - 2);
    if (host.isEmpty() || host == QLatin1String("localhost"))
        address->host = QHostAddress(QHostAddress::LocalHost);
    else if (!address->host.setAddress(host)) {
        *error = QStringLiteral("\"%1\" is not a metrics address: the host must be an IP address or localhost.").arg(t);
        return false;
    }
    return true;
}

MetricsServer::MetricsServer(std::function<QByteArray()> page, QObject *parent)
    : QObject(parent), page_(std::move(page)), http_(std::make_unique<QHttpServer>())
{
    http_->route(QStringLiteral("/metrics"), [this] { return QHttpServerResponse(kContentType, page_()); });
    http_->route(QStringLiteral("/"), [] {
        return QHttpServerResponse(QByteArray("text/html; charset=utf-8"),
                                   QByteArray("<html><head><title>Corvanta Zephtra</title></head><body>"
                                              "<p><a href=\"/metrics\">Metrics</a></p></body></html>\n"));
    });
}

MetricsServer::~MetricsServer() = default;

bool MetricsServer::listen(const MetricsAddress &address, QString *error)
{
    auto *tcp = new QTcpServer(http_.get());
    if (!tcp->listen(address.host, address.port)) {
        *error = QStringLiteral("Metrics cannot be served at %1:%2: %3.")
                     .arg(address.host.toString())
                     .arg(address.port)
                     .arg(tcp->errorString());
        delete tcp;
        return false;
    }
    http_->bind(tcp);
    host_ = address.host;
    port_ = tcp->serverPort();
    return true;
}

QString MetricsServer::url() const
{
    const QString host = host_.protocol() == QAbstractSocket::IPv6Protocol ? '[' + host_.toString() + ']'
                                                                           : host_.toString();
    return QStringLiteral("http://%1:%2/metrics").arg(host).arg(port_);
}

} // namespace cz
