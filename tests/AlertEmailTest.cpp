// Alert e-mail: what the engine's alarms send, the working files and
// scripts, the configuration errors, and the query-failure e-mail.
#include "alerts/AlertDispatcher.h"
#include "alerts/ProbeAlertEmail.h"
#include "alerts/SoundPlayer.h"
#include "monitor/AlarmEvaluation.h"
#include "monitor/QueryCycle.h"
#include "tests/support/MailTestSupport.h"
#include "tests/support/NetTestSupport.h"
#include "tests/support/QuietActions.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QTcpServer>
#include <QTcpSocket>

#include <gtest/gtest.h>

#include <sys/stat.h>

using namespace cz;
using namespace cz::test;

namespace {

constexpr auto T = ProbeType::Temperature;

// The engine with real alert actions: the mailer from the build folder,
// working files in the test's data folder.
struct AlertFixture : NetFixture {
    AlertFixture()
        : alerts(store(), sound), evaluation(alerts), cycle(store(), session)
    {
        status.programFolder = binDir();
        cycle.setEvaluation(&evaluation);
    }
    void tick()
    {
        cycle.tick();
        EXPECT_TRUE(waitUntil([&] { return cycle.queriesInFlight() == 0; }));
    }
    bool queueDone() { return waitUntil([&] { return alerts.emailQueue().idle(); }, 20000); }
    // A probe set to alarm above 85 at the first reading, mailing `server`.
    ProbeRecord &mailingProbe(DeviceRecord &d, int port)
    {
        ProbeRecord &p = *d.probe(0);
        p.HighAlarmTemp = 85, p.HighCautionTemp = 80, p.LowCautionTemp = 50, p.LowAlarmTemp = 40;
        p.ConsecutiveAlarmThreshold = 1;
        mailAlarmsTo(p, port, path("Templates/DefaultEmailTemplate.txt"));
        return p;
    }
    QByteArray file(const char *name) { return readFile(path(name)); }
    RecordingSound sound;
    AlertDispatcher alerts;
    AlarmEvaluation evaluation;
    QueryCycle cycle;
};

} // namespace

TEST(AlertEmail, AnAlarmFromADeviceReachesEveryRecipientOfTheList)
{
    SmtpServer server;
    ASSERT_TRUE(server.running());
    AlertFixture f;
    DeviceRecord &d = f.addSimulated(simDevice("Model R4", {95.5}, "Server Room"), {T});
    d.QueryInterval = 5;
    ProbeRecord &p = f.mailingProbe(d, server.port());
    // A probe name no shell may take apart.
    p.ProbeName = "Rack 'B' \"$(touch pwned1)\" `touch pwned2`; touch pwned3\nsecond line";
    writeFile(f.path("list.txt"), "a@lab.example, b@lab.example;c@lab.example\r\n");
    p.EmailTo = f.path("list.txt");
    writeFile(f.path("alarm.txt"), "$ALARM_STATE: $CURRENT_VALUE on $DEVICE_NAME, probe $PROBE_NUMBER in "
                                   "$GROUP_NAME, over $THRESH_EXCEEDED, $CONSECUTIVE_COUNT of $CONSECUTIVE_THRESH.");
    p.EmailTemplate = f.path("alarm.txt");

    f.tick(); // the first cycle only sets states
    EXPECT_TRUE(server.messages().isEmpty());
    f.clock.advance(5);
    f.tick();
    EXPECT_TRUE(f.statuses.contains(QString::fromUtf8("Status: sending alert email for Server Room:" +
                                                      p.ProbeName.bytes() + " (probe 1)...")));
    const QList<QJsonObject> mail = server.waitForMessages(3);
    ASSERT_EQ(mail.size(), 3);
    QStringList to;
    for (const QJsonObject &m : mail) {
        to << m["to"].toArray().first().toString();
        EXPECT_EQ(m["subject"].toString(), "Corvanta High Alarm on Server Room:" + p.ProbeName.str());
        EXPECT_EQ(m["body"].toString().trimmed(),
                  "High Alarm: 95.5 on Server Room, probe 01 in (no group specified), over 85.0, 1 of 1.");
    }
    EXPECT_EQ(to, QStringList({"a@lab.example", "b@lab.example", "c@lab.example"}));
    // One alarm, one mail script that ended well.
    ASSERT_TRUE(f.queueDone());
    EXPECT_EQ(f.evaluation.alertCounts().alarm, 1u);
    EXPECT_EQ(f.alerts.emailQueue().sentCount(), 1u);
    EXPECT_EQ(f.alerts.emailQueue().failedCount(), 0u);
    for (const char *name : {"pwned1", "pwned2", "pwned3"}) {
        EXPECT_FALSE(QFile::exists(f.path(name))) << name;
        EXPECT_FALSE(QFile::exists(name)) << name;
    }
}

