#include "tests/support/MailTestSupport.h"

#include "store/Records.h"
#include "tests/support/NetTestSupport.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>

namespace cz::test {

QString binDir()
{
    return QStringLiteral(CZ_BIN_DIR);
}

SmtpServer::SmtpServer(const Options &options)
{
    QStringList args{QStringLiteral(CZ_SOURCE_DIR "/tests/smtp/smtp_server.py"), "--out", dir_.path()};
    if (!options.auth.isEmpty())
        args << "--auth" << QString::fromUtf8(options.auth);
    if (!options.reject.isEmpty())
        args << "--reject" << QString::fromUtf8(options.reject);
    if (options.startTls) {
        QProcess openssl;
        openssl.start("openssl", {"req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout", dir_.filePath("key.pem"),
                                  "-out", certificate(), "-days", "2", "-subj", "/CN=127.0.0.1", "-addext",
                                  "subjectAltName=IP:127.0.0.1"});
        openssl.waitForFinished(30000);
        args << "--cert" << certificate() << "--key" << dir_.filePath("key.pem");
    }
    QDir().mkpath(dir_.filePath("mail"));
    args[2] = dir_.filePath("mail");
    // Debian's interpreter, which has aiosmtpd, whatever python3 is first on PATH.
    process_.start("/usr/bin/python3", args);
    QByteArray out;
    for (int i = 0; i < 100 && !out.contains('\n'); ++i) {
        process_.waitForReadyRead(200);
        out += process_.readAllStandardOutput();
    }
    if (out.startsWith("ready "))
        port_ = out.mid(6).trimmed().toInt();
    else
        qWarning("SMTP server did not start: %s %s", out.constData(), process_.readAllStandardError().constData());
}

SmtpServer::~SmtpServer()
{
    process_.closeWriteChannel();
    if (!process_.waitForFinished(3000)) {
        process_.kill();
        process_.waitForFinished();
    }
}

QList<QJsonObject> SmtpServer::messages() const
{
    QList<QJsonObject> list;
    for (int n = 1;; ++n) {
        const QString base = dir_.filePath("mail/" + QString::number(n));
        if (!QFile::exists(base + ".eml"))
            break;
        QFile json(base + ".json");
        json.open(QIODevice::ReadOnly);
        list.append(QJsonDocument::fromJson(json.readAll()).object());
    }
    return list;
}

int SmtpServer::messageCount() const
{
    return int(QDir(dir_.filePath("mail")).entryList({"*.eml"}).size());
}

QList<QJsonObject> SmtpServer::waitForMessages(int count, int timeoutMs) const
{
    waitUntil([&] { return messages().size() >= count; }, timeoutMs);
    return messages();
}

QByteArray SmtpServer::raw(int n) const
{
    QFile file(dir_.filePath("mail/" + QString::number(n) + ".eml"));
    file.open(QIODevice::ReadOnly);
    return file.readAll();
}

MailerRun runMailer(const QStringList &arguments, const QStringList &extraEnvironment)
{
    QProcess mailer;
    QStringList environment = QProcess::systemEnvironment();
    environment.removeIf([](const QString &v) { return v.startsWith("SSL_CERT_FILE="); });
    mailer.setEnvironment(environment + extraEnvironment);
    mailer.start(binDir() + "/corvanta-mailer", arguments);
    MailerRun run;
    // The event loop runs meanwhile: the SMTP server may be in this process's care.
    waitUntil([&] { return mailer.state() == QProcess::NotRunning; }, 60000);
    run.exitCode = mailer.exitStatus() == QProcess::NormalExit ? mailer.exitCode() : -1;
    run.out = mailer.readAllStandardOutput();
    run.err = mailer.readAllStandardError();
    return run;
}

void mailAlarmsTo(ProbeRecord &probe, int smtpPort, const QByteArray &templatePath)
{
    probe.SendAlarmEmail = 1;
    probe.SMTPServer = "127.0.0.1";
    probe.SMTPPort = smtpPort;
    probe.EmailFrom = "monitor@lab.example";
    probe.EmailTo = "ops@lab.example";
    probe.EmailTemplate = templatePath;
}

} // namespace cz::test
