// The control API: plain GET requests that tests and scripts send to change
// devices while they run. Every answer is text; errors answer 400.
//
//   /devices                              every device as JSON
//   /fault?port=P&kind=K[&ms=N]           K: none refuse hang slow truncate long http500 garbage reset bare
//   /drop?port=P&count=N                  close the next N requests unanswered
//   /probe?port=P&probe=N[&kind=..&value=..&rate=..&amplitude=..&period=..&at=..&after=..&peak=..&ripple=..&duration=..&name=..&type=..]
//   /device?port=P[&units=C&name=..&model=..]
//   /time?offset=S | /time?freeze=S       scenario time
//   /requests?port=P[&clear=1]            request lines the device received
#include "tools/devsim/DeviceSimulator.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QUrlQuery>

namespace devsim {

QByteArray DeviceSimulator::control(const SimRequest &request, bool &ok)
{
    const QUrlQuery query(QString::fromUtf8(request.query));
    auto arg = [&](const char *key) { return query.queryItemValue(key, QUrl::FullyDecoded); };
    const int index = query.hasQueryItem("port") ? indexOfPort(quint16(arg("port").toUInt())) : -1;
    ok = false;
    if (request.path == "/devices") {
        QJsonArray list;
        for (int i = 0; i < deviceCount(); ++i) {
            QJsonObject json = device(i).toJson();
            json["requests"] = int(requests(i).size());
            list.append(json);
        }
        ok = true;
        return QJsonDocument(list).toJson(QJsonDocument::Compact) + '\n';
    }
    if (request.path == "/time") {
        if (query.hasQueryItem("offset"))
            setTimeOffset(arg("offset").toDouble());
        if (query.hasQueryItem("freeze"))
            freezeTime(arg("freeze").toDouble());
        ok = true;
        return QByteArray::number(time()) + '\n';
    }
    if (index < 0)
        return "unknown device: give port=<port of a simulated device>\n";
    SimDevice &d = device(index);
    if (request.path == "/fault") {
        Fault fault;
        if (!faultFromName(arg("kind").toUtf8(), fault))
            return "unknown fault kind\n";
        setFault(index, fault, query.hasQueryItem("ms") ? arg("ms").toInt() : -1);
    } else if (request.path == "/drop") {
        d.dropNext = arg("count").toInt();
    } else if (request.path == "/probe") {
        const int probe = arg("probe").toInt() - 1;
        if (probe < 0 || probe >= d.probes.size())
            return "unknown probe: give probe=1..count\n";
        SimProbe &p = d.probes[probe];
        QJsonObject json = p.scenario.toJson();
        for (const char *key : {"value", "rate", "amplitude", "period", "at", "after", "peak", "ripple", "duration"}) {
            if (query.hasQueryItem(key))
                json[key] = arg(key).toDouble();
        }
        if (query.hasQueryItem("kind"))
            json["kind"] = arg("kind");
        p.scenario = Scenario::fromJson(json);
        if (query.hasQueryItem("name"))
            p.name = arg("name").toUtf8();
        if (query.hasQueryItem("type"))
            p.kind = probeKindFromName(arg("type"));
    } else if (request.path == "/device") {
        if (query.hasQueryItem("units") && !arg("units").isEmpty())
            d.units = arg("units").at(0).toLatin1();
        if (query.hasQueryItem("name"))
            d.name = arg("name").toUtf8();
        if (query.hasQueryItem("model"))
            d.model = arg("model").toUtf8();
    } else if (request.path == "/requests") {
        QByteArray lines;
        for (const SimRequest &r : requests(index))
            lines += r.requestLine + '\n';
        if (arg("clear") == QLatin1String("1"))
            clearRequests(index);
        ok = true;
        return lines;
    } else {
        return "unknown command\n";
    }
    ok = true;
    return "ok\n";
}

} // namespace devsim
