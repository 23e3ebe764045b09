// Serves the metrics page over HTTP from the event loop: a scrape never
// waits on anything but building the page from what is in memory.
#pragma once

#include <QHostAddress>
#include <QObject>
#include <QString>

#include <functional>
#include <memory>

class QHttpServer;

namespace cz {

struct MetricsAddress {
    QHostAddress host;
    quint16 port = 0;  // 0: any free port
};

// "PORT" or ":PORT" listens on 127.0.0.1 only; any other address has to be
// written out ("0.0.0.0:9464", "[::]:9464", "192.0.2.7:9464"), so the page
// is never offered to the network unless the operator asks for it. Returns
// false with `error` set when `text` is not such an address.
bool parseMetricsAddress(const QString &text, MetricsAddress *address, QString *error);

class MetricsServer : public QObject {
    Q_OBJECT
public:
    // `page` builds the body of each answer to "/metrics".
    explicit MetricsServer(std::function<QByteArray()> page, QObject *parent = nullptr);
    ~MetricsServer() override;

    // False with `error` set when the address cannot be listened on.
    bool listen(const MetricsAddress &address, QString *error);
    quint16 port() const { return port_; }
    // "http://127.0.0.1:9464/metrics"
    QString url() const;

private:
    std::function<QByteArray()> page_;
    std::unique_ptr<QHttpServer> http_;
    QHostAddress host_;
    quint16 port_ = 0;
};

} // namespace cz
