// The metrics port against clients that do not play by the rules: what
// each kind of request gets, and a flood of idle connections, a huge upload
// and a client that never reads, all at once, while a device is polled.
#include "net/MetricsServer.h"
#include "tests/support/NetTestSupport.h"
#include "tests/support/Processes.h"

#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QTcpServer>
#include <QThread>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace cz;
using namespace cz::test;

namespace {

int connectTo(quint16 port, bool blocking)
{
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | (blocking ? 0 : SOCK_NONBLOCK), 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0 && errno != EINPROGRESS) {
        ::close(fd);
        return -1;
    }
    return fd;
}

// Sends `request` and reads until the server closes or `ms` pass.
QByteArray exchange(int fd, const QByteArray &request, int ms = 5000)
{
    if (fd < 0)
        return {};
    ::send(fd, request.constData(), size_t(request.size()), MSG_NOSIGNAL);
    QByteArray reply;
    QElapsedTimer t;
    t.start();
    char buffer[65536];
    while (t.elapsed() < ms) {
        pollfd p{fd, POLLIN, 0};
        if (::poll(&p, 1, 100) <= 0)
            continue;
        const ssize_t n = ::recv(fd, buffer, sizeof buffer, 0);
        if (n <= 0)
            break;
        reply.append(buffer, qsizetype(n));
    }
    return reply;
}

QByteArray ask(quint16 port, const QByteArray &request, int ms = 5000)
{
    const int fd = connectTo(port, true);
    const QByteArray reply = exchange(fd, request, ms);
    if (fd >= 0)
        ::close(fd);
    return reply;
}

QByteArray statusLine(const QByteArray &reply)
{
    return reply.left(reply.indexOf("\r\n"));
}

// True when the server has closed the connection (or reset it).
bool closedByServer(int fd)
{
    char c;
    const ssize_t n = ::recv(fd, &c, 1, MSG_PEEK | MSG_DONTWAIT);
    return n == 0 || (n < 0 && errno != EAGAIN && errno != EWOULDBLOCK);
}

// The program, headless, serving metrics, polling one simulated device
// every second with its data file written.
class HostileClients : public ::testing::Test {
protected:
    void SetUp() override
    {
        writeFile(f.path("sim.json"), R"({"devices": [{"model": "Model R4", "name": "Lab",
            "probes": [{"name": "Intake", "scenario": {"kind": "constant", "value": 70}}]}]})");
        const QList<int> ports = startSimulator(sim, QStringLiteral(CZ_BIN_DIR), {"--config", f.dir.filePath("sim.json")});
        ASSERT_FALSE(ports.isEmpty());
        QDir().mkpath(QFile::decodeName(f.path("Devices")));
        writeFile(f.path("Corvanta Zephtra.ini"), "[Devices]\r\nDevice001=Lab\r\n");
        writeFile(f.path("Devices/Lab.ini"),
                  "[Device]\r\nDeviceName=Lab\r\nDeviceModel=Model R4\r\nDeviceAddress=127.0.0.1\r\nDevicePort=" +
                      QByteArray::number(ports.first()) +
                      "\r\nProbeCount=1\r\nQueryInterval=1\r\nLoggingEnabled=1\r\n"
                      "[Probe01]\r\nProbeNumber=1\r\nProbeName=Intake\r\nProbeEnabled=1\r\n");
        port = freeLoopbackPort();
        program.start(programPath(), {"--headless", "--data-dir", f.dir.path(), "--metrics-address",
                                      QString::number(port)});
        ASSERT_TRUE(waitForOutput(program, "Metrics: http://127.0.0.1:", out)) << out.constData();
        ASSERT_TRUE(waitForOutput(program, "Status: monitoring devices...", out)) << out.constData();
    }
    void TearDown() override
    {
        for (QProcess *p : {&program, &sim}) {
            if (p->state() != QProcess::NotRunning) {
                ::kill(pid_t(p->processId()), SIGTERM);
                if (!p->waitForFinished(20000))
                    p->kill();
            }
        }
    }

    DataFolderFixture f;
    QProcess sim, program;
    QByteArray out;
    quint16 port = 0;
};

} // namespace

