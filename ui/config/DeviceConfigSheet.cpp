#include "DeviceConfigSheet.h"

#include "DeviceConfigPage.h"
#include "FormWidgets.h"
#include "Records.h"

#include <QGuiApplication>
#include <QHBoxLayout>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QTabWidget>
#include <QVBoxLayout>

namespace cz {

CDeviceConfigSheet::CDeviceConfigSheet(ConfigContext &context, const DeviceRecord &device, QWidget *parent)
    : QDialog(parent), scratch_(workingCopy(device))
{
    setWindowTitle(device.DeviceName.str());
    tabs_ = new QTabWidget(this);
    tabs_->setUsesScrollButtons(true);
    for (int i = 0; i < scratch_->probeSlots(); ++i) {
        if (!scratch_->probe(i))
            continue;
        auto *page = new CDeviceConfigPage(context, *scratch_, i);
        // A small screen scrolls the page rather than cutting it off.
        auto *scroll = new QScrollArea(tabs_);
        scroll->setWidget(page);
        scroll->setWidgetResizable(true);
        scroll->setFrameShape(QFrame::NoFrame);
        tabs_->addTab(scroll, QString::asprintf("Probe %02d", scratch_->probe(i)->ProbeNumber));
        pages_ << page;
    }
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(tabs_, 1);
    layout->addLayout(okCancelRow(this, &okButton, &cancelButton));

    connect(tabs_, &QTabWidget::currentChanged, this, &CDeviceConfigSheet::activatePage);
    connect(okButton, &QPushButton::clicked, this, [this] {
        for (CDeviceConfigPage *page : std::as_const(pages_))
            if (page->wasActivated())
                page->finish();
        accept();
    });
    connect(cancelButton, &QPushButton::clicked, this, &QDialog::reject);
    activatePage(0);

    // As large as the pages want, within the screen.
    QSize size = sizeHint().expandedTo(QSize(960, 680));
    if (const QScreen *screen = QGuiApplication::primaryScreen())
        size = size.boundedTo(screen->availableGeometry().size() - QSize(24, 48));
    resize(size);
}

CDeviceConfigSheet::~CDeviceConfigSheet() = default;

int CDeviceConfigSheet::pageCount() const
{
    return int(pages_.size());
}

CDeviceConfigPage *CDeviceConfigSheet::page(int index) const
{
    return index >= 0 && index < pages_.size() ? pages_[index] : nullptr;
}

void CDeviceConfigSheet::activatePage(int index)
{
    if (CDeviceConfigPage *p = page(index))
        p->activate();
}

} // namespace cz
