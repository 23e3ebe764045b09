#include "store/DeviceFile.h"

#include "store/CFormat.h"
#include "store/IniFile.h"

#include <QFile>

#include <cstdio>
#include <optional>
#include <type_traits>

namespace cz {
namespace {

const QByteArray kDeviceSection = "Device";

template <class Rec>
struct KeyDef {
    const char *name;
    std::uint64_t bits;
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

// Key definitions. Number keys are profile integers unless "long" (read as
// text and converted, as colours, group numbers, humidity and times are).
#define CZ_INT(R, F, BIT) {#F, BIT, &writeNumber<&R::F, R>, &readProfileInt<&R::F, R>, false}
#define CZ_LONG(R, F, BIT) {#F, BIT, &writeNumber<&R::F, R>, &readLong<&R::F, R>, false}
#define CZ_TIME(R, F, BIT) {#F, BIT, &writeNumber<&R::F, R>, &readTime<&R::F, R>, false}
#define CZ_TEMP(R, F, BIT) {#F, BIT, &writeTemp<&R::F, R>, &readTemp<&R::F, R>, false}
#define CZ_TEXT(R, F, BIT) {#F, BIT, &writeText<&R::F, R>, &readText<&R::F, R>, true}
// A "...Date" key holds the same time as its "...TimeVal" field and, being
// read later, wins over it.
#define CZ_DATE(KEY, F, BIT) {KEY, BIT, &writeNumber<&P::F, P>, &readTime<&P::F, P>, false}

namespace DB = DeviceBit;
namespace PB = ProbeBit;

const KeyDef<D> kDeviceKeys[] = {
    CZ_INT(D, DevicePort, DB::DevicePort),
    CZ_INT(D, ProbeCount, DB::ProbeCount),
    CZ_INT(D, UseProxy, DB::UseProxy),
    {"LastContactTimeVal", DB::LastContactTimeVal, &writeNumber<&D::LastContactTimeVal, D>, nullptr, false},
    CZ_INT(D, DisplayUnits, DB::DisplayUnits),
    CZ_INT(D, QueryInterval, DB::QueryInterval),
    CZ_TEXT(D, DeviceName, DB::DeviceName),
    CZ_TEXT(D, DeviceAddress, DB::DeviceAddress),
    CZ_TEXT(D, DeviceModel, DB::DeviceModel),
    CZ_TEXT(D, DeviceVersion, DB::DeviceVersion),
    CZ_TEXT(D, DeviceSerial, DB::DeviceSerial),
    CZ_INT(D, ProxyServerPort, DB::ProxyServerPort),
    CZ_TEXT(D, ProxyServerAddress, DB::ProxyServerAddress),
    CZ_TEXT(D, ProxyServerUserName, DB::ProxyServerUserName),
    CZ_TEXT(D, ProxyServerPassword, DB::ProxyServerPassword),
    CZ_INT(D, QueryFailThreshold, DB::QueryFailThreshold),
    CZ_INT(D, SendQueryFailMessage, DB::SendQueryFailMessage),
    CZ_INT(D, ShowProbeNamesInLegend, DB::ShowProbeNamesInLegend),
    CZ_TEXT(D, SMTPServerName, DB::SMTPServerName),
    CZ_INT(D, SMTPServerPort, DB::SMTPServerPort),
    CZ_TEXT(D, EmailFromAddress, DB::EmailFromAddress),
    CZ_TEXT(D, EmailToAddress, DB::EmailToAddress),
    CZ_TEXT(D, SMTPUsername, DB::SMTPUsername),
    CZ_TEXT(D, SMTPPassword, DB::SMTPPassword),
    CZ_TEXT(D, EmailSubjectText, DB::EmailSubjectText),
    CZ_TEXT(D, EmailBodyText, DB::EmailBodyText),
    CZ_INT(D, EnableDialer, DB::EnableDialer),
    CZ_INT(D, LoggingEnabled, DB::LoggingEnabled),
    CZ_INT(D, LogQueryFailures, DB::LogQueryFailures),
    CZ_INT(D, DialerPort, DB::DialerPort),
    CZ_INT(D, PlotLineWidth, DB::PlotLineWidth),
    // Written only once the device has been renamed.
    {"PreviousNames", DB::PreviousNames, &writeText<&D::PreviousNames, D>, &readText<&D::PreviousNames, D>, true, ""},
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
    CZ_INT(P, DeviceNumber, PB::Numbers),
    CZ_INT(P, ProbeNumber, PB::Numbers),
    CZ_INT(P, ConsecutiveAlarmCount, PB::StateOrCount),
    CZ_INT(P, ConsecutiveAlarmThreshold, PB::ConsecutiveAlarmThreshold),
    CZ_INT(P, DisplayUnits, PB::DisplayUnits),
    CZ_INT(P, ProbeType, PB::ProbeType),
    CZ_INT(P, ProbeEnabled, PB::ProbeEnabled),
    CZ_INT(P, SendAlarmEmail, PB::SendAlarmEmail),
    CZ_INT(P, SendCautionEmail, PB::SendCautionEmail),
    CZ_INT(P, SendClearEmail, PB::SendClearEmail),
    CZ_INT(P, AlarmSound, PB::AlarmSound),
    CZ_INT(P, CautionSound, PB::CautionSound),
    CZ_INT(P, RunProgramAlarm, PB::RunProgramAlarm),
    CZ_INT(P, RunProgramCaution, PB::RunProgramCaution),
    CZ_INT(P, RunProgramClear, PB::RunProgramClear),
    CZ_INT(P, TriggerDialerAlarm, PB::TriggerDialerAlarm),
    CZ_INT(P, TriggerDialerCaution, PB::TriggerDialerCaution),
    CZ_INT(P, TriggerDialerClear, PB::TriggerDialerClear),
    CZ_INT(P, AlarmState, PB::StateOrCount | PB::AlarmSetOrCleared),
    CZ_TIME(P, LastAlarmSetTimeVal, PB::LastAlarmSetTimeVal),
    CZ_TIME(P, LastAlarmClearedTimeVal, PB::LastAlarmClearedTimeVal),
    CZ_TIME(P, HighestTempTimeVal, PB::HighestTemp),
    CZ_TIME(P, LowestTempTimeVal, PB::LowestTemp),
    CZ_TIME(P, HighestHumidityTimeVal, PB::HighestHumidity),
    CZ_TIME(P, LowestHumidityTimeVal, PB::LowestHumidity),
    CZ_TIME(P, HighestWetnessTimeVal, PB::HighestWetness),
    CZ_TIME(P, LowestWetnessTimeVal, PB::LowestWetness),
    CZ_TIME(P, SwitchOpenTimeVal, PB::WetnessOrSwitch),
    CZ_TIME(P, SwitchCloseTimeVal, PB::WetnessOrSwitch),
    {"ChartDataSymbol", PB::ChartColorSymbol, &writeNumber<&P::ChartDataSymbol, P>, &readChartSymbol, false},
    {"ChartDataColor", PB::ChartColorSymbol, &writeNumber<&P::ChartDataColor, P>, &readChartColor, false},
    CZ_TEXT(P, ProbeName, PB::ProbeName),
    CZ_TEXT(P, GroupName, PB::GroupName),
    CZ_LONG(P, GroupNumber, PB::GroupNumber),
    CZ_TEXT(P, EmailTo, PB::EmailTo),
    CZ_TEXT(P, EmailFrom, PB::EmailFrom),
    CZ_TEXT(P, SMTPServer, PB::SMTPServer),
    CZ_INT(P, SMTPPort, PB::SMTPPort),
    CZ_TEXT(P, EmailSMTPUser, PB::EmailSMTPUser),
    CZ_TEXT(P, EmailSMTPPass, PB::EmailSMTPPass),
    CZ_TEXT(P, EmailTemplate, PB::EmailTemplate),
    CZ_TEXT(P, EmailAlarmSubject, PB::EmailAlarmSubject),
    CZ_TEXT(P, EmailCautionSubject, PB::EmailCautionSubject),
    CZ_TEXT(P, EmailClearedSubject, PB::EmailClearedSubject),
    CZ_TEXT(P, AlarmSoundFile, PB::AlarmSoundFile),
    CZ_TEXT(P, CautionSoundFile, PB::CautionSoundFile),
    CZ_TEXT(P, LogFile, PB::LogFile),
    CZ_TEXT(P, DataLogFile, PB::DataLogFile),
    CZ_TEXT(P, Notes, PB::Notes),
    CZ_TEXT(P, ProgramAlarm, PB::ProgramAlarm),
    CZ_TEXT(P, ProgramCaution, PB::ProgramCaution),
    CZ_TEXT(P, ProgramClear, PB::ProgramClear),
    CZ_TEMP(P, HighAlarmTemp, PB::HighAlarmTemp),
    CZ_TEMP(P, HighCautionTemp, PB::HighCautionTemp),
    CZ_TEMP(P, LowCautionTemp, PB::LowCautionTemp),
    CZ_TEMP(P, LowAlarmTemp, PB::LowAlarmTemp),
    // Shares its bit: the mask has none left, and the key is written only
    // once it has been set.
    {"ClearMargin", PB::ConsecutiveAlarmThreshold, &writeTemp<&P::ClearMargin, P>, &readTemp<&P::ClearMargin, P>,
     false, "0.00"},
    CZ_TEMP(P, CurrentTemp, PB::CurrentTemp),
    CZ_TEMP(P, HighestTemp, PB::HighestTemp),
    CZ_DATE("HighestTempDate", HighestTempTimeVal, PB::HighestTemp),
    {"LowestTemp", PB::LowestTemp, &writeLowestTemp, &readTemp<&P::LowestTemp, P>, false},
    CZ_DATE("LowestTempDate", LowestTempTimeVal, PB::LowestTemp),
    CZ_LONG(P, HighAlarmHumidity, PB::HighAlarmHumidity),
    CZ_LONG(P, HighCautionHumidity, PB::HighCautionHumidity),
    CZ_LONG(P, LowCautionHumidity, PB::LowCautionHumidity),
    CZ_LONG(P, LowAlarmHumidity, PB::LowAlarmHumidity),
    CZ_LONG(P, CurrentHumidity, PB::CurrentHumidity),
    CZ_LONG(P, HighestHumidity, PB::HighestHumidity),
    CZ_DATE("HighestHumidityDate", HighestHumidityTimeVal, PB::HighestHumidity),
    CZ_LONG(P, LowestHumidity, PB::LowestHumidity),
    CZ_DATE("LowestHumidityDate", LowestHumidityTimeVal, PB::LowestHumidity),
    CZ_LONG(P, HighAlarmWetness, PB::HighAlarmWetness),
    CZ_LONG(P, HighCautionWetness, PB::HighCautionWetness),
    CZ_LONG(P, LowCautionWetness, PB::LowCautionWetness),
    CZ_LONG(P, LowAlarmWetness, PB::LowAlarmWetness),
    CZ_LONG(P, CurrentWetness, PB::WetnessOrSwitch),
    CZ_LONG(P, HighestWetness, PB::HighestWetness),
    CZ_DATE("HighestWetnessDate", HighestWetnessTimeVal, PB::HighestWetness),
    CZ_LONG(P, LowestWetness, PB::LowestWetness),
    CZ_DATE("LowestWetnessDate", LowestWetnessTimeVal, PB::LowestWetness),
    CZ_INT(P, SwitchAlarmCondition, PB::SwitchAlarmCondition),
    {"SwitchStateIndex", PB::WetnessOrSwitch, &writeSwitchStateIndex, nullptr, false},
    CZ_INT(P, SwitchState, PB::WetnessOrSwitch),
    CZ_DATE("LastSwitchOpenDate", SwitchOpenTimeVal, PB::WetnessOrSwitch),
    CZ_DATE("LastSwitchCloseDate", SwitchCloseTimeVal, PB::WetnessOrSwitch),
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

template <class Rec, std::size_t N>
void putKeys(const KeyDef<Rec> (&keys)[N], IniFile &ini, const QByteArray &section, const Rec &r, std::uint64_t mask,
             int probeIndex, std::vector<WrittenKey> &written)
{
    for (const KeyDef<Rec> &k : keys) {
        if (!(k.bits & mask))
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
            edited.ChangedKeys |= k.bits;
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
    putKeys(kDeviceKeys, ini, kDeviceSection, static_cast<const DeviceRecord &>(device),
            writeAll ? kAllKeys : device.ChangedKeys, -1, written);
    for (int i = 0; i < device.probeSlots(); ++i) {
        const ProbeRecord *p = device.probe(i);
        if (p)
            putKeys(kProbeKeys, ini, probeSection(i + 1), *p, writeAll ? kAllKeys : p->ChangedKeys, i, written);
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
