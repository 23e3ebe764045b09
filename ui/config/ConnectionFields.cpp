#include "ui/config/ConnectionFields.h"

#include "ui/widgets/FormWidgets.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>
#include <QVBoxLayout>

namespace cz {

int intervalSeconds(int index)
{
    const int n = int(std::size(kIntervalChoices));
    return index >= 0 && index < n ? kIntervalChoices[index].seconds : 30;
}

int intervalIndex(int seconds)
{
    for (int i = 0; i < int(std::size(kIntervalChoices)); ++i)
        if (kIntervalChoices[i].seconds == seconds)
            return i;
    return -1;
}

ConnectionFields addConnectionFields(QWidget *dialog, QVBoxLayout *layout, QWidget *modelField)
{
    ConnectionFields f;
    auto *grid = new QGridLayout;
    f.address = textField(2049, dialog);
    f.address->setMinimumWidth(360);
    f.name = textField(65, dialog);
    f.port = numberField(5, dialog);
    f.port->setMaximumWidth(90);
    f.interval = new QComboBox(dialog);
    for (const IntervalChoice &c : kIntervalChoices)
        f.interval->addItem(QString::fromLatin1(c.text));
    f.interval->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    addRow(grid, 0, QStringLiteral("The IP address or domain name for this device:"), f.address);
    addRow(grid, 1, QStringLiteral("Device Name:"), f.name);
    auto *portRow = new QHBoxLayout;
    portRow->addWidget(f.port);
    portRow->addStretch(1);
    grid->addWidget(buddyLabel(QStringLiteral("Internet query port (normally port 80):"), f.port, dialog), 2, 0);
    grid->addLayout(portRow, 2, 1);
    auto *modelRow = new QHBoxLayout;
    modelRow->addWidget(modelField);
    modelRow->addSpacing(16);
    modelRow->addWidget(buddyLabel(QStringLiteral("Device Query Interval"), f.interval, dialog));
    modelRow->addWidget(f.interval);
    modelRow->addStretch(1);
    grid->addWidget(buddyLabel(QStringLiteral("Device Model:"), modelField, dialog), 3, 0);
    grid->addLayout(modelRow, 3, 1);
    grid->setColumnStretch(1, 1);
    layout->addLayout(grid);

    f.logging = new QCheckBox(QStringLiteral("Data and status logging enabled for this device."), dialog);
    f.logFailures = new QCheckBox(QStringLiteral("Log all device query failures."), dialog);
    layout->addWidget(f.logging);
    layout->addWidget(f.logFailures);

    auto *proxyBox = new QGroupBox(dialog);
    auto *proxyGrid = new QGridLayout(proxyBox);
    const QString proxyQuestion =
        QStringLiteral("Corvanta Zephtra contacts the device through an Internet proxy server:");
    f.useProxy = new YesNoField(proxyQuestion, proxyBox);
    proxyGrid->addWidget(buddyLabel(proxyQuestion, f.useProxy->yesButton(), proxyBox), 0, 0, 1, 2);
    proxyGrid->addWidget(f.useProxy, 0, 2, 1, 2);
    f.proxyAddress = textField(2049, proxyBox);
    f.proxyPort = numberField(5, proxyBox);
    f.proxyPort->setMaximumWidth(90);
    f.proxyUser = textField(65, proxyBox);
    f.proxyPassword = textField(65, proxyBox, QLineEdit::Password);
    proxyGrid->addWidget(
        buddyLabel(QStringLiteral("Proxy server IP address or domain name:"), f.proxyAddress, proxyBox), 1, 0);
    proxyGrid->addWidget(f.proxyAddress, 1, 1, 1, 3);
    proxyGrid->addWidget(buddyLabel(QStringLiteral("Proxy server port:"), f.proxyPort, proxyBox), 2, 0);
    proxyGrid->addWidget(f.proxyPort, 2, 1);
    proxyGrid->addWidget(buddyLabel(QStringLiteral("Proxy server user name:"), f.proxyUser, proxyBox), 3, 0);
    proxyGrid->addWidget(f.proxyUser, 3, 1);
    proxyGrid->addWidget(buddyLabel(QStringLiteral("Proxy server password:"), f.proxyPassword, proxyBox), 3, 2);
    proxyGrid->addWidget(f.proxyPassword, 3, 3);
    proxyGrid->setColumnStretch(1, 1);
    proxyGrid->setColumnStretch(3, 1);
    layout->addWidget(proxyBox);
    return f;
}

QString shortIntervalWarning()
{
    return QStringLiteral("Setting the query interval to a value\nless than 30 seconds may increase the\nnumber of "
                          "failed queries due to device\nresponse time limits and network latency.\n");
}

} // namespace cz
