#include "ui/list/DeviceListPage.h"

#include "store/DeviceFile.h"
#include "store/DeviceStore.h"
#include "ui/config/ProgramSettingsDialog.h"
#include "ui/list/ProbeListView.h"
#include "ui/list/ProbeStatusWindows.h"
#include "ui/list/ProbeTableModel.h"
#include "ui/Prompter.h"

#include <QApplication>
#include <QGridLayout>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QVBoxLayout>

namespace cz {

DeviceListPage::DeviceListPage(DeviceStore &store, Prompter &prompter, QWidget *parent)
    : QWidget(parent), store_(store), prompter_(prompter)
{
    model_ = new ProbeTableModel(store, this);
    list_ = new ProbeListView(store, *model_, this);
    statusWindows_ = new ProbeStatusWindows(store, prompter, this);
    auto *layout = new QVBoxLayout(this);
    firstDeviceHint_ = new QLabel(QStringLiteral("No devices yet: press \"Add A Device\", type the device's address "
                                                 "and port, then press \"Auto Configure\"."),
                                  this);
    firstDeviceHint_->setWordWrap(true);
    layout->addWidget(firstDeviceHint_);
    layout->addWidget(list_, 1);
    auto *buttons = new QGridLayout;
    auto make = [this](const char *text) {
        auto *b = new QPushButton(QString::fromLatin1(text), this);
        b->setAutoDefault(false);
        return b;
    };
    add_ = make("Add A Device");
    configure_ = make("Configure Selected Device");
    disable_ = make("Disable Selected Probes");
    enable_ = make("Enable Selected Probes");
    delete_ = make("Delete Selected Device");
    showHide_ = make("Show Disabled Probes");
    showHide_->setObjectName(QStringLiteral("showHideProbes"));
    program_ = make("Configure Corvanta");
    about_ = make("About Corvanta");
    const QList<QPushButton *> order{add_,     configure_, delete_, program_,
                                     disable_, enable_,    showHide_, about_};
    for (int i = 0; i < order.size(); ++i)
        buttons->addWidget(order[i], i / 4, i % 4);
    buttons->setColumnStretch(4, 1);
    layout->addLayout(buttons);

    connect(add_, &QPushButton::clicked, this, &DeviceListPage::addRequested);
    connect(configure_, &QPushButton::clicked, this, &DeviceListPage::configureSelectedDevice);
    connect(disable_, &QPushButton::clicked, this, [this] { enableSelected(false); });
    connect(enable_, &QPushButton::clicked, this, [this] { enableSelected(true); });
    connect(delete_, &QPushButton::clicked, this, &DeviceListPage::deleteSelectedDevice);
    connect(showHide_, &QPushButton::clicked, this, &DeviceListPage::toggleDisabledProbes);
    connect(program_, &QPushButton::clicked, this, &DeviceListPage::configureProgram);
    connect(about_, &QPushButton::clicked, this, &DeviceListPage::showAbout);
    // The buttons follow the selection however it is made: mouse, keyboard
    // or screen reader.
    connect(list_->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &DeviceListPage::updateSelectionButtons);
    connect(list_, &ProbeListView::probeActivated, this,
            [this](const ProbeRecord *p) { statusWindows_->open(*p); });
    // The list lets go of a device's probes before they are freed, and is
    // rebuilt once the slots behind it have moved down.
    connect(&store_, &DeviceStore::deviceAboutToBeRemoved, model_, &ProbeTableModel::removeDeviceRows);
    connect(&store_, &DeviceStore::deviceAboutToBeRemoved, statusWindows_, &ProbeStatusWindows::closeAll);
    connect(&store_, &DeviceStore::deviceRemoved, this, &DeviceListPage::rebuild, Qt::QueuedConnection);
    rebuild();
}

void DeviceListPage::rebuild()
{
    firstDeviceHint_->setVisible(store_.deviceCount() == 0);
    model_->rebuild();
    statusWindows_->refresh();
    list_->setUpColumns();
    list_->sortInitially();
    updateShowHideButton();
    for (QPushButton *b : {enable_, disable_, delete_, configure_})
        b->setEnabled(false);
}

void DeviceListPage::refresh()
{
    model_->refresh();
    statusWindows_->refresh();
}

void DeviceListPage::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    // Page activation: the selection buttons follow the selection.
    const bool selected = !list_->selectedProbes().isEmpty();
    enable_->setEnabled(false);
    disable_->setEnabled(false);
    delete_->setEnabled(selected);
    configure_->setEnabled(selected);
    updateShowHideButton();
    about_->setEnabled(true);
}

