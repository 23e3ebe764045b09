#include "net/NameLookups.h"

#include <QHash>

#include <arpa/inet.h>
#include <chrono>
#include <mutex>
#include <netdb.h>
#include <sys/socket.h>
#include <thread>

namespace cz {

namespace {

constexpr std::int64_t kAnswerKeptMs = 60000;
constexpr std::int64_t kFailureKeptMs = 2000;

std::int64_t steadyMs()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

// getaddrinfo's addresses in libcurl's resolve-list form; empty when none.
QByteArray resolve(const QByteArray &host)
{
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo *found = nullptr;
    if (::getaddrinfo(host.constData(), nullptr, &hints, &found) != 0)
        return {};
    QByteArray list;
    for (const addrinfo *a = found; a; a = a->ai_next) {
        char text[INET6_ADDRSTRLEN] = {};
        QByteArray address;
        if (a->ai_family == AF_INET &&
            ::inet_ntop(AF_INET, &reinterpret_cast<const sockaddr_in *>(a->ai_addr)->sin_addr, text, sizeof text))
            address = text;
        else if (a->ai_family == AF_INET6 &&
                 ::inet_ntop(AF_INET6, &reinterpret_cast<const sockaddr_in6 *>(a->ai_addr)->sin6_addr, text,
                             sizeof text))
            address = '[' + QByteArray(text) + ']';
        if (!address.isEmpty() && !list.split(',').contains(address))
            list += (list.isEmpty() ? "" : ",") + address;
    }
    ::freeaddrinfo(found);
    return list;
}

} // namespace

struct NameLookups::Board {
    std::mutex mutex;
    struct Entry {
        bool running = false;
        std::int64_t doneMs = -1;
        QByteArray addresses;  // empty: the name could not be resolved
    };
    QHash<QByteArray, Entry> entries;
    std::function<void()> wake;  // empty once the session is gone
};

NameLookups::NameLookups(std::function<void()> wake) : board_(std::make_shared<Board>())
{
    board_->wake = std::move(wake);
}

NameLookups::~NameLookups()
{
    std::lock_guard lock(board_->mutex);
    board_->wake = nullptr;
}

NameLookups::Answer NameLookups::lookUp(const QByteArray &host, std::int64_t nowMs)
{
    const QByteArray key = host.toLower();
    std::lock_guard lock(board_->mutex);
    Board::Entry &entry = board_->entries[key];
    if (entry.running)
        return {};
    if (entry.doneMs >= 0) {
        const bool resolved = !entry.addresses.isEmpty();
        if (nowMs - entry.doneMs < (resolved ? kAnswerKeptMs : kFailureKeptMs))
            return {resolved ? State::Resolved : State::Failed, entry.addresses};
    }
    entry.running = true;
    std::thread([board = board_, key] {
        const QByteArray addresses = resolve(key);
        std::lock_guard lock(board->mutex);
        Board::Entry &done = board->entries[key];
        done.running = false;
        done.doneMs = steadyMs();
        done.addresses = addresses;
        if (board->wake)
            board->wake();
    }).detach();
    return {};
}

int NameLookups::inFlight() const
{
    std::lock_guard lock(board_->mutex);
    int n = 0;
    for (const Board::Entry &e : std::as_const(board_->entries))
        n += e.running ? 1 : 0;
    return n;
}

bool NameLookups::isNumeric(const QByteArray &host)
{
    QByteArray bare = host;
    if (bare.startsWith('[') && bare.endsWith(']'))
        bare = bare.mid(1, bare.size() - 2);
    unsigned char buf[sizeof(in6_addr)];
    return ::inet_pton(AF_INET, bare.constData(), buf) == 1 || ::inet_pton(AF_INET6, bare.constData(), buf) == 1;
}

} // namespace cz