TEST(AlertEmail, TheWorkingFilesAndTheScriptHoldExactlyWhatIsSent)
{
    AlertFixture f;
    DeviceRecord &d = addDevice(f.store(), "Lab", "Model R4", 1, {T, T, T, T, T, T, T});
    ProbeRecord &p = f.mailingProbe(d, 0); // port 0 sends on 25
    ProbeRecord &seventh = *d.probe(6);
    seventh = p;
    seventh.ProbeNumber = 7;
    seventh.ProbeName = "Inlet";
    seventh.GroupName = "Row 2";
    seventh.AlarmState = AlarmState::LowCaution;
    seventh.EmailSMTPUser = "alarm";
    seventh.EmailSMTPPass = "it's";
    seventh.EmailTo = "a@lab.example ; b@lab.example  ";
    seventh.EmailCautionSubject = "";
    seventh.CurrentValueText = "38.5";
    d.LastContactTimeVal = f.clock.now();
    sendProbeAlertEmail(f.store(), f.alerts.emailQueue(), 0, 6, 40.0);
    EXPECT_TRUE(f.queueDone());

    EXPECT_EQ(f.status.text(), "Status: sending alert email for Lab:Inlet (probe 7)...");
    EXPECT_TRUE(f.file("email_body.tmp").contains("Low Caution"));
    EXPECT_EQ(f.file("email_recipients.tmp"), "a@lab.example\r\nb@lab.example");
    // The list read back over the longer field keeps the field's tail: a
    // second recipient "b@lab.examplee  " (kept as the mail program did).
    const QByteArray mailer = QFile::encodeName(binDir()) + "/corvanta-mailer";
    const QByteArray common = "'" + mailer + "' '" + f.root() + "/email_body.tmp' -server '127.0.0.1' -port 25 -to ";
    const QByteArray rest = " -mailfrom 'monitor@lab.example' -s 'Corvanta Low Caution on Lab:Inlet' -u 'alarm' "
                            "-pw 'it'\\''s' -noh2 -q\n";
    EXPECT_EQ(f.file("alarm_email.sh").toStdString(),
              ("#!/bin/sh\n\n" + common + "'a@lab.example'" + rest + common + "'b@lab.examplee  '" + rest).toStdString());
}

TEST(AlertEmail, ClearAndSwitchAlertsUseTheirFixedBodies)
{
    AlertFixture f;
    DeviceRecord &d = addDevice(f.store(), "Lab", "Model R4", 1, {T, ProbeType::Switch});
    ProbeRecord &p = f.mailingProbe(d, 1);
    p.EmailTemplate = ""; // a clear needs no template
    p.ProbeName = "Inlet";
    p.ProbeNumber = 1;
    sendProbeAlertEmail(f.store(), f.alerts.emailQueue(), 0, 0, kNoValue);
    EXPECT_TRUE(f.queueDone());
    EXPECT_EQ(f.file("email_body.tmp"), "An alarm condition has been cleared by the device named Lab\r\non the probe "
                                        "named Inlet (probe number 01).\r\nThe alarm was cleared on Sat, Nov 14, "
                                        "2026 at 13:05:09 PM.");
    EXPECT_TRUE(f.file("alarm_email.sh").contains("-s 'Corvanta Alarm Cleared on Lab:Inlet'"));

    ProbeRecord &door = *d.probe(1);
    door = p;
    door.ProbeType = ProbeType::Switch;
    door.ProbeName = "Door";
    door.ProbeNumber = 2;
    door.AlarmState = AlarmState::HighAlarm;
    sendProbeAlertEmail(f.store(), f.alerts.emailQueue(), 0, 1, 0);
    EXPECT_TRUE(f.queueDone());
    EXPECT_EQ(f.file("email_body.tmp"), "A switch alarm has been reported by the device named Lab\r\non the probe "
                                        "named Door (probe number 02).\r\nThe alarm occured on Sat, Nov 14, 2026 at "
                                        "13:05:09 PM.");
    EXPECT_TRUE(f.file("alarm_email.sh").contains("-s 'Corvanta Switch Alarm on Lab:Door'"));
}

