#include "ui/config/ProbeSettingsSheet.h"

#include "store/Records.h"
#include "ui/config/ProbeSettingsPage.h"
#include "ui/widgets/FormWidgets.h"

#include <QDialogButtonBox>
#include <QGuiApplication>
#include <QScreen>
#include <QScrollArea>
#include <QTabWidget>
#include <QVBoxLayout>

namespace cz {

ProbeSettingsSheet::ProbeSettingsSheet(WindowContext &context, const DeviceRecord &device, QWidget *parent)
    : QDialog(parent), edited_(workingCopy(device))
{
    setWindowTitle(device.DeviceName.str());
    tabs_ = new QTabWidget(this);
    tabs_->setObjectName(QStringLiteral("probePages"));
    tabs_->setUsesScrollButtons(true);
    for (int i = 0; i < edited_->probeSlots(); ++i) {
        if (!edited_->probe(i))
            continue;
        auto *page = new ProbeSettingsPage(context, *edited_, i);
        // A small screen scrolls the page rather than cutting it off.
        auto *scroll = new QScrollArea(tabs_);
        scroll->setWidget(page);
        scroll->setWidgetResizable(true);
        scroll->setFrameShape(QFrame::NoFrame);
        tabs_->addTab(scroll, QString::asprintf("Probe %02d", edited_->probe(i)->ProbeNumber));
        pages_ << page;
    }
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(tabs_, 1);
    layout->addWidget(okCancelButtons(this));

    connect(tabs_, &QTabWidget::currentChanged, this, &ProbeSettingsSheet::activatePage);
    activatePage(0);

    // As large as the pages want, within the screen.
    QSize size = sizeHint().expandedTo(QSize(960, 680));
    if (const QScreen *screen = QGuiApplication::primaryScreen())
        size = size.boundedTo(screen->availableGeometry().size() - QSize(24, 48));
    resize(size);
}

ProbeSettingsSheet::~ProbeSettingsSheet() = default;

void ProbeSettingsSheet::accept()
{
    for (ProbeSettingsPage *page : std::as_const(pages_))
        if (page->wasActivated())
            page->finish();
    QDialog::accept();
}

void ProbeSettingsSheet::activatePage(int index)
{
    if (index >= 0 && index < pages_.size())
        pages_[index]->activate();
}

} // namespace cz
