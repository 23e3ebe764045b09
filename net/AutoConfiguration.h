// Automatic configuration of a new device from its own "/config" page, and
// the temperature scale it reports in.
#pragma once

#include "net/HttpSession.h"
#include "store/NewDevice.h"
#include "store/Records.h"

#include <QObject>
#include <QString>

#include <array>
#include <functional>

namespace cz {

class DeviceStore;

// Index of a model text (any case) in kDeviceModels, or -1.
int deviceModelIndex(const QByteArray &model);

// What the operator typed into the add-device dialog.
struct AutoConfigRequest {
    QByteArray address;
    int port = 80;
    QByteArray typedName;
    ProxySettings proxy; // no address: direct
    bool logQueryFailures = false;
};

// What the device told about itself.
struct FetchedConfiguration {
    int modelIndex = -1;
    DisplayUnits units = DisplayUnits::F;
    FixedText<33> serial;
    FixedText<65> name;
    FixedText<33> model;
    std::int32_t probeCount = 0;
    FixedText<17> firmware;
    std::array<FixedText<261>, 4> groupNames;
    std::array<FixedText<261>, kMaxProbes> probeNames;
    std::array<FixedText<33>, kMaxProbes> probeTypes;
    // Probe names and types filled in: 4, 12 or 16.
    int probeNamesFilled = 0;
};

struct AutoConfigResult {
    bool ok = false;
    FetchedConfiguration configuration;
    // The unsupported-device message when not ok, or why what the device
    // sent cannot make a device (a probe count outside 1 to 16, control
    // characters in its texts).
    QString errorMessage;
};

// The "/config" fields of a reply, filled into a configuration. `units` is
// what the scale detection found; only the combined sensor model keeps it.
// Returns false when field 2 names no known model.
bool parseDeviceConfiguration(const QByteArray &configText, const QByteArray &typedName, DisplayUnits units,
                              FetchedConfiguration &out);
// The scale a device reports in, from its "/data" reply (combined sensor
// model) or its root page (P models); F when it cannot be told.
DisplayUnits unitsFromDataReply(const QByteArray &reply);
DisplayUnits unitsFromRootPage(const QByteArray &page);

// A device name as a device may send it, made safe to name a file with.
QByteArray validDeviceName(const QByteArray &name);

class DeviceAutoConfiguration : public QObject {
    Q_OBJECT
public:
    DeviceAutoConfiguration(DeviceStore &store, HttpSession &session, QObject *parent = nullptr);
    ~DeviceAutoConfiguration() override;

    using Done = std::function<void(const AutoConfigResult &)>;
    // Fetches "/config", detects the scale and hands the result to `done`
    // (the confirmation window shows it). Does nothing while the program is
    // shutting down.
    void fetchDeviceConfiguration(const AutoConfigRequest &request, Done done);
    // Abandons the fetch under way: `done` is not called.
    void cancel();
    bool busy() const { return done_ != nullptr; }

private:
    void fetch(const char *page, std::function<void(const QByteArray &reply)> then);
    void detectDeviceUnits(int modelIndex, std::function<void(DisplayUnits)> then);
    void finish(const QByteArray &configText, DisplayUnits units);

    DeviceStore &store_;
    HttpSession &session_;
    AutoConfigRequest request_;
    Done done_;
    quint64 fetchId_ = 0;
};

} // namespace cz
