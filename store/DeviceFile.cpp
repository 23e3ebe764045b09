#include "store/DeviceFile.h"

#include "store/CFormat.h"
#include "store/IniFile.h"

#include <QFile>

#include <algorithm>
#include <cstdio>
#include <optional>
#include <type_traits>

namespace cz {
namespace {

const QByteArray kDeviceSection = "Device";

template <class Rec>
struct KeyDef {
    const char *name;
    // The key whose change saves this one too (keys always saved together
    // name the same one); null: only its own.
    const char *savedWith;
    std::optional<QByteArray> (*write)(const Rec &);
    // null for a key that is written only
    void (*read)(Rec &, const IniFile &, const QByteArray &section, const char *key, int probeIndex);
    bool text;
    // A key that stays out of a file that lacks it while it holds this value
    // (a setting the other edition does not know, left at its default).
    const char *absentAs = nullptr;
};

template <class Rec, class T>
T memberType(T Rec::*);

constexpr const char *savedWith(const char *key = nullptr)
{
    return key;
}

// Writers -------------------------------------------------------------

template <auto M, class Rec>
std::optional<QByteArray> writeNumber(const Rec &r)
{
    return QByteArray::number(static_cast<qint64>(r.*M));
}

template <auto M, class Rec>
std::optional<QByteArray> writeText(const Rec &r)
{
    return (r.*M).bytes();
}

template <auto M, class Rec>
std::optional<QByteArray> writeTemp(const Rec &r)
{
    const double v = r.*M;
    if (v == kNoTemp)
        return std::nullopt;
    return formatFixed(v, 2);
}

// Readers -------------------------------------------------------------

// Keys are read into a new record, so an absent key keeps the record's own
// default: each default is written once, in Records.h.
template <auto M, class Rec>
void readProfileInt(Rec &r, const IniFile &ini, const QByteArray &s, const char *key, int)
{
    using T = decltype(memberType(M));
    r.*M = static_cast<T>(ini.readInt(s, key, static_cast<std::int32_t>(r.*M)));
}

template <auto M, class Rec>
void readLong(Rec &r, const IniFile &ini, const QByteArray &s, const char *key, int)
{
    r.*M = parseInt32(ini.readString(s, key, "0", 256));
}

template <auto M, class Rec>
void readTime(Rec &r, const IniFile &ini, const QByteArray &s, const char *key, int)
{
    r.*M = parseInteger(ini.readString(s, key, "0", 256));
}

template <auto M, class Rec>
void readTemp(Rec &r, const IniFile &ini, const QByteArray &s, const char *key, int)
{
    r.*M = parseDouble(ini.readString(s, key, "0", 256));
}

template <auto M, class Rec>
void readText(Rec &r, const IniFile &ini, const QByteArray &s, const char *key, int)
{
    using T = decltype(memberType(M));
    (r.*M).assign(ini.readString(s, key, (r.*M).bytes(), int(T::capacity)));
}

using D = DeviceRecord;
using P = ProbeRecord;

// Key definitions, in file order. Number keys are profile integers unless
// "long" (read as text and converted, as colours, group numbers, humidity
// and times are). The last argument, when given, is the key whose change
// saves this one too.
#define CZ_INT(R, F, ...) {#F, savedWith(__VA_ARGS__), &writeNumber<&R::F, R>, &readProfileInt<&R::F, R>, false}
#define CZ_LONG(R, F, ...) {#F, savedWith(__VA_ARGS__), &writeNumber<&R::F, R>, &readLong<&R::F, R>, false}
#define CZ_TIME(R, F, ...) {#F, savedWith(__VA_ARGS__), &writeNumber<&R::F, R>, &readTime<&R::F, R>, false}
#define CZ_TEMP(R, F, ...) {#F, savedWith(__VA_ARGS__), &writeTemp<&R::F, R>, &readTemp<&R::F, R>, false}
#define CZ_TEXT(R, F, ...) {#F, savedWith(__VA_ARGS__), &writeText<&R::F, R>, &readText<&R::F, R>, true}
// A "...Date" key holds the same time as its "...TimeVal" field and, being
// read later, wins over it; it is saved with that extreme.
#define CZ_DATE(KEY, F, WITH) {KEY, WITH, &writeNumber<&P::F, P>, &readTime<&P::F, P>, false}

const KeyDef<D> kDeviceKeys[] = {
    CZ_INT(D, DevicePort),
    CZ_INT(D, ProbeCount),
    CZ_INT(D, UseProxy),
    {"LastContactTimeVal", nullptr, &writeNumber<&D::LastContactTimeVal, D>, nullptr, false},
    CZ_INT(D, DisplayUnits),
    CZ_INT(D, QueryInterval),
    CZ_TEXT(D, DeviceName),
    CZ_TEXT(D, DeviceAddress),
    CZ_TEXT(D, DeviceModel),
    CZ_TEXT(D, DeviceVersion),
    CZ_TEXT(D, DeviceSerial),
    CZ_INT(D, ProxyServerPort),
    CZ_TEXT(D, ProxyServerAddress),
    CZ_TEXT(D, ProxyServerUserName),
    CZ_TEXT(D, ProxyServerPassword),
    CZ_INT(D, QueryFailThreshold),
    CZ_INT(D, SendQueryFailMessage),
    CZ_INT(D, ShowProbeNamesInLegend),
    CZ_TEXT(D, SMTPServerName),
    CZ_INT(D, SMTPServerPort),
    CZ_TEXT(D, EmailFromAddress),
    CZ_TEXT(D, EmailToAddress),
    CZ_TEXT(D, SMTPUsername),
    CZ_TEXT(D, SMTPPassword),
    CZ_TEXT(D, EmailSubjectText),
    CZ_TEXT(D, EmailBodyText),
    CZ_INT(D, EnableDialer),
    CZ_INT(D, LoggingEnabled),
    CZ_INT(D, LogQueryFailures),
    CZ_INT(D, DialerPort),
    CZ_INT(D, PlotLineWidth),
    // Written only once the device has been renamed.
    {"PreviousNames", nullptr, &writeText<&D::PreviousNames, D>, &readText<&D::PreviousNames, D>, true, ""},
};

void readChartSymbol(P &p, const IniFile &ini, const QByteArray &s, const char *key, int probeIndex)
{
    p.ChartDataSymbol = parseInt32(ini.readString(s, key, QByteArray::number(defaultChartSymbol(probeIndex)), 256));
}

void readChartColor(P &p, const IniFile &ini, const QByteArray &s, const char *key, int probeIndex)
{
    p.ChartDataColor = parseInt32(ini.readString(s, key, QByteArray::number(defaultChartColor(probeIndex)), 256));
}

// The lowest temperature key is written from the lowest temperature's time
// and read back as a temperature: a saved file holds a time number there,
// which stands as the lowest temperature until a lower reading replaces it.
std::optional<QByteArray> writeLowestTemp(const P &p)
{
    return QByteArray::number(static_cast<qint64>(p.LowestTempTimeVal));
}

std::optional<QByteArray> writeSwitchStateIndex(const P &p)
{
    return QByteArray::number(p.SwitchState);
}

const KeyDef<P> kProbeKeys[] = {
    CZ_INT(P, DeviceNumber, "ProbeNumber"),
    CZ_INT(P, ProbeNumber),
    CZ_INT(P, ConsecutiveAlarmCount, "AlarmState"),
    CZ_INT(P, ConsecutiveAlarmThreshold),
    CZ_INT(P, DisplayUnits),
    CZ_INT(P, ProbeType),
    CZ_INT(P, ProbeEnabled),
    CZ_INT(P, SendAlarmEmail),
    CZ_INT(P, SendCautionEmail),
    CZ_INT(P, SendClearEmail),
    CZ_INT(P, AlarmSound),
    CZ_INT(P, CautionSound),
    CZ_INT(P, RunProgramAlarm),
    CZ_INT(P, RunProgramCaution),
    CZ_INT(P, RunProgramClear),
    CZ_INT(P, TriggerDialerAlarm),
    CZ_INT(P, TriggerDialerCaution),
    CZ_INT(P, TriggerDialerClear),
    CZ_INT(P, AlarmState),
    CZ_TIME(P, LastAlarmSetTimeVal),
    CZ_TIME(P, LastAlarmClearedTimeVal),
    CZ_TIME(P, HighestTempTimeVal, "HighestTemp"),
    CZ_TIME(P, LowestTempTimeVal, "LowestTemp"),
    CZ_TIME(P, HighestHumidityTimeVal, "HighestHumidity"),
    CZ_TIME(P, LowestHumidityTimeVal, "LowestHumidity"),
    CZ_TIME(P, HighestWetnessTimeVal, "HighestWetness"),
    CZ_TIME(P, LowestWetnessTimeVal, "LowestWetness"),
    CZ_TIME(P, SwitchOpenTimeVal, "SwitchState"),
    CZ_TIME(P, SwitchCloseTimeVal, "SwitchState"),
    {"ChartDataSymbol", "ChartDataColor", &writeNumber<&P::ChartDataSymbol, P>, &readChartSymbol, false},
    {"ChartDataColor", nullptr, &writeNumber<&P::ChartDataColor, P>, &readChartColor, false},
    CZ_TEXT(P, ProbeName),
    CZ_TEXT(P, GroupName),
    CZ_LONG(P, GroupNumber),
    CZ_TEXT(P, EmailTo),
    CZ_TEXT(P, EmailFrom),
    CZ_TEXT(P, SMTPServer),
    CZ_INT(P, SMTPPort),
    CZ_TEXT(P, EmailSMTPUser),
    CZ_TEXT(P, EmailSMTPPass),
    CZ_TEXT(P, EmailTemplate),
    CZ_TEXT(P, EmailAlarmSubject),
    CZ_TEXT(P, EmailCautionSubject),
    CZ_TEXT(P, EmailClearedSubject),
    CZ_TEXT(P, AlarmSoundFile),
    CZ_TEXT(P, CautionSoundFile),
    CZ_TEXT(P, LogFile),
    CZ_TEXT(P, DataLogFile),
    CZ_TEXT(P, Notes),
    CZ_TEXT(P, ProgramAlarm),
    CZ_TEXT(P, ProgramCaution),
    CZ_TEXT(P, ProgramClear),
    CZ_TEMP(P, HighAlarmTemp),
    CZ_TEMP(P, HighCautionTemp),
    CZ_TEMP(P, LowCautionTemp),
    CZ_TEMP(P, LowAlarmTemp),
    // Written only once it has been set.
    {"ClearMargin", nullptr, &writeTemp<&P::ClearMargin, P>, &readTemp<&P::ClearMargin, P>,
     false, "0.00"},
    CZ_TEMP(P, CurrentTemp),
    CZ_TEMP(P, HighestTemp),
    CZ_DATE("HighestTempDate", HighestTempTimeVal, "HighestTemp"),
    {"LowestTemp", nullptr, &writeLowestTemp, &readTemp<&P::LowestTemp, P>, false},
    CZ_DATE("LowestTempDate", LowestTempTimeVal, "LowestTemp"),
    CZ_LONG(P, HighAlarmHumidity),
    CZ_LONG(P, HighCautionHumidity),
    CZ_LONG(P, LowCautionHumidity),
    CZ_LONG(P, LowAlarmHumidity),
    CZ_LONG(P, CurrentHumidity),
    CZ_LONG(P, HighestHumidity),
    CZ_DATE("HighestHumidityDate", HighestHumidityTimeVal, "HighestHumidity"),
    CZ_LONG(P, LowestHumidity),
    CZ_DATE("LowestHumidityDate", LowestHumidityTimeVal, "LowestHumidity"),
    CZ_LONG(P, HighAlarmWetness),
    CZ_LONG(P, HighCautionWetness),
    CZ_LONG(P, LowCautionWetness),
    CZ_LONG(P, LowAlarmWetness),
    CZ_LONG(P, CurrentWetness, "SwitchState"),
    CZ_LONG(P, HighestWetness),
    CZ_DATE("HighestWetnessDate", HighestWetnessTimeVal, "HighestWetness"),
    CZ_LONG(P, LowestWetness),
    CZ_DATE("LowestWetnessDate", LowestWetnessTimeVal, "LowestWetness"),
    CZ_INT(P, SwitchAlarmCondition),
    {"SwitchStateIndex", "SwitchState", &writeSwitchStateIndex, nullptr, false},
    CZ_INT(P, SwitchState),
    CZ_DATE("LastSwitchOpenDate", SwitchOpenTimeVal, "SwitchState"),
    CZ_DATE("LastSwitchCloseDate", SwitchCloseTimeVal, "SwitchState"),
};

#undef CZ_INT
#undef CZ_LONG
#undef CZ_TIME
#undef CZ_TEMP
#undef CZ_TEXT
#undef CZ_DATE

template <class Rec, std::size_t N>
void readKeys(const KeyDef<Rec> (&keys)[N], const IniFile &ini, const QByteArray &section, int probeIndex, Rec &r)
{
    for (const KeyDef<Rec> &k : keys)
        if (k.read)
            k.read(r, ini, section, k.name, probeIndex);
}

template <class Rec>
const char *groupOf(const KeyDef<Rec> &k)
{
    return k.savedWith ? k.savedWith : k.name;
}

// The keys to save: every key marked, and the keys saved with it.
template <class Rec, std::size_t N>
QList<QByteArray> groupsToSave(const KeyDef<Rec> (&keys)[N], const ChangedKeys &changed)
{
    QList<QByteArray> groups;
    for (const QByteArray &marked : changed.keys()) {
        const KeyDef<Rec> *k = std::find_if(std::begin(keys), std::end(keys),
                                            [&](const KeyDef<Rec> &d) { return marked == d.name; });
        Q_ASSERT_X(k != std::end(keys), "ChangedKeys", "a key the device file does not have was marked");
        if (k != std::end(keys) && !groups.contains(groupOf(*k)))
            groups.append(groupOf(*k));
    }
    return groups;
}

template <class Rec, std::size_t N>
void putKeys(const KeyDef<Rec> (&keys)[N], IniFile &ini, const QByteArray &section, const Rec &r,
             const ChangedKeys &changed, int probeIndex, std::vector<WrittenKey> &written)
{
    const QList<QByteArray> groups = changed.all() ? QList<QByteArray>() : groupsToSave(keys, changed);
    for (const KeyDef<Rec> &k : keys) {
        if (!changed.all() && !groups.contains(groupOf(k)))
            continue;
        const std::optional<QByteArray> v = k.write(r);
        if (!v)
            continue;
        if (!k.absentAs)
            ini.setValue(section, k.name, *v);
        else if (!ini.setOptionalValue(section, k.name, *v, k.absentAs))
            continue;
        written.push_back({probeIndex, k.name, *v});
    }
}

template <class Rec, std::size_t N>
void markKeys(const KeyDef<Rec> (&keys)[N], const Rec &live, Rec &edited)
{
    for (const KeyDef<Rec> &k : keys) {
        const QByteArray a = k.write(live).value_or(QByteArray());
        const QByteArray b = k.write(edited).value_or(QByteArray());
        const bool same = k.text ? a.compare(b, Qt::CaseInsensitive) == 0 : a == b;
        if (!same)
            edited.markChanged(k.name);
    }
}

QByteArray readTemplate(const QByteArray &path, const char *what, QStringList *errors)
{
    QFile f(QFile::decodeName(path));
    QByteArray text;
    if (f.open(QIODevice::ReadOnly))
        text = f.read(4096);
    if (!f.isOpen() || f.error() != QFileDevice::NoError)
        errors->append(QStringLiteral("Error reading %1 template file.\n").arg(QLatin1String(what)));
    return text;
}

} // namespace

QByteArray probeSection(int probeNumber)
{
    char buf[16];
    std::snprintf(buf, sizeof buf, "Probe%02d", probeNumber);
    return buf;
}

void readDeviceKeys(const IniFile &ini, DeviceRecord &device)
{
    readKeys(kDeviceKeys, ini, kDeviceSection, -1, device);
}

void readProbeKeys(const IniFile &ini, int probeIndex, ProbeRecord &probe)
{
    readKeys(kProbeKeys, ini, probeSection(probeIndex + 1), probeIndex, probe);
}

std::vector<WrittenKey> putDeviceKeys(IniFile &ini, const DeviceRecord &device, bool writeAll)
{
    std::vector<WrittenKey> written;
    ChangedKeys every;
    every.markAll();
    putKeys(kDeviceKeys, ini, kDeviceSection, static_cast<const DeviceRecord &>(device),
            writeAll ? every : device.Changed, -1, written);
    for (int i = 0; i < device.probeSlots(); ++i) {
        const ProbeRecord *p = device.probe(i);
        if (p)
            putKeys(kProbeKeys, ini, probeSection(i + 1), *p, writeAll ? every : p->Changed, i, written);
    }
    return written;
}

QByteArray deviceFileSkeleton(const QByteArray &templatesFolder, int probeCount, QStringList *errors)
{
    QByteArray text = readTemplate(templatesFolder + "/DeviceTemplate.txt", "device", errors);
    const QByteArray probeTemplate = readTemplate(templatesFolder + "/ProbeTemplate.txt", "probe", errors);
    for (int n = 1; n <= probeCount && n <= kMaxProbes; ++n) {
        const QByteArray section = probeSection(n);
        QByteArray part = "\r\n;################################\r\n;  ProbeXX\r\n;################################\r\n";
        part.replace("ProbeXX", section);
        part += probeTemplate;
        part.replace("[ProbeXX]", '[' + section + ']');
        text += part;
    }
    return text;
}

bool isPasswordKey(const QByteArray &key)
{
    return key == "SMTPPassword" || key == "ProxyServerPassword" || key == "EmailSMTPPass";
}

QString deviceNameProblem(const QByteArray &name)
{
    const QString shown = QString::fromUtf8(QByteArray(name).replace('\0', "\\0"));
    if (name.isEmpty())
        return QStringLiteral("A device needs a name.");
    if (name == "." || name == ".." || name.contains('/') || name.contains('\0'))
        return QStringLiteral("The device name \"%1\" cannot be used: a device name is part of file names, so it "
                              "may not be \".\" or \"..\" nor contain \"/\" or a NUL byte.")
            .arg(shown);
    return {};
}

void markEditedKeys(const DeviceRecord &live, DeviceRecord &edited)
{
    markKeys(kDeviceKeys, static_cast<const DeviceRecord &>(live), edited);
}

void markEditedKeys(const ProbeRecord &live, ProbeRecord &edited)
{
    markKeys(kProbeKeys, live, edited);
}

} // namespace cz
