#include "net/HttpSession.h"

#include "net/NameLookups.h"

#include <QMetaObject>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <curl/curl.h>
#include <deque>
#include <mutex>
#include <thread>
#include <unordered_map>
#include <vector>

namespace cz {

namespace {

constexpr const char *kUserAgent =
    "Mozilla/4.0 (compatible; MSIE 6.0; Windows NT 5.1; SV1; .NET CLR 1.1.4322; .NET CLR 2.0.50727)";
constexpr int kPollMs = 20;

std::int64_t monotonicMs()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

// A proxy string may name one proxy per scheme ("http=host:port ftp=...");
// devices are reached over http.
QByteArray curlProxyAddress(const QByteArray &address)
{
    if (!address.contains('='))
        return address.trimmed();
    for (const QByteArray &entry : address.simplified().split(' ')) {
        if (entry.startsWith("http="))
            return entry.mid(5);
    }
    return {};
}

// The host and port of an "http://host:port/..." address; empty when it
// has none.
std::pair<QByteArray, long> hostAndPort(const QByteArray &url, long defaultPort)
{
    CURLU *u = curl_url();
    std::pair<QByteArray, long> out{QByteArray(), defaultPort};
    const QByteArray full = url.contains("://") ? url : "http://" + url;
    if (curl_url_set(u, CURLUPART_URL, full.constData(), 0) == CURLUE_OK) {
        char *host = nullptr, *port = nullptr;
        if (curl_url_get(u, CURLUPART_HOST, &host, 0) == CURLUE_OK)
            out.first = host;
        if (curl_url_get(u, CURLUPART_PORT, &port, 0) == CURLUE_OK)
            out.second = std::strtol(port, nullptr, 10);
        curl_free(host);
        curl_free(port);
    }
    curl_url_cleanup(u);
    return out;
}

} // namespace

QByteArray replyText(const QByteArray &body)
{
    QByteArray text = body.left(HttpSession::kReplyCapacity);
    const qsizetype nul = text.indexOf('\0');
    if (nul >= 0)
        text.truncate(nul);
    return text;
}

QByteArray HttpSession::attemptErrorText(int curlCode, const QByteArray &curlMessage)
{
    switch (curlCode) {
    case CURLE_COULDNT_CONNECT:
        return "A connection with the server could not be established\r\n";
    case CURLE_OPERATION_TIMEDOUT:
        return "The operation timed out\r\n";
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
        return "The server name or address could not be resolved\r\n";
    default:
        return (curlMessage.isEmpty() ? QByteArray(curl_easy_strerror(CURLcode(curlCode))) : curlMessage) + "\r\n";
    }
}

// One attempt on the wire. An attempt has "opened" once the device has sent
// the end of its headers, or any body byte when it sends a bare body; what
// goes wrong after that only cuts the reply short.
struct HttpSession::Attempt {
    quint64 id = 0;
    QByteArray url;
    ProxySettings proxy;
    CURL *easy = nullptr;
    QByteArray body;
    bool opened = false;
    bool connected = false;
    std::int64_t startedMs = 0;
    std::int64_t lastActivityMs = 0;
    // The name this attempt's connection needs looked up (the proxy's when
    // it has one), its port, and libcurl's list of its addresses once known.
    QByteArray lookupHost;
    long lookupPort = 0;
    curl_slist *resolved = nullptr;
    char errorBuffer[CURL_ERROR_SIZE] = {};

    ~Attempt() { curl_slist_free_all(resolved); }

