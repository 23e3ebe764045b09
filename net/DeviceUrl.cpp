#include "net/DeviceUrl.h"

#include "store/Records.h"

namespace cz {

bool isMultiSensorModel(const QByteArray &model)
{
    return model.compare("Model RM1", Qt::CaseInsensitive) == 0;
}

QByteArray pageUrl(const QByteArray &address, int port, const char *page)
{
    // The URL buffer holds 2048 characters.
    return ("http://" + address + ':' + QByteArray::number(port) + page).left(2047);
}

ProxySettings deviceProxy(const DeviceFields &device)
{
    if (!device.UseProxy)
        return {};
    return {device.ProxyServerAddress.bytes(), device.ProxyServerPort, device.ProxyServerUserName.bytes(),
            device.ProxyServerPassword.bytes()};
}

QByteArray readingsUrl(const DeviceFields &device)
{
    return pageUrl(device.DeviceAddress.bytes(), device.DevicePort,
                   isMultiSensorModel(device.DeviceModel.bytes()) ? "/data" : "/temp");
}

} // namespace cz
