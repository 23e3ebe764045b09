#include "app/CommandLine.h"

#include <QMap>

#include <optional>

namespace cz {

namespace {

// Collects every flag (an argument starting with "-" or "/") with the value
// "TRUE"; a plain argument right after a flag becomes that flag's value.
class ClassicFlags {
public:
    void parseParam(const QString &param, bool isFlag);
    bool hasFlag(const QString &key) const { return params_.contains(key); }
    QString value(const QString &key) const { return params_.value(key); }

private:
    QMap<QString, QString> params_;
    QString lastFlag_;
};

void ClassicFlags::parseParam(const QString &param, bool isFlag)
{
    if (isFlag) {
        params_.insert(param, QStringLiteral("TRUE"));
        lastFlag_ = param;
    } else if (!lastFlag_.isEmpty()) {
        params_.insert(lastFlag_, param);
        lastFlag_.clear();
    }
}

// "--name VALUE" (which takes the next argument) or "--name=VALUE"; nothing
// when args[i] is another argument.
std::optional<QString> valueOption(const QStringList &args, int &i, const QString &name)
{
    const QString &a = args[i];
    if (a == name)
        return args.value(++i);
    if (a.startsWith(name + QLatin1Char('=')))
        return a.mid(name.size() + 1);
    return std::nullopt;
}

} // namespace

CommandLine CommandLine::parse(const QStringList &args)
{
    CommandLine cl;
    ClassicFlags classic;
    for (int i = 0; i < args.size(); ++i) {
        const QString &a = args[i];
        if (const auto option = valueOption(args, i, QStringLiteral("--data-dir"))) {
            cl.dataDir = *option;
            if (cl.dataDir.isEmpty()) {
                cl.error = QStringLiteral("--data-dir needs a folder");
                return cl;
            }
        } else if (const auto option = valueOption(args, i, QStringLiteral("--metrics-address"))) {
            cl.metricsAddress = *option;
            if (cl.metricsAddress.isEmpty()) {
                cl.error = QStringLiteral("--metrics-address needs PORT or HOST:PORT");
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
        "  --metrics-address [HOST:]PORT\n"
        "                   serve Prometheus metrics at http://HOST:PORT/metrics\n"
        "                   (HOST defaults to 127.0.0.1; 0.0.0.0 serves every\n"
        "                   network; default: the MetricsAddress setting, else off)\n"
        "  -nosplash        no splash window\n"
        "  -minimize        start minimised\n"
        "  --version        print the version\n"
        "  --help           print this help\n");
}

} // namespace cz
