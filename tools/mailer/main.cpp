// corvanta-mailer: sends one text file as an e-mail to one recipient.
//
//   corvanta-mailer BODYFILE -server S -port P -to ADDR -mailfrom FROM -s SUBJECT
//                   [-u USER -pw PASS] [-noh2] [-q] [-debug]
//
// STARTTLS is used when the server offers it, implicit TLS on port 465.
// Server certificates are checked against the system's authorities, or
// against the file named by SSL_CERT_FILE. Exit status 0 when the server
// accepted the message; otherwise one line on stderr says why.
#include "tools/mailer/MailMessage.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <curl/curl.h>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <unistd.h>

namespace {

enum Exit { Sent = 0, Failed = 1, Usage = 2, NoBody = 3, NoConnection = 4, LoginRejected = 5,
            RecipientRejected = 6, TlsFailed = 7 };

struct Options {
    std::string bodyFile, server, to, from, subject, user, password;
    long port = 25;
    bool noExtraHeader = false, quiet = false, debug = false;
};

int fail(Exit code, const std::string &reason)
{
    std::fprintf(stderr, "corvanta-mailer: %s\n", reason.c_str());
    return code;
}

std::string lower(std::string s)
{
    std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return char(std::tolower(c)); });
    return s;
}

bool parseArguments(int argc, char **argv, Options &o, std::string &error)
{
    static const std::map<std::string, std::string Options::*> valued = {
        {"-server", &Options::server}, {"-to", &Options::to},  {"-mailfrom", &Options::from},
        {"-s", &Options::subject},     {"-u", &Options::user}, {"-pw", &Options::password}};
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        const std::string key = lower(arg);
        if (i == 1 && (arg.empty() || arg[0] != '-')) {
            o.bodyFile = arg;
        } else if (valued.count(key)) {
            if (++i >= argc)
                return error = arg + " needs a value", false;
            o.*valued.at(key) = argv[i];
            // Others may read our command line (ps): the password leaves it.
            if (key == "-pw")
                std::memset(argv[i], 0, std::strlen(argv[i]));
        } else if (key == "-port") {
            if (++i >= argc)
                return error = "-port needs a value", false;
            char *end = nullptr;
            o.port = std::strtol(argv[i], &end, 10);
            if (*end || o.port < 1 || o.port > 65535)
                return error = std::string("bad port \"") + argv[i] + "\"", false;
        } else if (key == "-noh2") {
            o.noExtraHeader = true;
        } else if (key == "-q") {
            o.quiet = true;
        } else if (key == "-debug") {
            o.debug = true;
        } else {
            return error = "unknown option \"" + arg + "\"", false;
        }
    }
    if (o.bodyFile.empty())
        return error = "no body file given", false;
    if (o.server.empty())
        return error = "no SMTP server given (-server)", false;
    if (o.to.empty())
        return error = "no recipient given (-to)", false;
    if (o.from.empty())
        return error = "no sender given (-mailfrom)", false;
    return true;
}

struct Upload {
    std::string data;
    std::size_t offset = 0;
};

std::size_t readUpload(char *buffer, std::size_t size, std::size_t count, void *user)
{
    auto *u = static_cast<Upload *>(user);
    const std::size_t n = std::min(size * count, u->data.size() - u->offset);
    std::memcpy(buffer, u->data.data() + u->offset, n);
    u->offset += n;
    return n;
}

// What we said, with the secrets of a login left out: the AUTH command keeps
// its mechanism only, and every line sent until the server accepts or
// refuses the login (235 or 4xx/5xx) is hidden.
std::string shownOutgoing(const std::string &line, bool &inLogin)
{
    if (lower(line.substr(0, 5)) == "auth ") {
        inLogin = true;
        const std::size_t end = line.find(' ', 5);
        return end == std::string::npos ? line : line.substr(0, end) + " (hidden)";
    }
    return inLogin ? "(hidden)" : line;
}

// The SMTP conversation for -debug: what the server said, what we said.
int printConversation(CURL *, curl_infotype type, char *data, std::size_t size, void *)
{
    static bool inLogin = false;
    const char *mark = type == CURLINFO_HEADER_IN ? "< " : type == CURLINFO_HEADER_OUT ? "> "
                     : type == CURLINFO_TEXT      ? "* " : nullptr;
    if (!mark)
        return 0;
    std::string text(data, size);
    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines, line)) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (type == CURLINFO_HEADER_OUT)
            line = shownOutgoing(line, inLogin);
        else if (type == CURLINFO_HEADER_IN && inLogin && !line.empty() && line[0] != '3')
            inLogin = false;
        std::printf("%s%s\n", mark, line.c_str());
    }
    std::fflush(stdout);
    return 0;
}

std::string messageId(const std::string &from)
{
    std::random_device random;
    const std::size_t at = from.rfind('@');
    std::string domain = at == std::string::npos ? "localhost" : from.substr(at + 1);
    domain.erase(std::remove(domain.begin(), domain.end(), '>'), domain.end());
    char id[96];
    std::snprintf(id, sizeof id, "%lld.%d.%08x", (long long)std::time(nullptr), int(getpid()), unsigned(random()));
    return std::string(id) + "@" + (domain.empty() ? "localhost" : domain);
}

