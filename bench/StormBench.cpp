// An alarm storm: all 4,096 probes of 256 simulated devices enter alarm in
// one query cycle, each with alarm e-mail on, sent through the real mailer
// to an SMTP server on 127.0.0.1. Reports the longest stall of the event
// loop while the alerts are raised and sent, whether every message arrived
// in the order the alarms were raised, and the spacing of the sends.
#include "alerts/AlertDispatcher.h"
#include "alerts/SoundPlayer.h"
#include "bench/BenchSupport.h"
#include "monitor/AlarmEvaluation.h"
#include "monitor/QueryCycle.h"
#include "net/HttpSession.h"
#include "store/CFormat.h"
#include "store/DeviceStore.h"
#include "store/LogFiles.h"
#include "tests/support/MailTestSupport.h"
#include "tests/support/ManualClock.h"
#include "tests/support/QuietActions.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <vector>

using namespace cz;

namespace {

} // namespace

int main(int argc, char **argv)
{
    std::setlocale(LC_NUMERIC, "C");
    QCoreApplication app(argc, argv);
    const int devices = qEnvironmentVariableIntValue("STORM_DEVICES") > 0 ? qEnvironmentVariableIntValue("STORM_DEVICES")
                                                                           : 256;

    QProcess simulator;
    const QList<int> ports = bench::startSimulator(
        simulator, {"--generate", QString::number(devices), "--probes", "16", "--model", "Model R16"});
    if (ports.size() != devices)
        return 1;
    QTemporaryDir dir;
    const test::SmtpServer smtp;
    if (!smtp.running())
        return 1;

    const DataFolder folder{QFile::encodeName(dir.filePath("data"))};
    bench::writeDataFolder(folder, ports);
    ManualClock clock(QDateTime::currentSecsSinceEpoch());
    EventLog log(clock);
    ProgramStatus status;
    DeviceStore state(folder, clock, log, status);
    state.readProgramSettings();
    status.programFolder = QCoreApplication::applicationDirPath();
    state.currentDateText = dateText(clock.now());
    for (int slot = 0; slot < state.deviceCount(); ++slot) {
        DeviceRecord &d = *state.deviceForUpdate(slot);
        d.QueryInterval = 5;
        for (int i = 0; i < d.probeSlots(); ++i) {
            ProbeRecord &p = *d.probe(i);
            p.HighAlarmTemp = 60, p.HighCautionTemp = 55;
            p.ConsecutiveAlarmThreshold = 1;
            test::mailAlarmsTo(p, smtp.port(), folder.templates() + "/DefaultEmailTemplate.txt");
        }
    }
    HttpSession session;
    test::RecordingSound sound;
    AlertDispatcher alerts(state, sound);
    AlarmEvaluation evaluation(alerts);
    QueryCycle cycle(state, session);
    cycle.setEvaluation(&evaluation);
    std::vector<double> starts;
    QElapsedTimer sinceStart;
    sinceStart.start();
    QObject::connect(&alerts.emailQueue(), &EmailQueue::jobStarted,
                     [&](quint64, int) { starts.push_back(double(sinceStart.nsecsElapsed()) / 1e6); });
    // The order alarms were raised in, to compare with what arrives.
    QList<QString> raised;
    QObject::connect(&evaluation, &AlarmEvaluation::eventLogged, [&](int slot, int probe, const QByteArray &) {
        raised.append(QStringLiteral("%1:%2").arg(slot).arg(probe));
    });

    // The first cycle only sets the states.
    cycle.tick();
    while (cycle.queriesInFlight() > 0)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    raised.clear();

    bench::StallMeter stalls;
    clock.advance(5);
    stalls.start();
    QElapsedTimer storm;
    storm.start();
    cycle.tick();
    while (cycle.queriesInFlight() > 0)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    const double longestStallRaising = stalls.longestMs();
    const double raiseMs = double(storm.nsecsElapsed()) / 1e6;
    const int expected = int(raised.size());
    auto arrived = [&] { return smtp.messageCount(); };
    while (!alerts.emailQueue().idle() || arrived() < expected) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 100);
        if (storm.elapsed() > 3600 * 1000)
            break;
    }
    stalls.stop();
    const double longestStall = stalls.longestMs();
    const double drainS = double(storm.nsecsElapsed()) / 1e9;

    // Every message, in the order the alarms were raised.
    int inOrder = 0;
    const QList<QJsonObject> messages = smtp.messages();
    for (int n = 1; n <= int(messages.size()); ++n) {
        const QString subject = messages[n - 1]["subject"].toString();
        const QString &alarm = raised.value(n - 1);
        const int slot = alarm.section(':', 0, 0).toInt(), probe = alarm.section(':', 1, 1).toInt();
        const QString want = "Corvanta High Alarm on Device " + QString::number(slot + 1) + ":" +
                             QString::fromUtf8(state.device(slot)->probe(probe)->ProbeName.bytes());
        inOrder += subject == want ? 1 : 0;
    }
    std::vector<double> gaps;
    for (std::size_t i = 1; i < starts.size(); ++i)
        gaps.push_back(starts[i] - starts[i - 1]);
    std::sort(gaps.begin(), gaps.end());

    simulator.kill();
    simulator.waitForFinished();
    std::printf("alarm storm: %d probes entering alarm in one cycle, e-mail on each\n", expected);
    std::printf("  cycle that raised them: %.0f ms; longest event-loop stall in it: %.1f ms (target under 20 ms)\n",
                raiseMs, longestStallRaising);
    std::printf("  longest event-loop stall until every message was sent: %.1f ms\n", longestStall);
    std::printf("  messages arrived: %d of %d, %d in the order raised; all sent after %.1f s\n", arrived(), expected,
                inOrder, drainS);
    if (!gaps.empty())
        std::printf("  time between mailer starts: %.0f ms shortest, %.0f ms median, %.0f ms longest (a job waits "
                    "for the previous script to end, 120 s at most)\n",
                    gaps.front(), gaps[gaps.size() / 2], gaps.back());
    return arrived() == expected && inOrder == expected ? 0 : 1;
}
