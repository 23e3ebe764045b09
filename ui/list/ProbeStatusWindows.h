// The table of floating probe status windows (128 at most), opened by
// double-clicking a probe in the list. Each window shows its probe's meter
// and state and follows every walk.
#pragma once

#include "ui/meter/ProbeStatusWindow.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QRect>

#include <array>

class QWidget;

namespace cz {

class DeviceStore;
class Prompter;
struct ProbeRecord;

// Where a new status window goes on a screen of `screen` size: beside the
// open windows (`others`, their frames in slot order) in rows from the
// top-left corner, back to the corner when the screen is full.
QPoint statusWindowPosition(QSize screen, const QList<QRect> &others, int frameWidth);

class ProbeStatusWindows : public QObject {
    Q_OBJECT
public:
    static constexpr int kSlots = 128;
    ProbeStatusWindows(DeviceStore &store, Prompter &prompter, QWidget *owner);

    // Opens the probe's window in the first free slot, or raises the one it
    // has; a full table says so.
    void open(const ProbeRecord &probe);
    int openCount() const;
    ProbeStatusWindow *window(int slot) const { return slots_[std::size_t(slot)]; }
    // Redraws every open window (after each walk and each change of
    // devices or colours).
    void refresh();
    void closeAll();

private:
    DeviceStore &store_;
    Prompter &prompter_;
    QWidget *owner_;
    std::array<QPointer<ProbeStatusWindow>, kSlots> slots_;
};

} // namespace cz
