#include "net/ReplyParser.h"

#include "net/DeviceUrl.h"
#include "store/CFormat.h"

namespace cz {

QByteArray convertTemperatureText(DisplayUnits from, DisplayUnits to, const QByteArray &valueText)
{
    const double x = parseDouble(valueText);
    double y = x;
    const int f = int(from), t = int(to);
    if (f >= 0 && f <= 3 && t >= 0 && t <= 3 && f != t) {
        // Rows: from F, C, K, R; columns: to F, C, K, R. Kelvin to
        // Fahrenheit subtracts 491.67, as the devices' own software does.
        switch (f * 4 + t) {
        case 0 * 4 + 1: y = (x - 32) * 5 / 9; break;
        case 0 * 4 + 2: y = (x + 459.67) * 5 / 9; break;
        case 0 * 4 + 3: y = x + 459.67; break;
        case 1 * 4 + 0: y = x * 9 / 5 + 32; break;
        case 1 * 4 + 2: y = x + 273.15; break;
        case 1 * 4 + 3: y = x * 9 / 5 + 491.67; break;
        case 2 * 4 + 0: y = x * 9 / 5 - 491.67; break;
        case 2 * 4 + 1: y = x - 273.15; break;
        case 2 * 4 + 3: y = x * 9 / 5; break;
        case 3 * 4 + 0: y = x - 459.67; break;
        case 3 * 4 + 1: y = x * 5 / 9 - 273.15; break;
        case 3 * 4 + 2: y = x * 5 / 9; break;
        }
    }
    return formatFixed(y, 1);
}

QByteArray probeDisplayText(ProbeType type, const QByteArray &field)
{
    if (type == ProbeType::Switch)
        return parseInt32(field) < 0 ? "Open" : "Closed";
    // Humidity and wetness are kept as whole numbers but shown with the
    // decimal the device sent.
    return formatFixed(parseDouble(field), 1);
}

ParsedReply parseDeviceReply(const DeviceRecord &device, const QByteArray &reply)
{
    ParsedReply parsed;
    const bool multiSensor = isMultiSensorModel(device.DeviceModel.bytes());
    const int count = device.probeSlots();
    qsizetype search = 0;
    for (int i = 0; i < count; ++i) {
        const qsizetype bar = reply.indexOf('|', search);
        if (bar < 0)
            return parsed;
        const qsizetype end = i == count - 1 ? reply.size() : reply.indexOf('|', bar + 1);
        if (end <= 0)
            return parsed;
        QByteArray field = reply.mid(bar + 1, end - bar - 1).trimmed();
        // "/data" has one field per probe, "/temp" a name field before each value.
        search = multiSensor ? end : end + 1;
        const ProbeRecord *probe = device.probe(i);
        if (!probe)
            field.clear();
        else if (probe->ProbeType == ProbeType::Temperature && probe->DisplayUnits != device.DisplayUnits)
            field = convertTemperatureText(device.DisplayUnits, probe->DisplayUnits, field);
        parsed.fields.push_back(field);
    }
    parsed.complete = true;
    return parsed;
}

} // namespace cz
