// Full chart histories of 256 devices of 16 probes (ten temperatures, two
// humidity, two wetness, two switches) with readings as sensors give them,
// one sample every 30 s for 30 days. Reports what appending a reply's
// samples costs, the bytes a sample takes, times included, the cost of
// reading them back and of a month's chart columns, and the resident memory
// and start-up load of the whole program on a data folder that full.
#include "bench/BenchSupport.h"
#include "monitor/QueryCycle.h"
#include "store/DeviceStore.h"
#include "store/LogFiles.h"
#include "store/SystemClock.h"
#include "tests/support/SensorReadings.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>

#include <clocale>
#include <cstdlib>
#include <cstdio>
#include <memory>
#include <vector>

using namespace cz;

namespace {

constexpr int kDevices = 256;
constexpr int kProbes = 16;
constexpr int kInterval = 30;
constexpr std::int64_t kStart = 1794661509;

ProbeType typeOf(int probe)
{
    return probe < 10 ? ProbeType::Temperature : probe < 12 ? ProbeType::Humidity
           : probe < 14 ? ProbeType::Wetness : ProbeType::Switch;
}

std::vector<ProbeType> probeTypes()
{
    std::vector<ProbeType> types;
    for (int i = 0; i < kProbes; ++i)
        types.push_back(typeOf(i));
    return types;
}

// Sets the probe's current reading as a reply would.
void setReading(ProbeRecord &p, double v)
{
    switch (p.ProbeType) {
    case ProbeType::Temperature: p.CurrentTemp = v; break;
    case ProbeType::Humidity: p.CurrentHumidity = std::int32_t(v); break;
    case ProbeType::Wetness: p.CurrentWetness = std::int32_t(v); break;
    case ProbeType::Switch: p.SwitchState = std::int32_t(v); break;
    }
}

// The reading as the data file holds it.
QByteArray displayText(ProbeType type, double v)
{
    if (type == ProbeType::Switch)
        return v == kSwitchOpen ? "Open" : "Closed";
    return QByteArray::number(v, 'f', 1);
}

struct Site {
    std::vector<std::unique_ptr<DeviceRecord>> devices;
    std::vector<test::SensorReadings> readings;
};

Site makeSite()
{
    Site site;
    for (int d = 0; d < kDevices; ++d) {
        auto device = std::make_unique<DeviceRecord>();
        device->ProbeCount = kProbes;
        device->QueryInterval = kInterval;
        for (int i = 0; i < kProbes; ++i) {
            device->Probes[std::size_t(i)] = std::make_unique<ProbeRecord>();
            device->Probes[std::size_t(i)]->ProbeType = typeOf(i);
            device->Probes[std::size_t(i)]->ProbeEnabled = 1;
            site.readings.emplace_back(typeOf(i), std::uint64_t(d * kProbes + i));
        }
        site.devices.push_back(std::move(device));
    }
    return site;
}

// CPU seconds of process `pid` so far.
double cpuSeconds(qint64 pid)
{
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!stat.open(QIODevice::ReadOnly))
        return -1;
    const QByteArray text = stat.readAll();
    const QList<QByteArray> fields = text.mid(text.lastIndexOf(')') + 2).split(' ');
    return fields.size() > 12 ? double(fields[11].toLongLong() + fields[12].toLongLong()) / 100.0 : -1;
}

// Starts the program with its window (offscreen) on a data folder of
// `devices` devices with 30 days of data files, waits until it has read
// them and gone quiet, and reports its memory and how long that took.
void measureProgram(int devices)
{
    QTemporaryDir dir;
    const DataFolder folder{QFile::encodeName(dir.path())};
    QList<int> ports;
    for (int d = 0; d < devices; ++d)
        ports.append(1);  // nothing answers: every query fails at once
    bench::writeDataFolder(folder, ports, probeTypes());
    {
        EventLog log(SystemClock::instance());
        ProgramStatus status;
        DeviceStore store(folder, SystemClock::instance(), log, status);
        store.readProgramSettings();
        std::vector<test::SensorReadings> readings;
        for (int d = 0; d < devices; ++d)
            for (int i = 0; i < kProbes; ++i)
                readings.emplace_back(typeOf(i), std::uint64_t(d * kProbes + i));
        QElapsedTimer writing;
        writing.start();
        const std::int64_t now = QDateTime::currentSecsSinceEpoch();
        bench::writeDataFiles(store, devices, now, kInterval, 30, [&](int slot, int probe, std::int64_t) {
            return displayText(typeOf(probe), readings[std::size_t(slot * kProbes + probe)].next());
        });
        std::printf("program: data files of %d devices x %d probes x 30 days written in %.0f s\n", devices, kProbes,
                    double(writing.elapsed()) / 1000.0);
    }
    const QString program = qEnvironmentVariable("CORVANTA_PROGRAM",
                                                 QCoreApplication::applicationDirPath() + "/corvanta-zephtra");
    QProcess process;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("QT_QPA_PLATFORM", "offscreen");
    process.setProcessEnvironment(env);
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    QElapsedTimer since;
    since.start();
    process.start(program, {"-nosplash", "--data-dir", dir.path()});
    if (!process.waitForStarted()) {
        std::printf("program: %s did not start\n", qPrintable(program));
        return;
    }
    // Quiet: less than a tenth of a core over two seconds.
    double lastCpu = 0, quietSince = -1, loadedAt = 0;
    long peak = 0;
    while (since.elapsed() < 600000) {
        QThread::msleep(250);
        const double t = double(since.elapsed()) / 1000.0, cpu = cpuSeconds(process.processId());
        peak = std::max(peak, bench::residentKiB(process.processId()));
        const bool quiet = cpu - lastCpu < 0.025;
        lastCpu = cpu;
        if (!quiet) {
            quietSince = -1;
            continue;
        }
        if (quietSince < 0) {
            quietSince = t;
            loadedAt = t - 0.25;
        } else if (t - quietSince >= 2) {
            break;
        }
    }
    std::printf("program: histories read and quiet after %.1f s; resident %ld MiB (peak while loading %ld MiB)\n",
                loadedAt, bench::residentKiB(process.processId()) / 1024, peak / 1024);
    process.terminate();
    process.waitForFinished(120000);
}

} // namespace

