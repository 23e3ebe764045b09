#include "CfgDeviceDlg.h"


#include "DeviceCfgEmailDlg.h"
#include "DeviceConfigSheet.h"
#include "DeviceFile.h"
#include "DeviceSettingsCheck.h"
#include "DeviceStore.h"
#include "FormWidgets.h"

#include <QLabel>
#include <QRadioButton>
#include "Prompter.h"
#include "VoiceDialer.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace cz {

namespace {

constexpr int kQueryFailEntries = 20;
constexpr int kDialerPorts = 16;

} // namespace

CCfgDeviceDlg::CCfgDeviceDlg(ConfigContext &context, int slot, QWidget *parent)
    : QDialog(parent), context_(context), slot_(slot), working_(workingCopy(*context.store.device(slot)))
{
    setWindowTitle(QStringLiteral("Configure A Device"));
    auto *layout = new QVBoxLayout(this);

    model = new QLineEdit(this);
    model->setReadOnly(true);
    model->setMaximumWidth(160);
    static_cast<ConnectionFields &>(*this) = addConnectionFields(this, layout, model);

    auto *alertBox = new QGroupBox(this);
    auto *alertGrid = new QGridLayout(alertBox);
    queryFailAlert = new QCheckBox(QStringLiteral("Send an alert message if this device does not respond for"), alertBox);
    queryFailCount = new QComboBox(alertBox);
    for (int i = 1; i <= kQueryFailEntries; ++i)
        queryFailCount->addItem(QString::number(i));
    queryFailCount->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    queryFailCount->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    emailDetails = plainButton(QStringLiteral("Email Recipient and Configuration Details"), alertBox);
    auto *countRow = new QHBoxLayout;
    countRow->addWidget(queryFailCount);
    countRow->addWidget(buddyLabel(QStringLiteral("consecutive queries."), queryFailCount, alertBox));
    countRow->addStretch(1);
    alertGrid->addWidget(queryFailAlert, 0, 0);
    alertGrid->addLayout(countRow, 0, 1, 1, 3);
    alertGrid->addWidget(emailDetails, 1, 0, 1, 3, Qt::AlignLeft);
    dialer = new QCheckBox(QStringLiteral("Enable voice dialer for this device on this serial port:"), alertBox);
    dialerPort = new QComboBox(alertBox);
    dialerPort->setAccessibleName(dialer->text());
    for (int n = 1; n <= kDialerPorts; ++n)
        dialerPort->addItem(QStringLiteral("COM%1 (%2)").arg(n).arg(QString::fromUtf8(context.dialer.portName(n))));
    testDialer = plainButton(QStringLiteral("Test Dialer"), alertBox);
    alertGrid->addWidget(dialer, 2, 0);
    alertGrid->addWidget(dialerPort, 2, 1);
    alertGrid->addWidget(testDialer, 2, 2, Qt::AlignLeft);
    alertGrid->setColumnStretch(3, 1);
    layout->addWidget(alertBox);

    updateButton = new QPushButton(QStringLiteral("Update"), this);
    updateButton->setDefault(true);
    probesButton = plainButton(QStringLiteral("Configure Probes"), this);
    cancelButton = plainButton(QStringLiteral("Cancel"), this);
    auto *buttons = new QHBoxLayout;
    buttons->addWidget(probesButton);
    buttons->addStretch(1);
    buttons->addWidget(updateButton);
    buttons->addWidget(cancelButton);
    layout->addLayout(buttons);

    chainTabOrder({address, name, port, interval, logging, logFailures, useProxy->yesButton(), useProxy->noButton(),
                   proxyAddress, proxyPort, proxyUser, proxyPassword, queryFailAlert, queryFailCount, emailDetails,
                   dialer, dialerPort, testDialer, probesButton, updateButton, cancelButton});
    fill();
    connectFields();
    updateButton->setEnabled(false);
}

CCfgDeviceDlg::~CCfgDeviceDlg()
{
    // A dialer test still pulsing reads no record that is gone.
    context_.dialer.setEditedDevice(nullptr);
}

void CCfgDeviceDlg::fill()
{
    const DeviceRecord &d = *working_;
    filling_ = true;
    address->setText(d.DeviceAddress.str());
    name->setText(d.DeviceName.str());
    port->setText(QString::number(d.DevicePort));
    model->setText(d.DeviceModel.str());
    interval->setCurrentIndex(-1);
    for (int i = 0; i < int(std::size(kIntervalChoices)); ++i)
        if (kIntervalChoices[i].seconds == d.QueryInterval)
            interval->setCurrentIndex(i);
    logging->setChecked(d.LoggingEnabled != 0);
    logFailures->setChecked(d.LogQueryFailures != 0);
    useProxy->setValue(d.UseProxy != 0);
    proxyAddress->setText(d.ProxyServerAddress.str());
    proxyPort->setText(QString::number(d.ProxyServerPort));
    proxyUser->setText(d.ProxyServerUserName.str());
    proxyPassword->setText(d.ProxyServerPassword.str());
    queryFailAlert->setChecked(d.SendQueryFailMessage != 0);
    queryFailCount->setCurrentIndex(qBound(0, d.QueryFailThreshold - 1, kQueryFailEntries - 1));
    dialer->setChecked(d.EnableDialer != 0);
    dialerPort->setCurrentIndex(qBound(0, d.DialerPort - 1, kDialerPorts - 1));
    filling_ = false;
    updateEnabling();
}

