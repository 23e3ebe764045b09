// The session's host name lookups, each on a thread of its own so that a
// DNS server that never answers holds back nothing else. A name has at
// most one lookup in flight: an attempt for a name whose lookup has not
// returned waits for it (up to its own deadline) instead of starting
// another, so hanging lookups cannot pile up threads. Answers are kept for
// a minute, failures for two seconds.
#pragma once

#include <QByteArray>

#include <cstdint>
#include <functional>
#include <memory>

namespace cz {

class NameLookups {
public:
    // `wake` is called (on a lookup's thread) when a lookup has returned.
    explicit NameLookups(std::function<void()> wake);
    // Lookups still running finish on their own; `wake` is no longer called.
    ~NameLookups();
    NameLookups(const NameLookups &) = delete;
    NameLookups &operator=(const NameLookups &) = delete;

    enum class State { Pending, Resolved, Failed };
    struct Answer {
        State state = State::Pending;
        // "1.2.3.4,[::1]" for libcurl's list of resolved addresses.
        QByteArray addresses;
    };
    // The answer for `host` when one is fresh; otherwise Pending, with a
    // lookup started unless one is already running.
    Answer lookUp(const QByteArray &host, std::int64_t nowMs);
    // Lookups whose threads have not returned.
    int inFlight() const;

    // True for a host given as an IPv4 or IPv6 address (with or without
    // brackets): nothing to look up.
    static bool isNumeric(const QByteArray &host);

private:
    struct Board;
    std::shared_ptr<Board> board_;
};

} // namespace cz