int main(int argc, char **argv)
{
    std::setlocale(LC_NUMERIC, "C");
    QCoreApplication app(argc, argv);

    // --- Filling every history, one reply at a time -----------------------
    const long residentBefore = bench::residentKiB();
    Site site = makeSite();
    double appendNs = 0;
    std::vector<bool> answered(kDevices);
    std::uint64_t failures = 0;
    for (int k = 0; k < kHistoryLength; ++k) {
        for (int d = 0; d < kDevices; ++d) {
            // A failed query now and then leaves a gap.
            answered[std::size_t(d)] = (k + 131 * d) % 4999 != 0;
            failures += answered[std::size_t(d)] ? 0 : 1;
            for (int i = 0; i < kProbes; ++i)
                setReading(*site.devices[std::size_t(d)]->probe(i), site.readings[std::size_t(d * kProbes + i)].next());
        }
        const double t = double(kStart + std::int64_t(k) * kInterval);
        QElapsedTimer timer;
        timer.start();
        for (int d = 0; d < kDevices; ++d)
            appendHistorySample(*site.devices[std::size_t(d)], answered[std::size_t(d)], t);
        appendNs += double(timer.nsecsElapsed());
    }
    const double samples = double(kDevices) * kProbes * kHistoryLength;
    std::size_t timeBytes = 0, valueBytes[4] = {};
    for (const auto &d : site.devices) {
        timeBytes += d->Times.allocatedBytes();
        for (int i = 0; i < kProbes; ++i)
            valueBytes[int(typeOf(i))] += d->probe(i)->Values.allocatedBytes();
    }
    const double total = double(timeBytes + valueBytes[0] + valueBytes[1] + valueBytes[2] + valueBytes[3]);
    std::printf("histories: %d devices x %d probes x %d samples at %d s (%llu failed queries)\n", kDevices, kProbes,
                kHistoryLength, kInterval, static_cast<unsigned long long>(failures));
    std::printf("  append: %.1f ns a probe sample (a reply's samples, times included)\n", appendNs / samples);
    std::printf("  storage: %.1f MiB, %.3f bytes a sample (target at most 2, aim 1); temperatures %.3f, humidity "
                "%.3f, wetness %.3f, switches %.3f, times %.4f\n",
                total / 1048576.0, total / samples, double(valueBytes[0]) / (samples * 10 / 16),
                double(valueBytes[1]) / (samples * 2 / 16), double(valueBytes[2]) / (samples * 2 / 16),
                double(valueBytes[3]) / (samples * 2 / 16), double(timeBytes) / samples);
    std::printf("  resident memory of this process: %ld MiB more than before the histories\n",
                (bench::residentKiB() - residentBefore) / 1024);

    // --- Reading them back -------------------------------------------------
    QElapsedTimer timer;
    timer.start();
    double sum = 0;
    for (const auto &d : site.devices)
        for (int i = 0; i < kProbes; ++i)
            d->probe(i)->Values.forEach(0, ValueHistory::kNewest, [&](int, double v) { sum += v == kNoValue ? 0 : v; });
    std::printf("  reading every sample in order: %.2f ns a sample (checksum %.0f)\n",
                double(timer.nsecsElapsed()) / samples, sum);
    // A month's chart: the extremes of 850 columns of every probe of a device.
    std::vector<double> perDevice;
    for (const auto &d : site.devices) {
        timer.restart();
        for (int i = 0; i < kProbes; ++i) {
            ValueHistory::DecodedChunk decoded;
            for (int c = 0; c < 850; ++c)
                sum += d->probe(i)->Values.extremes(c * kHistoryLength / 850, (c + 1) * kHistoryLength / 850 - 1,
                                                    decoded).lowAt;
        }
        perDevice.push_back(double(timer.nsecsElapsed()) / 1e6);
    }
    std::printf("  a month's chart columns (850 a probe, 16 probes): median %.2f ms a device\n",
                bench::median(perDevice));
    site = Site();

    // --- The whole program on a data folder this full ---------------------
    const char *env = std::getenv("HISTORY_PROGRAM_DEVICES");
    const int programDevices = env ? std::atoi(env) : kDevices;
    if (programDevices > 0)
        measureProgram(std::min(programDevices, kMaxDevices));
    return 0;
}
