// The fields "Add A Device" and "Configure A Device" share: address, name,
// port, model, interval, logging and proxy, laid out the same in both.
#pragma once

#include <QString>

class QCheckBox;
class QComboBox;
class QLineEdit;
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

// The warning a query interval under 30 seconds gives.
QString shortIntervalWarning();

} // namespace cz
