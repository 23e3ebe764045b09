#include "ui/config/AddDeviceDialog.h"

#include "net/AutoConfiguration.h"
#include "net/DeviceUrl.h"
#include "store/DeviceSettingsCheck.h"
#include "store/DeviceStore.h"
#include "ui/config/AutoConfigDetailsDialog.h"
#include "ui/config/ConnectionFields.h"
#include "ui/config/ProbeSettingsSheet.h"
#include "ui/Prompter.h"
#include "ui/widgets/FormWidgets.h"
#include "ui/WindowContext.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
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

AddDeviceDialog::AddDeviceDialog(WindowContext &context, QWidget *parent)
    : QDialog(parent), context_(context),
      autoConfiguration_(std::make_unique<DeviceAutoConfiguration>(context.store, context.session))
{
    setWindowTitle(QStringLiteral("Add A Device"));
    auto *layout = new QVBoxLayout(this);
    model_ = new QComboBox(this);
    for (const char *m : kDeviceModels)
        model_->addItem(QString::fromLatin1(m));
    model_->setCurrentIndex(-1);
    model_->setPlaceholderText(QStringLiteral("(select a model)"));
    fields_ = addConnectionFields(this, layout, model_);

    progress_ = new QLabel(this);
    progress_->setObjectName(QStringLiteral("progress"));
    progress_->setVisible(false);
    layout->addWidget(progress_);
    auto *buttons = new QDialogButtonBox(this);
    add_ = buttons->addButton(QStringLiteral("Add"), QDialogButtonBox::ActionRole);
    add_->setDefault(true);
    autoConfigure_ = buttons->addButton(QStringLiteral("Auto Configure"), QDialogButtonBox::ActionRole);
    cancel_ = buttons->addButton(QDialogButtonBox::Cancel);
    for (QPushButton *b : {autoConfigure_, cancel_})
        b->setAutoDefault(false);
    layout->addWidget(buttons);
    const ConnectionFields &f = fields_;
    chainTabOrder({f.address, f.name, f.port, model_, f.interval, f.logging, f.logFailures, f.useProxy->yesButton(),
                   f.useProxy->noButton(), f.proxyAddress, f.proxyPort, f.proxyUser, f.proxyPassword, buttons});

    FieldBinding<DeviceFields> bind(this, [this]() -> DeviceFields & { return typed_; },
                                    [this](const char *) { updateEnabling(); });
    bindConnectionFields(bind, f);
    bind.fill();

    connect(f.interval, &QComboBox::activated, this, [this] {
        if (typed_.QueryInterval < 30)
            context_.prompter.tell(this, MessageIcon::Exclamation, shortIntervalWarning());
    });
    connect(add_, &QPushButton::clicked, this, &AddDeviceDialog::add);
    connect(autoConfigure_, &QPushButton::clicked, this, &AddDeviceDialog::autoConfigure);
    connect(buttons, &QDialogButtonBox::rejected, this, &AddDeviceDialog::reject);
    updateEnabling();
}

AddDeviceDialog::~AddDeviceDialog()
{
    if (lookupId_ >= 0)
        QHostInfo::abortHostLookup(lookupId_);
}

bool AddDeviceDialog::busy() const
{
    return autoConfiguration_->busy() || lookupId_ >= 0;
}

void AddDeviceDialog::updateEnabling()
{
    const bool idle = !busy();
    const ConnectionFields &f = fields_;
    for (QWidget *w : std::initializer_list<QWidget *>{f.proxyAddress, f.proxyPort, f.proxyUser, f.proxyPassword})
        w->setEnabled(idle && typed_.UseProxy);
    for (QWidget *w : std::initializer_list<QWidget *>{f.address, f.name, f.port, model_, f.interval, f.logging,
                                                       f.logFailures, f.useProxy, add_, autoConfigure_})
        w->setEnabled(idle);
    progress_->setVisible(!idle);
    if (idle)
        unsetCursor();
}

void AddDeviceDialog::setBusy(const QString &what)
{
    progress_->setText(what);
    setCursor(Qt::BusyCursor);
    updateEnabling();
    cancel_->setFocus();
}

NewDeviceSettings AddDeviceDialog::typedSettings() const
{
    NewDeviceSettings s;
    s.typed = typed_;
    s.typed.DeviceAddress = typed_.DeviceAddress.bytes().trimmed();
    s.model = model_->currentText().toUtf8();
    return s;
}

void AddDeviceDialog::add()
{
    if (model_->currentIndex() < 0) {
        context_.prompter.tell(this, MessageIcon::Stop, QStringLiteral("Please select a device model.\n"));
        return;
    }
    NewDeviceSettings s = typedSettings();
    fillTypedDevice(s);
    build(s);
}

void AddDeviceDialog::autoConfigure()
{
    const QString typed = typed_.DeviceAddress.str().trimmed();
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
    AutoConfigRequest request;
    request.address = s.typed.DeviceAddress.bytes();
    request.port = s.typed.DevicePort;
    request.typedName = s.typed.DeviceName.bytes();
    request.proxy = deviceProxy(s.typed);
    request.logQueryFailures = s.typed.LogQueryFailures;
    autoConfiguration_->fetchDeviceConfiguration(request, [this](const AutoConfigResult &r) { autoConfigured(r); });
    setBusy(QStringLiteral("Contacting the device..."));
}

void AddDeviceDialog::autoConfigured(const AutoConfigResult &result)
{
    updateEnabling();
    if (!result.ok) {
        context_.prompter.tell(this, MessageIcon::Stop, result.errorMessage);
        return;
    }
    const FetchedConfiguration &c = result.configuration;
    AutoConfigDetailsDialog details(typed_.DeviceAddress.bytes(), c, this);
    if (details.exec() != QDialog::Accepted)
        return;
    model_->setCurrentIndex(c.modelIndex);
    setTextAsTyped(fields_.name, c.name.str());
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

void AddDeviceDialog::build(const NewDeviceSettings &settings)
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

void AddDeviceDialog::configureProbes(const DeviceRecord &device)
{
    ProbeSettingsSheet sheet(context_, device, this);
    if (sheet.exec() != QDialog::Accepted)
        return; // back to this dialog, its fields as they were
    emit deviceReady(sheet.edited());
}

void AddDeviceDialog::reject()
{
    if (busy()) {
        autoConfiguration_->cancel();
        if (lookupId_ >= 0)
            QHostInfo::abortHostLookup(lookupId_);
        lookupId_ = -1;
        updateEnabling();
        return;
    }
    QDialog::reject();
}

} // namespace cz
