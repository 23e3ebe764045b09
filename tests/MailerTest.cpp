// corvanta-mailer against a real SMTP server on 127.0.0.1.
#include "tests/support/MailTestSupport.h"
#include "tests/support/TestSupport.h"

#include <QJsonArray>
#include <QTcpServer>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace cz::test;

namespace {

struct MailerFixture {
    QTemporaryDir dir;
    QString body(const QByteArray &bytes)
    {
        const QString path = dir.filePath("body.txt");
        writeFile(QFile::encodeName(path), bytes);
        return path;
    }
    static QStringList to(const SmtpServer &server, const QString &recipient, const QString &subject)
    {
        return {"-server", "127.0.0.1", "-port", QString::number(server.port()), "-to", recipient, "-mailfrom",
                "monitor@lab.example", "-s", subject};
    }
};

} // namespace

TEST(Mailer, DeliversAProperMessageWhateverTheTextHolds)
{
    SmtpServer server;
    ASSERT_TRUE(server.running());
    MailerFixture f;
    const QString subject = QString::fromUtf8("Température \"Lab\" $HOME `id`; x\nnext");
    const MailerRun run = runMailer(QStringList{f.body("Line one\nLine two é\r.starts with a dot\r\n")} +
                                    MailerFixture::to(server, "ops@lab.example", subject) + QStringList{"-q", "-noh2"});
    EXPECT_EQ(run.exitCode, 0) << run.err.constData();
    EXPECT_TRUE(run.out.isEmpty()); // -q

    const QList<QJsonObject> mail = server.waitForMessages(1);
    ASSERT_EQ(mail.size(), 1);
    EXPECT_EQ(mail[0]["subject"].toString().toStdString(), subject.toStdString());
    // CR LF on the wire, whatever the file had.
    EXPECT_EQ(mail[0]["body"].toString().toStdString(), "Line one\r\nLine two é\r\n.starts with a dot\r\n");
    EXPECT_EQ(mail[0]["from"].toString(), "monitor@lab.example");
    EXPECT_EQ(mail[0]["to"].toArray().first().toString(), "ops@lab.example");
    const QByteArray raw = server.raw(1);
    for (const char *header : {"Date: ", "Message-ID: <", "MIME-Version: 1.0", "Content-Type: text/plain; charset=UTF-8",
                               "Content-Transfer-Encoding: quoted-printable"})
        EXPECT_TRUE(raw.contains(header)) << header;
    EXPECT_FALSE(raw.contains("X-Mailer")); // -noh2
    // Every line of what went over the wire ends in CR LF.
    EXPECT_FALSE(QByteArray(raw).replace("\r\n", "").contains('\n'));
}

TEST(Mailer, LogsInAndPrintsTheConversationWithDebug)
{
    SmtpServer server({"alarm:s3cret", false, {}});
    MailerFixture f;
    const MailerRun run = runMailer(QStringList{f.body("x")} + MailerFixture::to(server, "ops@lab.example", "S") +
                                    QStringList{"-u", "alarm", "-pw", "s3cret", "-debug"});
    EXPECT_EQ(run.exitCode, 0) << run.err.constData();
    EXPECT_TRUE(run.out.contains("> AUTH PLAIN")) << run.out.constData();
    EXPECT_TRUE(run.out.contains("> (hidden)\n")) << run.out.constData();
    EXPECT_TRUE(run.out.contains("< 235")) << run.out.constData();
    // Neither the password nor the login's secret shows.
    EXPECT_FALSE(run.out.contains("s3cret"));
    EXPECT_FALSE(run.out.contains(QByteArray("\0alarm\0s3cret", 13).toBase64()));
    EXPECT_FALSE(run.out.contains(QByteArray("s3cret").toBase64()));
    EXPECT_TRUE(run.out.contains("> MAIL FROM:")) << run.out.constData();
    const QList<QJsonObject> mail = server.waitForMessages(1);
    ASSERT_EQ(mail.size(), 1);
    EXPECT_TRUE(mail[0]["login"].toBool());
}

