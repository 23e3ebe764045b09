// The query-failure e-mail and the e-mail tests share one path once their
// body and subject are known: recipients, "email_test.sh", and the working
// files removed 3 s after a good start.
#pragma once

#include "alerts/EmailText.h"

#include <QByteArray>

#include <functional>

namespace cz {

class EmailQueue;

struct ScriptMail {
    // What the mail is about, for the error log.
    QByteArray summary;
    MailCommand command;
    QByteArray body;
    QByteArray recipientField;
    // The test script with echo lines and pauses, else command lines only.
    bool interactive = false;
    // Shows a fault, worded as the e-mail test words it ("Error opening
    // email body working file.\n", ...).
    std::function<void(const QByteArray &text)> fault;
    // Runs the script in a console; empty: started detached, its output
    // going to ours.
    std::function<int(const QByteArray &scriptPath)> run;
};

void queueScriptMail(EmailQueue &queue, ScriptMail mail);

} // namespace cz