TEST_F(HostileClients, OnlyGetAndHeadOfTheMetricsAreAnswered)
{
    const QByteArray get = "GET /metrics HTTP/1.1\r\nHost: test\r\n\r\n";
    // Two scrapes on one connection: it stays open between them.
    const int fd = connectTo(port, true);
    QByteArray first = exchange(fd, get, 1500);
    QByteArray second = exchange(fd, get, 1500);
    ::close(fd);
    EXPECT_EQ(statusLine(first), "HTTP/1.1 200 OK");
    EXPECT_TRUE(first.contains("Content-Type: text/plain; version=0.0.4; charset=utf-8\r\n"));
    EXPECT_TRUE(first.contains("\ncorvanta_device_up{device=\"Lab\"} 1\n")) << first.constData();
    EXPECT_EQ(statusLine(second), "HTTP/1.1 200 OK");

    const QByteArray head = ask(port, "HEAD /metrics HTTP/1.1\r\nHost: test\r\nConnection: close\r\n\r\n");
    EXPECT_EQ(statusLine(head), "HTTP/1.1 200 OK");
    EXPECT_TRUE(head.endsWith("\r\n\r\n")) << "no body for HEAD";

    EXPECT_EQ(statusLine(ask(port, "GET / HTTP/1.1\r\nHost: test\r\nConnection: close\r\n\r\n")),
              "HTTP/1.1 404 Not Found");
    for (const char *method : {"POST", "PUT", "DELETE", "OPTIONS"}) {
        const QByteArray reply = ask(port, QByteArray(method) + " /metrics HTTP/1.1\r\nHost: test\r\n\r\n");
        EXPECT_EQ(statusLine(reply), "HTTP/1.1 405 Method Not Allowed") << method;
        EXPECT_TRUE(reply.contains("\r\nAllow: GET, HEAD\r\n")) << method;
    }
    // Heads over 8 KB, small or huge.
    for (int size : {8300, 200000}) {
        const QByteArray reply =
            ask(port, "GET /metrics HTTP/1.1\r\nHost: test\r\nX-Filler: " + QByteArray(size, 'a') + "\r\n\r\n");
        EXPECT_EQ(statusLine(reply), "HTTP/1.1 431 Request Header Fields Too Large") << size;
    }
    EXPECT_EQ(statusLine(ask(port, "GET /metrics HTTP/1.1\r\nHost: test\r\nConnection: close\r\nX-Filler: " +
                                       QByteArray(7000, 'b') + "\r\n\r\n")),
              "HTTP/1.1 200 OK");
    EXPECT_EQ(statusLine(ask(port, "GET /metrics HTTP/1.1\r\nHost: test\r\nContent-Length: 5\r\n\r\nhello")),
              "HTTP/1.1 413 Content Too Large");
}

TEST_F(HostileClients, AConnectionIdleForTenSecondsIsClosed)
{
    const int fd = connectTo(port, true);
    QElapsedTimer idle;
    idle.start();
    while (!closedByServer(fd) && idle.elapsed() < 15000)
        QThread::msleep(100);
    ::close(fd);
    EXPECT_GE(idle.elapsed(), 9500);
    EXPECT_LT(idle.elapsed(), 12500);
}

TEST_F(HostileClients, FloodsUploadsAndNonReadersLeaveMonitoringAndAPoliteScrapeAlone)
{
    const qint64 pid = program.processId();
    const int baseFiles = openFiles(pid);
    const long baseKb = residentKiB(pid);
    QElapsedTimer attack;
    attack.start();
    const QDateTime startedAt = QDateTime::currentDateTime();

    // This process needs a descriptor per idle connection.
    rlimit files{};
    ::getrlimit(RLIMIT_NOFILE, &files);
    files.rlim_cur = std::min<rlim_t>(files.rlim_max, 4096);
    ::setrlimit(RLIMIT_NOFILE, &files);
    const int idleCount = int(std::min<rlim_t>(2000, files.rlim_cur - 100));

    // A 300 MB upload, sent as fast as the server takes it.
    std::atomic<qint64> uploaded{0};
    QByteArray uploadReply;
    std::thread upload([&] {
        const int fd = connectTo(port, true);
        const QByteArray head = "POST /metrics HTTP/1.1\r\nHost: test\r\nContent-Length: 314572800\r\n\r\n";
        ::send(fd, head.constData(), size_t(head.size()), MSG_NOSIGNAL);
        const std::vector<char> chunk(65536, 'x');
        while (uploaded < 314572800) {
            const ssize_t n = ::send(fd, chunk.data(), chunk.size(), MSG_NOSIGNAL);
            if (n <= 0)
                break;
            uploaded += n;
        }
        uploadReply = exchange(fd, {}, 2000);
        ::close(fd);
    });

    std::vector<int> idle;
    for (int i = 0; i < idleCount; ++i)
        idle.push_back(connectTo(port, false));

    // Requests pipelined without ever reading a reply.
    const int pipelined = connectTo(port, true);
    int tiny = 2048;
    ::setsockopt(pipelined, SOL_SOCKET, SO_RCVBUF, &tiny, sizeof tiny);
    ::fcntl(pipelined, F_SETFL, O_NONBLOCK);
    const QByteArray get = "GET /metrics HTTP/1.1\r\nHost: test\r\n\r\n";
    while (::send(pipelined, get.constData(), size_t(get.size()), MSG_NOSIGNAL) > 0 && attack.elapsed() < 2000) {
    }

    // A polite scrape gets through, at most a few tries in.
    QByteArray scraped;
    for (int attempt = 0; attempt < 5 && !scraped.startsWith("HTTP/1.1 200"); ++attempt) {
        scraped = ask(port, "GET /metrics HTTP/1.1\r\nHost: prometheus\r\nConnection: close\r\n\r\n", 3000);
        if (!scraped.startsWith("HTTP/1.1 200"))
            QThread::msleep(500);
    }
    EXPECT_EQ(statusLine(scraped), "HTTP/1.1 200 OK");
    EXPECT_TRUE(scraped.contains("corvanta_device_up{device=\"Lab\"} 1")) << scraped.left(300).constData();

    // Beyond the connections it serves, the program refused or closed the
    // flood's at once.
    int refused = 0;
    for (int fd : idle)
        refused += fd >= 0 && closedByServer(fd) ? 1 : 0;
    EXPECT_GT(refused, idleCount / 2);

    // The program holds a bounded number of descriptors and little memory
    // throughout.
    int mostFiles = 0;
    long mostKb = 0;
    while (attack.elapsed() < 12000) {
        mostFiles = std::max(mostFiles, openFiles(pid));
        mostKb = std::max(mostKb, residentKiB(pid));
        QThread::msleep(100);
    }
    upload.join();
    EXPECT_LT(mostFiles, baseFiles + MetricsServer::kMaxConnections + 20);
    // AddressSanitizer keeps freed memory aside for a while: no bound there.
#ifdef __SANITIZE_ADDRESS__
    Q_UNUSED(baseKb);
#else
    EXPECT_LT(mostKb - baseKb, 50 * 1024);
#endif
    EXPECT_LT(uploaded.load(), 64ll * 1024 * 1024) << "the upload is refused, not read";
    EXPECT_EQ(statusLine(uploadReply), "HTTP/1.1 405 Method Not Allowed");
    // What idles is let go: the flood's connections and the reader that
    // never reads.
    EXPECT_TRUE(waitUntil([&] { return openFiles(pid) <= baseFiles + 1; }, 30000)) << openFiles(pid);
    for (int fd : idle)
        ::close(fd);
    ::close(pipelined);

    // The device was polled every second all along.
    QList<QTime> times;
    for (const QByteArray &line : readFile(f.path("Data/Lab-Probe01-(Intake).csv")).split('\n')) {
        const QTime t = QTime::fromString(QString::fromLatin1(line.mid(9, 8)), QStringLiteral("HH:mm:ss"));
        if (t.isValid() && t >= startedAt.time().addSecs(-1))
            times.append(t);
    }
    ASSERT_GE(times.size(), 10);
    for (int i = 1; i < times.size(); ++i)
        EXPECT_LE(times[i - 1].secsTo(times[i]), 2) << "between " << times[i - 1].toString().toStdString();
}

