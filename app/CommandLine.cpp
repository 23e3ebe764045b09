#include "CommandLine.h"

namespace cz {

void CCommandLineInfoEx::parseParam(const QString &param, bool isFlag)
{
    if (isFlag) {
        params_.insert(param, QStringLiteral("TRUE"));
        lastFlag_ = param;
    } else if (!lastFlag_.isEmpty()) {
        params_.insert(lastFlag_, param);
        lastFlag_.clear();
    }
}

CommandLine CommandLine::parse(const QStringList &args)
{
    CommandLine cl;
    CCommandLineInfoEx classic;
    for (int i = 0; i < args.size(); ++i) {
        const QString &a = args[i];
        if (a == QLatin1String("--data-dir") || a.startsWith(QLatin1String("--data-dir="))) {
            const bool separate = a.size() == 10;
            cl.dataDir = separate ? args.value(++i) : a.mid(11);
            if (cl.dataDir.isEmpty()) {
                cl.error = QStringLiteral("--data-dir needs a folder");
                return cl;
            }
        } else if (a == QLatin1String("--headless")) {
            cl.headless = true;
        } else if (a == QLatin1String("--help") || a == QLatin1String("-h")) {
            cl.help = true;
        } else if (a == QLatin1String("--version")) {
            cl.version = true;
        } else if (a.startsWith(QLatin1String("--"))) {
            cl.error = QStringLiteral("unknown option %1").arg(a);
            return cl;
        } else if (a.startsWith(QLatin1Char('-')) || a.startsWith(QLatin1Char('/'))) {
            classic.parseParam(a.mid(1), true);
        } else {
            classic.parseParam(a, false);
        }
    }
    cl.noSplash = classic.hasFlag(QStringLiteral("nosplash"));
    cl.minimize = classic.hasFlag(QStringLiteral("minimize"));
    return cl;
}

QString CommandLine::usage()
{
    return QStringLiteral(
        "Usage: corvanta-zephtra [options]\n"
        "Watches networked temperature, humidity, wetness and switch sensors.\n\n"
        "  --data-dir DIR   data folder (default: $CORVANTA_DATA_DIR, else\n"
        "                   $XDG_DATA_HOME/Corvanta Zephtra)\n"
        "  --headless       run without a window; SIGTERM or Ctrl+C saves and exits\n"
        "  -nosplash        no splash window\n"
        "  -minimize        start minimised\n"
        "  --version        print the version\n"
        "  --help           print this help\n");
}

} // namespace cz