    static size_t onHeader(char *data, size_t size, size_t count, void *self)
    {
        auto *a = static_cast<Attempt *>(self);
        const size_t n = size * count;
        a->lastActivityMs = monotonicMs();
        if ((n == 2 && data[0] == '\r') || (n == 1 && data[0] == '\n'))
            a->opened = true;
        return n;
    }
    static size_t onBody(char *data, size_t size, size_t count, void *self)
    {
        auto *a = static_cast<Attempt *>(self);
        const size_t n = size * count;
        a->lastActivityMs = monotonicMs();
        a->opened = true;
        const size_t room = size_t(kReplyCapacity) - size_t(a->body.size());
        a->body.append(data, qsizetype(std::min(n, room)));
        // Enough read: stop the transfer (reported as a write error, which
        // finish() does not count as a failure since the attempt opened).
        return a->body.size() >= kReplyCapacity ? 0 : n;
    }
    static int onConnected(void *self, char *, char *, int, int)
    {
        auto *a = static_cast<Attempt *>(self);
        a->connected = true;
        a->lastActivityMs = monotonicMs();
        return CURL_PREREQFUNC_OK;
    }
};

class HttpSession::Worker {
public:
    explicit Worker(HttpSession *owner) : owner_(owner)
    {
        static std::once_flag once;
        std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
        multi_ = curl_multi_init();
        lookups_ = std::make_unique<NameLookups>([this] { curl_multi_wakeup(multi_); });
        thread_ = std::thread([this] { run(); });
    }
    ~Worker()
    {
        {
            std::lock_guard lock(mutex_);
            stop_ = true;
        }
        curl_multi_wakeup(multi_);
        thread_.join();
        lookups_.reset();  // a lookup that returns later wakes nothing
        for (auto &[easy, attempt] : active_) {
            curl_multi_remove_handle(multi_, easy);
            curl_easy_cleanup(easy);
        }
        curl_multi_cleanup(multi_);
    }

    void submit(std::unique_ptr<Attempt> attempt)
    {
        {
            std::lock_guard lock(mutex_);
            incoming_.push_back(std::move(attempt));
        }
        curl_multi_wakeup(multi_);
    }
    void cancel(quint64 id)
    {
        {
            std::lock_guard lock(mutex_);
            cancelled_.push_back(id);
        }
        curl_multi_wakeup(multi_);
    }

    std::atomic<int> connectMs{5000};
    std::atomic<int> receiveMs{5000};
    std::atomic<int> totalMs{10000};
    std::atomic<int> maxParallel{256};

private:
    void run()
    {
        for (;;) {
            {
                std::lock_guard lock(mutex_);
                if (stop_)
                    return;
                for (auto &a : incoming_)
                    waiting_.push_back(std::move(a));
                incoming_.clear();
                for (quint64 id : cancelled_)
                    drop(id);
                cancelled_.clear();
            }
            startWaiting();
            serveLookups();
            int running = 0;
            curl_multi_perform(multi_, &running);
            int left = 0;
            while (CURLMsg *msg = curl_multi_info_read(multi_, &left)) {
                if (msg->msg == CURLMSG_DONE)
                    finish(msg->easy_handle, msg->data.result);
            }
            expireSilentTransfers();
            curl_multi_poll(multi_, nullptr, 0, kPollMs, nullptr);
        }
    }

    void startWaiting()
    {
        const std::int64_t now = monotonicMs();
        while (!waiting_.empty() &&
               int(active_.size() + resolving_.size()) < std::max(1, maxParallel.load())) {
            std::unique_ptr<Attempt> a = std::move(waiting_.front());
            waiting_.pop_front();
            a->startedMs = now;
            const QByteArray proxy = curlProxyAddress(a->proxy.address);
            std::tie(a->lookupHost, a->lookupPort) =
                proxy.isEmpty() ? hostAndPort(a->url, 80)
                                : hostAndPort(proxy, a->proxy.port > 0 && a->proxy.port < 65536 ? a->proxy.port : 1080);
            if (a->lookupHost.isEmpty() || NameLookups::isNumeric(a->lookupHost) ||
                a->lookupHost.compare("localhost", Qt::CaseInsensitive) == 0)
                launch(std::move(a));
            else
                resolving_.push_back(std::move(a));
        }
    }

