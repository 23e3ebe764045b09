// Serves the metrics page over HTTP from the event loop: a scrape never
// waits on anything but building the page from what is in memory. HTTP is
// libmicrohttpd's, run on the event loop; the port is guarded against
// hostile clients: only GET and HEAD of "/metrics" are answered, request
// heads are capped, bodies refused, idle connections closed, an answer
// that is not read within a few seconds closes its connection, pipelined
// requests are not queued beyond a few, and the number of connections held
// is bounded: when it is reached, the connection stalled longest (idle, or
// not reading its answer) makes room.
#pragma once

#include <QElapsedTimer>
#include <QHostAddress>
#include <QObject>
#include <QString>
#include <QTimer>

#include <functional>
#include <memory>
#include <unordered_map>

struct MHD_Daemon;
struct MHD_Connection;
class QSocketNotifier;
class QTcpServer;

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
    // Connections served at once; one more is refused at once unless a
    // stalled connection can make room.
    static constexpr int kMaxConnections = 64;
    // An answer must be taken within this long, or its connection is closed.
    static constexpr int kDrainMs = 3000;
    // A request in progress for this long counts as stalled when room is needed.
    static constexpr int kStalledMs = 500;
    // Requests that come back to back (pipelined) on one connection before
    // it is closed after answering.
    static constexpr int kMaxPipelined = 4;
    // A request within this long of the previous one's end is back to back.
    static constexpr int kBackToBackMs = 50;
    // A connection that sends and takes nothing for this long is closed.
    static constexpr int kIdleSeconds = 10;
    // The longest request head answered; a longer one gets 431.
    static constexpr int kMaxHeadBytes = 8192;

    // `page` builds the body of each answer to "/metrics".
    explicit MetricsServer(std::function<QByteArray()> page, QObject *parent = nullptr);
    ~MetricsServer() override;

    // False with `error` set when the address cannot be listened on.
    bool listen(const MetricsAddress &address, QString *error);
    quint16 port() const { return port_; }
    // "http://127.0.0.1:9464/metrics"
    QString url() const;
    // Connections open now.
    int connections() const { return int(open_.size()); }

private:
    class Listener;
    struct Connection {
        int fd = -1;
        bool inRequest = false;     // a request head has arrived and is being answered
        qint64 idleSinceMs = 0;     // when it was accepted or its last request ended
        qint64 requestSinceMs = 0;  // when the request in progress arrived
        int backToBack = 0;         // requests in a row that came as the previous ended
        bool evicted = false;
        qint64 stalledSinceMs() const { return inRequest ? requestSinceMs : idleSinceMs; }
    };

    void admit(qintptr fd);
    bool evictStalledConnection();
    void closeUndrainedConnections();
    void close(Connection &c);
    void run();

    // libmicrohttpd's callbacks.
    struct Callbacks;
    friend struct Callbacks;

    std::function<QByteArray()> page_;
    std::unique_ptr<Listener> listener_;
    MHD_Daemon *daemon_ = nullptr;
    std::unique_ptr<QSocketNotifier> events_;
    QTimer timeouts_;
    QElapsedTimer clock_;
    std::unordered_map<MHD_Connection *, Connection> open_;
    QHostAddress host_;
    quint16 port_ = 0;
};

} // namespace cz