void DeviceListPage::updateShowHideButton()
{
    bool anyDisabled = false;
    for (int slot = 0; slot < store_.deviceCount() && !anyDisabled; ++slot) {
        const DeviceRecord *d = store_.device(slot);
        for (int i = 0; d && i < d->ProbeCount && i < d->probeSlots(); ++i)
            anyDisabled |= d->probe(i) && !d->probe(i)->ProbeEnabled;
    }
    showHide_->setEnabled(anyDisabled);
    showHide_->setText(store_.settings.ShowDisabledProbes ? QStringLiteral("Hide Disabled Probes")
                                                             : QStringLiteral("Show Disabled Probes"));
}

void DeviceListPage::updateSelectionButtons()
{
    const QList<const ProbeRecord *> selected = list_->selectedProbes();
    if (selected.isEmpty()) {
        for (QPushButton *b : {enable_, disable_, delete_, configure_})
            b->setEnabled(false);
        return;
    }
    bool anyEnabled = false, anyDisabled = false;
    for (const ProbeRecord *p : selected)
        (p->ProbeEnabled ? anyEnabled : anyDisabled) = true;
    delete_->setEnabled(true);
    configure_->setEnabled(true);
    disable_->setEnabled(anyEnabled);
    enable_->setEnabled(anyDisabled);
}

void DeviceListPage::enableSelected(bool enable)
{
    store_.setProbesEnabled(list_->selectedProbes(), enable);
    model_->refresh();
    if (!enable) {
        if (!store_.settings.ShowDisabledProbes)
            model_->showDisabledProbes(false);
        disable_->setEnabled(false);
        enable_->setEnabled(true);
    } else {
        enable_->setEnabled(false);
    }
    updateShowHideButton();
}

void DeviceListPage::toggleDisabledProbes()
{
    QApplication::setOverrideCursor(Qt::WaitCursor);
    const bool show = !store_.settings.ShowDisabledProbes;
    model_->showDisabledProbes(show);
    store_.settings.ShowDisabledProbes = show ? 1 : 0;
    updateShowHideButton();
    QApplication::restoreOverrideCursor();
}

int DeviceListPage::selectedDevice(const QString &manyDevicesText)
{
    const QList<const ProbeRecord *> selected = list_->selectedProbes();
    if (selected.isEmpty()) {
        prompter_.tell(this, MessageIcon::Exclamation, QStringLiteral("No device selected."));
        return -1;
    }
    const DeviceRecord *first = store_.device(selected.first()->DeviceNumber);
    if (!first)
        return -1;
    for (const ProbeRecord *p : selected) {
        const DeviceRecord *d = store_.device(p->DeviceNumber);
        if (d && QString::fromUtf8(d->DeviceName.bytes())
                         .compare(QString::fromUtf8(first->DeviceName.bytes()), Qt::CaseInsensitive) != 0) {
            prompter_.tell(this, MessageIcon::Exclamation, manyDevicesText);
            return -1;
        }
    }
    return selected.first()->DeviceNumber;
}

void DeviceListPage::configureSelectedDevice()
{
    const int slot = selectedDevice(QStringLiteral("Multiple devices selected.\nPlease select a single device to configure."));
    if (slot >= 0)
        emit configureRequested(slot);
}

void DeviceListPage::deleteSelectedDevice()
{
    const int slot = selectedDevice(QStringLiteral("Multiple devices selected.\nPlease select a single device to delete."));
    const DeviceRecord *d = store_.device(slot);
    if (!d)
        return;
    const QString question = QStringLiteral("This will permanently delete the device named\n\"%1\" and all of its probe "
                                            "data.\n\nAre you sure?")
                                 .arg(QString::fromUtf8(d->DeviceName.bytes()));
    if (prompter_.ask(this, question))
        store_.deleteDevice(slot);
}

void DeviceListPage::showAbout()
{
    QMessageBox about(QMessageBox::NoIcon, QStringLiteral("About Corvanta Zephtra"),
                      QStringLiteral("Corvanta Zephtra, Version 1.41  (build 102612)"), QMessageBox::Ok, this);
    about.setIconPixmap(windowIcon().pixmap(48, 48));
    about.exec();
}

void DeviceListPage::configureProgram()
{
    ProgramSettingsDialog dialog(store_, this);
    if (dialog.exec() != QDialog::Accepted)
        return;
    // Rows and meters take the new colours at once; charts when next shown.
    model_->coloursChanged();
    statusWindows_->refresh();
    emit programConfigured();
}

} // namespace cz
