// The program's one HTTP session to its devices: libcurl's multi interface
// on a worker thread, results handed back to the owner's thread through
// queued calls, so the event loop never waits on a device.
#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QObject>

#include <functional>
#include <memory>

namespace cz {

// The proxy one request goes through; `address` empty means a direct
// connection (proxy variables of the environment are ignored). `port` is
// used when the address names none; a login is sent only with a user name.
struct ProxySettings {
    QByteArray address;
    int port = 0;
    QByteArray userName;
    QByteArray password;
    bool operator==(const ProxySettings &) const = default;
};

// One page fetched with up to three attempts.
struct PageResult {
    // The error text of every failed attempt, in order; three of them mean
    // the page could not be fetched.
    QList<QByteArray> failedAttempts;
    // The first 2048 bytes of the body, up to the first NUL byte (the reply
    // is text); empty when nothing came back.
    QByteArray reply;
    bool fetched() const { return failedAttempts.size() < kAttempts; }
    static constexpr int kAttempts = 3;
};

class HttpSession : public QObject {
    Q_OBJECT
public:
    static constexpr int kReplyCapacity = 2048;

    explicit HttpSession(QObject *parent = nullptr);
    ~HttpSession() override;

    // An attempt may take `connectMs` to connect, then wait `receiveMs` at
    // most for each next byte, and lasts `totalMs` in all from its start
    // whatever a device trickles (5000, 5000 and 10000 unless changed;
    // tests shorten them).
    void setTimeouts(int connectMs, int receiveMs, int totalMs);
    // How many requests run at the same time; more wait their turn. Every
    // device may have its query in flight at once (256).
    void setMaxParallel(int count);

    using PageDone = std::function<void(const PageResult &)>;
    // Attempt `attempt` (1..3) failed with `error` (the error-log wording).
    using AttemptFailed = std::function<void(int attempt, const QByteArray &error)>;
    // Fetches `url` through `proxy`, one attempt after another until one
    // opens or three have failed. `attemptFailed` (when given) runs as each
    // attempt fails, `done` at the end; both on this object's thread and
    // never from inside the call. Returns an id for cancel().
    quint64 fetchPage(const QByteArray &url, const ProxySettings &proxy, AttemptFailed attemptFailed, PageDone done);
    // Stops a fetch; its `done` is not called.
    void cancel(quint64 id);

    // The wording the error logs use for a failed attempt, ending in CR LF.
    static QByteArray attemptErrorText(int curlCode, const QByteArray &curlMessage);

private:
    struct Attempt;
    class Worker;
    struct Page {
        QByteArray url;
        ProxySettings proxy;
        AttemptFailed attemptFailed;
        PageDone done;
        PageResult result;
    };
    void startAttempt(quint64 id);
    void attemptFinished(quint64 id, bool opened, const QByteArray &body, const QByteArray &error);

    std::unique_ptr<Worker> worker_;
    QHash<quint64, Page> pages_;
    quint64 nextId_ = 1;
};

// The reply text of a body: at most 2048 bytes, cut at the first NUL.
QByteArray replyText(const QByteArray &body);

} // namespace cz
