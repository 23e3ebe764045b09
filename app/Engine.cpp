#include "app/Engine.h"

#include "monitor/MetricsExposition.h"
#include "store/CFormat.h"
#include "store/Records.h"

#include <QDir>
#include <QFile>

#include <cstdio>

namespace cz {

Engine::Engine(const CommandLine &commandLine, const QString &programFolder, const Clock &clock,
                           SoundPlayer &sound, QObject *parent)
    : QObject(parent),
      commandLine_(commandLine),
      clock_(clock),
      eventLog_(clock),
      store_(DataFolder::locate(commandLine.dataDir), clock, eventLog_, status_),
      alerts_(store_, sound),
      evaluation_(alerts_),
      cycle_(store_, session_)
{
    status_.programFolder = programFolder;
    connect(&status_, &ProgramStatus::noted, this, [](const QString &text) {
        std::fprintf(stderr, "corvanta-zephtra: %s\n", qPrintable(text));
    });
    cycle_.setEvaluation(&evaluation_);
    connect(&cycle_, &QueryCycle::queryFailureAlert, this, [this](int slot) { alerts_.sendQueryFailureEmail(slot); });
    connect(&cycle_, &QueryCycle::deviceAnswersAgain, this, [this](int slot, int failed, qint64 silentSeconds) {
        alerts_.sendQueryResolvedEmail(slot, failed, silentSeconds);
    });
}

Engine::~Engine() = default;

bool Engine::takeInstanceLock(QString *error)
{
    const QString root = QFile::decodeName(store_.folder().root);
    QDir().mkpath(root);
    lock_ = std::make_unique<QLockFile>(QFile::decodeName(store_.folder().lockFile()));
    lock_->setStaleLockTime(0);
    if (lock_->tryLock(0))
        return true;
    if (lock_->error() == QLockFile::LockFailedError)
        *error = QStringLiteral("Corvanta Zephtra is already running!");
    else
        *error = QStringLiteral("The data folder \"%1\" cannot be used: its lock file cannot be created.").arg(root);
    lock_.reset();
    return false;
}

void Engine::startUp()
{
    if (!status_.showsError())
        status_.set(QStringLiteral("Status: initializing..."));
    startTime_ = double(clock_.nowMs()) / 1000.0;
    store_.startDate = dateText(clock_.now());
    store_.currentDateText = store_.startDate;
    store_.readProgramSettings();
    if (commandLine_.minimize)
        store_.settings.StartMinimized = 1;
    store_.logToAllDevices("Corvanta Zephtra program starting.");
}

void Engine::startMonitoring()
{
    cycle_.start();
    startMetrics();
}

void Engine::startMetrics()
{
    const QString text = commandLine_.metricsAddress.isEmpty() ? store_.settings.MetricsAddress.str()
                                                               : commandLine_.metricsAddress;
    if (text.trimmed().isEmpty())
        return;
    // A page that cannot be served leaves monitoring as it is.
    MetricsAddress address;
    QString error;
    auto server = std::make_unique<MetricsServer>([this] { return metricsPage(); });
    if (!parseMetricsAddress(text, &address, &error) || !server->listen(address, &error)) {
        status_.report(MessageIcon::Warning, error);
        return;
    }
    metrics_ = std::move(server);
}

QByteArray Engine::metricsPage() const
{
    const EmailQueue &mail = alerts_.emailQueue();
    ProgramMetrics program;
    program.version = CORVANTA_VERSION;
    program.startTime = startTime_;
    program.emailQueueLength = mail.length();
    program.emailsSent = mail.sentCount();
    program.emailsFailed = mail.failedCount();
    program.alerts = evaluation_.alertCounts();
    return metricsExposition(store_, cycle_, program);
}

void Engine::shutDown(int mailWaitMs)
{
    // Sending the last mail lets events run: a second signal changes nothing.
    if (shutDownStarted_)
        return;
    shutDownStarted_ = true;
    status_.ShuttingDown = 1;
    cycle_.stop();
    store_.writeProgramSettings();
    store_.writeAllDeviceFiles();
    // Alerts raised before the close still go out.
    if (!alerts_.emailQueue().idle())
        status_.set(QStringLiteral("Status: sending the remaining alert email..."));
    alerts_.emailQueue().drain(mailWaitMs);
    store_.logToAllDevices("Corvanta Zephtra program shutting down.");
    status_.set(QStringLiteral("Status: shutting down..."));
}

} // namespace cz
