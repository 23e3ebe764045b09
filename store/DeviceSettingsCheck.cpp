#include "store/DeviceSettingsCheck.h"

#include "store/DeviceFile.h"
#include "store/DeviceStore.h"

namespace cz {

namespace {

bool hasBlankOrControl(const QByteArray &text)
{
    return text.contains(' ') || withoutControlCharacters(text) != text;
}

QString portProblem(const char *label, int port)
{
    if (port >= 1 && port <= 65535)
        return {};
    return QStringLiteral("\"%1\" must be a port number from 1 to 65535.").arg(QLatin1String(label));
}

} // namespace

QString deviceSettingsProblem(const DeviceStore &store, int slot, const DeviceRecord &device)
{
    const QByteArray name = device.DeviceName.bytes();
    if (name.trimmed().isEmpty())
        return QStringLiteral("\"Device Name:\" is empty. Please enter a name for this device.");
    const char first = name.front(), last = name.back();
    if (first == ' ' || first == '\t' || last == ' ' || last == '\t' ||
        (name.size() >= 2 && (first == '"' || first == '\'') && last == first))
        return QStringLiteral("\"Device Name:\" may not begin or end with a blank, nor be enclosed in quotes: the "
                              "device list would not give the name back as it was typed.");
    const QString nameProblem = deviceNameProblem(name);
    if (!nameProblem.isEmpty())
        return QStringLiteral("\"Device Name:\" ") + nameProblem;
    const QString shownName = QString::fromUtf8(name);
    for (int other = 0; other < store.deviceCount(); ++other) {
        const DeviceRecord *d = store.device(other);
        if (other != slot && d && shownName.compare(d->DeviceName.str(), Qt::CaseInsensitive) == 0)
            return QStringLiteral("\"Device Name:\" Another device is already named \"%1\"; its files would be "
                                  "overwritten. Please choose another name.")
                .arg(d->DeviceName.str());
    }
    const QByteArray address = device.DeviceAddress.bytes();
    if (address.isEmpty())
        return QStringLiteral("\"The IP address or domain name for this device:\" is empty. Please enter the "
                              "device's address.");
    if (hasBlankOrControl(address))
        return QStringLiteral("\"The IP address or domain name for this device:\" may not contain blanks or "
                              "control characters.");
    QString problem = portProblem("Internet query port (normally port 80):", device.DevicePort);
    if (problem.isEmpty() && device.UseProxy) {
        if (hasBlankOrControl(device.ProxyServerAddress.bytes()))
            return QStringLiteral("\"Proxy server IP address or domain name:\" may not contain blanks or "
                                  "control characters.");
        problem = portProblem("Proxy server port:", device.ProxyServerPort);
    }
    if (!problem.isEmpty())
        return problem;
    if (device.ProbeCount < 1 || device.ProbeCount > kMaxProbes)
        return QStringLiteral("A device has 1 to %1 probes; this one is set to %2.")
            .arg(kMaxProbes)
            .arg(device.ProbeCount);
    return {};
}

} // namespace cz
