#include "alerts/ShellQuote.h"

namespace cz {

QByteArray shellQuote(const QByteArray &text)
{
    QByteArray out;
    out.reserve(text.size() + 2);
    out += '\'';
    for (const char c : text) {
        if (c == '\'')
            out += "'\\''";
        else
            out += c;
    }
    out += '\'';
    return out;
}

} // namespace cz
