#include "ui/MainWindow.h"

#include "alerts/EmailQueue.h"
#include "monitor/QueryCycle.h"
#include "store/DeviceStore.h"
#include "ui/chart/ChartPage.h"
#include "ui/config/AddDeviceDialog.h"
#include "ui/config/DeviceSettingsDialog.h"
#include "ui/list/DeviceListPage.h"
#include "ui/list/ProbeStatusWindows.h"
#include "ui/Prompter.h"
#include "ui/SplashWindow.h"
#include "ui/WindowContext.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDesktopServices>
#include <QDialog>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QTabBar>
#include <QTabWidget>
#include <QTimer>
#include <QUrl>
#include <QVBoxLayout>

#include <cerrno>

namespace cz {

namespace {

constexpr int kWidth = 764, kHeight = 674;

// "Saving Data..." with the wait cursor, while it lives.
class SavingNotice {
public:
    explicit SavingNotice(QWidget *parent) : dialog_(parent)
    {
        QApplication::setOverrideCursor(Qt::WaitCursor);
        dialog_.setWindowTitle(QStringLiteral("Saving Data..."));
        auto *text = new QLabel(QStringLiteral("Please wait a moment, Corvanta Zephtra\n  is saving device and "
                                               "configuration data."),
                                &dialog_);
        (new QVBoxLayout(&dialog_))->addWidget(text);
        dialog_.show();
        QApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
    }
    ~SavingNotice()
    {
        dialog_.close();
        QApplication::restoreOverrideCursor();
    }

private:
    QDialog dialog_;
};

} // namespace

MainWindow::MainWindow(WindowContext &context, QueryCycle &cycle, QWidget *parent)
    : QWidget(parent), context_(context), cycle_(cycle), store_(context.store), prompter_(context.prompter)
{
    DeviceStore &store = context.store;
    Prompter &prompter = context.prompter;
    setWindowTitle(QStringLiteral("Corvanta Zephtra"));
    // The installed icon of the menu entry, else the one drawn here.
    setWindowIcon(QIcon::fromTheme(QStringLiteral("corvanta-zephtra"), QIcon(programIcon(64))));
    setMinimumSize(kWidth, kHeight);
    auto *layout = new QVBoxLayout(this);
    tabs_ = new QTabWidget(this);
    tabs_->tabBar()->setUsesScrollButtons(true);
    tabs_->tabBar()->setExpanding(false);
    deviceList_ = new DeviceListPage(store, prompter, tabs_);
    deviceList_->setWindowIcon(windowIcon());
    tabs_->addTab(deviceList_, QStringLiteral("Device List"));
    for (int slot = 0; slot < store_.deviceCount(); ++slot)
        addDevicePage(slot);
    layout->addWidget(tabs_, 1);

    auto *bottom = new QHBoxLayout;
    status_ = new QLabel(store_.status().text(), this);
    status_->setObjectName(QStringLiteral("statusLine"));
    QFont statusFont(QStringLiteral("Liberation Sans"));
    statusFont.setPixelSize(14);
    status_->setFont(statusFont);
    status_->setTextFormat(Qt::PlainText);
    status_->setMinimumWidth(kWidth / 2);
    bottom->addSpacing(12);
    bottom->addWidget(status_, 1);
    auto *help = new QPushButton(QStringLiteral("Help"), this);
    auto *ok = new QPushButton(QStringLiteral("OK"), this);
    ok->setDefault(true);
    bottom->addWidget(help);
    bottom->addWidget(ok);
    layout->addLayout(bottom);
    connect(ok, &QPushButton::clicked, this, &QWidget::close);
    connect(help, &QPushButton::clicked, this, &MainWindow::openHelp);

    connect(&store_.status(), &ProgramStatus::changed, status_, &QLabel::setText);
    connect(&cycle, &QueryCycle::replyApplied, this, &MainWindow::scheduleRefresh);
    connect(&cycle, &QueryCycle::statusWindowsRefresh, this, &MainWindow::scheduleRefresh);
    connect(&store_, &DeviceStore::deviceRemoved, this, [this](int slot) {
        if (QWidget *page = tabs_->widget(slot + 1)) {
            tabs_->removeTab(slot + 1);
            page->deleteLater();
        }
    });
    connect(deviceList_, &DeviceListPage::addRequested, this, &MainWindow::addDevice, Qt::QueuedConnection);
    connect(deviceList_, &DeviceListPage::programConfigured, this, &MainWindow::programConfigured);
    connect(&store_, &DeviceStore::deviceAdded, this, &MainWindow::addDevicePage);
    connect(deviceList_, &DeviceListPage::configureRequested, this, &MainWindow::configureDevice,
            Qt::QueuedConnection);
    connect(&store_, &DeviceStore::deviceRenamed, this, [this](int slot) {
        if (const DeviceRecord *d = store_.device(slot)) {
            tabs_->setTabText(slot + 1, d->DeviceName.str());
            if (ChartPage *page = devicePage(slot))
                page->draw();
        }
    });
    // Each query's samples reach the device's chart.
    connect(&cycle, &QueryCycle::deviceSampled, this, [this](int slot, int) {
        if (ChartPage *page = devicePage(slot))
            page->appendSample();
    });
    connect(tabs_, &QTabWidget::currentChanged, this, [this](int index) {
        if (auto *page = qobject_cast<ChartPage *>(tabs_->widget(index)))
            page->activate();
    });
}

void MainWindow::addDevicePage(int slot)
{
    const DeviceRecord *d = store_.device(slot);
    const QString name = d ? QString::fromUtf8(d->DeviceName.bytes()) : QString();
    if (d)
        tabs_->addTab(new ChartPage(context_, *d, tabs_), name);
}

ChartPage *MainWindow::devicePage(int slot) const
{
    return qobject_cast<ChartPage *>(tabs_->widget(slot + 1));
}

void MainWindow::showFromTray()
{
    if (isMinimized())
        showNormal();
    else
        show();
    raise();
    activateWindow();
}

void MainWindow::showDeviceList()
{
    tabs_->setCurrentIndex(0);
    showFromTray();
}

void MainWindow::showDevicePage(quint64 deviceId)
{
    const int slot = store_.slotWithId(deviceId);
    if (slot >= 0)
        tabs_->setCurrentIndex(slot + 1);
    showFromTray();
}

void MainWindow::showProbeStatus(quint64 deviceId, int probeIndex)
{
    const DeviceRecord *d = store_.device(store_.slotWithId(deviceId));
    if (const ProbeRecord *p = d ? d->probe(probeIndex) : nullptr)
        deviceList_->statusWindows().open(*p);
    else
        showFromTray();  // the device has gone since
}

void MainWindow::scheduleRefresh()
{
    // Replies that come together are shown together, once the loop is free.
    if (refreshPending_)
        return;
    refreshPending_ = true;
    QTimer::singleShot(0, this, [this] {
        refreshPending_ = false;
        deviceList_->refresh();
    });
}

void MainWindow::placeCentred()
{
    resize(kWidth, kHeight);
    if (const QScreen *screen = QGuiApplication::primaryScreen()) {
        const QRect area = screen->geometry();
        move(qMax(0, (area.width() - kWidth) / 2), qMax(0, (area.height() - kHeight) / 2));
    }
}

void MainWindow::openHelp()
{
    const QString page = QFile::decodeName(store_.folder().help() + "/CorvantaZephtra_Help.html");
    const QFileInfo info(page);
    QString reason;
    if (!info.dir().exists())
        reason = QString::fromUtf8(shellErrorMessage(ENOTDIR));
    else if (!info.exists())
        reason = QString::fromUtf8(shellErrorMessage(ENOENT));
    else if (!info.isReadable())
        reason = QString::fromUtf8(shellErrorMessage(EACCES));
    else if (!QDesktopServices::openUrl(QUrl::fromLocalFile(page)))
        reason = QStringLiteral("There is no application associated with the given file name extension.");
    if (!reason.isEmpty())
        prompter_.tell(this, MessageIcon::Error, QStringLiteral("ShellExecute failed (embedded help) -- reason: ") + reason);
}

void MainWindow::configureDevice(int slot)
{
    const DeviceRecord *device = store_.device(slot);
    if (!device || saving_)
        return;
    DeviceSettingsDialog dialog(context_, slot, this);
    if (dialog.exec() != QDialog::Accepted)
        return;
    // Monitoring went on while the dialog was open; the device is found
    // again where it is now.
    slot = store_.slotOf(device);
    if (slot < 0)
        return;
    const DeviceRecord &edited = dialog.working();
    if (edited.DeviceName.bytes() != device->DeviceName.bytes())
        prompter_.tell(this, MessageIcon::Warning,
                       QStringLiteral("You have changed the device name.\n\nPlease note that all logs and "
                                      "configuration files\nfor this device will now be saved under the new\ndevice "
                                      "name. All previous logs and configuration\nfiles will be left intact under the "
                                      "previous name."));
    store_.commitDevice(slot, edited);
    deviceList_->rebuild();
    deviceList_->refresh();
}

void MainWindow::addDevice()
{
    if (saving_)
        return;
    AddDeviceDialog dialog(context_, this);
    connect(&dialog, &AddDeviceDialog::deviceReady, this, [this, &dialog](const DeviceRecord &device) {
        if (addNewDevice(device))
            dialog.accept();
    });
    dialog.exec();
    if (dialog.reconfigureSlot() >= 0)
        configureDevice(dialog.reconfigureSlot());
}

bool MainWindow::addNewDevice(const DeviceRecord &device)
{
    if (store_.deviceCount() >= kMaxDevices) {
        prompter_.tell(this, MessageIcon::Stop,
                       QStringLiteral("Corvanta Zephtra monitors %1 devices at most; delete a device before adding "
                                      "another.")
                           .arg(kMaxDevices));
        return false;
    }
    int slot = -1;
    {
        SavingNotice notice(this);
        slot = store_.addDevice(workingCopy(device));
        store_.writeDeviceFile(slot, true);
        store_.writeDevicesSection();
    }
    deviceList_->rebuild();
    cycle_.queryAddedDevice(slot);
    return true;
}

void MainWindow::closeEvent(QCloseEvent *event)
{
    // The save sends the mail still queued and lets events run meanwhile:
    // a second close (a signal, a click) waits for the first.
    if (saving_) {
        event->ignore();
        return;
    }
    if (!store_.status().ShuttingDown) {
        if (!prompter_.ask(this, QStringLiteral("Close the program and stop monitoring devices?"))) {
            event->ignore();
            return;
        }
        store_.status().ShuttingDown = 1;
    }
    saving_ = true;
    setEnabled(false);
    {
        SavingNotice notice(this);
        emit shutDownRequested();
    }
    deviceList_->statusWindows().closeAll();
    event->accept();
}

} // namespace cz