// Seventy clients on the same address pipeline hundreds of requests each
// and never read an answer (their receive windows tiny), and never let go;
// each also opens one more such connection every second. A polite scraper
// is answered all the while, and the program holds no more than its
// connections' worth.
TEST_F(HostileClients, PipeliningNonReadersDoNotShutOutAPoliteScraper)
{
    constexpr int kClients = 70;
    constexpr int kPipelined = 400;
    const qint64 pid = program.processId();
    const int baseFiles = openFiles(pid);
    QByteArray burst;
    for (int i = 0; i < kPipelined; ++i)
        burst += "GET /metrics HTTP/1.1\r\nHost: test\r\n\r\n";
    auto hostile = [&] {
        const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        int tiny = 2048;
        ::setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &tiny, sizeof tiny);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (::connect(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0) {
            ::close(fd);
            return -1;
        }
        ::fcntl(fd, F_SETFL, O_NONBLOCK);
        ::send(fd, burst.constData(), size_t(burst.size()), MSG_NOSIGNAL);
        return fd;
    };
    rlimit files{};
    ::getrlimit(RLIMIT_NOFILE, &files);
    files.rlim_cur = std::min<rlim_t>(files.rlim_max, 4096);
    ::setrlimit(RLIMIT_NOFILE, &files);
    std::atomic<bool> attacking{true};
    std::thread attack([&] {
        std::vector<int> fds;
        for (int round = 0; attacking && fds.size() < 2000; ++round) {
            fds.push_back(hostile());
            // All seventy at first, then each once more every second.
            if (round >= kClients)
                std::this_thread::sleep_for(std::chrono::milliseconds(1000 / kClients));
        }
        while (attacking)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        for (int fd : fds)
            if (fd >= 0)
                ::close(fd);
    });
    QThread::msleep(500);

    int asked = 0, answered = 0, mostFiles = 0;
    QElapsedTimer t;
    t.start();
    while (t.elapsed() < 12000) {
        ++asked;
        const QByteArray reply =
            ask(port, "GET /metrics HTTP/1.1\r\nHost: prometheus\r\nConnection: close\r\n\r\n", 2000);
        if (statusLine(reply) == "HTTP/1.1 200 OK" && reply.contains("corvanta_device_up{device=\"Lab\"} 1"))
            ++answered;
        mostFiles = std::max(mostFiles, openFiles(pid));
        QThread::msleep(250);
    }
    attacking = false;
    attack.join();
    EXPECT_GE(answered, asked * 8 / 10) << answered << " of " << asked << " scrapes answered";
    EXPECT_LT(mostFiles, baseFiles + MetricsServer::kMaxConnections + 20);
    EXPECT_TRUE(waitUntil([&] { return openFiles(pid) <= baseFiles + 1; }, 30000)) << openFiles(pid);
}
