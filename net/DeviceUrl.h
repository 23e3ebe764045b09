// Addresses of a device's pages.
#pragma once

#include <QByteArray>

namespace cz {

struct DeviceFields;

// True for the combined sensor model, whatever the case of its name.
bool isMultiSensorModel(const QByteArray &model);
// "http://<address>:<port>/data" for the combined sensor model,
// "http://<address>:<port>/temp" for every other model.
QByteArray readingsUrl(const DeviceFields &device);
// "http://<address>:<port><page>"
QByteArray pageUrl(const QByteArray &address, int port, const char *page);

} // namespace cz
