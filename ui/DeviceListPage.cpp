#include "DeviceListPage.h"

#include "DeviceStore.h"
#include "DeviceFile.h"
#include "ProbeListView.h"
#include "ProgramConfigDlg.h"
#include "ProbeStatusWindows.h"
#include "ProbeTableModel.h"
#include "Prompter.h"

#include <QApplication>
#include <QGridLayout>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QVBoxLayout>

namespace cz {

DeviceListPage::DeviceListPage(DeviceStore &app, Prompter &prompter, QWidget *parent)
    : QWidget(parent), app_(app), prompter_(prompter)
{
    model_ = new ProbeTableModel(app, this);
    list_ = new ProbeListView(app, *model_, this);
    statusWindows_ = new ProbeStatusWindows(app, prompter, this);
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
    addButton = make("Add A Device");
    configureButton = make("Configure Selected Device");
    disableButton = make("Disable Selected Probes");
    enableButton = make("Enable Selected Probes");
    deleteButton = make("Delete Selected Device");
    showHideButton = make("Show Disabled Probes");
    programButton = make("Configure Corvanta");
    aboutButton = make("About Corvanta");
    const QList<QPushButton *> order{addButton,     configureButton, deleteButton, programButton,
                                     disableButton, enableButton,    showHideButton, aboutButton};
    for (int i = 0; i < order.size(); ++i)
        buttons->addWidget(order[i], i / 4, i % 4);
    buttons->setColumnStretch(4, 1);
    layout->addLayout(buttons);

    connect(addButton, &QPushButton::clicked, this, &DeviceListPage::addRequested);
    connect(configureButton, &QPushButton::clicked, this, &DeviceListPage::configureSelectedDevice);
    connect(disableButton, &QPushButton::clicked, this, [this] { enableSelected(false); });
    connect(enableButton, &QPushButton::clicked, this, [this] { enableSelected(true); });
    connect(deleteButton, &QPushButton::clicked, this, &DeviceListPage::deleteSelectedDevice);
    connect(showHideButton, &QPushButton::clicked, this, &DeviceListPage::toggleDisabledProbes);
    connect(programButton, &QPushButton::clicked, this, &DeviceListPage::configureProgram);
    connect(aboutButton, &QPushButton::clicked, this, &DeviceListPage::showAbout);
    // The buttons follow the selection however it is made: mouse, keyboard
    // or screen reader.
    connect(list_->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &DeviceListPage::updateSelectionButtons);
    connect(list_, &ProbeListView::probeActivated, this,
            [this](const ProbeRecord *p) { statusWindows_->open(*p); });
    // The list lets go of a device's probes before they are freed, and is
    // rebuilt once the slots behind it have moved down.
    connect(&app_, &DeviceStore::deviceAboutToBeRemoved, model_, &ProbeTableModel::removeDeviceRows);
    connect(&app_, &DeviceStore::deviceAboutToBeRemoved, statusWindows_, &ProbeStatusWindows::closeAll);
    connect(&app_, &DeviceStore::deviceRemoved, this, &DeviceListPage::rebuild, Qt::QueuedConnection);
    rebuild();
}

void DeviceListPage::rebuild()
{
    firstDeviceHint_->setVisible(app_.deviceCount() == 0);
    model_->rebuild();
    statusWindows_->refresh();
    list_->setUpColumns();
    list_->sortInitially();
    updateShowHideButton();
    for (QPushButton *b : {enableButton, disableButton, deleteButton, configureButton})
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
    enableButton->setEnabled(false);
    disableButton->setEnabled(false);
    deleteButton->setEnabled(selected);
    configureButton->setEnabled(selected);
    updateShowHideButton();
    aboutButton->setEnabled(true);
}

void DeviceListPage::updateShowHideButton()
{
    bool anyDisabled = false;
    for (int slot = 0; slot < app_.deviceCount() && !anyDisabled; ++slot) {
        const DeviceRecord *d = app_.device(slot);
        for (int i = 0; d && i < d->ProbeCount && i < d->probeSlots(); ++i)
            anyDisabled |= d->probe(i) && !d->probe(i)->ProbeEnabled;
    }
    showHideButton->setEnabled(anyDisabled);
    showHideButton->setText(app_.settings.ShowDisabledProbes ? QStringLiteral("Hide Disabled Probes")
                                                             : QStringLiteral("Show Disabled Probes"));
}

void DeviceListPage::updateSelectionButtons()
{
    const QList<const ProbeRecord *> selected = list_->selectedProbes();
    if (selected.isEmpty()) {
        for (QPushButton *b : {enableButton, disableButton, deleteButton, configureButton})
            b->setEnabled(false);
        return;
    }
    bool anyEnabled = false, anyDisabled = false;
    for (const ProbeRecord *p : selected)
        (p->ProbeEnabled ? anyEnabled : anyDisabled) = true;
    deleteButton->setEnabled(true);
    configureButton->setEnabled(true);
    disableButton->setEnabled(anyEnabled);
    enableButton->setEnabled(anyDisabled);
}

void DeviceListPage::enableSelected(bool enable)
{
    app_.setProbesEnabled(list_->selectedProbes(), enable);
    model_->refresh();
    if (!enable) {
        if (!app_.settings.ShowDisabledProbes)
            model_->showDisabledProbes(false);
        disableButton->setEnabled(false);
        enableButton->setEnabled(true);
    } else {
        enableButton->setEnabled(false);
    }
    updateShowHideButton();
}

void DeviceListPage::toggleDisabledProbes()
{
    QApplication::setOverrideCursor(Qt::WaitCursor);
    const bool show = !app_.settings.ShowDisabledProbes;
    model_->showDisabledProbes(show);
    app_.settings.ShowDisabledProbes = show ? 1 : 0;
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
    const DeviceRecord *first = app_.device(selected.first()->DeviceNumber);
    if (!first)
        return -1;
    for (const ProbeRecord *p : selected) {
        const DeviceRecord *d = app_.device(p->DeviceNumber);
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
    const DeviceRecord *d = app_.device(slot);
    if (!d)
        return;
    const QString question = QStringLiteral("This will permanently delete the device named\n\"%1\" and all of its probe "
                                            "data.\n\nAre you sure?")
                                 .arg(QString::fromUtf8(d->DeviceName.bytes()));
    if (prompter_.ask(this, question))
        app_.deleteDevice(slot);
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
    CProgramConfigDlg dialog(app_, this);
    if (dialog.exec() != QDialog::Accepted)
        return;
    // Rows and meters take the new colours at once; charts when next shown.
    model_->coloursChanged();
    statusWindows_->refresh();
}

} // namespace cz
