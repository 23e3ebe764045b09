// The e-mail settings tests: a script that sends a test message to every
// recipient through the mailer, pausing after each so the mailer's output
// can be read.
#pragma once

#include "alerts/EmailQueue.h"
#include "alerts/EmailText.h"

#include <QByteArray>
#include <QString>

#include <functional>

namespace cz {

class DeviceStore;

// The fields a test reads, as they stand in the dialog.
struct EmailTestFields {
    QByteArray server, portText, user, password, recipients, sender;
    // Probe page test: the template path, the probe and group names, the
    // probe number and the consecutive-alarm list's selection index.
    QByteArray templatePath, probeName, groupName;
    int probeNumber = 0;
    int consecutiveIndex = 0;
    // Query-failure test: subject and body as typed.
    QByteArray subject, body;
};

// The steps both tests share once their body and subject are known: the
// recipients, the script and the job. `report` shows a fault; `run` starts
// the script in the console that shows it.
struct EmailTestContext {
    DeviceStore &store;
    std::function<void(const QString &message)> report;
    std::function<int(const QByteArray &scriptPath)> run;
};

// The probe page's test with sample values; `subjectTemplate` is chosen from
// the probe's stored subjects by its stored state. Returns false after
// reporting a fault.
bool runProbeEmailTest(const EmailTestContext &context, const EmailTestFields &fields,
                       const QByteArray &deviceName, const QByteArray &subjectTemplate, EmailQueue &queue);

// The device's query-failure test; the body's $DEVICE_NAME and
// $QUERY_THRESH come from the stored device.
bool runQueryFailureEmailTest(const EmailTestContext &context, const EmailTestFields &fields,
                              const QByteArray &deviceName, int queryFailThreshold, EmailQueue &queue);

// The e-mail test script: for every recipient the command, the echo lines
// and a pause until a line comes on standard input.
QByteArray emailTestScript(const MailCommand &command, const QList<QByteArray> &recipients);

} // namespace cz
