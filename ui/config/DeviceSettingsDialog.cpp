#include "ui/config/DeviceSettingsDialog.h"

#include "alerts/VoiceDialer.h"
#include "store/DeviceFile.h"
#include "store/DeviceSettingsCheck.h"
#include "store/DeviceStore.h"
#include "ui/config/ProbeSettingsSheet.h"
#include "ui/config/QueryFailureEmailDialog.h"
#include "ui/Prompter.h"
#include "ui/widgets/FieldBinding.h"
#include "ui/widgets/FormWidgets.h"
#include "ui/WindowContext.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

namespace cz {

namespace {

constexpr int kQueryFailEntries = 20;
constexpr int kDialerPorts = 16;

} // namespace

DeviceSettingsDialog::DeviceSettingsDialog(WindowContext &context, int slot, QWidget *parent)
    : QDialog(parent), context_(context), slot_(slot), working_(workingCopy(*context.store.device(slot)))
{
    setWindowTitle(QStringLiteral("Configure A Device"));
    auto *layout = new QVBoxLayout(this);

    auto *model = new QLineEdit(working_->DeviceModel.str(), this);
    model->setReadOnly(true);
    model->setMaximumWidth(160);
    fields_ = addConnectionFields(this, layout, model);

    auto *alertBox = new QGroupBox(this);
    auto *alertGrid = new QGridLayout(alertBox);
    queryFailAlert_ =
        new QCheckBox(QStringLiteral("Send an alert message if this device does not respond for"), alertBox);
    queryFailCount_ = new QComboBox(alertBox);
    for (int i = 1; i <= kQueryFailEntries; ++i)
        queryFailCount_->addItem(QString::number(i));
    queryFailCount_->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    queryFailCount_->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    emailDetails_ = plainButton(QStringLiteral("Email Recipient and Configuration Details"), alertBox);
    auto *countRow = new QHBoxLayout;
    countRow->addWidget(queryFailCount_);
    countRow->addWidget(buddyLabel(QStringLiteral("consecutive queries."), queryFailCount_, alertBox));
    countRow->addStretch(1);
    alertGrid->addWidget(queryFailAlert_, 0, 0);
    alertGrid->addLayout(countRow, 0, 1, 1, 3);
    alertGrid->addWidget(emailDetails_, 1, 0, 1, 3, Qt::AlignLeft);
    auto *dialer = new QCheckBox(QStringLiteral("Enable voice dialer for this device on this serial port:"), alertBox);
    auto *dialerPort = new QComboBox(alertBox);
    dialerPort->setAccessibleName(dialer->text());
    for (int n = 1; n <= kDialerPorts; ++n)
        dialerPort->addItem(QStringLiteral("COM%1 (%2)").arg(n).arg(QString::fromUtf8(context.dialer.portName(n))));
    QPushButton *testDialer = plainButton(QStringLiteral("Test Dialer"), alertBox);
    alertGrid->addWidget(dialer, 2, 0);
    alertGrid->addWidget(dialerPort, 2, 1);
    alertGrid->addWidget(testDialer, 2, 2, Qt::AlignLeft);
    alertGrid->setColumnStretch(3, 1);
    layout->addWidget(alertBox);

    auto *buttons = new QDialogButtonBox(this);
    update_ = buttons->addButton(QStringLiteral("Update"), QDialogButtonBox::AcceptRole);
    update_->setDefault(true);
    update_->setEnabled(false);
    QPushButton *probes = buttons->addButton(QStringLiteral("Configure Probes"), QDialogButtonBox::ActionRole);
    QPushButton *cancel = buttons->addButton(QDialogButtonBox::Cancel);
    for (QPushButton *b : {probes, cancel})
        b->setAutoDefault(false);
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &DeviceSettingsDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &DeviceSettingsDialog::reject);

