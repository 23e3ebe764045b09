// A real SMTP server (aiosmtpd on 127.0.0.1) for the e-mail tests, and a
// way to run the mailer.
#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

namespace cz {
struct ProbeRecord;
}

namespace cz::test {

class SmtpServer {
public:
    struct Options {
        QByteArray auth;        // "user:password" the server accepts
        bool startTls = false;  // offers STARTTLS with a certificate made now
        QByteArray reject;      // recipients holding this are refused
    };
    explicit SmtpServer(const Options &options);
    SmtpServer() : SmtpServer(Options{}) {}
    ~SmtpServer();
    bool running() const { return port_ > 0; }
    int port() const { return port_; }
    // The certificate of the STARTTLS server.
    QString certificate() const { return dir_.filePath("cert.pem"); }
    // Waits until `count` messages have arrived; each as the server saw it:
    // from, to, tls, login, subject (decoded), headers, body (decoded).
    QList<QJsonObject> waitForMessages(int count, int timeoutMs = 20000) const;
    QList<QJsonObject> messages() const;
    int messageCount() const;
    // The raw bytes of message n (from 1).
    QByteArray raw(int n) const;

private:
    QTemporaryDir dir_;
    QProcess process_;
    int port_ = 0;
};

struct MailerRun {
    int exitCode = -1;
    QByteArray out, err;
};
MailerRun runMailer(const QStringList &arguments, const QStringList &extraEnvironment = {});

// Sends the probe's alarm e-mail from monitor@lab.example to
// ops@lab.example through the server on 127.0.0.1:`smtpPort`.
void mailAlarmsTo(ProbeRecord &probe, int smtpPort, const QByteArray &templatePath);

// Where the programs under test are built.
QString binDir();

} // namespace cz::test