int reasonFor(CURLcode code, const std::string &detail, const Options &o)
{
    const std::string where = o.server + " port " + std::to_string(o.port);
    switch (code) {
    case CURLE_COULDNT_RESOLVE_HOST:
        return fail(NoConnection, "cannot find the SMTP server " + o.server);
    case CURLE_COULDNT_CONNECT:
        return fail(NoConnection, "cannot connect to " + where + ": " + detail);
    case CURLE_OPERATION_TIMEDOUT:
        return fail(NoConnection, "no answer from " + where + " in time");
    case CURLE_LOGIN_DENIED:
        return fail(LoginRejected, "the server rejected the login of user " + o.user + ": " + detail);
    case CURLE_USE_SSL_FAILED:
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CIPHER:
    case CURLE_SSL_CACERT_BADFILE:
        return fail(TlsFailed, "TLS with " + where + " failed: " + detail);
    default:
        break;
    }
    if (detail.find("RCPT") != std::string::npos)
        return fail(RecipientRejected, "the server rejected the recipient " + o.to + ": " + detail);
    return fail(Failed, "sending to " + where + " failed: " + detail);
}

} // namespace

int main(int argc, char **argv)
{
    Options o;
    std::string error;
    if (!parseArguments(argc, argv, o, error))
        return fail(Usage, error +
                               "\nusage: corvanta-mailer BODYFILE -server S -port P -to ADDR -mailfrom FROM -s SUBJECT "
                               "[-u USER -pw PASS] [-noh2] [-q] [-debug]");
    std::ifstream file(o.bodyFile, std::ios::binary);
    if (!file)
        return fail(NoBody, "cannot read the body file " + o.bodyFile + ": " + std::strerror(errno));
    const std::string body((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());

    mailer::MessageFields fields;
    fields.from = o.from;
    fields.to = o.to;
    fields.subject = o.subject;
    fields.body = body;
    fields.date = std::time(nullptr);
    fields.messageId = messageId(o.from);
    fields.mailerHeader = !o.noExtraHeader;
    Upload upload{mailer::composeMessage(fields)};

    curl_global_init(CURL_GLOBAL_DEFAULT);
    CURL *curl = curl_easy_init();
    char errorText[CURL_ERROR_SIZE] = "";
    const bool implicitTls = o.port == 465;
    const std::string url = std::string(implicitTls ? "smtps://" : "smtp://") + o.server + ":" + std::to_string(o.port);
    curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
    curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, errorText);
    curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, "smtp,smtps");
    curl_easy_setopt(curl, CURLOPT_NOPROXY, "*");
    if (!implicitTls)
        curl_easy_setopt(curl, CURLOPT_USE_SSL, long(CURLUSESSL_TRY));
    if (const char *authorities = std::getenv("SSL_CERT_FILE"); authorities && *authorities)
        curl_easy_setopt(curl, CURLOPT_CAINFO, authorities);
    if (!o.user.empty()) {
        curl_easy_setopt(curl, CURLOPT_USERNAME, o.user.c_str());
        curl_easy_setopt(curl, CURLOPT_PASSWORD, o.password.c_str());
    }
    const std::string envelopeFrom = mailer::envelopeAddress(o.from);
    curl_easy_setopt(curl, CURLOPT_MAIL_FROM, envelopeFrom.c_str());
    curl_slist *recipients = curl_slist_append(nullptr, mailer::envelopeAddress(o.to).c_str());
    curl_easy_setopt(curl, CURLOPT_MAIL_RCPT, recipients);
    curl_easy_setopt(curl, CURLOPT_UPLOAD, 1L);
    curl_easy_setopt(curl, CURLOPT_READFUNCTION, readUpload);
    curl_easy_setopt(curl, CURLOPT_READDATA, &upload);
    curl_easy_setopt(curl, CURLOPT_INFILESIZE_LARGE, curl_off_t(upload.data.size()));
    curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT, 30L);
    curl_easy_setopt(curl, CURLOPT_TIMEOUT, 300L);
    if (o.debug) {
        curl_easy_setopt(curl, CURLOPT_VERBOSE, 1L);
        curl_easy_setopt(curl, CURLOPT_DEBUGFUNCTION, printConversation);
    }
    if (!o.quiet)
        std::printf("Sending %s to %s\n", o.bodyFile.c_str(), o.to.c_str());
    const CURLcode code = curl_easy_perform(curl);
    const std::string detail = *errorText ? errorText : curl_easy_strerror(code);
    curl_slist_free_all(recipients);
    curl_easy_cleanup(curl);
    curl_global_cleanup();
    if (code != CURLE_OK)
        return reasonFor(code, detail, o);
    if (!o.quiet)
        std::printf("Mail sent to %s\n", o.to.c_str());
    return Sent;
}
