#include "net/MetricsServer.h"

#include <QSocketNotifier>
#include <QTcpServer>

#include <algorithm>
#include <cstring>
#include <microhttpd.h>
#include <sys/socket.h>
#include <unistd.h>

namespace cz {

namespace {

constexpr char kContentType[] = "text/plain; version=0.0.4; charset=utf-8";
// Connections being closed to make room may linger until the next run of
// the server; they get these slots beyond the limit meanwhile.
constexpr unsigned kClosingHeadroom = 16;
// Per-connection memory of the HTTP library: the request head is read into
// it, so a longer head is refused by the library itself.
constexpr size_t kConnectionMemory = 32 * 1024;
constexpr int kListenBacklog = 1024;

bool parsePort(const QString &text, quint16 *port)
{
    bool ok = false;
    const uint value = text.toUInt(&ok);
    if (!ok || value > 65535)
        return false;
    *port = quint16(value);
    return true;
}

MHD_Result headerBytes(void *total, MHD_ValueKind, const char *key, const char *value)
{
    *static_cast<size_t *>(total) += std::strlen(key) + (value ? std::strlen(value) : 0) + 4;  // ": " and CR LF
    return MHD_YES;
}

// The size of the request head as it came: request line, header lines, end.
size_t requestHeadBytes(MHD_Connection *connection, const char *url, const char *method, const char *version)
{
    size_t total = std::strlen(method) + 1 + std::strlen(url) + 1 + std::strlen(version) + 2 + 2;
    MHD_get_connection_values(connection, MHD_HEADER_KIND, &headerBytes, &total);
    return total;
}

bool hasBody(MHD_Connection *connection)
{
    const char *length = MHD_lookup_connection_value(connection, MHD_HEADER_KIND, MHD_HTTP_HEADER_CONTENT_LENGTH);
    if (length && std::strspn(length, " 0") != std::strlen(length))
        return true;
    return MHD_lookup_connection_value(connection, MHD_HEADER_KIND, MHD_HTTP_HEADER_TRANSFER_ENCODING) != nullptr;
}

MHD_Result respond(MHD_Connection *connection, unsigned status, const QByteArray &body, const char *contentType,
                   bool close, const char *allow = nullptr)
{
    MHD_Response *response = MHD_create_response_from_buffer(size_t(body.size()), const_cast<char *>(body.constData()),
                                                              MHD_RESPMEM_MUST_COPY);
    if (!response)
        return MHD_NO;
    MHD_add_response_header(response, MHD_HTTP_HEADER_CONTENT_TYPE, contentType);
    if (allow)
        MHD_add_response_header(response, MHD_HTTP_HEADER_ALLOW, allow);
    if (close)
        MHD_add_response_header(response, MHD_HTTP_HEADER_CONNECTION, "close");
    const MHD_Result queued = MHD_queue_response(connection, status, response);
    MHD_destroy_response(response);
    return queued;
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

// Takes the connections the listening socket accepts and hands each to the
// server, which decides whether it is served.
class MetricsServer::Listener final : public QTcpServer {
public:
    explicit Listener(MetricsServer &server) : server_(server) {}

protected:
    void incomingConnection(qintptr fd) override { server_.admit(fd); }

private:
    MetricsServer &server_;
};

struct MetricsServer::Callbacks {
    // Called once the request head is in, then again (with what there is
    // of a body) until the request is complete. A request the port refuses
    // is answered at once, which also closes the connection; a good one is
    // answered on the second call, which keeps the connection open for the
    // next scrape.
    static MHD_Result answer(void *cls, MHD_Connection *connection, const char *url, const char *method,
                             const char *version, const char *, size_t *uploadSize, void **requestContext)
    {
        static char refused, accepted;
        auto *self = static_cast<MetricsServer *>(cls);
        const char *plain = "text/plain; charset=utf-8";
        if (*requestContext == &refused) {
            *uploadSize = 0;  // what a refused request still sends is dropped
            return MHD_YES;
        }
        if (!*requestContext) {
            *requestContext = &refused;
            if (auto it = self->open_.find(connection); it != self->open_.end()) {
                Connection &c = it->second;
                const qint64 now = self->clock_.elapsed();
                c.backToBack = now - c.idleSinceMs <= kBackToBackMs && c.requestSinceMs ? c.backToBack + 1 : 0;
                c.inRequest = true;
                c.requestSinceMs = now;
                // Requests queued back to back: this one is answered, and
                // the connection closed with the rest unread.
                if (c.backToBack >= kMaxPipelined)
                    c.backToBack = -1;
            }
            if (requestHeadBytes(connection, url, method, version) > size_t(kMaxHeadBytes))
                return respond(connection, MHD_HTTP_REQUEST_HEADER_FIELDS_TOO_LARGE, "Request head too large.\n",
                               plain, true);
            if (std::strcmp(method, MHD_HTTP_METHOD_GET) != 0 && std::strcmp(method, MHD_HTTP_METHOD_HEAD) != 0)
                return respond(connection, MHD_HTTP_METHOD_NOT_ALLOWED, "Only GET and HEAD are answered.\n", plain,
                               true, "GET, HEAD");
            if (hasBody(connection))
                return respond(connection, MHD_HTTP_CONTENT_TOO_LARGE, "Requests with a body are not accepted.\n",
                               plain, true);
            *requestContext = &accepted;
            return MHD_YES;
        }
        const auto it = self->open_.find(connection);
        const bool close = it != self->open_.end() && it->second.backToBack < 0;
        if (std::strcmp(url, "/metrics") != 0)
            return respond(connection, MHD_HTTP_NOT_FOUND, "Not found: the metrics are at /metrics.\n", plain, close);
        return respond(connection, MHD_HTTP_OK, self->page_(), kContentType, close);
    }

    static void requestEnded(void *cls, MHD_Connection *connection, void **, MHD_RequestTerminationCode)
    {
        auto *self = static_cast<MetricsServer *>(cls);
        if (auto it = self->open_.find(connection); it != self->open_.end()) {
            it->second.inRequest = false;
            it->second.idleSinceMs = self->clock_.elapsed();
        }
    }

    static void connectionChanged(void *cls, MHD_Connection *connection, void **, MHD_ConnectionNotificationCode change)
    {
        auto *self = static_cast<MetricsServer *>(cls);
        if (change == MHD_CONNECTION_NOTIFY_CLOSED) {
            self->open_.erase(connection);
            return;
        }
        const MHD_ConnectionInfo *info = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD);
        Connection c;
        c.fd = info ? int(info->connect_fd) : -1;
        c.idleSinceMs = self->clock_.elapsed();
        self->open_[connection] = c;
    }
};

MetricsServer::MetricsServer(std::function<QByteArray()> page, QObject *parent)
    : QObject(parent), page_(std::move(page))
{
    clock_.start();
    timeouts_.setSingleShot(true);
    connect(&timeouts_, &QTimer::timeout, this, &MetricsServer::run);
}

MetricsServer::~MetricsServer()
{
    listener_.reset();
    events_.reset();
    if (daemon_)
        MHD_stop_daemon(daemon_);
}

bool MetricsServer::listen(const MetricsAddress &address, QString *error)
{
    auto listener = std::make_unique<Listener>(*this);
    // A burst of connections is taken (and refused or served) at once
    // rather than left to the kernel's queue and its retries.
    listener->setListenBacklogSize(kListenBacklog);
    if (!listener->listen(address.host, address.port)) {
        *error = QStringLiteral("Metrics cannot be served at %1:%2: %3.")
                     .arg(address.host.toString())
                     .arg(address.port)
                     .arg(listener->errorString());
        return false;
    }
    daemon_ = MHD_start_daemon(
        MHD_USE_EPOLL | MHD_USE_NO_LISTEN_SOCKET, 0, nullptr, nullptr, &Callbacks::answer, this,
        MHD_OPTION_CONNECTION_LIMIT, unsigned(kMaxConnections) + kClosingHeadroom,
        MHD_OPTION_CONNECTION_TIMEOUT, unsigned(kIdleSeconds),
        MHD_OPTION_CONNECTION_MEMORY_LIMIT, kConnectionMemory,
        MHD_OPTION_NOTIFY_COMPLETED, &Callbacks::requestEnded, this,
        MHD_OPTION_NOTIFY_CONNECTION, &Callbacks::connectionChanged, this,
        MHD_OPTION_END);
    const MHD_DaemonInfo *epoll = daemon_ ? MHD_get_daemon_info(daemon_, MHD_DAEMON_INFO_EPOLL_FD) : nullptr;
    if (!epoll) {
        *error = QStringLiteral("Metrics cannot be served at %1:%2: the HTTP server did not start.")
                     .arg(address.host.toString())
                     .arg(address.port);
        return false;
    }
    events_ = std::make_unique<QSocketNotifier>(epoll->epoll_fd, QSocketNotifier::Read);
    connect(events_.get(), &QSocketNotifier::activated, this, &MetricsServer::run);
    listener_ = std::move(listener);
    host_ = address.host;
    port_ = listener_->serverPort();
    return true;
}

void MetricsServer::admit(qintptr fd)
{
    closeUndrainedConnections();
    const auto serving = std::count_if(open_.begin(), open_.end(), [](const auto &c) { return !c.second.evicted; });
    if (serving >= kMaxConnections && !evictStalledConnection()) {
        ::close(int(fd));  // refused at once
        return;
    }
    sockaddr_storage peer{};
    socklen_t length = sizeof peer;
    ::getpeername(int(fd), reinterpret_cast<sockaddr *>(&peer), &length);
    // The library closes the socket itself when it cannot take it.
    MHD_add_connection(daemon_, MHD_socket(fd), reinterpret_cast<sockaddr *>(&peer), length);
    run();
}

// The connection stalled longest makes room for a new one: one that never
// sent a whole request head or is between requests (idle since), or one
// whose answer has waited a while to be read (in request since). A request
// just arrived is being answered and keeps its place.
bool MetricsServer::evictStalledConnection()
{
    const qint64 now = clock_.elapsed();
    Connection *oldest = nullptr;
    for (auto &[handle, c] : open_) {
        if (c.evicted || c.fd < 0 || (c.inRequest && now - c.requestSinceMs < kStalledMs))
            continue;
        if (!oldest || c.stalledSinceMs() < oldest->stalledSinceMs())
            oldest = &c;
    }
    if (!oldest)
        return false;
    close(*oldest);
    run();
    return true;
}

// A client that asks and does not read its answer (its window full) is let
// go once the answer has waited kDrainMs.
void MetricsServer::closeUndrainedConnections()
{
    const qint64 now = clock_.elapsed();
    for (auto &[handle, c] : open_)
        if (c.inRequest && !c.evicted && c.fd >= 0 && now - c.requestSinceMs >= kDrainMs)
            close(c);
}

void MetricsServer::close(Connection &c)
{
    c.evicted = true;
    ::shutdown(c.fd, SHUT_RDWR);
}

void MetricsServer::run()
{
    if (!daemon_)
        return;
    closeUndrainedConnections();
    MHD_run(daemon_);
    // Idle connections are closed by the runs this timer makes.
    MHD_UNSIGNED_LONG_LONG wait = 0;
    if (MHD_get_timeout(daemon_, &wait) == MHD_YES)
        timeouts_.start(int(std::min<MHD_UNSIGNED_LONG_LONG>(wait, 1000)));
    else if (!open_.empty())
        timeouts_.start(1000);
}

QString MetricsServer::url() const
{
    const QString host = host_.protocol() == QAbstractSocket::IPv6Protocol ? '[' + host_.toString() + ']'
                                                                           : host_.toString();
    return QStringLiteral("http://%1:%2/metrics").arg(host).arg(port_);
}

} // namespace cz
