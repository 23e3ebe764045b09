// A probe status window: the probe's meter, its alarm-state picture and
// "Close Window", 100 x 453 pixels, captioned with the probe's name.
#pragma once

#include <QDialog>

class QLabel;

namespace cz {

class DeviceStore;
class ProbeMeter;
enum class StatePicture;

class ProbeStatusWindow final : public QDialog {
    Q_OBJECT
public:
    static constexpr int kWidth = 100, kHeight = 453;
    ProbeStatusWindow(DeviceStore &store, int device, int probeIndex, QWidget *parent = nullptr);
    // Redraws from the probe's records and the program's colours; the meter
    // repaints only if something it shows changed.
    void redraw();
    int device() const { return device_; }
    int probeIndex() const { return probeIndex_; }

private:
    void showState(StatePicture which, const QString &name);

    DeviceStore &store_;
    int device_;
    int probeIndex_;
    ProbeMeter *meter_;
    QLabel *picture_;
    int shownState_ = -1;
};

} // namespace cz