TEST(AlertEmail, ConfigurationFaultsAreLoggedOnlyWhenTheDeviceLogsThem)
{
    AlertFixture f;
    DeviceRecord &d = addDevice(f.store(), "Lab", "Model R4", 1, {T, T, T});
    ProbeRecord &p = *d.probe(2);
    p.AlarmState = AlarmState::HighAlarm;
    d.LogQueryFailures = 0;
    sendProbeAlertEmail(f.store(), f.alerts.emailQueue(), 0, 2, 85);
    EXPECT_FALSE(exists(f.store().folder().emailErrorLog()));

    d.LogQueryFailures = 1;
    sendProbeAlertEmail(f.store(), f.alerts.emailQueue(), 0, 2, 85);
    p.SMTPServer = "127.0.0.1";
    p.EmailTo = "ops@lab.example";
    p.EmailFrom = "monitor@lab.example";
    p.EmailTemplate = "";
    sendProbeAlertEmail(f.store(), f.alerts.emailQueue(), 0, 2, 85);
    writeFile(f.path("big.txt"), QByteArray(16385, 'x'));
    p.EmailTemplate = f.path("big.txt");
    sendProbeAlertEmail(f.store(), f.alerts.emailQueue(), 0, 2, 85);
    p.EmailTemplate = f.path("Templates/DefaultEmailTemplate.txt");
    p.EmailTo = f.path("missing.TXT");
    sendProbeAlertEmail(f.store(), f.alerts.emailQueue(), 0, 2, 85);
    EXPECT_TRUE(f.queueDone());
    // Device counted from 0, probe from 1; entries run on with no line end.
    const QByteArray prefix = "11-14-26 13:05:09: Sat, Nov 14, 2026 13:05:09 PM Error in configuration for device 0, "
                              "probe 3: ";
    EXPECT_EQ(f.file("EmailErrors.log").toStdString(),
              (prefix + "no SMTP server specified" + prefix + "no email body template specified" + prefix +
               "error reading template file" + prefix + "error opening email recipient list file")
                  .toStdString());
    // The body was written before the recipient list failed.
    EXPECT_TRUE(exists(f.path("email_body.tmp")));
    EXPECT_FALSE(exists(f.path("alarm_email.sh")));
}

TEST(AlertEmail, AQueryFailureMailsTheDevicesOwnSettingsAndCleansUp)
{
    SmtpServer server;
    AlertFixture f;
    DeviceRecord &d = addDevice(f.store(), "Lab", "Model R4", 1, {T});
    f.alerts.sendQueryFailureEmail(0); // off: nothing at all
    EXPECT_TRUE(f.queueDone());
    EXPECT_TRUE(f.messages.isEmpty());

    d.SendQueryFailMessage = 1;
    d.SMTPServerName = "127.0.0.1";
    d.SMTPServerPort = 0;
    f.alerts.sendQueryFailureEmail(0);
    EXPECT_EQ(f.messages, QStringList{"Cannot send query failure alert: missing SMTP port for outgoing mail."});

    d.SMTPServerPort = server.port();
    d.EmailFromAddress = "monitor@lab.example";
    d.EmailToAddress = "ops@lab.example";
    d.EmailSubjectText = "$DEVICE_NAME is down";
    d.QueryFailThreshold = 3;
    f.alerts.sendQueryFailureEmail(0);
    const QList<QJsonObject> mail = server.waitForMessages(1);
    ASSERT_EQ(mail.size(), 1);
    EXPECT_EQ(mail[0]["subject"].toString(), "$DEVICE_NAME is down");
    EXPECT_EQ(mail[0]["body"].toString().trimmed(), "The device named Lab has not responded for 3 minutes.");
    EXPECT_TRUE(f.file("email_test.sh").contains(" -noh2 -q -debug\n"));
    EXPECT_TRUE(waitUntil([&] { return !exists(f.path("email_body.tmp")); }, 5000));
    EXPECT_FALSE(exists(f.path("email_recipients.tmp")));
    EXPECT_TRUE(exists(f.path("email_test.sh")));
}

