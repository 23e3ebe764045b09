// A real HTTP proxy (tinyproxy) on 127.0.0.1 for the tests, with or
// without a login.
#pragma once

#include <QByteArray>
#include <QProcess>
#include <QTemporaryDir>

namespace cz::test {

class ProxyServer {
public:
    // Starts the proxy; with a user name it asks for that login.
    explicit ProxyServer(const QByteArray &userName = {}, const QByteArray &password = {});
    ~ProxyServer();
    bool running() const { return port_ != 0; }
    quint16 port() const { return port_; }
    // What the proxy said when it could not start.
    QString errorString() const { return error_; }
    // The requests it forwarded or refused, as "GET http://... HTTP/1.1".
    QList<QByteArray> requestLines() const;

private:
    QTemporaryDir dir_;
    QProcess process_;
    quint16 port_ = 0;
    QString error_;
};

} // namespace cz::test