TEST(Mailer, ItsPasswordLeavesTheProcessList)
{
    // A server that takes the connection and says nothing keeps the mailer
    // waiting while its command line is read from outside.
    QTcpServer silent;
    ASSERT_TRUE(silent.listen(QHostAddress::LocalHost));
    MailerFixture f;
    QProcess mailer;
    mailer.start(binDir() + "/corvanta-mailer",
                 QStringList{f.body("x"), "-server", "127.0.0.1", "-port", QString::number(silent.serverPort()), "-to",
                             "ops@lab.example", "-mailfrom", "m@lab.example", "-s", "S", "-u", "alarm", "-pw",
                             "s3cret-word"});
    ASSERT_TRUE(mailer.waitForStarted());
    ASSERT_TRUE(silent.waitForNewConnection(10000));
    const QByteArray cmdline = readFile("/proc/" + QByteArray::number(mailer.processId()) + "/cmdline");
    EXPECT_TRUE(cmdline.contains("alarm")) << cmdline.constData();
    EXPECT_FALSE(cmdline.contains("s3cret")) << cmdline.constData();
    mailer.kill();
    mailer.waitForFinished();
}

TEST(Mailer, EachFailureGivesOneLineAndItsOwnExitStatus)
{
    SmtpServer server({"alarm:s3cret", false, "nobody"});
    MailerFixture f;
    const QString body = f.body("x");

    MailerRun run = runMailer(QStringList{body} + MailerFixture::to(server, "ops@lab.example", "S") +
                              QStringList{"-u", "alarm", "-pw", "wrong"});
    EXPECT_EQ(run.exitCode, 5);
    EXPECT_TRUE(run.err.startsWith("corvanta-mailer: the server rejected the login of user alarm")) << run.err.constData();
    EXPECT_EQ(run.err.count('\n'), 1);

    run = runMailer(QStringList{body} + MailerFixture::to(server, "nobody@lab.example", "S") +
                    QStringList{"-u", "alarm", "-pw", "s3cret"});
    EXPECT_EQ(run.exitCode, 6);
    EXPECT_TRUE(run.err.contains("rejected the recipient nobody@lab.example")) << run.err.constData();

    QStringList refused = MailerFixture::to(server, "ops@lab.example", "S");
    refused[3] = "1";
    run = runMailer(QStringList{body} + refused);
    EXPECT_EQ(run.exitCode, 4);
    EXPECT_TRUE(run.err.startsWith("corvanta-mailer: cannot connect to 127.0.0.1 port 1")) << run.err.constData();

    run = runMailer(QStringList{f.dir.filePath("missing.txt")} + MailerFixture::to(server, "ops@lab.example", "S"));
    EXPECT_EQ(run.exitCode, 3);
    EXPECT_TRUE(server.messages().isEmpty());
}

TEST(Mailer, UsesStartTlsWhenOfferedAndRefusesAnUntrustedCertificate)
{
    SmtpServer server({"alarm:s3cret", true, {}});
    ASSERT_TRUE(server.running());
    MailerFixture f;
    const QStringList args = QStringList{f.body("x")} + MailerFixture::to(server, "ops@lab.example", "S") +
                             QStringList{"-u", "alarm", "-pw", "s3cret"};
    MailerRun run = runMailer(args);
    EXPECT_EQ(run.exitCode, 7);
    EXPECT_TRUE(run.err.contains("TLS with 127.0.0.1")) << run.err.constData();
    EXPECT_TRUE(server.messages().isEmpty());

    run = runMailer(args, {"SSL_CERT_FILE=" + server.certificate()});
    EXPECT_EQ(run.exitCode, 0) << run.err.constData();
    const QList<QJsonObject> mail = server.waitForMessages(1);
    ASSERT_EQ(mail.size(), 1);
    EXPECT_TRUE(mail[0]["tls"].toBool());
    EXPECT_TRUE(mail[0]["login"].toBool());
}
