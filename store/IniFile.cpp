#include "store/IniFile.h"

#include "store/CFormat.h"
#include "store/FileWrite.h"
#include "store/FixedText.h"

#include <QFile>
#include <QFileInfo>


namespace cz {
namespace {

bool isSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\v' || c == '\f';
}

// [begin, end) of `line` without the white space around it.
void trimBounds(const QByteArray &line, qsizetype &begin, qsizetype &end)
{
    while (begin < end && isSpace(line[begin]))
        ++begin;
    while (end > begin && isSpace(line[end - 1]))
        --end;
}

char firstNonSpace(const QByteArray &line)
{
    for (const char c : line)
        if (!isSpace(c))
            return c;
    return 0;
}

bool isBlank(const QByteArray &line)
{
    return firstNonSpace(line) == 0;
}

bool isComment(const QByteArray &line)
{
    return firstNonSpace(line) == ';';
}

bool isHeader(const QByteArray &line, QByteArray *name)
{
    if (firstNonSpace(line) != '[')
        return false;
    qsizetype b = line.indexOf('[') + 1;
    qsizetype e = line.indexOf(']', b);
    if (e < 0)
        e = line.size();
    trimBounds(line, b, e);
    *name = line.mid(b, e - b);
    return true;
}

// Lower-case key of a "key=value" line, empty when the line holds none.
QByteArray lowerKeyOf(const QByteArray &line)
{
    if (isComment(line))
        return {};
    const qsizetype eq = line.indexOf('=');
    if (eq < 0)
        return {};
    qsizetype b = 0, e = eq;
    trimBounds(line, b, e);
    return line.mid(b, e - b).toLower();
}

QByteArray valueOf(const QByteArray &line)
{
    qsizetype b = line.indexOf('=') + 1, e = line.size();
    trimBounds(line, b, e);
    // The profile functions drop one pair of enclosing quotes.
    if (e - b >= 2 && (line[b] == '"' || line[b] == '\'') && line[e - 1] == line[b]) {
        ++b;
        --e;
    }
    return line.mid(b, e - b);
}

// Names given by the program are normally trimmed already.
QByteArray lookupName(const QByteArray &name)
{
    if (!name.isEmpty() && (isSpace(name.front()) || isSpace(name.back())))
        return name.trimmed().toLower();
    return name.toLower();
}

// A value with blanks around it, or enclosed in quotes, would lose them on
// reading (values are trimmed, one pair of enclosing quotes dropped): it is
// written in quotes of its own, so that it reads back as it was.
QByteArray quotedIfNeeded(const QByteArray &value)
{
    if (value.isEmpty())
        return value;
    const char first = value.front(), last = value.back();
    const bool enclosed = value.size() >= 2 && (first == '"' || first == '\'') && last == first;
    return isSpace(first) || isSpace(last) || enclosed ? '"' + value + '"' : value;
}

} // namespace

void IniFile::Section::index()
{
    keys.clear();
    keys.reserve(qsizetype(lines.size()));
    for (int i = 0; i < int(lines.size()); ++i) {
        const QByteArray k = lowerKeyOf(lines[i]);
        if (!k.isEmpty() && !keys.contains(k))
            keys.insert(k, i);
    }
}

bool IniFile::load(const QString &path)
{
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly)) {
        parse(QByteArray());
        return false;
    }
    parse(f.readAll());
    return true;
}

void IniFile::parse(const QByteArray &text)
{
    preamble_.clear();
    sections_.clear();
    sectionIndex_.clear();
    if (text.isEmpty())
        return;
    qsizetype start = 0;
    const qsizetype n = text.size();
    while (start < n) {
        qsizetype end = text.indexOf('\n', start);
        const bool last = end < 0;
        if (last)
            end = n;
        qsizetype lineEnd = end;
        if (lineEnd > start && text[lineEnd - 1] == '\r')
            --lineEnd;
        QByteArray line = text.mid(start, lineEnd - start);
        QByteArray name;
        if (isHeader(line, &name)) {
            Section s;
            s.header = line;
            s.name = name.toLower();
            if (!sectionIndex_.contains(s.name))
                sectionIndex_.insert(s.name, int(sections_.size()));
            sections_.push_back(std::move(s));
        } else if (sections_.empty()) {
            preamble_.push_back(std::move(line));
        } else {
            sections_.back().lines.push_back(std::move(line));
        }
        start = end + 1;
    }
    for (Section &s : sections_)
        s.index();
}

QByteArray IniFile::text() const
{
    QByteArray out;
    auto put = [&out](const QByteArray &line) {
        out += line;
        out += "\r\n";
    };
    for (const QByteArray &l : preamble_)
        put(l);
    for (const Section &s : sections_) {
        put(s.header);
        for (const QByteArray &l : s.lines)
            put(l);
    }
    return out;
}

