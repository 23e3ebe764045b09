#include "tests/support/TestSupport.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>

#include <csignal>
#include <sys/resource.h>

namespace cz::test {

QByteArray readFile(const QByteArray &path)
{
    QFile f(QFile::decodeName(path));
    if (!f.open(QIODevice::ReadOnly))
        return {};
    return f.readAll();
}

void copyFolder(const QString &from, const QString &to)
{
    QDir().mkpath(to);
    for (const QFileInfo &entry : QDir(from).entryInfoList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot)) {
        if (entry.isDir())
            copyFolder(entry.filePath(), to + '/' + entry.fileName());
        else
            QFile::copy(entry.filePath(), to + '/' + entry.fileName());
    }
}

void writeFile(const QByteArray &path, const QByteArray &bytes)
{
    QFile f(QFile::decodeName(path));
    if (f.open(QIODevice::WriteOnly | QIODevice::Truncate))
        f.write(bytes);
}

bool exists(const QByteArray &path)
{
    return QFileInfo::exists(QFile::decodeName(path));
}

QList<QByteArray> RecordingLog::messagesFor(const QByteArray &path) const
{
    QList<QByteArray> out;
    for (const auto &[p, m] : lines)
        if (p == path)
            out.append(m);
    return out;
}

DataFolderFixture::DataFolderFixture()
{
    QObject::connect(&status, &ProgramStatus::message, [this](MessageIcon, const QString &text) { messages.append(text); });
    restart();
}

DataFolderFixture::~DataFolderFixture() = default;

DeviceStore &DataFolderFixture::restart()
{
    store_ = std::make_unique<DeviceStore>(DataFolder{root()}, clock, log, status);
    return *store_;
}

QString programPath()
{
    return QStringLiteral(CZ_BIN_DIR "/corvanta-zephtra");
}

bool waitForOutput(QProcess &p, const QByteArray &text, QByteArray &seen)
{
    QElapsedTimer t;
    t.start();
    while (!seen.contains(text) && t.elapsed() < 20000) {
        p.waitForReadyRead(200);
        seen += p.readAllStandardOutput();
        if (p.state() == QProcess::NotRunning)
            break;
    }
    return seen.contains(text);
}

FileSizeLimit::FileSizeLimit(long bytes)
{
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit rl{};
    getrlimit(RLIMIT_FSIZE, &rl);
    old_ = long(rl.rlim_cur);
    rl.rlim_cur = rlim_t(bytes);
    setrlimit(RLIMIT_FSIZE, &rl);
}

FileSizeLimit::~FileSizeLimit()
{
    rlimit rl{};
    getrlimit(RLIMIT_FSIZE, &rl);
    rl.rlim_cur = rlim_t(old_);
    setrlimit(RLIMIT_FSIZE, &rl);
}

} // namespace cz::test