    // Attempts waiting for their name: started once it is known, failed
    // when it cannot be, or when the connect time-out passes first.
    void serveLookups()
    {
        const std::int64_t now = monotonicMs();
        for (auto it = resolving_.begin(); it != resolving_.end();) {
            Attempt &a = **it;
            const NameLookups::Answer answer = lookups_->lookUp(a.lookupHost, now);
            if (answer.state == NameLookups::State::Pending && now - a.startedMs < connectMs.load()) {
                ++it;
                continue;
            }
            std::unique_ptr<Attempt> ready = std::move(*it);
            it = resolving_.erase(it);
            if (answer.state == NameLookups::State::Resolved) {
                const QByteArray entry = ready->lookupHost + ':' + QByteArray::number(qlonglong(ready->lookupPort)) +
                                         ':' + answer.addresses;
                ready->resolved = curl_slist_append(nullptr, entry.constData());
                launch(std::move(ready));
            } else {
                const bool viaProxy = !ready->proxy.address.isEmpty();
                complete(std::move(ready), answer.state == NameLookups::State::Failed
                                               ? (viaProxy ? CURLE_COULDNT_RESOLVE_PROXY : CURLE_COULDNT_RESOLVE_HOST)
                                               : CURLE_OPERATION_TIMEDOUT);
            }
        }
    }

    void launch(std::unique_ptr<Attempt> a)
    {
        // Time spent waiting for the name counts, as it does in libcurl.
        const std::int64_t waited = monotonicMs() - a->startedMs;
        CURL *easy = curl_easy_init();
        a->easy = easy;
        a->lastActivityMs = monotonicMs();
        curl_easy_setopt(easy, CURLOPT_URL, a->url.constData());
        curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http");
        curl_easy_setopt(easy, CURLOPT_USERAGENT, kUserAgent);
        curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS, long(std::max<std::int64_t>(1, connectMs.load() - waited)));
        curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS, long(std::max<std::int64_t>(1, totalMs.load() - waited)));
        curl_easy_setopt(easy, CURLOPT_HTTP09_ALLOWED, 1L);
        curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
        // Names are looked up before (NameLookups), so libcurl starts no
        // resolver thread of its own.
        if (a->resolved)
            curl_easy_setopt(easy, CURLOPT_RESOLVE, a->resolved);
        curl_easy_setopt(easy, CURLOPT_QUICK_EXIT, 1L);
        curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, a->errorBuffer);
        curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, &Attempt::onHeader);
        curl_easy_setopt(easy, CURLOPT_HEADERDATA, a.get());
        curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &Attempt::onBody);
        curl_easy_setopt(easy, CURLOPT_WRITEDATA, a.get());
        curl_easy_setopt(easy, CURLOPT_PREREQFUNCTION, &Attempt::onConnected);
        curl_easy_setopt(easy, CURLOPT_PREREQDATA, a.get());
        const QByteArray proxy = curlProxyAddress(a->proxy.address);
        curl_easy_setopt(easy, CURLOPT_PROXY, proxy.constData());
        // A port written in the address wins over this one.
        if (!proxy.isEmpty() && a->proxy.port > 0 && a->proxy.port < 65536)
            curl_easy_setopt(easy, CURLOPT_PROXYPORT, long(a->proxy.port));
        if (!proxy.isEmpty() && !a->proxy.userName.isEmpty()) {
            curl_easy_setopt(easy, CURLOPT_PROXYUSERNAME, a->proxy.userName.constData());
            curl_easy_setopt(easy, CURLOPT_PROXYPASSWORD, a->proxy.password.constData());
        }
        curl_multi_add_handle(multi_, easy);
        active_.emplace(easy, std::move(a));
    }

    // A connected transfer that has received nothing for the receive time-out.
    // Headers count as received once their line is complete, body bytes as
    // they come; a device that trickles anyway meets the attempt's deadline.
    void expireSilentTransfers()
    {
        const std::int64_t now = monotonicMs();
        std::vector<CURL *> expired;
        for (auto &[easy, a] : active_) {
            if (a->connected && now - a->lastActivityMs > receiveMs.load())
                expired.push_back(easy);
        }
        for (CURL *easy : expired)
            finish(easy, CURLE_OPERATION_TIMEDOUT);
    }

    void finish(CURL *easy, CURLcode code)
    {
        auto it = active_.find(easy);
        if (it == active_.end())
            return;
        std::unique_ptr<Attempt> a = std::move(it->second);
        active_.erase(it);
        curl_multi_remove_handle(multi_, easy);
        curl_easy_cleanup(easy);
        complete(std::move(a), code);
    }

    void complete(std::unique_ptr<Attempt> a, CURLcode code)
    {
        const bool opened = a->opened;
        const QByteArray error = opened || code == CURLE_OK
                                     ? QByteArray()
                                     : HttpSession::attemptErrorText(code, QByteArray(a->errorBuffer));
        const quint64 id = a->id;
        const QByteArray body = a->body;
        HttpSession *owner = owner_;
        QMetaObject::invokeMethod(
            owner, [owner, id, opened, body, error] { owner->attemptFinished(id, opened || error.isEmpty(), body, error); },
            Qt::QueuedConnection);
    }

    void drop(quint64 id)
    {
        waiting_.erase(std::remove_if(waiting_.begin(), waiting_.end(), [id](const auto &a) { return a->id == id; }),
                       waiting_.end());
        resolving_.erase(
            std::remove_if(resolving_.begin(), resolving_.end(), [id](const auto &a) { return a->id == id; }),
            resolving_.end());
        for (auto it = active_.begin(); it != active_.end(); ++it) {
            if (it->second->id == id) {
                curl_multi_remove_handle(multi_, it->first);
                curl_easy_cleanup(it->first);
                active_.erase(it);
                return;
            }
        }
    }

    HttpSession *owner_;
    CURLM *multi_ = nullptr;
    std::thread thread_;
    std::mutex mutex_;
    bool stop_ = false;
    std::vector<std::unique_ptr<Attempt>> incoming_;
    std::vector<quint64> cancelled_;
    // Worker thread only:
    std::deque<std::unique_ptr<Attempt>> waiting_;
    std::vector<std::unique_ptr<Attempt>> resolving_;  // waiting for their name
    std::unordered_map<CURL *, std::unique_ptr<Attempt>> active_;
    std::unique_ptr<NameLookups> lookups_;
};

