#include "store/CFormat.h"

#include <algorithm>
#include <charconv>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <locale.h>

namespace cz {
namespace {

locale_t cLocale()
{
    static const locale_t loc = newlocale(LC_ALL_MASK, "C", locale_t(nullptr));
    return loc;
}

const char *skipSpace(const char *p)
{
    while (*p == ' ' || *p == '\t' || *p == '\n' || *p == '\r' || *p == '\v' || *p == '\f')
        ++p;
    return p;
}

} // namespace

QByteArray formatFixed(double value, int decimals)
{
    char buf[400];
    const auto res = std::to_chars(buf, buf + sizeof buf, value, std::chars_format::fixed, decimals);
    return QByteArray(buf, res.ptr - buf);
}

double parseDouble(const QByteArray &text)
{
    return strtod_l(text.constData(), nullptr, cLocale());
}

std::int64_t parseInteger(const QByteArray &text)
{
    const char *p = skipSpace(text.constData());
    bool negative = false;
    if (*p == '+' || *p == '-')
        negative = (*p++ == '-');
    std::uint64_t magnitude = 0;
    const std::uint64_t limit = std::uint64_t(std::numeric_limits<std::int64_t>::max()) + (negative ? 1 : 0);
    for (; *p >= '0' && *p <= '9'; ++p) {
        const auto digit = std::uint64_t(*p - '0');
        // Checked before the step, which could wrap past 2^64 otherwise.
        if (magnitude > (limit - digit) / 10) {
            magnitude = limit;
            break;
        }
        magnitude = magnitude * 10 + digit;
    }
    if (negative)
        return magnitude == limit ? std::numeric_limits<std::int64_t>::min() : -std::int64_t(magnitude);
    return std::int64_t(magnitude);
}

std::int32_t parseInt32(const QByteArray &text)
{
    const std::int64_t v = parseInteger(text);
    if (v > std::numeric_limits<std::int32_t>::max())
        return std::numeric_limits<std::int32_t>::max();
    if (v < std::numeric_limits<std::int32_t>::min())
        return std::numeric_limits<std::int32_t>::min();
    return std::int32_t(v);
}

std::int32_t parseProfileInt(const QByteArray &text)
{
    qsizetype i = 0;
    while (i < text.size() && (text[i] == ' ' || text[i] == '\t'))
        ++i;
    bool negative = false;
    if (i < text.size() && (text[i] == '-' || text[i] == '+'))
        negative = text[i++] == '-';
    unsigned base = 10;
    if (i + 1 < text.size() && text[i] == '0') {
        const char prefix = text[i + 1];
        base = prefix == 'x' ? 16 : prefix == 'o' ? 8 : prefix == 'b' ? 2 : 10;
        if (base != 10)
            i += 2;
    }
    std::uint32_t value = 0;
    for (; i < text.size(); ++i) {
        const char c = text[i];
        unsigned digit = 99;
        if (c >= '0' && c <= '9')
            digit = unsigned(c - '0');
        else if (c >= 'a' && c <= 'f')
            digit = unsigned(c - 'a' + 10);
        else if (c >= 'A' && c <= 'F')
            digit = unsigned(c - 'A' + 10);
        if (digit >= base)
            break;
        value = value * base + digit;
    }
    return std::int32_t(negative ? 0u - value : value);
}

QByteArray formatLocalTime(std::int64_t epochSeconds, const char *pattern)
{
    const std::time_t t = std::time_t(epochSeconds);
    std::tm parts{};
    if (!localtime_r(&t, &parts))
        return QByteArray();
    char buf[128];
    const std::size_t n = strftime_l(buf, sizeof buf, pattern, &parts, cLocale());
    return QByteArray(buf, qsizetype(n));
}

std::optional<std::int64_t> dataLineTime(const QByteArray &line)
{
    int month = 0, day = 0, year = 0, hour = 0, minute = 0, second = 0;
    char end = 0;
    if (line.size() < 17 || line[2] != '-' || line[5] != '-' || line[8] != ',' || line[11] != ':' || line[14] != ':')
        return std::nullopt;
    if (std::sscanf(line.constData(), "%2d-%2d-%2d,%2d:%2d:%2d%c", &month, &day, &year, &hour, &minute, &second,
                    &end) < 6)
        return std::nullopt;
    std::tm parts{};
    parts.tm_year = 100 + year, parts.tm_mon = month - 1, parts.tm_mday = day;
    parts.tm_hour = hour, parts.tm_min = minute, parts.tm_sec = second;
    parts.tm_isdst = -1;
    if (month < 1 || month > 12 || day < 1 || day > 31 || hour > 23 || minute > 59 || second > 60)
        return std::nullopt;
    const std::time_t t = std::mktime(&parts);
    if (t == std::time_t(-1))
        return std::nullopt;
    return std::int64_t(t);
}

QByteArray durationText(std::int64_t seconds)
{
    struct Unit {
        std::int64_t seconds;
        const char *name;
    };
    static constexpr Unit units[] = {{86400, "day"}, {3600, "hour"}, {60, "minute"}, {1, "second"}};
    seconds = std::max<std::int64_t>(0, seconds);
    QByteArray text;
    int shown = 0;
    for (const Unit &u : units) {
        const std::int64_t n = seconds / u.seconds;
        seconds %= u.seconds;
        if (shown > 0 && n == 0)
            break;
        if (n == 0 && u.seconds > 1)
            continue;
        if (!text.isEmpty())
            text += ' ';
        text += QByteArray::number(n) + ' ' + u.name + (n == 1 ? "" : "s");
        if (++shown == 2)
            break;
    }
    return text;
}

} // namespace cz
