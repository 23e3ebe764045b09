#include "alerts/EmailText.h"

#include "alerts/ShellQuote.h"
#include "store/CFormat.h"
#include "store/DeviceStore.h"
#include "store/History.h"
#include "store/Records.h"

#include <QFile>
#include <QFileInfo>

namespace cz {

QByteArray expandEmailVariables(QByteArray text, const EmailVariables &v)
{
    const std::pair<const char *, const QByteArray *> order[] = {
        {"$CURRENT_VALUE", &v.currentValue},     {"$ALARM_STATE", &v.alarmState},
        {"$ALARM_DATE", &v.alarmDate},           {"$ALARM_TIME", &v.alarmTime},
        {"$THRESH_EXCEEDED", &v.threshExceeded}, {"$PROBE_NAME", &v.probeName},
        {"$DEVICE_NAME", &v.deviceName},         {"$PROBE_NUMBER", &v.probeNumber},
        {"$GROUP_NAME", &v.groupName},           {"$CONSECUTIVE_COUNT", &v.consecutiveCount},
        {"$CONSECUTIVE_THRESH", &v.consecutiveThresh}};
    for (const auto &[name, value] : order)
        text.replace(name, *value);
    return text;
}

EmailVariables alertVariables(const DeviceRecord &device, const ProbeRecord &probe, const QByteArray &stateName,
                              double threshold)
{
    EmailVariables v;
    v.currentValue = probe.CurrentValueText.bytes();
    v.alarmState = stateName;
    v.alarmDate = longDateText(device.LastContactTimeVal);
    v.alarmTime = longTimeText(device.LastContactTimeVal);
    v.threshExceeded = threshold == kNoValue ? QByteArray("n/a") : formatFixed(threshold, 1);
    v.probeName = probe.ProbeName.bytes();
    v.deviceName = device.DeviceName.bytes();
    v.probeNumber = probeNumberText(probe.ProbeNumber);
    v.groupName = groupNameText(probe.GroupName.bytes());
    v.consecutiveCount = QByteArray::number(probe.ConsecutiveAlarmCount);
    v.consecutiveThresh = QByteArray::number(probe.ConsecutiveAlarmThreshold);
    return v;
}

QByteArray probeNumberText(int probeNumber)
{
    return QString::asprintf("%02d", probeNumber).toLatin1();
}

QByteArray groupNameText(const QByteArray &groupName)
{
    return groupName.isEmpty() ? QByteArray("(no group specified)") : groupName;
}

QByteArray expandQueryFailureBody(QByteArray body, const QByteArray &deviceName, int queryFailThreshold)
{
    body.replace("$DEVICE_NAME", deviceName);
    body.replace("$QUERY_THRESH", QByteArray::number(queryFailThreshold));
    return body;
}

namespace {

bool hasTxtExtension(const QByteArray &path)
{
    return QFileInfo(QFile::decodeName(path)).suffix().compare(QLatin1String("txt"), Qt::CaseInsensitive) == 0;
}

} // namespace

QByteArray templatePathOrDefault(const DeviceStore &store, const QByteArray &path)
{
    return path.isEmpty() || hasTxtExtension(path) ? path : store.folder().defaultEmailTemplate();
}

QByteArray subjectTemplate(const ProbeRecord &probe)
{
    QByteArray subject;
    switch (int(probe.AlarmState)) {
    case 0: subject = probe.EmailClearedSubject.bytes(); break;
    case 1:
    case 4: subject = probe.EmailAlarmSubject.bytes(); break;
    case 2:
    case 3: subject = probe.EmailCautionSubject.bytes(); break;
    default: break;
    }
    return subject.isEmpty() ? QByteArray(kDefaultSubject) : subject.left(256);
}

TextFileFault readAlertTextFile(const QByteArray &path, QByteArray &text)
{
    text.clear();
    QFile file(QFile::decodeName(path));
    if (path.isEmpty() || !file.open(QIODevice::ReadOnly))
        return TextFileFault::Open;
    const qint64 size = file.size();
    if (size == 0)
        return TextFileFault::Empty;
    if (size < 0 || size > 16384)
        return TextFileFault::TooLong;
    text = file.readAll();
    if (text.size() != size)
        return text.clear(), TextFileFault::ShortRead;
    if (const qsizetype nul = text.indexOf('\0'); nul >= 0)
        text.truncate(nul);
    return TextFileFault::None;
}

bool isRecipientListFile(const QByteArray &field)
{
    return hasTxtExtension(field);
}

QByteArray recipientList(QByteArray text)
{
    text.replace(" ", "");
    text.replace(",", "\r\n");
    text.replace(";", "\r\n");
    return text;
}

QByteArray readBackOver(const QByteArray &original, const QByteArray &list)
{
    return list.size() < original.size() ? list + original.mid(list.size()) : list;
}

QList<QByteArray> recipientTokens(const QByteArray &buffer)
{
    QList<QByteArray> tokens;
    QByteArray token;
    for (const char c : buffer) {
        if (c == '\r' || c == '\n') {
            if (!token.isEmpty())
                tokens.append(token);
            token.clear();
        } else {
            token += c;
        }
    }
    if (!token.isEmpty())
        tokens.append(token);
    return tokens;
}

QByteArray mailerPath(const DeviceStore &store)
{
    return QFile::encodeName(store.status().programFolder) + "/corvanta-mailer";
}

MailCommand mailCommandFor(const DeviceStore &store)
{
    MailCommand command;
    command.mailer = mailerPath(store);
    command.bodyFile = store.folder().emailBodyFile();
    return command;
}

QByteArray mailerCommandLine(const MailCommand &c, const QByteArray &recipient)
{
    QByteArray line = shellQuote(c.mailer) + ' ' + shellQuote(c.bodyFile) + " -server " + shellQuote(c.server) +
                      " -port " + QByteArray::number(c.port) + " -to " + shellQuote(recipient) + " -mailfrom " +
                      shellQuote(c.sender) + " -s " + shellQuote(c.subject);
    if (c.authenticate)
        line += " -u " + shellQuote(c.user) + " -pw " + shellQuote(c.password);
    line += " -noh2 -q";
    if (c.debug)
        line += " -debug";
    return line;
}

} // namespace cz