HttpSession::HttpSession(QObject *parent) : QObject(parent), worker_(std::make_unique<Worker>(this)) {}

HttpSession::~HttpSession()
{
    worker_.reset();
}

void HttpSession::setTimeouts(int connectMs, int receiveMs, int totalMs)
{
    worker_->connectMs = connectMs;
    worker_->receiveMs = receiveMs;
    worker_->totalMs = totalMs;
}

void HttpSession::setMaxParallel(int count)
{
    worker_->maxParallel = count;
}

quint64 HttpSession::fetchPage(const QByteArray &url, const ProxySettings &proxy, AttemptFailed attemptFailed,
                               PageDone done)
{
    const quint64 id = nextId_++;
    pages_.insert(id, Page{url, proxy, std::move(attemptFailed), std::move(done), {}});
    startAttempt(id);
    return id;
}

void HttpSession::cancel(quint64 id)
{
    if (pages_.remove(id))
        worker_->cancel(id);
}

void HttpSession::startAttempt(quint64 id)
{
    const Page &page = pages_[id];
    auto attempt = std::make_unique<Attempt>();
    attempt->id = id;
    attempt->url = page.url;
    attempt->proxy = page.proxy;
    worker_->submit(std::move(attempt));
}

void HttpSession::attemptFinished(quint64 id, bool opened, const QByteArray &body, const QByteArray &error)
{
    auto it = pages_.find(id);
    if (it == pages_.end())
        return; // cancelled meanwhile
    if (!opened) {
        it->result.failedAttempts.append(error);
        const int attempt = int(it->result.failedAttempts.size());
        if (attempt < PageResult::kAttempts)
            startAttempt(id);
        if (it->attemptFailed) {
            // The callback may cancel this page: look it up again after.
            AttemptFailed report = it->attemptFailed;
            report(attempt, error);
            it = pages_.find(id);
            if (it == pages_.end())
                return;
        }
        if (attempt < PageResult::kAttempts)
            return;
    } else {
        it->result.reply = replyText(body);
    }
    Page page = std::move(*it);
    pages_.erase(it);
    page.done(page.result);
}

} // namespace cz
