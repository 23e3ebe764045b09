#include "AddDeviceDlg.h"

#include "AutoConfConfirmDlg.h"
#include "AutoConfiguration.h"
#include "ConnectionFields.h"
#include "DeviceConfigSheet.h"
#include "DeviceSettingsCheck.h"
#include "DeviceStore.h"
#include "FormWidgets.h"
#include "Prompter.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHostAddress>
#include <QHostInfo>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

namespace cz {

CAddDeviceDlg::CAddDeviceDlg(ConfigContext &context, QWidget *parent)
    : QDialog(parent), context_(context),
      autoConf_(std::make_unique<DeviceAutoConfiguration>(context.store, context.session))
{
    setWindowTitle(QStringLiteral("Add A Device"));
    auto *layout = new QVBoxLayout(this);
    model = new QComboBox(this);
    for (const char *m : kDeviceModels)
        model->addItem(QString::fromLatin1(m));
    model->setCurrentIndex(-1);
    model->setPlaceholderText(QStringLiteral("(select a model)"));
    static_cast<ConnectionFields &>(*this) = addConnectionFields(this, layout, model);
    port->setText(QStringLiteral("80"));
    interval->setCurrentIndex(3);
    useProxy->setValue(false);
    proxyPort->setText(QStringLiteral("8080"));

    progress = new QLabel(this);
    progress->setVisible(false);
    layout->addWidget(progress);
    addButton = new QPushButton(QStringLiteral("Add"), this);
    addButton->setDefault(true);
    autoButton = plainButton(QStringLiteral("Auto Configure"), this);
    cancelButton = plainButton(QStringLiteral("Cancel"), this);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(addButton);
    buttons->addWidget(autoButton);
    buttons->addWidget(cancelButton);
    layout->addLayout(buttons);
    chainTabOrder({address, name, port, model, interval, logging, logFailures, useProxy->yesButton(),
                   useProxy->noButton(), proxyAddress, proxyPort, proxyUser, proxyPassword, addButton, autoButton,
                   cancelButton});

    connect(useProxy, &YesNoField::changed, this, &CAddDeviceDlg::updateEnabling);
    connect(interval, &QComboBox::activated, this, [this](int index) {
        if (intervalSeconds(index) < 30)
            context_.prompter.tell(this, MessageIcon::Exclamation, shortIntervalWarning());
    });
    connect(addButton, &QPushButton::clicked, this, &CAddDeviceDlg::add);
    connect(autoButton, &QPushButton::clicked, this, &CAddDeviceDlg::autoConfigure);
    connect(cancelButton, &QPushButton::clicked, this, &CAddDeviceDlg::reject);
    updateEnabling();
}

CAddDeviceDlg::~CAddDeviceDlg()
{
    if (lookupId_ >= 0)
        QHostInfo::abortHostLookup(lookupId_);
}

bool CAddDeviceDlg::busy() const
{
    return autoConf_->busy() || lookupId_ >= 0;
}

void CAddDeviceDlg::updateEnabling()
{
    const bool idle = !busy();
    for (QWidget *w : std::initializer_list<QWidget *>{proxyAddress, proxyPort, proxyUser, proxyPassword})
        w->setEnabled(idle && useProxy->value());
    for (QWidget *w : std::initializer_list<QWidget *>{address, name, port, model, interval, logging, logFailures,
                                                       useProxy, addButton, autoButton})
        w->setEnabled(idle);
    progress->setVisible(!idle);
    if (idle)
        unsetCursor();
}

void CAddDeviceDlg::setBusy(const QString &what)
{
    progress->setText(what);
    setCursor(Qt::BusyCursor);
    updateEnabling();
    cancelButton->setFocus();
}

NewDeviceSettings CAddDeviceDlg::typedSettings() const
{
    NewDeviceSettings s;
    s.address = address->text().trimmed().toUtf8();
    s.name = name->text().toUtf8();
    // An empty port reads as 0, which is refused when the device is built.
    s.port = port->text().toInt();
    s.model = model->currentText().toUtf8();
    s.queryInterval = intervalSeconds(interval->currentIndex());
    s.logging = logging->isChecked();
    s.logQueryFailures = logFailures->isChecked();
    s.useProxy = useProxy->value();
    s.proxyAddress = proxyAddress->text().toUtf8();
    s.proxyPort = proxyPort->text().toInt();
    s.proxyUserName = proxyUser->text().toUtf8();
    s.proxyPassword = proxyPassword->text().toUtf8();
    return s;
}

void CAddDeviceDlg::add()
{
    if (model->currentIndex() < 0) {
        context_.prompter.tell(this, MessageIcon::Stop, QStringLiteral("Please select a device model.\n"));
        return;
    }
    NewDeviceSettings s = typedSettings();
    fillTypedDevice(s);
    build(s);
}

void CAddDeviceDlg::autoConfigure()
{
    const QString typed = address->text().trimmed();
    for (int slot = 0; slot < context_.store.deviceCount(); ++slot) {
        if (typed.compare(context_.store.device(slot)->DeviceAddress.str(), Qt::CaseInsensitive) != 0)
            continue;
        if (!context_.prompter.ask(this, QStringLiteral("CAUTION: A device with this address has\nalready been "
                                                        "configured in Corvanta Zephtra.\n\nWould you like to "
                                                        "reconfigure that device?")))
            return;
        reconfigureSlot_ = slot;
        QDialog::reject();
        return;
    }
    const NewDeviceSettings s = typedSettings();
    AutoConfRequest request;
    request.address = s.address;
    request.port = s.port;
    request.typedName = s.name;
    request.useProxy = s.useProxy;
    request.proxy = {s.proxyAddress, s.proxyUserName, s.proxyPassword};
    request.logQueryFailures = s.logQueryFailures;
    autoConf_->FetchDeviceConfiguration(request, [this](const AutoConfResult &r) { autoConfigured(r); });
    setBusy(QStringLiteral("Contacting the device..."));
}

void CAddDeviceDlg::autoConfigured(const AutoConfResult &result)
{
    updateEnabling();
    if (!result.ok) {
        context_.prompter.tell(this, MessageIcon::Stop, result.errorMessage);
        return;
    }
    const FetchedConfiguration &c = result.configuration;
    std::unique_ptr<AutoConfConfirmDlg> confirm = autoConfConfirmation(address->text().toUtf8(), c, this);
    if (confirm->exec() != QDialog::Accepted)
        return;
    model->setCurrentIndex(c.modelIndex);
    name->setText(c.name.str());
    NewDeviceSettings s = typedSettings();
    s.probeCount = c.probeCount;
    s.units = c.units;
    s.serial = c.serial.bytes();
    s.firmware = c.firmware.bytes();
    for (std::size_t g = 0; g < 4; ++g)
        s.groupNames[g] = c.groupNames[g].bytes();
    for (std::size_t i = 0; i < std::size_t(kMaxProbes); ++i) {
        s.probeNames[i] = c.probeNames[i].bytes();
        s.probeTypes[i] = c.probeTypes[i].bytes();
    }
    build(s);
}

void CAddDeviceDlg::build(const NewDeviceSettings &settings)
{
    std::shared_ptr<DeviceRecord> device = buildNewDevice(settings, context_.store.folder());
    const QString problem = deviceSettingsProblem(context_.store, -1, *device);
    if (!problem.isEmpty()) {
        context_.prompter.tell(this, MessageIcon::Stop, problem);
        return;
    }
    const QString host = device->DeviceAddress.str();
    if (!QHostAddress(host).isNull()) {
        configureProbes(*device);
        return;
    }
    // A name is looked up without holding the window.
    lookupId_ = QHostInfo::lookupHost(host, this, [this, device, host](const QHostInfo &info) {
        lookupId_ = -1;
        updateEnabling();
        if (info.error() != QHostInfo::NoError || info.addresses().isEmpty()) {
            context_.prompter.tell(this, MessageIcon::Stop,
                                   QStringLiteral("\"The IP address or domain name for this device:\" \"%1\" could "
                                                  "not be found: %2")
                                       .arg(host, info.errorString()));
            return;
        }
        configureProbes(*device);
    });
    setBusy(QStringLiteral("Looking up \"%1\"...").arg(host));
}

void CAddDeviceDlg::configureProbes(const DeviceRecord &device)
{
    CDeviceConfigSheet sheet(context_, device, this);
    if (sheet.exec() != QDialog::Accepted)
        return; // back to this dialog, its fields as they were
    if (addDevice && addDevice(sheet.scratch()))
        accept();
}

void CAddDeviceDlg::reject()
{
    if (busy()) {
        autoConf_->cancel();
        if (lookupId_ >= 0)
            QHostInfo::abortHostLookup(lookupId_);
        lookupId_ = -1;
        updateEnabling();
        return;
    }
    QDialog::reject();
}

} // namespace cz