    const ConnectionFields &f = fields_;
    chainTabOrder({f.address, f.name, f.port, f.interval, f.logging, f.logFailures, f.useProxy->yesButton(),
                   f.useProxy->noButton(), f.proxyAddress, f.proxyPort, f.proxyUser, f.proxyPassword, queryFailAlert_,
                   queryFailCount_, emailDetails_, dialer, dialerPort, testDialer, buttons});

    FieldBinding<DeviceRecord> bind(this, [this]() -> DeviceRecord & { return *working_; },
                                    [this](const char *key) {
                                        if (key)
                                            working_->markChanged(key);
                                        edited();
                                    });
    bindConnectionFields(bind, f);
    bind.flag(queryFailAlert_, &DeviceRecord::SendQueryFailMessage, "SendQueryFailMessage");
    bind.choice(
        queryFailCount_, [](const DeviceRecord &d) { return qBound(0, d.QueryFailThreshold - 1, kQueryFailEntries - 1); },
        [](DeviceRecord &d, int k) { d.QueryFailThreshold = k + 1; }, "QueryFailThreshold");
    bind.flag(dialer, &DeviceRecord::EnableDialer, "EnableDialer");
    bind.choice(
        dialerPort, [](const DeviceRecord &d) { return qBound(0, d.DialerPort - 1, kDialerPorts - 1); },
        [](DeviceRecord &d, int k) { d.DialerPort = k + 1; }, "DialerPort");
    bind.fill();
    updateEnabling();

    connect(f.interval, &QComboBox::activated, this, [this] {
        if (working_->QueryInterval < 30)
            context_.prompter.tell(this, MessageIcon::Exclamation, shortIntervalWarning());
    });
    connect(testDialer, &QPushButton::clicked, this, [this] {
        context_.dialer.setEditedDevice(working_.get());
        context_.dialer.trigger(slot_, 1);
    });
    connect(emailDetails_, &QPushButton::clicked, this, &DeviceSettingsDialog::editEmailDetails);
    connect(probes, &QPushButton::clicked, this, &DeviceSettingsDialog::configureProbes);
}

DeviceSettingsDialog::~DeviceSettingsDialog()
{
    // A dialer test still pulsing reads no record that is gone.
    context_.dialer.setEditedDevice(nullptr);
}

void DeviceSettingsDialog::edited()
{
    update_->setEnabled(true);
    updateEnabling();
}

void DeviceSettingsDialog::updateEnabling()
{
    for (QWidget *w : std::initializer_list<QWidget *>{fields_.proxyAddress, fields_.proxyPort, fields_.proxyUser,
                                                       fields_.proxyPassword})
        w->setEnabled(working_->UseProxy != 0);
    queryFailCount_->setEnabled(working_->SendQueryFailMessage != 0);
    emailDetails_->setEnabled(working_->SendQueryFailMessage != 0);
}

void DeviceSettingsDialog::editEmailDetails()
{
    QueryFailureEmailDialog dialog(context_, *working_, this);
    if (dialog.exec() == QDialog::Accepted)
        update_->setEnabled(true);
}

void DeviceSettingsDialog::configureProbes()
{
    ProbeSettingsSheet sheet(context_, *working_, this);
    if (sheet.exec() != QDialog::Accepted)
        return;
    for (int i = 0; i < working_->probeSlots(); ++i)
        if (ProbeRecord *p = working_->probe(i); p && sheet.edited().probe(i))
            *p = *sheet.edited().probe(i);
    update_->setEnabled(true);
}

void DeviceSettingsDialog::accept()
{
    const QString problem = deviceSettingsProblem(context_.store, slot_, *working_);
    if (!problem.isEmpty()) {
        context_.prompter.tell(this, MessageIcon::Stop, problem);
        return;
    }
    QDialog::accept();
}

void DeviceSettingsDialog::reject()
{
    if (context_.prompter.ask(this, QStringLiteral("This will discard any changes you may have made\nto this device "
                                                   "or its probe configuration.\n\nAre you sure?")))
        QDialog::reject();
}

} // namespace cz
