#include "store/DataFolder.h"

#include "store/FileWrite.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <sys/stat.h>

static void initResources()
{
    Q_INIT_RESOURCE(store);
}

namespace cz {

DataFolder DataFolder::locate(const QString &commandLineDir)
{
    QString dir = commandLineDir;
    if (dir.isEmpty())
        dir = qEnvironmentVariable("CORVANTA_DATA_DIR");
    if (dir.isEmpty()) {
        QString base = qEnvironmentVariable("XDG_DATA_HOME");
        if (base.isEmpty())
            base = QDir::homePath() + "/.local/share";
        dir = base + "/Corvanta Zephtra";
    }
    dir = QDir::cleanPath(QDir(dir).absolutePath());
    return DataFolder{QFile::encodeName(dir)};
}

bool ensureFolder(const QByteArray &path)
{
    struct stat st {};
    if (::stat(path.constData(), &st) == 0)
        return S_ISDIR(st.st_mode);
    return ::mkdir(path.constData(), 0755) == 0;
}

QString incompleteInstallationMessage(const char *which)
{
    return QStringLiteral("The installation of Corvanta Zephtra is incomplete (%1).\n Please contact Varnholt Technical Support.")
        .arg(QLatin1String(which));
}

int installDefaultFiles(const DataFolder &folder)
{
    initResources();
    struct Shipped {
        const char *resource;
        QByteArray target;
    };
    const Shipped files[] = {
        {":/corvanta/DeviceTemplate.txt", folder.templates() + "/DeviceTemplate.txt"},
        {":/corvanta/ProbeTemplate.txt", folder.templates() + "/ProbeTemplate.txt"},
        {":/corvanta/DefaultEmailTemplate.txt", folder.templates() + "/DefaultEmailTemplate.txt"},
        {":/corvanta/CorvantaZephtra_Help.html", folder.help() + "/CorvantaZephtra_Help.html"},
    };
    int written = 0;
    for (const Shipped &f : files) {
        const QString target = QFile::decodeName(f.target);
        if (QFileInfo::exists(target))
            continue;
        QFile in(QString::fromLatin1(f.resource));
        if (in.open(QIODevice::ReadOnly) && writeFileAtomically(target, in.readAll(), nullptr))
            ++written;
    }
    return written;
}

} // namespace cz
