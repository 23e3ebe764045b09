// INI files read and written the way the Windows private-profile functions
// do it, so that a data folder moves between the two editions unchanged:
// sections and keys match without regard to case, values are trimmed, the
// first of duplicate keys (and sections) wins, comments and layout stay, a
// new key goes to the end of its section and a new section to the end of
// the file. Lines are written with CR LF; CR LF and LF are both read.
#pragma once

#include "store/FileWrite.h"

#include <QByteArray>
#include <QHash>
#include <QString>

#include <cstdint>
#include <optional>
#include <sys/types.h>
#include <utility>
#include <vector>

namespace cz {

class IniFile {
public:
    IniFile() = default;
    explicit IniFile(const QByteArray &text) { parse(text); }

    // Reads the file; a missing or unreadable file gives an empty one.
    // Returns false when the file could not be read.
    bool load(const QString &path);
    void parse(const QByteArray &text);
    QByteArray text() const;
    // Writes the whole text once, atomically (see writeFileAtomically). On
    // failure the old file stays whole and `error` says why.
    bool save(const QString &path, QString *error = nullptr, FileAccess access = FileAccess::Shared,
              bool *narrowed = nullptr) const;

    std::optional<QByteArray> value(const QByteArray &section, const QByteArray &key) const;
    // The value cut to capacity - 1 bytes, or `fallback` when the key is absent.
    QByteArray readString(const QByteArray &section, const QByteArray &key, const QByteArray &fallback,
                          int capacity) const;
    // A profile integer: absent or empty gives `fallback`, text that is not a
    // number reads as 0.
    std::int32_t readInt(const QByteArray &section, const QByteArray &key, std::int32_t fallback) const;

    void setValue(const QByteArray &section, const QByteArray &key, const QByteArray &value);
    // Sets the key, except that a key the file lacks stays out while its
    // value is `absentAs` (a setting at a default the file need not hold,
    // which the other edition does not know). True when it was set.
    bool setOptionalValue(const QByteArray &section, const QByteArray &key, const QByteArray &value,
                          const QByteArray &absentAs);
    // Replaces every line of the section by `entries` (creating the section
    // when absent).
    void replaceSection(const QByteArray &section, const std::vector<std::pair<QByteArray, QByteArray>> &entries);
    bool hasSection(const QByteArray &section) const;

private:
    struct Section {
        QByteArray header;              // the header line as read
        QByteArray name;                // lower case
        std::vector<QByteArray> lines;  // every line up to the next header
        QHash<QByteArray, int> keys;    // lower-case key -> index in lines (first wins)
        void index();
    };

    Section *find(const QByteArray &section);
    const Section *find(const QByteArray &section) const;
    Section &findOrAppend(const QByteArray &section);
    static int insertionPoint(const Section &section, bool beforeNextHeader);

    std::vector<QByteArray> preamble_;  // lines before the first section
    std::vector<Section> sections_;
    QHash<QByteArray, int> sectionIndex_;  // lower-case name -> first section
};

} // namespace cz
