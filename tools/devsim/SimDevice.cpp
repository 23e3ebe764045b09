#include "tools/devsim/SimDevice.h"

#include <QDateTime>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

#include <cmath>
#include <numbers>

namespace devsim {

namespace {

constexpr const char *kFaultNames[] = {"none", "refuse", "hang", "slow", "truncate",
                                       "long", "http500", "garbage", "reset", "bare",
                                       "trickle", "nul", "huge", "stall"};
constexpr const char *kKindNames[] = {"constant", "drift", "sine", "step", "toggle", "daily", "defrost", "door"};
constexpr const char *kProbeKindNames[] = {"Temperature", "Humidity", "Wetness", "Switch"};

QByteArray number(double v)
{
    return QByteArray::number(v, 'f', 1);
}

} // namespace

double Scenario::valueAt(double t) const
{
    switch (kind) {
    case Kind::Constant: return value;
    case Kind::Drift: return value + rate * t / 60.0;
    case Kind::Sine: return value + amplitude * std::sin(2 * std::numbers::pi * t / (period > 0 ? period : 60));
    case Kind::Step: return t < at ? value : after;
    case Kind::Toggle: return int(std::floor(t / (period > 0 ? period : 60))) % 2 == 0 ? 1 : -1;
    case Kind::Daily: {
        const QDateTime local = QDateTime::fromMSecsSinceEpoch(qint64(t * 1000));
        const double hour = local.time().msecsSinceStartOfDay() / 3600000.0;
        return value + amplitude * std::cos(2 * std::numbers::pi * (hour - peak) / 24) +
               ripple * std::sin(2 * std::numbers::pi * t / (period > 0 ? period : 60));
    }
    case Kind::Defrost: {
        const double p = period > 0 ? period : 21600;
        const double phase = std::fmod(std::fmod(t - at, p) + p, p);
        const double wobble = amplitude * std::sin(2 * std::numbers::pi * t / 900);
        if (duration > 0 && phase < duration)
            return value + wobble + (after - value) * std::sin(std::numbers::pi * phase / duration);
        return value + wobble;
    }
    case Kind::Door: {
        const double p = period > 0 ? period : 3600;
        const qint64 slot = qint64(std::floor((t - at) / p));
        const double phase = t - at - double(slot) * p;
        return slot % 3 != 2 && phase < duration ? -1 : 1;
    }
    }
    return value;
}

Scenario Scenario::fromJson(const QJsonObject &json)
{
    Scenario s;
    const QString kind = json.value("kind").toString("constant");
    for (int i = 0; i < int(std::size(kKindNames)); ++i) {
        if (kind == QLatin1String(kKindNames[i]))
            s.kind = Kind(i);
    }
    s.value = json.value("value").toDouble(s.value);
    s.rate = json.value("rate").toDouble(s.rate);
    s.amplitude = json.value("amplitude").toDouble(s.amplitude);
    s.period = json.value("period").toDouble(s.period);
    s.at = json.value("at").toDouble(s.at);
    s.after = json.value("after").toDouble(s.after);
    s.peak = json.value("peak").toDouble(s.peak);
    s.ripple = json.value("ripple").toDouble(s.ripple);
    s.duration = json.value("duration").toDouble(s.duration);
    return s;
}

QJsonObject Scenario::toJson() const
{
    return {{"kind", kKindNames[int(kind)]}, {"value", value}, {"rate", rate}, {"amplitude", amplitude},
            {"period", period}, {"at", at}, {"after", after}, {"peak", peak}, {"ripple", ripple},
            {"duration", duration}};
}

ProbeKind probeKindFromName(const QString &name)
{
    for (int i = 0; i < int(std::size(kProbeKindNames)); ++i) {
        if (name.compare(QLatin1String(kProbeKindNames[i]), Qt::CaseInsensitive) == 0)
            return ProbeKind(i);
    }
    return ProbeKind::Temperature;
}

const char *faultName(Fault fault)
{
    return kFaultNames[int(fault)];
}

bool faultFromName(const QByteArray &name, Fault &fault)
{
    for (int i = 0; i < int(std::size(kFaultNames)); ++i) {
        if (name == kFaultNames[i]) {
            fault = Fault(i);
            return true;
        }
    }
    return false;
}

bool SimDevice::multiSensor() const
{
    return model.compare("Model RM1", Qt::CaseInsensitive) == 0;
}

bool SimDevice::pModel() const
{
    return model.toUpper().startsWith("MODEL P");
}

QByteArray SimDevice::valueText(const SimProbe &probe, double t) const
{
    const double v = probe.scenario.valueAt(t);
    if (probe.kind == ProbeKind::Switch)
        return v < 0 ? "-1" : "1";
    return number(v);
}

QByteArray SimDevice::page(const QByteArray &path, double t) const
{
    QByteArray body;
    if (path == "/temp") {
        // A name field, then the value, per probe.
        for (const SimProbe &p : probes)
            body += (body.isEmpty() ? "" : "|") + p.name + '|' + valueText(p, t);
    } else if (path == "/data") {
        body = QByteArray(1, units);
        for (const SimProbe &p : probes)
            body += '|' + valueText(p, t);
    } else if (path == "/config") {
        body = serial + '|' + name + '|' + model + '|' + QByteArray::number(probes.size());
        if (multiSensor()) {
            // Firmware, then per group its name and three (id, name) pairs;
            // groups after the first are introduced by their own id field.
            body += '|' + firmware;
            for (int g = 0; g < 4; ++g) {
                body += (g ? "|G" + QByteArray::number(g + 1) + '|' : QByteArray("|")) + groupNames.value(g);
                for (int s = 0; s < 3; ++s) {
                    const int i = 3 * g + s;
                    body += '|' + QByteArray::number(i + 1) + '|' + (i < probes.size() ? probes[i].name : QByteArray());
                }
            }
        } else {
            for (int i = 0; i < probes.size(); ++i)
                body += '|' + QByteArray::number(i + 1) + '|' + probes[i].name;
        }
    } else if (path == "/" || path == "/index.html") {
        body = "<html><head><title>" + model + "</title></head><body><h1>" + name + "</h1><table>\r\n";
        for (const SimProbe &p : probes) {
            const bool temp = p.kind == ProbeKind::Temperature;
            body += "<tr><td>" + p.name + "</td><td>" + valueText(p, t) + (temp ? "&deg;" + QByteArray(1, units) : "") +
                    "</td></tr>\r\n";
        }
        body += "</table></body></html>\r\n";
    }
    return body;
}

SimDevice SimDevice::fromJson(const QJsonObject &json)
{
    SimDevice d;
    d.port = quint16(json.value("port").toInt(0));
    d.model = json.value("model").toString("Model R4").toUtf8();
    d.name = json.value("name").toString("Device").toUtf8();
    d.serial = json.value("serial").toString("SN0001").toUtf8();
    d.firmware = json.value("firmware").toString("2.1").toUtf8();
    const QString units = json.value("units").toString("F");
    d.units = units.isEmpty() ? 'F' : units.at(0).toLatin1();
    if (json.contains("groups")) {
        d.groupNames.clear();
        for (const QJsonValue &g : json.value("groups").toArray())
            d.groupNames.append(g.toString().toUtf8());
    }
    for (const QJsonValue &v : json.value("probes").toArray()) {
        const QJsonObject p = v.toObject();
        SimProbe probe;
        probe.name = p.value("name").toString().toUtf8();
        probe.kind = probeKindFromName(p.value("type").toString());
        probe.scenario = Scenario::fromJson(p.value("scenario").toObject());
        d.probes.append(probe);
    }
    faultFromName(json.value("fault").toString("none").toUtf8(), d.fault);
    d.faultMs = json.value("faultMs").toInt(d.faultMs);
    return d;
}

QJsonObject SimDevice::toJson() const
{
    QJsonArray probeList;
    for (const SimProbe &p : probes)
        probeList.append(QJsonObject{{"name", QString::fromUtf8(p.name)},
                                     {"type", kProbeKindNames[int(p.kind)]},
                                     {"scenario", p.scenario.toJson()}});
    return {{"port", port}, {"model", QString::fromUtf8(model)}, {"name", QString::fromUtf8(name)},
            {"serial", QString::fromUtf8(serial)}, {"units", QString(QChar(units))}, {"fault", faultName(fault)},
            {"faultMs", faultMs}, {"probes", probeList}};
}

SimDevice SimDevice::generated(const QByteArray &model, int probeCount, int number)
{
    SimDevice d;
    d.model = model;
    d.name = "Sim " + QByteArray::number(number);
    d.serial = "SIM" + QByteArray::number(10000 + number);
    for (int i = 0; i < probeCount; ++i) {
        SimProbe p;
        p.name = "Probe " + QByteArray::number(i + 1);
        if (d.multiSensor())
            p.kind = ProbeKind(i % 3);
        p.scenario.value = p.kind == ProbeKind::Temperature ? 68 + (i + number) % 7 : 45;
        d.probes.append(p);
    }
    return d;
}

bool loadSimConfig(const QString &path, QList<SimDevice> &devices, QString &error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        error = QStringLiteral("cannot read %1: %2").arg(path, file.errorString());
        return false;
    }
    QJsonParseError parseError;
    const QJsonDocument doc = QJsonDocument::fromJson(file.readAll(), &parseError);
    if (!doc.isObject()) {
        error = QStringLiteral("%1: not a device list (%2)").arg(path, parseError.errorString());
        return false;
    }
    for (const QJsonValue &v : doc.object().value("devices").toArray())
        devices.append(SimDevice::fromJson(v.toObject()));
    return true;
}


} // namespace devsim
