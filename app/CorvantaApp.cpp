#include "CorvantaApp.h"

#include "CFormat.h"
#include "Records.h"

#include <QDir>
#include <QFile>

namespace cz {

CCorvantaApp::CCorvantaApp(const CommandLine &commandLine, const QString &programFolder, const Clock &clock,
                           SoundPlayer &sound, QObject *parent)
    : QObject(parent),
      commandLine_(commandLine),
      clock_(clock),
      eventLog_(clock),
      state_(DataFolder::locate(commandLine.dataDir), clock, eventLog_),
      alerts_(state_, sound),
      evaluation_(alerts_),
      queryClient_(state_, session_),
      cycle_(state_, queryClient_)
{
    state_.programFolder = programFolder;
    queryClient_.setEvaluation(&evaluation_);
    connect(&queryClient_, &DeviceQueryClient::walkFinished, &cycle_, &QueryCycle::walkFinished);
    connect(&queryClient_, &DeviceQueryClient::queryFailureAlert, this,
            [this](int slot) { alerts_.sendQueryFailureEmail(slot); });
}

CCorvantaApp::~CCorvantaApp() = default;

bool CCorvantaApp::takeInstanceLock(QString *error)
{
    const QString root = QFile::decodeName(state_.folder().root);
    QDir().mkpath(root);
    lock_ = std::make_unique<QLockFile>(QFile::decodeName(state_.folder().lockFile()));
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

void CCorvantaApp::startUp()
{
    if (!state_.status().contains(QLatin1String("ERROR")))
        state_.setStatus(QStringLiteral("Status: initializing..."));
    state_.startDate = dateText(clock_.now());
    state_.currentDateText = state_.startDate;
    state_.readProgramSettings();
    if (commandLine_.minimize)
        state_.settings.StartMinimized = 1;
    state_.logToAllDevices("Corvanta Zephtra program starting.");
}

void CCorvantaApp::startMonitoring()
{
    cycle_.start();
}

void CCorvantaApp::shutDown()
{
    state_.ShuttingDown = 1;
    cycle_.stop();
    queryClient_.abandonWalk();
    state_.writeProgramSettings();
    state_.writeAllDeviceFiles();
    state_.logToAllDevices("Corvanta Zephtra program shutting down.");
    state_.setStatus(QStringLiteral("Status: shutting down..."));
}

} // namespace cz
