// The texts of alert e-mail: variable expansion, state names, subjects,
// recipient lists and the mailer command lines of the scripts.
#pragma once

#include "store/Records.h"

#include <QByteArray>
#include <QList>

#include <cstdint>

namespace cz {

class DeviceStore;
struct DeviceRecord;
struct ProbeRecord;

// The values of the e-mail variables, in the order they are replaced.
struct EmailVariables {
    QByteArray currentValue, alarmState, alarmDate, alarmTime, threshExceeded, probeName, deviceName,
        probeNumber, groupName, consecutiveCount, consecutiveThresh;
};

// Replaces every variable, one after the other in a fixed order, so a value
// that holds a later variable's name is replaced in turn.
QByteArray expandEmailVariables(QByteArray text, const EmailVariables &values);

// The variables of a real alert on `probe`; `stateName` as chosen for it.
EmailVariables alertVariables(const DeviceRecord &device, const ProbeRecord &probe, const QByteArray &stateName,
                              double threshold);

// "%02d" of a probe number, and a group name or "(no group specified)".
QByteArray probeNumberText(int probeNumber);
QByteArray groupNameText(const QByteArray &groupName);

// The query-failure body: $DEVICE_NAME, then $QUERY_THRESH, replaced.
QByteArray expandQueryFailureBody(QByteArray body, const QByteArray &deviceName, int queryFailThreshold);

// The template to read: an empty path stays empty (and fails to open), one
// whose extension is not ".txt" gives the default template.
QByteArray templatePathOrDefault(const DeviceStore &store, const QByteArray &path);

// The subject field for the probe's alarm state, or the default one.
QByteArray subjectTemplate(const ProbeRecord &probe);

// Reads a template or recipient list whole: 1 to 16,384 bytes, cut at the
// first NUL.
enum class TextFileFault { None, Open, Empty, TooLong, ShortRead };
TextFileFault readAlertTextFile(const QByteArray &path, QByteArray &text);

// True when the recipient field names a list file (extension ".txt").
bool isRecipientListFile(const QByteArray &field);

// Blanks removed, "," and ";" turned into CR LF.
QByteArray recipientList(QByteArray text);

// What the recipient buffer holds after the list was written out and read
// back over the text it came from without clearing it: the list, then the
// rest of the longer original text.
QByteArray readBackOver(const QByteArray &original, const QByteArray &list);

// The recipients: the pieces between CR and LF characters.
QList<QByteArray> recipientTokens(const QByteArray &buffer);

// The mail settings of one command line.
struct MailCommand {
    QByteArray mailer, bodyFile, server;
    int port = 25;
    QByteArray sender, subject, user, password;
    bool authenticate = false;
    bool debug = false;
};

// The mailer next to this program.
QByteArray mailerPath(const DeviceStore &store);
// A command that sends the body working file through that mailer.
MailCommand mailCommandFor(const DeviceStore &store);

// One mailer command line for `recipient`, every argument single-quoted.
QByteArray mailerCommandLine(const MailCommand &c, const QByteArray &recipient);

} // namespace cz