void CCfgDeviceDlg::connectFields()
{
    auto bindText = [this](QLineEdit *edit, auto field, std::uint64_t bit) {
        connect(edit, &QLineEdit::textChanged, this, [this, field, bit](const QString &text) {
            (*working_).*field = text;
            working_->markChanged(bit);
            changed();
        });
    };
    bindText(address, &DeviceFields::DeviceAddress, DeviceBit::DeviceAddress);
    bindText(name, &DeviceFields::DeviceName, DeviceBit::DeviceName);
    bindText(proxyAddress, &DeviceFields::ProxyServerAddress, DeviceBit::ProxyServerAddress);
    bindText(proxyUser, &DeviceFields::ProxyServerUserName, DeviceBit::ProxyServerUserName);
    bindText(proxyPassword, &DeviceFields::ProxyServerPassword, DeviceBit::ProxyServerPassword);
    auto bindNumber = [this](QLineEdit *edit, std::int32_t DeviceFields::*field, std::uint64_t bit) {
        connect(edit, &QLineEdit::textChanged, this, [this, field, bit](const QString &text) {
            // An empty port reads as 0, which "Update" refuses.
            (*working_).*field = text.toInt();
            working_->markChanged(bit);
            changed();
        });
    };
    bindNumber(port, &DeviceFields::DevicePort, DeviceBit::DevicePort);
    bindNumber(proxyPort, &DeviceFields::ProxyServerPort, DeviceBit::ProxyServerPort);
    auto bindCheck = [this](QCheckBox *box, std::int32_t DeviceFields::*field, std::uint64_t bit) {
        connect(box, &QCheckBox::toggled, this, [this, field, bit](bool on) {
            (*working_).*field = on ? 1 : 0;
            working_->markChanged(bit);
            updateEnabling();
            changed();
        });
    };
    bindCheck(logging, &DeviceFields::LoggingEnabled, DeviceBit::LoggingEnabled);
    bindCheck(logFailures, &DeviceFields::LogQueryFailures, DeviceBit::LogQueryFailures);
    bindCheck(queryFailAlert, &DeviceFields::SendQueryFailMessage, DeviceBit::SendQueryFailMessage);
    bindCheck(dialer, &DeviceFields::EnableDialer, DeviceBit::EnableDialer);
    connect(useProxy, &YesNoField::changed, this, [this](bool yes) {
        working_->UseProxy = yes ? 1 : 0;
        working_->markChanged(DeviceBit::UseProxy);
        updateEnabling();
        changed();
    });
    connect(interval, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (filling_ || index < 0)
            return;
        working_->QueryInterval = intervalSeconds(index);
        working_->markChanged(DeviceBit::QueryInterval);
        changed();
        if (working_->QueryInterval < 30)
            context_.prompter.tell(this, MessageIcon::Exclamation, shortIntervalWarning());
    });
    connect(queryFailCount, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (filling_ || index < 0)
            return;
        working_->QueryFailThreshold = index + 1;
        working_->markChanged(DeviceBit::QueryFailThreshold);
        changed();
    });
    connect(dialerPort, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (filling_ || index < 0)
            return;
        working_->DialerPort = index + 1;
        working_->markChanged(DeviceBit::DialerPort);
        changed();
    });
    connect(testDialer, &QPushButton::clicked, this, [this] {
        context_.dialer.setEditedDevice(working_.get());
        context_.dialer.TriggerVoiceDialer(slot_, 1);
    });
    connect(emailDetails, &QPushButton::clicked, this, &CCfgDeviceDlg::editEmailDetails);
    connect(probesButton, &QPushButton::clicked, this, &CCfgDeviceDlg::configureProbes);
    connect(updateButton, &QPushButton::clicked, this, &CCfgDeviceDlg::update);
    connect(cancelButton, &QPushButton::clicked, this, &CCfgDeviceDlg::reject);
}

void CCfgDeviceDlg::changed()
{
    if (!filling_)
        updateButton->setEnabled(true);
}

void CCfgDeviceDlg::updateEnabling()
{
    for (QWidget *w : std::initializer_list<QWidget *>{proxyAddress, proxyPort, proxyUser, proxyPassword})
        w->setEnabled(useProxy->value());
    queryFailCount->setEnabled(queryFailAlert->isChecked());
    emailDetails->setEnabled(queryFailAlert->isChecked());
}

void CCfgDeviceDlg::editEmailDetails()
{
    CDeviceCfgEmailDlg dialog(context_, *working_, this);
    if (dialog.exec() == QDialog::Accepted)
        updateButton->setEnabled(true);
}

void CCfgDeviceDlg::configureProbes()
{
    CDeviceConfigSheet sheet(context_, *working_, this);
    if (sheet.exec() != QDialog::Accepted)
        return;
    for (int i = 0; i < working_->probeSlots(); ++i)
        if (ProbeRecord *p = working_->probe(i); p && sheet.scratch().probe(i))
            *p = *sheet.scratch().probe(i);
    updateButton->setEnabled(true);
}

void CCfgDeviceDlg::update()
{
    const QString problem = deviceSettingsProblem(context_.store, slot_, *working_);
    if (!problem.isEmpty()) {
        context_.prompter.tell(this, MessageIcon::Stop, problem);
        return;
    }
    QDialog::accept();
}

void CCfgDeviceDlg::reject()
{
    if (context_.prompter.ask(this, QStringLiteral("This will discard any changes you may have made\nto this device "
                                                   "or its probe configuration.\n\nAre you sure?")))
        QDialog::reject();
}

} // namespace cz
