#include "tools/mailer/MailMessage.h"

#include <clocale>
#include <ctime>

namespace mailer {

namespace {

bool plainAscii(const std::string &text)
{
    for (unsigned char c : text)
        if (c < 0x20 || c > 0x7e)
            return false;
    return true;
}

bool needsEncoding(const std::string &body)
{
    std::size_t lineLength = 0;
    for (unsigned char c : body) {
        if (c == '\n') {
            lineLength = 0;
            continue;
        }
        if (c >= 0x80 || (c < 0x20 && c != '\r' && c != '\t') || ++lineLength > 998)
            return true;
    }
    return false;
}

std::string base64(const std::string &bytes)
{
    static const char table[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    std::size_t i = 0;
    for (; i + 2 < bytes.size(); i += 3) {
        const unsigned v = (unsigned char)bytes[i] << 16 | (unsigned char)bytes[i + 1] << 8 | (unsigned char)bytes[i + 2];
        out += table[v >> 18], out += table[(v >> 12) & 63], out += table[(v >> 6) & 63], out += table[v & 63];
    }
    if (i + 1 == bytes.size()) {
        const unsigned v = (unsigned char)bytes[i] << 16;
        out += table[v >> 18], out += table[(v >> 12) & 63], out += "==";
    } else if (i + 2 == bytes.size()) {
        const unsigned v = (unsigned char)bytes[i] << 16 | (unsigned char)bytes[i + 1] << 8;
        out += table[v >> 18], out += table[(v >> 12) & 63], out += table[(v >> 6) & 63], out += '=';
    }
    return out;
}

std::string rfc5322Date(long long seconds)
{
    const std::time_t t = std::time_t(seconds);
    std::tm local{};
    localtime_r(&t, &local);
    char text[64];
    // Day and month names in English whatever the locale.
    static const char *days[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    static const char *months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                   "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const long offset = local.tm_gmtoff / 60;
    std::snprintf(text, sizeof text, "%s, %02d %s %04d %02d:%02d:%02d %c%02ld%02ld", days[local.tm_wday],
                  local.tm_mday, months[local.tm_mon], local.tm_year + 1900, local.tm_hour, local.tm_min,
                  local.tm_sec, offset < 0 ? '-' : '+', labs(offset) / 60, labs(offset) % 60);
    return text;
}

} // namespace

std::string normaliseLineEnds(const std::string &text)
{
    std::string out;
    out.reserve(text.size() + text.size() / 32);
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '\r') {
            out += "\r\n";
            if (i + 1 < text.size() && text[i + 1] == '\n')
                ++i;
        } else if (c == '\n') {
            out += "\r\n";
        } else {
            out += c;
        }
    }
    return out;
}

std::string encodeHeaderText(const std::string &text, std::size_t nameLength)
{
    if (plainAscii(text) && nameLength + 2 + text.size() <= 998)
        return text;
    // Each encoded word carries at most 45 bytes (60 base64 characters,
    // 72 with the markers), cut only between UTF-8 characters.
    std::string out;
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t end = std::min(text.size(), start + 45);
        while (end < text.size() && end > start + 1 && ((unsigned char)text[end] & 0xC0) == 0x80)
            --end;
        if (!out.empty())
            out += "\r\n ";
        out += "=?UTF-8?B?" + base64(text.substr(start, end - start)) + "?=";
        start = end;
    }
    return out;
}

std::string quotedPrintable(const std::string &text)
{
    static const char hex[] = "0123456789ABCDEF";
    std::string out;
    std::size_t column = 0;
    auto put = [&](const std::string &piece) {
        if (column + piece.size() > 75) {
            out += "=\r\n";
            column = 0;
        }
        out += piece;
        column += piece.size();
    };
    for (std::size_t i = 0; i < text.size(); ++i) {
        const unsigned char c = (unsigned char)text[i];
        if (c == '\r' && i + 1 < text.size() && text[i + 1] == '\n') {
            // A blank at a line's end would be lost in transit.
            if (!out.empty() && (out.back() == ' ' || out.back() == '\t')) {
                const char last = out.back();
                out.pop_back();
                --column;
                put(std::string("=") + hex[(unsigned char)last >> 4] + hex[last & 15]);
            }
            out += "\r\n";
            column = 0;
            ++i;
            continue;
        }
        const bool literal = (c >= 33 && c <= 126 && c != '=') || c == ' ' || c == '\t';
        // A leading dot is encoded so no relay can take it for the end.
        if (literal && !(c == '.' && column == 0))
            put(std::string(1, char(c)));
        else
            put(std::string("=") + hex[c >> 4] + hex[c & 15]);
    }
    return out;
}

std::string envelopeAddress(const std::string &address)
{
    const std::size_t open = address.rfind('<');
    const std::size_t close = address.rfind('>');
    if (open != std::string::npos && close != std::string::npos && close > open)
        return address.substr(open, close - open + 1);
    return "<" + address + ">";
}

std::string composeMessage(const MessageFields &f)
{
    std::string m;
    m += "Date: " + rfc5322Date(f.date) + "\r\n";
    m += "From: " + encodeHeaderText(f.from, 4) + "\r\n";
    m += "To: " + encodeHeaderText(f.to, 2) + "\r\n";
    m += "Subject: " + encodeHeaderText(f.subject, 7) + "\r\n";
    m += "Message-ID: <" + f.messageId + ">\r\n";
    m += "MIME-Version: 1.0\r\n";
    const std::string body = normaliseLineEnds(f.body);
    if (needsEncoding(body)) {
        m += "Content-Type: text/plain; charset=UTF-8\r\n";
        m += "Content-Transfer-Encoding: quoted-printable\r\n";
    } else {
        m += "Content-Type: text/plain; charset=US-ASCII\r\n";
        m += "Content-Transfer-Encoding: 7bit\r\n";
    }
    if (f.mailerHeader)
        m += "X-Mailer: corvanta-mailer\r\n";
    m += "\r\n";
    m += needsEncoding(body) ? quotedPrintable(body) : body;
    if (m.size() < 2 || m.compare(m.size() - 2, 2, "\r\n") != 0)
        m += "\r\n";
    return m;
}

} // namespace mailer
