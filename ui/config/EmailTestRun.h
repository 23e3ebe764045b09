// What the e-mail test buttons of the probe page and of the query-failure
// e-mail dialog share: the fields as typed, and the context the test
// reports and runs its script in.
#pragma once

#include "alerts/EmailTest.h"

class QLineEdit;
class QWidget;

namespace cz {

struct WindowContext;

// The report and run callbacks of the e-mail tests, for a dialog that may
// be gone by the time a queued test reports.
EmailTestContext emailTestContext(WindowContext &context, QWidget *dialog);

// The connection fields of an e-mail test, as typed.
EmailTestFields mailConnectionFields(const QLineEdit *server, const QLineEdit *port, const QLineEdit *user,
                                     const QLineEdit *password, const QLineEdit *recipients, const QLineEdit *sender);

} // namespace cz
