#include "app/AppMain.h"
#include "app/CommandLine.h"
#include "net/MetricsServer.h"

#include <QApplication>
#include <QCoreApplication>

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <sys/resource.h>

namespace {

// A window needs a display, or a platform chosen on purpose (offscreen).
bool displayAvailable()
{
    for (const char *name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
        if (const char *value = std::getenv(name); value && *value)
            return true;
    return false;
}

// Every device query, log line, mail script and metrics connection needs a
// file descriptor: take what the system allows this process, up to 65536.
void raiseOpenFileLimit()
{
    rlimit files{};
    if (::getrlimit(RLIMIT_NOFILE, &files) != 0)
        return;
    const rlim_t wanted = std::min<rlim_t>(files.rlim_max, 65536);
    if (files.rlim_cur < wanted) {
        files.rlim_cur = wanted;
        ::setrlimit(RLIMIT_NOFILE, &files);
    }
}

} // namespace

int main(int argc, char *argv[])
{
    QStringList args;
    for (int i = 1; i < argc; ++i)
        args.append(QString::fromLocal8Bit(argv[i]));
    const cz::CommandLine cl = cz::CommandLine::parse(args);
    if (!cl.error.isEmpty()) {
        std::fprintf(stderr, "corvanta-zephtra: %s\n%s", qPrintable(cl.error), qPrintable(cz::CommandLine::usage()));
        return 2;
    }
    if (cz::MetricsAddress address; !cl.metricsAddress.isEmpty()) {
        QString error;
        if (!cz::parseMetricsAddress(cl.metricsAddress, &address, &error)) {
            std::fprintf(stderr, "corvanta-zephtra: %s\n", qPrintable(error));
            return 2;
        }
    }
    if (cl.help) {
        std::fputs(qPrintable(cz::CommandLine::usage()), stdout);
        return 0;
    }
    if (cl.version) {
        std::puts("Corvanta Zephtra, Version " CORVANTA_VERSION "  (build 102612)");
        return 0;
    }
    raiseOpenFileLimit();
    const bool window = !cl.headless && displayAvailable();
    if (!cl.headless && !window)
        std::fputs("corvanta-zephtra: no display; running headless.\n", stderr);
    std::unique_ptr<QCoreApplication> application;
    if (window) {
        application = std::make_unique<QApplication>(argc, argv);
        // Desktops find the menu entry, and its icon, by this name.
        QGuiApplication::setDesktopFileName(QStringLiteral("com.corvanta.zephtra"));
    } else {
        application = std::make_unique<QCoreApplication>(argc, argv);
    }
    QCoreApplication::setApplicationName(QStringLiteral("Corvanta Zephtra"));
    QCoreApplication::setApplicationVersion(QStringLiteral(CORVANTA_VERSION));
    // Files and logs are written in the C locale whatever the user's is.
    std::setlocale(LC_NUMERIC, "C");
    return window ? runWindow(cl) : runHeadless(cl);
}
