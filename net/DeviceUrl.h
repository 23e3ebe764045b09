// Addresses of a device's pages, and the proxy they are reached through.
#pragma once

#include "net/HttpSession.h"

#include <QByteArray>

namespace cz {

struct DeviceFields;

// True for the combined sensor model, whatever the case of its name.
bool isMultiSensorModel(const QByteArray &model);
// "http://<address>:<port>/data" for the combined sensor model,
// "http://<address>:<port>/temp" for every other model.
QByteArray readingsUrl(const DeviceFields &device);
// The proxy a device's requests go through: none unless it uses one.
ProxySettings deviceProxy(const DeviceFields &device);
// "http://<address>:<port><page>"
QByteArray pageUrl(const QByteArray &address, int port, const char *page);

} // namespace cz
