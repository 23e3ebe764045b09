// Locale-independent number and date text, as the files and logs need it
// whatever the user's locale is.
#pragma once

#include <QByteArray>

#include <cstdint>
#include <optional>

namespace cz {

// printf "%.0Nf" in the C locale.
QByteArray formatFixed(double value, int decimals);
// Leading decimal number of the text, as atof: white space skipped, 0 when none.
double parseDouble(const QByteArray &text);
// Leading decimal integer of the text, as atol: white space and sign, 0 when none;
// saturated at the 64-bit range.
std::int64_t parseInteger(const QByteArray &text);
// The same, saturated at the 32-bit range.
std::int32_t parseInt32(const QByteArray &text);
// A profile integer: blanks, a sign, then "0x" hexadecimal, "0o" octal,
// "0b" binary or else decimal digits up to the first that is not one of
// that base, wrapping as a 32-bit unsigned value ("010" is 10, "0X10" is 0).
std::int32_t parseProfileInt(const QByteArray &text);
// The local date and time of `epochSeconds` formatted by strftime `pattern`,
// with English day and month names and AM/PM.
QByteArray formatLocalTime(std::int64_t epochSeconds, const char *pattern);

// The local time of a data-file line ("MM-dd-yy,HH:MM:SS,..."), none
// when it does not start so.
std::optional<std::int64_t> dataLineTime(const QByteArray &line);

// A duration in its two largest units, in words: "45 seconds",
// "2 minutes 5 seconds", "1 hour", "3 days 4 hours".
QByteArray durationText(std::int64_t seconds);

inline QByteArray dateText(std::int64_t t) { return formatLocalTime(t, "%m-%d-%y"); }
inline QByteArray clockText(std::int64_t t) { return formatLocalTime(t, "%H:%M:%S"); }
// "Sun, Nov 22, 2026" and "14:05:09 PM" (24-hour clock, then AM/PM), the
// forms of the probe list and the alert e-mail.
inline QByteArray longDateText(std::int64_t t) { return formatLocalTime(t, "%a, %b %d, %Y"); }
inline QByteArray longTimeText(std::int64_t t) { return formatLocalTime(t, "%H:%M:%S %p"); }

} // namespace cz
