// corvanta-devsim: simulated sensor devices on 127.0.0.1 for the demo, the
// tests and the benchmarks.
#include "tools/devsim/DemoHistory.h"
#include "tools/devsim/DeviceSimulator.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDateTime>

#include <cstdio>

using namespace devsim;


int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName("corvanta-devsim");
    QCommandLineParser parser;
    parser.setApplicationDescription(
        "Simulated sensor devices, each an HTTP server on its own port.\n"
        "Pages: /temp, /data (Model RM1), /config and /. The control port takes\n"
        "GET /devices, /fault, /probe, /device, /time and /requests.");
    parser.addHelpOption();
    const QCommandLineOption demo("demo", "The four demo devices on ports 18081 to 18084.");
    const QCommandLineOption config("config", "Devices from a JSON file (see tools/devsim/demo.json).", "file");
    const QCommandLineOption generate("generate", "Generate <n> devices.", "n");
    const QCommandLineOption probes("probes", "Probes per generated device (default 16).", "n", "16");
    const QCommandLineOption model("model", "Model of generated devices (default \"Model R16\").", "model",
                                   "Model R16");
    const QCommandLineOption basePort("base-port", "First port of generated devices; 0 picks free ports.", "port",
                                      "0");
    const QCommandLineOption host("host", "Address to listen on (default 127.0.0.1).", "address", "127.0.0.1");
    const QCommandLineOption controlPort("control-port", "Serve the control API on this port (0: a free one).",
                                         "port");
    const QCommandLineOption wallClock("wall-clock", "Scenarios run on seconds since 1970, so that daily ones follow the local "
                                          "clock (always so with --demo).");
    const QCommandLineOption history("write-history",
                                     "Write the data files of the hours before now for the devices of <folder> "
                                     "that these devices serve (matched by port), then exit.",
                                     "folder");
    const QCommandLineOption hours("hours", "Hours of history for --write-history (default 24).", "n", "24");
    parser.addOptions({demo, config, generate, probes, model, basePort, host, controlPort, wallClock, history, hours});
    parser.process(app);

    QList<SimDevice> devices;
    QString error;
    if (parser.isSet(demo) && !loadSimConfig(":/devsim/demo.json", devices, error)) {
        std::fprintf(stderr, "corvanta-devsim: %s\n", qPrintable(error));
        return 1;
    }
    if (parser.isSet(config) && !loadSimConfig(parser.value(config), devices, error)) {
        std::fprintf(stderr, "corvanta-devsim: %s\n", qPrintable(error));
        return 1;
    }
    const int generated = parser.value(generate).toInt();
    const int firstPort = parser.value(basePort).toInt();
    for (int i = 0; i < generated; ++i) {
        SimDevice d = SimDevice::generated(parser.value(model).toUtf8(), parser.value(probes).toInt(), i + 1);
        d.port = quint16(firstPort ? firstPort + i : 0);
        devices.append(d);
    }
    if (devices.isEmpty()) {
        std::fprintf(stderr, "corvanta-devsim: no devices; give --demo, --config or --generate\n");
        return 2;
    }

    if (parser.isSet(history)) {
        cz::PastDataReport report;
        const int written = writeDemoHistory(parser.value(history), devices, QDateTime::currentSecsSinceEpoch(),
                                             parser.value(hours).toInt(), error, report);
        for (const QString &path : report.extended)
            std::printf("kept every line of %s, earlier lines added before them\n", qPrintable(path));
        for (const QString &path : report.left)
            std::printf("left %s as it was\n", qPrintable(path));
        if (written < 0) {
            std::fprintf(stderr, "corvanta-devsim: %s\n", qPrintable(error));
            return 1;
        }
        std::printf("history written for %d devices: %lld lines, %d new files, %lld files extended, %lld left as "
                    "they were\n",
                    written, report.linesWritten, report.filesCreated, qlonglong(report.extended.size()),
                    qlonglong(report.left.size()));
        return 0;
    }

    DeviceSimulator simulator{QHostAddress(parser.value(host))};
    if (parser.isSet(demo) || parser.isSet(wallClock))
        simulator.setTimeOffset(double(QDateTime::currentMSecsSinceEpoch()) / 1000.0);
    for (const SimDevice &d : devices) {
        const int index = simulator.addDevice(d);
        if (index < 0) {
            std::fprintf(stderr, "corvanta-devsim: %s\n", qPrintable(simulator.errorString()));
            return 1;
        }
        std::printf("%u %s %s\n", simulator.port(index), d.model.constData(), d.name.constData());
    }
    if (parser.isSet(controlPort)) {
        const quint16 port = simulator.listenControl(quint16(parser.value(controlPort).toUInt()));
        if (!port) {
            std::fprintf(stderr, "corvanta-devsim: %s\n", qPrintable(simulator.errorString()));
            return 1;
        }
        std::printf("control %u\n", port);
    }
    std::printf("ready\n");
    std::fflush(stdout);
    return app.exec();
}
