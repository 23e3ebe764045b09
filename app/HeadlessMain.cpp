// The program without a window: status lines and alarm events on stdout,
// messages on stderr, SIGTERM or SIGINT for a saving shutdown.
#include "app/AppMain.h"
#include "app/Engine.h"
#include "app/TerminationSignals.h"
#include "store/CFormat.h"
#include "store/SystemClock.h"
#include "ui/SoundEffectPlayer.h"

#include <QCoreApplication>
#include <QTextStream>

#include <cstdio>

namespace {


QString oneLine(QString text)
{
    return text.replace(QLatin1Char('\n'), QLatin1Char(' ')).simplified();
}

void printLoaded(const cz::DeviceStore &state)
{
    QTextStream out(stdout);
    out << "Data folder: " << QString::fromUtf8(state.folder().root) << '\n';
    out << "Devices loaded: " << state.deviceCount() << '\n';
    for (int slot = 0; slot < state.deviceCount(); ++slot) {
        const cz::DeviceRecord &d = *state.device(slot);
        int enabled = 0;
        for (int i = 0; i < d.probeSlots(); ++i)
            enabled += d.probe(i) && d.probe(i)->ProbeEnabled ? 1 : 0;
        // One pass over the pattern: a "%1" in a name stays as typed.
        out << QStringLiteral("  %1. %2 (%3) at %4:%5, %6 probes (%7 enabled), every %8 s, logging %9\n")
                   .arg(QString::number(slot + 1), d.DeviceName.str(),
                        d.DeviceModel.empty() ? QStringLiteral("no model") : d.DeviceModel.str(),
                        d.DeviceAddress.str(), QString::number(d.DevicePort), QString::number(d.ProbeCount),
                        QString::number(enabled), QString::number(d.QueryInterval),
                        d.LoggingEnabled ? QStringLiteral("on") : QStringLiteral("off"));
    }
    out.flush();
}

} // namespace

int runHeadless(const cz::CommandLine &cl)
{
    cz::SoundEffectPlayer sound;
    cz::Engine engine(cl, QCoreApplication::applicationDirPath(), cz::SystemClock::instance(), sound);
    cz::DeviceStore &state = engine.store();
    QObject::connect(&engine.status(), &cz::ProgramStatus::message, [](cz::MessageIcon, const QString &text) {
        std::fprintf(stderr, "%s\n", qPrintable(oneLine(text)));
    });

    QString lockError;
    if (!engine.takeInstanceLock(&lockError)) {
        std::fprintf(stderr, "%s\n", qPrintable(lockError));
        return 1;
    }

    cz::TerminationSignals termination;
    QObject::connect(&termination, &cz::TerminationSignals::received, QCoreApplication::instance(), [&engine] {
        engine.shutDown();
        QCoreApplication::exit(0);
    });

    engine.startUp();
    printLoaded(state);
    std::puts("Press Ctrl+C (or send SIGTERM) to save the settings and device files and exit.");
    std::fflush(stdout);
    // Every alarm event as the probe's event log gets it.
    QObject::connect(&engine.evaluation(), &cz::AlarmEvaluation::eventLogged, [&state](int slot, int probeIndex,
                                                                                        const QByteArray &message) {
        const cz::DeviceRecord *d = state.device(slot);
        const cz::ProbeRecord *p = d ? d->probe(probeIndex) : nullptr;
        if (!p)
            return;
        std::printf("%s %s probe %02d (%s): %s\n", cz::clockText(state.clock().now()).constData(),
                    d->DeviceName.bytes().constData(), probeIndex + 1, p->ProbeName.bytes().constData(),
                    message.constData());
        std::fflush(stdout);
    });

    QObject::connect(&engine.status(), &cz::ProgramStatus::changed, [last = QString()](const QString &status) mutable {
        if (status == last)
            return;
        last = status;
        std::printf("%s\n", qPrintable(status));
        std::fflush(stdout);
    });

    engine.startMonitoring();
    if (const cz::MetricsServer *metrics = engine.metrics()) {
        std::printf("Metrics: %s\n", qPrintable(metrics->url()));
        std::fflush(stdout);
    }
    return QCoreApplication::exec();
}