// A mail server that takes connections and never answers keeps each
// mailer, and so its script, waiting.
TEST(AlertEmail, TheNextMailWaitsForTheScriptBeforeAndAStuckScriptIsStoppedAndLogged)
{
    QTcpServer silent;
    ASSERT_TRUE(silent.listen(QHostAddress::LocalHost));
    QList<QTcpSocket *> held;
    QObject::connect(&silent, &QTcpServer::newConnection, [&] { held << silent.nextPendingConnection(); });
    SmtpServer server;
    AlertFixture f;
    f.alerts.emailQueue().setScriptLimit(1500);
    DeviceRecord &d = f.addSimulated(simDevice("Model R4", {95.5, 96.5}, "Lab"), {T, T});
    d.QueryInterval = 5;
    f.mailingProbe(d, silent.serverPort());
    ProbeRecord &second = *d.probe(1);
    second = *d.probe(0);
    second.ProbeNumber = 2;
    second.ProbeName = "P2";
    second.SMTPPort = server.port();
    f.tick();
    f.clock.advance(5);
    f.tick();

    // The first script hangs on the silent server: its body stays in place.
    ASSERT_TRUE(waitUntil([&] { return !held.isEmpty(); }));
    const QByteArray firstBody = f.file("email_body.tmp");
    ASSERT_TRUE(firstBody.contains("P1")) << firstBody.constData();
    QElapsedTimer t;
    t.start();
    while (t.elapsed() < 1000)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
    EXPECT_EQ(f.file("email_body.tmp"), firstBody);
    EXPECT_TRUE(server.messages().isEmpty());

    // Past its limit it is stopped and logged, and the next goes out.
    const QList<QJsonObject> mail = server.waitForMessages(1);
    ASSERT_EQ(mail.size(), 1);
    EXPECT_EQ(mail[0]["subject"].toString(), "Corvanta High Alarm on Lab:P2");
    EXPECT_TRUE(f.file("EmailErrors.log")
                    .endsWith(": Mail script for device 0, probe 1, subject \"Corvanta High Alarm on Lab:P1\" was "
                              "stopped after 1.5 s.\r\n"))
        << f.file("EmailErrors.log").constData();
    EXPECT_TRUE(f.queueDone());
    EXPECT_EQ(f.alerts.emailQueue().sentCount(), 1u);
    EXPECT_EQ(f.alerts.emailQueue().failedCount(), 1u) << "the stopped script";
    EXPECT_EQ(f.alerts.emailQueue().length(), 0);
}

// Alarms of three probes in one query wait in turn: the queue counts them
// all, they go out in probe order, and each body and recipient is its own.
TEST(AlertEmail, SeveralWaitingAlertsGoOutInTurnEachToItsOwnRecipient)
{
    SmtpServer server;
    AlertFixture f;
    DeviceRecord &d = f.addSimulated(simDevice("Model R4", {95.5, 96.5, 97.5}, "Lab"), {T, T, T});
    d.QueryInterval = 5;
    f.mailingProbe(d, server.port());
    for (int i = 1; i < 3; ++i) {
        *d.probe(i) = *d.probe(0);
        d.probe(i)->ProbeNumber = i + 1;
    }
    for (int i = 0; i < 3; ++i) {
        d.probe(i)->ProbeName = "P" + QByteArray::number(i + 1);
        d.probe(i)->EmailTo = "p" + QByteArray::number(i + 1) + "@lab.example";
    }
    f.tick();
    f.clock.advance(5);
    f.tick();
    EXPECT_EQ(f.alerts.emailQueue().length(), 3) << "one running, two waiting";
    const QList<QJsonObject> mail = server.waitForMessages(3);
    ASSERT_EQ(mail.size(), 3);
    for (int i = 0; i < 3; ++i) {
        const QString n = QString::number(i + 1);
        EXPECT_EQ(mail[i]["subject"].toString(), "Corvanta High Alarm on Lab:P" + n);
        EXPECT_EQ(mail[i]["to"].toArray(), QJsonArray{"p" + n + "@lab.example"});
        EXPECT_TRUE(mail[i]["body"].toString().contains(QStringLiteral("%1.5").arg(95 + i))) << i;
    }
    ASSERT_TRUE(f.queueDone());
    EXPECT_EQ(f.alerts.emailQueue().length(), 0);
    EXPECT_EQ(f.alerts.emailQueue().sentCount(), 3u);
}

