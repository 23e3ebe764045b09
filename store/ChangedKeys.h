// The keys of a record whose values changed since its file was last saved,
// by key name. The device file's key table says which keys exist and which
// are always saved together; a save writes what is marked here and clears it.
#pragma once

#include <QByteArray>
#include <QList>

namespace cz {

class ChangedKeys {
public:
    void mark(const QByteArray &key)
    {
        if (!all_ && !keys_.contains(key))
            keys_.append(key);
    }
    // Every key of the record, as for a file written whole.
    void markAll()
    {
        all_ = true;
        keys_.clear();
    }
    void add(const ChangedKeys &other)
    {
        if (other.all_)
            markAll();
        for (const QByteArray &key : other.keys_)
            mark(key);
    }
    void clear()
    {
        all_ = false;
        keys_.clear();
    }
    bool all() const { return all_; }
    bool contains(const QByteArray &key) const { return all_ || keys_.contains(key); }
    bool isEmpty() const { return !all_ && keys_.isEmpty(); }
    // The keys marked one by one, in the order they were first marked.
    const QList<QByteArray> &keys() const { return keys_; }

private:
    bool all_ = false;
    QList<QByteArray> keys_;
};

// A record that remembers which of its keys changed.
struct KeyChanges {
    ChangedKeys Changed;
    template <class... Keys>
    void markChanged(const Keys &...keys)
    {
        (Changed.mark(QByteArray(keys)), ...);
    }
};

} // namespace cz
