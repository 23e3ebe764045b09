// The fields "Add A Device" and "Configure A Device" share: address, name,
// port, model, interval, logging and proxy, laid out the same in both.
#pragma once

#include "store/DeviceFile.h"
#include "ui/widgets/FieldBinding.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QString>

class QVBoxLayout;
class QWidget;

namespace cz {

class YesNoField;

// The query interval list: text and seconds.
struct IntervalChoice {
    const char *text;
    int seconds;
};
inline constexpr IntervalChoice kIntervalChoices[] = {
    {"5 secs.", 5},    {"10 secs.", 10},  {"15 secs.", 15},   {"30 secs.", 30},   {"1 min.", 60},
    {"2 mins.", 120},  {"3 mins.", 180},  {"4 mins.", 240},   {"5 mins.", 300},   {"10 mins.", 600},
    {"15 mins.", 900}, {"30 mins.", 1800}, {"1 hour", 3600}};
// Seconds for a list index; any other index gives 30.
int intervalSeconds(int index);
// The list index of `seconds`, -1 when the list does not hold it.
int intervalIndex(int seconds);

struct ConnectionFields {
    QLineEdit *address, *name, *port;
    QComboBox *interval;
    QCheckBox *logging, *logFailures;
    YesNoField *useProxy;
    QLineEdit *proxyAddress, *proxyPort, *proxyUser, *proxyPassword;
};

// Adds the fields to `layout`; `modelField` (a list or a fixed text) goes
// after "Device Model:".
ConnectionFields addConnectionFields(QWidget *dialog, QVBoxLayout *layout, QWidget *modelField);

// Binds the fields to a device record (or the typed part of one).
template <class Record>
void bindConnectionFields(FieldBinding<Record> &bind, const ConnectionFields &f)
{
    bind.text(f.address, &Record::DeviceAddress, "DeviceAddress");
    bind.text(f.name, &Record::DeviceName, "DeviceName");
    // An empty port reads as 0, which is refused when the device is checked.
    bind.number(f.port, &Record::DevicePort, "DevicePort");
    bind.choice(
        f.interval, [](const Record &d) { return intervalIndex(d.QueryInterval); },
        [](Record &d, int k) { d.QueryInterval = intervalSeconds(k); }, "QueryInterval");
    bind.flag(f.logging, &Record::LoggingEnabled, "LoggingEnabled");
    bind.flag(f.logFailures, &Record::LogQueryFailures, "LogQueryFailures");
    bind.flag(f.useProxy, &Record::UseProxy, "UseProxy");
    bind.text(f.proxyAddress, &Record::ProxyServerAddress, "ProxyServerAddress");
    bind.number(f.proxyPort, &Record::ProxyServerPort, "ProxyServerPort");
    bind.text(f.proxyUser, &Record::ProxyServerUserName, "ProxyServerUserName");
    bind.text(f.proxyPassword, &Record::ProxyServerPassword, "ProxyServerPassword");
}

// The warning a query interval under 30 seconds gives.
QString shortIntervalWarning();

} // namespace cz