TEST(AlertEmail, AMailerThatCannotReachItsServerCountsAsAFailedMail)
{
    QTcpServer closed;
    ASSERT_TRUE(closed.listen(QHostAddress::LocalHost));
    const quint16 port = closed.serverPort();
    closed.close();
    AlertFixture f;
    DeviceRecord &d = f.addSimulated(simDevice("Model R4", {95.5}, "Lab"), {T});
    d.QueryInterval = 5;
    f.mailingProbe(d, port);
    f.tick();
    f.clock.advance(5);
    f.tick();
    ASSERT_TRUE(waitUntil([&] { return f.alerts.emailQueue().failedCount() == 1; }, 20000));
    EXPECT_TRUE(f.queueDone());
    EXPECT_EQ(f.alerts.emailQueue().sentCount(), 0u);
}

TEST(AlertEmail, MailStillQueuedAtShutdownIsSentOrLoggedAsUnsent)
{
    SmtpServer server;
    AlertFixture f;
    DeviceRecord &d = f.addSimulated(simDevice("Model R4", {95.5, 96.5, 97.5}, "Lab"), {T, T, T});
    d.QueryInterval = 5;
    f.mailingProbe(d, server.port());
    for (int i = 1; i < 3; ++i) {
        *d.probe(i) = *d.probe(0);
        d.probe(i)->ProbeNumber = i + 1;
        d.probe(i)->ProbeName = "P" + QByteArray::number(i + 1);
    }
    f.tick();
    f.clock.advance(5);
    f.tick();
    // Three alerts wait; the shutdown sends them all before it goes on.
    EXPECT_FALSE(f.alerts.emailQueue().idle());
    EXPECT_EQ(f.alerts.emailQueue().drain(20000), 0);
    EXPECT_EQ(server.messages().size(), 3);

    // With no time left, what never started is logged, device, probe and subject.
    f.clock.advance(5);
    d.probe(0)->HighAlarmSent = d.probe(1)->HighAlarmSent = d.probe(2)->HighAlarmSent = 0;
    f.tick();
    EXPECT_EQ(f.alerts.emailQueue().drain(0), 2);
    const QByteArray log = f.file("EmailErrors.log");
    EXPECT_TRUE(log.contains(": Unsent at shutdown: device 0, probe 2, subject \"Corvanta High Alarm on Lab:P2\"\r\n"))
        << log.constData();
    EXPECT_TRUE(log.contains(": Unsent at shutdown: device 0, probe 3, subject \"Corvanta High Alarm on Lab:P3\"\r\n"));
    EXPECT_TRUE(f.alerts.emailQueue().drain(20000) == 0);
}

TEST(AlertEmail, TheScriptAndTheWorkingFilesAreTheOwnersAlone)
{
    SmtpServer server;
    AlertFixture f;
    DeviceRecord &d = f.addSimulated(simDevice("Model R4", {95.5}, "Lab"), {T});
    d.QueryInterval = 5;
    f.mailingProbe(d, server.port());
    d.probe(0)->EmailSMTPUser = "alarm";
    d.probe(0)->EmailSMTPPass = "s3cret";
    // A script left readable by others, as an older program wrote it.
    writeFile(f.path("alarm_email.sh"), "#!/bin/sh\n");
    ::chmod(f.path("alarm_email.sh").constData(), 0644);
    QStringList notes;
    QObject::connect(&f.status, &ProgramStatus::noted, [&](const QString &text) { notes << text; });
    f.tick();
    f.clock.advance(5);
    f.tick();
    ASSERT_TRUE(f.queueDone());
    EXPECT_EQ(notes.size(), 1);
    EXPECT_TRUE(notes.value(0).contains("alarm_email.sh\" could be read by other users"));
    for (const char *name : {"alarm_email.sh", "email_body.tmp", "email_recipients.tmp"}) {
        struct stat st {};
        ASSERT_EQ(::stat(f.path(name).constData(), &st), 0) << name;
        EXPECT_EQ(st.st_mode & 0777, 0600u) << name;
    }
}
