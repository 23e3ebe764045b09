// Alert programs, the voice dialer and the e-mail settings test.
#include "alerts/AlertProgram.h"
#include "alerts/EmailQueue.h"
#include "alerts/EmailTest.h"
#include "alerts/ScriptConsole.h"
#include "alerts/VoiceDialer.h"
#include "tests/support/MailTestSupport.h"
#include "tests/support/NetTestSupport.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

#include <pty.h>
#include <unistd.h>

using namespace cz;
using namespace cz::test;

namespace {

constexpr auto T = ProbeType::Temperature;

struct ActionFixture : DataFolderFixture {
    ActionFixture()
    {
        store().readProgramSettings();
        store().status().programFolder = binDir();
        device = &addDevice(store(), "Lab", "Model R4", 1, {T, T, T, T});
        device->probe(1)->ProbeEnabled = 0;
    }
    QList<QByteArray> logOf(int probe) { return log.messagesFor(device->probe(probe)->LogFile.bytes()); }
    DeviceRecord *device;
};

} // namespace

TEST(AlertProgram, StartsTheProgramWithItsOptionsAndLogsWhatCannotStart)
{
    ActionFixture f;
    const QByteArray script = f.path("alert prog.sh");
    writeFile(script, "#!/bin/sh\nfor a in \"$@\"; do echo \"[$a]\"; done > \"$(dirname \"$0\")/ran.txt\"\n");
    QFile::setPermissions(QFile::decodeName(script), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);

    runAlertProgram(f.store(), 0, 2, "\"" + script + "\" -x 5 /name \"a-b c\" -path /tmp/a");
    EXPECT_TRUE(waitUntil([&] { return readFile(f.path("ran.txt")).count('\n') == 6; }, 5000));
    // "-" and "/" after a blank start an option and are dropped (so a bare
    // absolute path loses its first "/"); a quoted value keeps its quotes.
    EXPECT_EQ(readFile(f.path("ran.txt")).toStdString(), "[x]\n[5]\n[name]\n[\"a-b c\"]\n[path]\n[tmp/a]\n");
    EXPECT_TRUE(f.logOf(2).isEmpty());

    runAlertProgram(f.store(), 0, 2, "\"scripts/alert.sh\"");
    runAlertProgram(f.store(), 0, 2, "/bin/missing-program -x");
    EXPECT_EQ(f.logOf(2), QList<QByteArray>({"Spawn of \"\"scripts/alert.sh\"\" for device 0 probe 2 failed. (invalid "
                                             "path format)",
                                             "Spawn of \"/bin/missing-program -x\" for device 0 probe 2 failed. "
                                             "Reason: 2"}));
    f.device->LoggingEnabled = 0;
    runAlertProgram(f.store(), 0, 2, "relative");
    EXPECT_EQ(f.logOf(2).size(), 2);
}

TEST(VoiceDialer, PulsesDtrAndLogsOncePerProbeToEveryEnabledProbe)
{
    ActionFixture f;
    int master = -1, slave = -1;
    char name[128];
    ASSERT_EQ(openpty(&master, &slave, name, nullptr, nullptr), 0);
    const QByteArray pts(name);
    const int number = pts.mid(pts.lastIndexOf('/') + 1).toInt();
    f.store().settings.SerialPortPattern = "/dev/pts/%d";
    f.device->DialerPort = number + 1;
    VoiceDialer dialer(f.store());
    int finished = 0;
    QObject::connect(&dialer, &VoiceDialer::finished, [&] { ++finished; });
    dialer.trigger(0, 0);
    EXPECT_TRUE(f.logOf(0).isEmpty()); // not before the pulse has ended
    EXPECT_TRUE(waitUntil([&] { return finished == 1; }, 3000));
    const QByteArray line = "Triggered voice dialer on " + pts + " for device 0.";
    EXPECT_EQ(f.logOf(0), QList<QByteArray>(4, line));
    EXPECT_TRUE(f.logOf(1).isEmpty()); // disabled probe
    EXPECT_EQ(f.logOf(3), QList<QByteArray>(4, line));
    ::close(master);
    ::close(slave);

    f.store().settings.SerialPortPattern = "/dev/corvanta-no-port%d";
    f.device->DialerPort = 3;
    dialer.trigger(0, 0);
    EXPECT_EQ(f.logOf(2).last(), "Error initializing /dev/corvanta-no-port2 for device 0.");
    EXPECT_EQ(f.logOf(2).count("Error initializing /dev/corvanta-no-port2 for device 0."), 1);
}

TEST(EmailSettingsTest, SendsATestToEachRecipientPausingAfterEach)
{
    SmtpServer server;
    ActionFixture f;
    EmailQueue queue(f.store());
    ScriptConsole console;
    QObject::connect(&console, &ScriptConsole::finished, &queue, &EmailQueue::currentScriptEnded);
    QByteArray shown;
    QObject::connect(&console, &ScriptConsole::output, [&](const QByteArray &text) { shown += text; });
    QStringList faults;
    const EmailTestContext context{f.store(), [&](const QString &m) { faults << m; },
                                   [&](const QByteArray &path) { return console.start(path, f.root()); }};
    EmailTestFields fields;
    fields.server = "127.0.0.1";
    fields.recipients = "a@lab.example;b@lab.example;c@lab.example";
    fields.sender = "monitor@lab.example";
    fields.probeName = "Inlet";
    fields.probeNumber = 3;
    fields.templatePath = f.path("test.txt");
    writeFile(fields.templatePath, "$ALARM_STATE $CURRENT_VALUE over $THRESH_EXCEEDED, $CONSECUTIVE_COUNT of "
                                   "$CONSECUTIVE_THRESH, $PROBE_NUMBER");
    EXPECT_FALSE(runProbeEmailTest(context, fields, "Lab", kDefaultSubject, queue));
    EXPECT_EQ(faults, QStringList{"Please designate an SMTP port for outgoing mail."});

    fields.portText = QByteArray::number(server.port());
    ASSERT_TRUE(runProbeEmailTest(context, fields, "Lab", kDefaultSubject, queue));
    ASSERT_TRUE(waitUntil([&] { return console.running(); }));
    const QByteArray script = readFile(f.path("email_test.sh"));
    EXPECT_EQ(script.count("echo 'Press any key to test the next recipient in the list, or CTRL-C to abort.'\n"), 2);
    EXPECT_EQ(script.count("echo 'This is the last entry in the list.'\necho 'Press any key to exit...'\n"), 1);
    EXPECT_EQ(script.count("read _ignored\n"), 3);

    for (int sent = 1; sent <= 3; ++sent) {
        EXPECT_TRUE(waitUntil([&] { return shown.count("Press any key") == sent; }, 20000)) << shown.constData();
        EXPECT_EQ(server.messages().size(), sent);
        console.continueScript();
    }
    EXPECT_TRUE(waitUntil([&] { return !console.running(); }, 5000));
    EXPECT_TRUE(shown.contains("Corvanta Zephtra has finished sending mail to c@lab.example."));
    EXPECT_TRUE(shown.contains("> MAIL FROM:<monitor@lab.example>")); // -debug
    const QList<QJsonObject> mail = server.messages();
    ASSERT_EQ(mail.size(), 3);
    EXPECT_EQ(mail[0]["subject"].toString(), "TEST -- Corvanta Caution High on Lab:Inlet");
    EXPECT_EQ(mail[0]["body"].toString().trimmed(), "Caution High 99.0 over 98.8, 2 of 1, 03");
    EXPECT_TRUE(faults.size() == 1);
}
