#include "tests/support/ProxyServer.h"

#include "tests/support/NetTestSupport.h"

#include <QFile>
#include <QTcpSocket>

namespace cz::test {

ProxyServer::ProxyServer(const QByteArray &userName, const QByteArray &password)
{
    const quint16 port = freeLoopbackPort();
    QByteArray config = "Port " + QByteArray::number(port) +
                        "\nListen 127.0.0.1\nTimeout 30\nMaxClients 50\nAllow 127.0.0.1\nLogLevel Connect\n"
                        "LogFile \"" + dir_.filePath("proxy.log").toUtf8() + "\"\n";
    if (!userName.isEmpty())
        config += "BasicAuth " + userName + " " + password + "\n";
    QFile file(dir_.filePath("proxy.conf"));
    if (!file.open(QIODevice::WriteOnly) || file.write(config) != config.size()) {
        error_ = QStringLiteral("cannot write the proxy's configuration");
        return;
    }
    file.close();
    process_.setProcessChannelMode(QProcess::MergedChannels);
    process_.start(QStringLiteral("tinyproxy"), {QStringLiteral("-d"), QStringLiteral("-c"), file.fileName()});
    if (!process_.waitForStarted(5000)) {
        error_ = QStringLiteral("tinyproxy did not start: ") + process_.errorString();
        return;
    }
    const bool listening = waitUntil(
        [&] {
            QTcpSocket probe;
            probe.connectToHost(QHostAddress::LocalHost, port);
            return probe.waitForConnected(100);
        },
        10000);
    if (listening)
        port_ = port;
    else
        error_ = QString::fromUtf8(process_.readAll());
}

ProxyServer::~ProxyServer()
{
    process_.terminate();
    if (!process_.waitForFinished(3000))
        process_.kill();
    process_.waitForFinished(1000);
}

QList<QByteArray> ProxyServer::requestLines() const
{
    QFile log(dir_.filePath("proxy.log"));
    QList<QByteArray> out;
    if (!log.open(QIODevice::ReadOnly))
        return out;
    for (const QByteArray &line : log.readAll().split('\n')) {
        const qsizetype at = line.indexOf("): ");
        if (line.contains("Request (file descriptor") && at >= 0)
            out.append(line.mid(at + 3).trimmed());
    }
    return out;
}

} // namespace cz::test
