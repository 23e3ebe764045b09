// Refills the chart histories at start-up from the probes' CSV data files
// (today's file in "Data" and those the daily rollover moved into dated
// folders), so a restart keeps the charts. Only the end of each file that a
// history can hold is read, however large the file. Files are read on worker
// threads; each device's history is put in place on the owner's thread,
// in front of any samples its queries added meanwhile.
#pragma once

#include "store/Records.h"

#include <QObject>
#include <QThreadPool>

#include <array>
#include <atomic>
#include <memory>

namespace cz {

class DeviceStore;

// What a device's files are read with, copied from its records so that a
// worker never touches them.
struct HistoryJob {
    QByteArray dataFolder;        // the "Data" folder
    int interval = 30;            // the device's QueryInterval, at least 1
    int probeCount = 0;
    std::array<QByteArray, kMaxProbes> fileNames;  // file names of the probes' data files
    // The names the same files had under the device's former names, oldest
    // first, read before them in each folder.
    std::array<QList<QByteArray>, kMaxProbes> formerFileNames;
    std::array<ProbeType, kMaxProbes> types{};
    double before = 0;            // lines from this time on are not read (the queries since start add them)
};

// A device's history as read: samples placed on the device's interval grid
// ending at the newest line read, then gaps up to `before`.
struct LoadedHistory {
    std::array<ValueHistory, kMaxProbes> values;
    TimeHistory times;
    double nextSampleTime = 0;  // the next grid time
    qint64 linesRead = 0;
};

// Reads a device's files. `cancel` stops it early (empty result).
std::unique_ptr<LoadedHistory> readDeviceHistory(const HistoryJob &job, const std::atomic<bool> *cancel = nullptr);

// Puts a read history in place; the samples the device gathered since
// (live) follow it. False when the device's probes changed meanwhile.
bool placeDeviceHistory(DeviceRecord &device, LoadedHistory &loaded, int probeCount);

class HistoryLoader final : public QObject {
    Q_OBJECT
public:
    explicit HistoryLoader(DeviceStore &store, QObject *parent = nullptr);
    ~HistoryLoader() override;
    // Starts reading every logging device's files, lines before `now`.
    void start(double now);
    bool busy() const { return pending_ > 0; }

signals:
    void deviceLoaded(int slot);
    void finished();

private:
    void place(std::uint64_t id, int probeCount, std::shared_ptr<LoadedHistory> loaded);

    DeviceStore &store_;
    QThreadPool pool_;
    std::shared_ptr<std::atomic<bool>> cancel_;
    int pending_ = 0;
};

} // namespace cz
