#include "ui/meter/ProbeStatusWindow.h"

#include "store/DeviceStore.h"
#include "ui/meter/AlarmStatePictures.h"
#include "ui/meter/ProbeMeter.h"

#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace cz {

namespace {

constexpr int kPictureSize = 32;

} // namespace

ProbeStatusWindow::ProbeStatusWindow(DeviceStore &store, int device, int probeIndex, QWidget *parent)
    : QDialog(parent), store_(store), device_(device), probeIndex_(probeIndex)
{
    setAttribute(Qt::WA_DeleteOnClose);
    setFixedSize(kWidth, kHeight);
    const DeviceRecord *d = store.device(device);
    const ProbeRecord *p = d ? d->probe(probeIndex) : nullptr;
    setWindowTitle(p ? QString::fromUtf8(p->ProbeName.bytes()) : QString());
    meter_ = new ProbeMeter(this);
    meter_->setAccessibleName(QStringLiteral("Reading"));
    picture_ = new QLabel(this);
    picture_->setObjectName(QStringLiteral("statePicture"));
    picture_->setFixedSize(kPictureSize, kPictureSize);
    auto *close = new QPushButton(QStringLiteral("Close Window"), this);
    close->setDefault(true);
    connect(close, &QPushButton::clicked, this, &QDialog::close);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(4, 6, 4, 6);
    layout->setSpacing(6);
    layout->addWidget(meter_, 0, Qt::AlignHCenter);
    layout->addWidget(picture_, 0, Qt::AlignHCenter);
    layout->addStretch(1);
    layout->addWidget(close);
    redraw();
}

void ProbeStatusWindow::showState(StatePicture which, const QString &name)
{
    if (shownState_ == int(which))
        return;
    shownState_ = int(which);
    picture_->setPixmap(cz::statePicture(which, kPictureSize, devicePixelRatioF()));
    picture_->setAccessibleName(name);
    picture_->setToolTip(name);
}

void ProbeStatusWindow::redraw()
{
    const DeviceRecord *d = store_.device(device_);
    const ProbeRecord *p = d ? d->probe(probeIndex_) : nullptr;
    if (!p)
        return;
    meter_->setLook(meterLook(*p, store_.settings));
    switch (p->AlarmState) {
    case AlarmState::Normal: showState(StatePicture::Normal, QStringLiteral("Normal")); break;
    case AlarmState::HighAlarm:
    case AlarmState::LowAlarm: showState(StatePicture::Alarm, QStringLiteral("Alarm")); break;
    case AlarmState::HighCaution:
    case AlarmState::LowCaution: showState(StatePicture::Caution, QStringLiteral("Caution")); break;
    default: break;  // an unknown state leaves the picture as it was
    }
}

} // namespace cz
