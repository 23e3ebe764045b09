// Fixed-capacity text fields of the device and probe records.
#pragma once

#include <QByteArray>
#include <QString>

#include <cstddef>
#include <cstring>
#include <string_view>

namespace cz {

// Length of the longest prefix of `text` that fits in `maxBytes` without
// splitting a UTF-8 sequence, and that stops at the first NUL byte.
std::size_t fitUtf8(std::string_view text, std::size_t maxBytes);

// Replaces CR, LF, tab and every other control character in `text` by a
// blank, so that a name or text from a device or an operator cannot start a
// new line in an INI file, a log or a script.
void blankControlCharacters(char *text, std::size_t size);
QByteArray withoutControlCharacters(QByteArray text);

// A NUL-terminated byte string of at most Capacity - 1 bytes, stored inline
// so that a record stays one flat, copyable block. Control characters are
// stored as blanks.
template <std::size_t Capacity>
class FixedText {
public:
    static constexpr std::size_t capacity = Capacity;

    FixedText() = default;
    FixedText(std::string_view text) { assign(text); }

    void assign(std::string_view text)
    {
        const std::size_t n = fitUtf8(text, Capacity - 1);
        std::memcpy(buf_, text.data(), n);
        std::memset(buf_ + n, 0, Capacity - n);
        blankControlCharacters(buf_, n);
    }
    void assign(const QByteArray &text) { assign(std::string_view(text.constData(), std::size_t(text.size()))); }
    void assign(const QString &text) { assign(text.toUtf8()); }
    FixedText &operator=(std::string_view text) { assign(text); return *this; }
    FixedText &operator=(const QByteArray &text) { assign(text); return *this; }
    FixedText &operator=(const QString &text) { assign(text); return *this; }
    FixedText &operator=(const char *text) { assign(std::string_view(text)); return *this; }

    std::size_t size() const { return ::strnlen(buf_, Capacity); }
    bool empty() const { return buf_[0] == 0; }
    const char *c_str() const { return buf_; }
    std::string_view view() const { return {buf_, size()}; }
    QByteArray bytes() const { return QByteArray(buf_, qsizetype(size())); }
    QString str() const { return QString::fromUtf8(buf_, qsizetype(size())); }

    bool operator==(const FixedText &other) const { return view() == other.view(); }

private:
    char buf_[Capacity] = {};
};

} // namespace cz
