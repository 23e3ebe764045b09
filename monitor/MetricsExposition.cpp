#include "monitor/MetricsExposition.h"

#include "monitor/QueryCycle.h"
#include "store/DeviceStore.h"
#include "store/Records.h"

#include <QLocale>
#include <QSet>
#include <QString>

#include <optional>
#include <vector>

namespace cz {

namespace {

QByteArray number(double v)
{
    return QByteArray::number(v, 'g', QLocale::FloatingPointShortest);
}

// Writes one family: its HELP and TYPE lines, then its samples.
class Family {
public:
    Family(QByteArray &out, const char *name, const char *type, const char *help) : out_(out), name_(name)
    {
        out_ += QByteArray("# HELP ") + name + ' ' + help + "\n# TYPE " + name + ' ' + type + '\n';
    }
    // `labels` is the text between the braces, empty for none.
    void sample(const QByteArray &labels, const QByteArray &value)
    {
        out_ += name_;
        if (!labels.isEmpty())
            out_ += '{' + labels + '}';
        out_ += ' ' + value + '\n';
    }

private:
    QByteArray &out_;
    const char *name_;
};

const char *typeLabel(ProbeType type)
{
    switch (type) {
    case ProbeType::Temperature: return "temperature";
    case ProbeType::Humidity: return "humidity";
    case ProbeType::Wetness: return "wetness";
    case ProbeType::Switch: return "switch";
    }
    return "unknown";
}

const char *unitsLabel(const ProbeRecord &p)
{
    switch (p.ProbeType) {
    case ProbeType::Temperature:
        switch (p.DisplayUnits) {
        case DisplayUnits::F: return "fahrenheit";
        case DisplayUnits::C: return "celsius";
        case DisplayUnits::K: return "kelvin";
        case DisplayUnits::R: return "rankine";
        }
        return "unknown";
    case ProbeType::Humidity:
    case ProbeType::Wetness: return "percent";
    case ProbeType::Switch: return "closed";
    }
    return "unknown";
}

// The probe's reading in its own units (a switch: 1 closed, 0 open); none
// for a disabled probe, which the probe list shows as "n/a" too.
std::optional<double> probeValue(const ProbeRecord &p)
{
    if (!p.ProbeEnabled)
        return std::nullopt;
    switch (p.ProbeType) {
    case ProbeType::Temperature:
        return p.CurrentTemp == kNoTemp ? std::nullopt : std::optional<double>(p.CurrentTemp);
    case ProbeType::Humidity:
        return p.CurrentHumidity == kNoReading ? std::nullopt : std::optional<double>(p.CurrentHumidity);
    case ProbeType::Wetness:
        return p.CurrentWetness == kNoReading ? std::nullopt : std::optional<double>(p.CurrentWetness);
    case ProbeType::Switch:
        if (p.SwitchState == kSwitchUnknown)
            return std::nullopt;
        return p.SwitchState == kSwitchClosed ? 1.0 : 0.0;
    }
    return std::nullopt;
}

struct DeviceLine {
    int slot;
    QByteArray labels;  // device="..."
};

// Device names are unique in a data folder; a damaged folder may still
// hold two alike, and a page with a series twice is refused whole.
std::vector<DeviceLine> deviceLines(const DeviceStore &store)
{
    std::vector<DeviceLine> lines;
    QSet<QByteArray> seen;
    for (int slot = 0; slot < store.deviceCount(); ++slot) {
        QByteArray name = metricsLabelValue(store.device(slot)->DeviceName.bytes());
        if (seen.contains(name))
            name += " (" + QByteArray::number(slot + 1) + ')';
        seen.insert(name);
        lines.push_back({slot, "device=\"" + name + '"'});
    }
    return lines;
}

} // namespace

QByteArray metricsLabelValue(const QByteArray &text)
{
    const QByteArray utf8 = QString::fromUtf8(text).toUtf8();
    QByteArray out;
    out.reserve(utf8.size());
    for (const char c : utf8) {
        if (c == '\\' || c == '"')
            out += '\\';
        if (c == '\n')
            out += "\\n";
        else
            out += c;
    }
    return out;
}

QByteArray metricsExposition(const DeviceStore &store, const QueryCycle &cycle, const ProgramMetrics &program)
{
    QByteArray out;
    out.reserve(4096 + store.deviceCount() * 4096);

    Family(out, "corvanta_build_info", "gauge", "Always 1; the version label says which program this is.")
        .sample("version=\"" + metricsLabelValue(program.version) + '"', "1");
    Family(out, "corvanta_start_time_seconds", "gauge", "When the program started, in seconds since 1970.")
        .sample({}, number(program.startTime));
    Family(out, "corvanta_devices", "gauge", "Devices registered in this program's data folder.")
        .sample({}, QByteArray::number(store.deviceCount()));
    Family(out, "corvanta_email_queue_length", "gauge", "E-mails (alerts and tests) waiting or being sent.")
        .sample({}, QByteArray::number(program.emailQueueLength));
    Family(out, "corvanta_emails_sent_total", "counter",
           "E-mails (alerts and tests) whose mail script ended with exit code 0.")
        .sample({}, QByteArray::number(program.emailsSent));
    Family(out, "corvanta_emails_failed_total", "counter",
           "E-mails (alerts and tests) that could not be written, started or sent, or ran past their time limit.")
        .sample({}, QByteArray::number(program.emailsFailed));

    const std::vector<DeviceLine> devices = deviceLines(store);
    std::vector<QueryStats> stats;
    quint64 failureAlerts = 0;
    for (const DeviceLine &d : devices) {
        stats.push_back(cycle.stats(d.slot));
        failureAlerts += stats.back().failureAlerts;
    }
    {
        Family f(out, "corvanta_alerts_total", "counter",
                 "Alerts raised, by kind: probe alarm, caution and clear, and device query failure.");
        f.sample("kind=\"alarm\"", QByteArray::number(program.alerts.alarm));
        f.sample("kind=\"caution\"", QByteArray::number(program.alerts.caution));
        f.sample("kind=\"clear\"", QByteArray::number(program.alerts.clear));
        f.sample("kind=\"query_failure\"", QByteArray::number(failureAlerts));
    }

    // Per device, one family at a time.
    auto eachDevice = [&](const char *name, const char *type, const char *help, auto value) {
        Family f(out, name, type, help);
        for (std::size_t i = 0; i < devices.size(); ++i)
            f.sample(devices[i].labels, value(*store.device(devices[i].slot), stats[i]));
    };
    eachDevice("corvanta_device_up", "gauge", "1 when the device's last query was answered with readings, else 0.",
               [](const DeviceRecord &, const QueryStats &s) { return QByteArray(s.lastSucceeded ? "1" : "0"); });
    eachDevice("corvanta_device_last_contact_timestamp_seconds", "gauge",
               "When the device's last query began, answered or not, in seconds since 1970.",
               [](const DeviceRecord &d, const QueryStats &) {
                   return QByteArray::number(qint64(d.LastContactTimeVal));
               });
    eachDevice("corvanta_device_queries_total", "counter", "Queries of the device that have ended, answered or not.",
               [](const DeviceRecord &, const QueryStats &s) { return QByteArray::number(s.queries); });
    eachDevice("corvanta_device_failed_attempts_total", "counter",
               "Attempts to reach the device that failed; three failed attempts end a query.",
               [](const DeviceRecord &, const QueryStats &s) { return QByteArray::number(s.failedAttempts); });
    eachDevice("corvanta_device_last_query_duration_seconds", "gauge",
               "How long the device's last query took, its failed attempts included.",
               [](const DeviceRecord &, const QueryStats &s) { return number(s.lastDurationSeconds); });

    // Per probe: the label set is built once.
    struct ProbeLine {
        const ProbeRecord *probe;
        QByteArray labels;
    };
    std::vector<ProbeLine> probes;
    for (const DeviceLine &d : devices) {
        const DeviceRecord &device = *store.device(d.slot);
        for (int i = 0; i < device.probeSlots(); ++i) {
            const ProbeRecord *p = device.probe(i);
            if (!p)
                continue;
            probes.push_back({p, d.labels + ",probe=\"" + QByteArray::number(i + 1) + "\",name=\"" +
                                     metricsLabelValue(p->ProbeName.bytes()) + "\",group=\"" +
                                     metricsLabelValue(p->GroupName.bytes()) + "\",type=\"" +
                                     typeLabel(p->ProbeType) + "\",units=\"" + unitsLabel(*p) + '"'});
        }
    }
    {
        Family f(out, "corvanta_probe_value", "gauge",
                 "The probe's last reading in the units of its units label (a switch: 1 closed, 0 open); "
                 "absent while the probe has none or is disabled.");
        for (const ProbeLine &p : probes)
            if (const std::optional<double> v = probeValue(*p.probe))
                f.sample(p.labels, number(*v));
    }
    {
        Family f(out, "corvanta_probe_clear_margin", "gauge",
                 "How far inside a threshold a reading must come back before the probe leaves alarm or caution, "
                 "in the units of its units label (0: at the threshold); absent for a switch.");
        for (const ProbeLine &p : probes)
            if (p.probe->ProbeType != ProbeType::Switch)
                f.sample(p.labels, number(p.probe->ClearMargin > 0 ? p.probe->ClearMargin : 0));
    }
    auto eachProbe = [&](const char *name, const char *help, auto value) {
        Family f(out, name, "gauge", help);
        for (const ProbeLine &p : probes)
            f.sample(p.labels, QByteArray::number(value(*p.probe)));
    };
    eachProbe("corvanta_probe_alarm_state",
              "0 normal, 1 high alarm, 2 high caution, 3 low caution, 4 low alarm (a switch in alarm: 1).",
              [](const ProbeRecord &p) { return int(p.AlarmState); });
    eachProbe("corvanta_probe_consecutive_alarms", "Consecutive out-of-range readings of the probe.",
              [](const ProbeRecord &p) { return p.ConsecutiveAlarmCount; });
    eachProbe("corvanta_probe_enabled", "1 when the probe is enabled, else 0.",
              [](const ProbeRecord &p) { return p.ProbeEnabled ? 1 : 0; });
    return out;
}

} // namespace cz