bool IniFile::save(const QString &path, QString *error, FileAccess access, bool *narrowed) const
{
    return writeFileAtomically(path, text(), error, access, narrowed);
}

const IniFile::Section *IniFile::find(const QByteArray &section) const
{
    const auto it = sectionIndex_.constFind(lookupName(section));
    return it == sectionIndex_.cend() ? nullptr : &sections_[std::size_t(*it)];
}

IniFile::Section *IniFile::find(const QByteArray &section)
{
    return const_cast<Section *>(std::as_const(*this).find(section));
}

bool IniFile::hasSection(const QByteArray &section) const
{
    return find(section) != nullptr;
}

std::optional<QByteArray> IniFile::value(const QByteArray &section, const QByteArray &key) const
{
    const Section *s = find(section);
    if (!s)
        return std::nullopt;
    const auto it = s->keys.constFind(lookupName(key));
    if (it == s->keys.cend())
        return std::nullopt;
    return valueOf(s->lines[std::size_t(*it)]);
}

QByteArray IniFile::readString(const QByteArray &section, const QByteArray &key, const QByteArray &fallback,
                               int capacity) const
{
    const QByteArray v = value(section, key).value_or(fallback);
    const std::size_t n = fitUtf8(std::string_view(v.constData(), std::size_t(v.size())), std::size_t(capacity - 1));
    return v.left(qsizetype(n));
}

std::int32_t IniFile::readInt(const QByteArray &section, const QByteArray &key, std::int32_t fallback) const
{
    const auto v = value(section, key);
    if (!v || v->isEmpty())
        return fallback;
    return parseProfileInt(*v);
}

IniFile::Section &IniFile::findOrAppend(const QByteArray &section)
{
    if (Section *s = find(section))
        return *s;
    // Keep one blank line between the old last section and the new one.
    if (!sections_.empty() && !sections_.back().lines.empty() && !isBlank(sections_.back().lines.back()))
        sections_.back().lines.emplace_back();
    else if (sections_.empty() && !preamble_.empty() && !isBlank(preamble_.back()))
        preamble_.emplace_back();
    Section s;
    s.name = lookupName(section);
    s.header = '[' + section.trimmed() + ']';
    sectionIndex_.insert(s.name, int(sections_.size()));
    sections_.push_back(std::move(s));
    return sections_.back();
}

// Where a new key goes: after the last line that belongs to the section. At
// its end, blank lines and a comment block that stands apart from the
// section's lines (a banner above the next header) belong to what follows.
int IniFile::insertionPoint(const Section &section, bool beforeNextHeader)
{
    const auto &lines = section.lines;
    int end = int(lines.size());
    if (beforeNextHeader) {
        int i = end;
        while (i > 0 && isComment(lines[std::size_t(i - 1)]))
            --i;
        if (i < end && i > 0 && isBlank(lines[std::size_t(i - 1)]))
            end = i;
    }
    while (end > 0 && isBlank(lines[std::size_t(end - 1)]))
        --end;
    return end;
}

bool IniFile::setOptionalValue(const QByteArray &section, const QByteArray &key, const QByteArray &value,
                               const QByteArray &absentAs)
{
    if (value == absentAs && !this->value(section, key))
        return false;
    setValue(section, key, value);
    return true;
}

void IniFile::setValue(const QByteArray &section, const QByteArray &key, const QByteArray &value)
{
    Section &s = findOrAppend(withoutControlCharacters(section));
    // One key, one line, whatever the value holds.
    const QByteArray line = withoutControlCharacters(key.trimmed()) + '=' + quotedIfNeeded(withoutControlCharacters(value));
    const QByteArray lowerKey = lookupName(key);
    const auto it = s.keys.constFind(lowerKey);
    if (it != s.keys.cend()) {
        s.lines[std::size_t(*it)] = line;
        return;
    }
    const bool last = &s == &sections_.back();
    const int at = insertionPoint(s, !last);
    s.lines.insert(s.lines.begin() + at, line);
    for (auto k = s.keys.begin(); k != s.keys.end(); ++k)
        if (*k >= at)
            ++*k;
    s.keys.insert(lowerKey, at);
}

void IniFile::replaceSection(const QByteArray &section, const std::vector<std::pair<QByteArray, QByteArray>> &entries)
{
    Section &s = findOrAppend(section);
    const bool last = &s == &sections_.back();
    // Keep what separates the section from the next one.
    const int tail = insertionPoint(s, !last);
    std::vector<QByteArray> kept(s.lines.begin() + tail, s.lines.end());
    s.lines.clear();
    for (const auto &[k, v] : entries)
        s.lines.push_back(k + '=' + v);
    s.lines.insert(s.lines.end(), kept.begin(), kept.end());
    s.index();
}

} // namespace cz
