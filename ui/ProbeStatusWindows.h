// The table of floating probe status windows (128 at most), opened by
// double-clicking a probe in the list. Each window shows its probe's
// reading and state and follows every walk.
#pragma once

#include <QObject>
#include <QPointer>

#include <array>

class QLabel;
class QWidget;

namespace cz {

class DeviceStore;
class Prompter;
struct ProbeRecord;

class ProbeStatusWindows : public QObject {
    Q_OBJECT
public:
    static constexpr int kSlots = 128;
    ProbeStatusWindows(DeviceStore &app, Prompter &prompter, QWidget *owner);

    // Opens the probe's window in the first free slot, or raises the one it
    // has; a full table says so.
    void open(const ProbeRecord &probe);
    int openCount() const;
    // Redraws every open window (after each walk).
    void refresh();
    void closeAll();

private:
    struct Slot {
        QPointer<QWidget> window;
        int device = -1;
        int probeIndex = -1;
        QLabel *text = nullptr;
    };
    void fill(Slot &slot);

    DeviceStore &app_;
    Prompter &prompter_;
    QWidget *owner_;
    std::array<Slot, kSlots> slots_;
};

} // namespace cz
