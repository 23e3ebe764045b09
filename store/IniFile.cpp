#include "IniFile.h"

#include "CFormat.h"
#include "FixedText.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace cz {
namespace {

bool isBlank(const QByteArray &line)
{
    return line.trimmed().isEmpty();
}

bool isComment(const QByteArray &line)
{
    const QByteArray t = line.trimmed();
    return t.startsWith(';');
}

bool isHeader(const QByteArray &line, QByteArray *name)
{
    const QByteArray t = line.trimmed();
    if (!t.startsWith('['))
        return false;
    const int close = t.indexOf(']');
    *name = (close < 0 ? t.mid(1) : t.mid(1, close - 1)).trimmed();
    return true;
}

// Key of a "key=value" line, empty when the line holds none.
QByteArray keyOf(const QByteArray &line)
{
    if (isComment(line))
        return {};
    const int eq = line.indexOf('=');
    if (eq < 0)
        return {};
    return line.left(eq).trimmed();
}

QByteArray valueOf(const QByteArray &line)
{
    QByteArray v = line.mid(line.indexOf('=') + 1).trimmed();
    // The profile functions drop one pair of enclosing quotes.
    if (v.size() >= 2 && (v.front() == '"' || v.front() == '\'') && v.back() == v.front())
        v = v.mid(1, v.size() - 2);
    return v;
}

} // namespace

void IniFile::Section::index()
{
    keys.clear();
    for (int i = 0; i < int(lines.size()); ++i) {
        const QByteArray k = keyOf(lines[i]).toLower();
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

bool IniFile::save(const QString &path, QString *error) const
{
    return writeFileAtomically(path, text(), error);
}

const IniFile::Section *IniFile::find(const QByteArray &section) const
{
    const auto it = sectionIndex_.constFind(section.trimmed().toLower());
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
    const auto it = s->keys.constFind(key.trimmed().toLower());
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
    return parseInt32(*v);
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
    s.name = section.trimmed().toLower();
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

void IniFile::setValue(const QByteArray &section, const QByteArray &key, const QByteArray &value)
{
    Section &s = findOrAppend(section);
    const QByteArray line = key.trimmed() + '=' + value;
    const auto it = s.keys.constFind(key.trimmed().toLower());
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
    s.keys.insert(key.trimmed().toLower(), at);
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

bool writeFileAtomically(const QString &path, const QByteArray &bytes, QString *error)
{
    auto fail = [error](const QString &what) {
        if (error)
            *error = what;
        return false;
    };
    const QByteArray target = QFile::encodeName(path);
    QByteArray temp = target + ".XXXXXX";
    const int fd = ::mkstemp(temp.data());
    if (fd < 0)
        return fail(QString::fromLocal8Bit(std::strerror(errno)));
    const char *p = bytes.constData();
    qsizetype left = bytes.size();
    while (left > 0) {
        const ssize_t n = ::write(fd, p, std::size_t(left));
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0) {
            const int e = n < 0 ? errno : ENOSPC;
            ::close(fd);
            ::unlink(temp.constData());
            return fail(QString::fromLocal8Bit(std::strerror(e)));
        }
        p += n;
        left -= n;
    }
    ::fchmod(fd, 0644);
    const int synced = ::fsync(fd) == 0 ? 0 : errno;
    const int closed = ::close(fd) == 0 ? 0 : errno;
    if (synced || closed) {
        ::unlink(temp.constData());
        return fail(QString::fromLocal8Bit(std::strerror(synced ? synced : closed)));
    }
    if (::rename(temp.constData(), target.constData()) != 0) {
        const int e = errno;
        ::unlink(temp.constData());
        return fail(QString::fromLocal8Bit(std::strerror(e)));
    }
    return true;
}

} // namespace cz
