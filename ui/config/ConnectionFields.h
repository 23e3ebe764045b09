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
