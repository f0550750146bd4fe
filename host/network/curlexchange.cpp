#include "host/network/curlexchange.h"

#include "host/network/idlework.h"
#include "host/network/truststore.h"

#include <curl/curl.h>

#include <algorithm>
#include <memory>
#include <optional>

namespace network {

namespace {

using ErrorCode = RestClient::ErrorCode;

constexpr qsizetype mebibyte = 1 << 20;
constexpr qsizetype bodyLimit = 8 * mebibyte;
constexpr qsizetype headLimit = mebibyte / 4;
constexpr auto userAgent = "KYRLoyalty-host/" KYR_HOST_VERSION;

struct Received
{
    QByteArray body;
    qsizetype headBytes = 0;
    bool headWhole = false;
    bool tooLarge = false;
};

std::size_t onHeadLine(const char* data, std::size_t /*one*/, std::size_t size, void* user)
{
    auto& received = *static_cast<Received*>(user);
    const QByteArrayView line(data, static_cast<qsizetype>(size));
    received.headBytes += line.size();
    if (received.headBytes > headLimit) {
        received.tooLarge = true;
        return 0;
    }
    if (line.startsWith("HTTP/"))
        received.headWhole = false; // after an interim 1xx the final head begins anew
    else if (line == "\r\n" || line == "\n")
        received.headWhole = true;
    return size;
}

std::size_t onBody(const char* data, std::size_t /*one*/, std::size_t size, void* user)
{
    auto& received = *static_cast<Received*>(user);
    if (received.body.size() + static_cast<qsizetype>(size) > bodyLimit) {
        received.tooLarge = true;
        return 0;
    }
    received.body.append(data, static_cast<qsizetype>(size));
    return size;
}

CURLcode onSslContext(CURL* /*handle*/, void* context, void* /*user*/)
{
    return useTrustStore(static_cast<SSL_CTX*>(context)) ? CURLE_OK : CURLE_SSL_CACERT_BADFILE;
}

/// The characters of a token in RFC 9110; anything else in a name could end it, and begin another header.
bool isHeaderName(const QByteArray& name)
{
    constexpr QByteArrayView marks("!#$%&'*+-.^_`|~");
    return !name.isEmpty() && std::all_of(name.cbegin(), name.cend(), [&](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               marks.contains(c);
    });
}

bool isHeaderValue(const QByteArray& value)
{
    return std::none_of(value.cbegin(), value.cend(),
                        [](char c) { return c == '\r' || c == '\n' || c == '\0'; });
}

/// libcurl's list of header lines.
class HeaderLines
{
public:
    void append(const QByteArray& line)
    {
        // When memory ends, curl_slist_append gives null and leaves the list as it was.
        curl_slist* longer = curl_slist_append(m_lines.get(), line.constData());
        Q_CHECK_PTR(longer);
        static_cast<void>(m_lines.release());
        m_lines.reset(longer);
    }
    [[nodiscard]] curl_slist* get() const { return m_lines.get(); }

private:
    struct Free
    {
        void operator()(curl_slist* lines) const { curl_slist_free_all(lines); }
    };
    std::unique_ptr<curl_slist, Free> m_lines;
};

/// The caller's headers and, where they do not name them, those every request needs; nothing when one of the
/// caller's is unfit to be sent.
std::optional<HeaderLines> headerLines(const Request& request)
{
    HeaderLines lines;
    bool hasConnection = false;
    bool hasContentType = false;
    for (auto header = request.headers.cbegin(); header != request.headers.cend(); ++header) {
        const QByteArray name = header.key().toUtf8();
        const QByteArray value = header.value().toUtf8();
        if (!isHeaderName(name) || !isHeaderValue(value))
            return std::nullopt;
        hasConnection = hasConnection || name.compare("Connection", Qt::CaseInsensitive) == 0;
        hasContentType = hasContentType || name.compare("Content-Type", Qt::CaseInsensitive) == 0;
        // libcurl reads "Name:" as "leave this header out" and "Name;" as "send it empty".
        lines.append(value.trimmed().isEmpty() ? name + ';' : name + ": " + value);
    }
    if (!hasConnection)
        lines.append("Connection: close");
    if (!hasContentType)
        lines.append(request.body.isEmpty() ? "Content-Type:" : "Content-Type: application/json");
    // Waiting for a 100 before the body would cost a second at a service that ignores it.
    lines.append("Expect:");
    return lines;
}

class Handle
{
public:
    Handle() { Q_CHECK_PTR(m_handle); }

    /// An option that cannot be set makes perform() fail: better no request than one with less protection.
    template <typename Value>
    void set(CURLoption option, Value value)
    {
        if (m_setUp == CURLE_OK)
            m_setUp = curl_easy_setopt(m_handle.get(), option, value);
    }

    CURLcode perform()
    {
        if (m_setUp != CURLE_OK)
            return m_setUp;
        const IdleWork* idle = IdleWork::current();
        return idle ? performBeside(*idle) : curl_easy_perform(m_handle.get());
    }

    [[nodiscard]] int status() const
    {
        long status = 0;
        curl_easy_getinfo(m_handle.get(), CURLINFO_RESPONSE_CODE, &status);
        return static_cast<int>(status);
    }

private:
    CURLcode performBeside(const IdleWork& idle);

    struct CleanUp
    {
        void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
    };
    std::unique_ptr<CURL, CleanUp> m_handle{curl_easy_init()};
    CURLcode m_setUp = CURLE_OK;
};

/// The exchange of one handle, a step at a time.
class Stepwise
{
public:
    explicit Stepwise(CURL* handle)
        : m_handle(handle)
    {
        Q_CHECK_PTR(m_multi);
        m_failure = curl_multi_add_handle(m_multi, m_handle);
    }
    ~Stepwise()
    {
        curl_multi_remove_handle(m_multi, m_handle);
        curl_multi_cleanup(m_multi);
    }
    Stepwise(const Stepwise&) = delete;
    Stepwise& operator=(const Stepwise&) = delete;

    /// Does what can be done at once; the outcome when that was the last.
    std::optional<CURLcode> step()
    {
        int running = 0;
        if (m_failure == CURLM_OK)
            m_failure = curl_multi_perform(m_multi, &running);
        if (m_failure != CURLM_OK)
            return CURLE_OUT_OF_MEMORY; // of this interface's failures the only one that is not our mistake
        int left = 0;
        while (const CURLMsg* message = curl_multi_info_read(m_multi, &left)) {
            if (message->msg == CURLMSG_DONE)
                return message->data.result;
        }
        return std::nullopt;
    }

    /// Until there is something to do, but no longer than that.
    void wait(int milliseconds)
    {
        if (m_failure == CURLM_OK)
            m_failure = curl_multi_poll(m_multi, nullptr, 0, milliseconds, nullptr);
    }

private:
    CURLM* m_multi = curl_multi_init();
    CURL* m_handle;
    CURLMcode m_failure = CURLM_OK;
};

CURLcode Handle::performBeside(const IdleWork& idle)
{
    constexpr int slice = 8; // milliseconds: half of what a screen shows a picture for
    Stepwise exchange(m_handle.get());
    std::optional<CURLcode> outcome;
    while (!(outcome = exchange.step())) {
        exchange.wait(slice);
        idle();
    }
    return *outcome;
}

ErrorCode failureOf(CURLcode code, const Received& received)
{
    // CURLE_TOO_LARGE, of libcurl 8.6 and later: more header lines than it takes.
    constexpr auto tooManyLines = static_cast<CURLcode>(100);
    if (received.tooLarge || code == tooManyLines)
        return ErrorCode::TooLarge;
    switch (code) {
    case CURLE_OK:
        // libcurl takes a connection closed between two header lines for an answer with an empty body.
        return received.headWhole ? ErrorCode::None : ErrorCode::BrokenAnswer;
    case CURLE_FILESIZE_EXCEEDED:
        return ErrorCode::TooLarge;
    case CURLE_OPERATION_TIMEDOUT:
        return ErrorCode::Timeout;
    case CURLE_URL_MALFORMAT:
        return ErrorCode::BadUrl;
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CIPHER:
    case CURLE_SSL_ISSUER_ERROR:
        return ErrorCode::Tls;
    case CURLE_UNSUPPORTED_PROTOCOL: // the answer does not begin as HTTP/1: libcurl takes it for HTTP/0.9
    case CURLE_WEIRD_SERVER_REPLY:
        return ErrorCode::BrokenAnswer;
    default:
        return received.headBytes == 0 ? ErrorCode::Connect : ErrorCode::BrokenAnswer;
    }
}

void setConnection(Handle& handle, const Request& request)
{
    handle.set(CURLOPT_TIMEOUT_MS, request.timeout * 1000L);
    handle.set(CURLOPT_NOSIGNAL, 1L);
    // A resolver stuck in the system's getaddrinfo is left to end by itself; joining it would outlast the
    // timeout.
    handle.set(CURLOPT_QUICK_EXIT, 1L);
    handle.set(CURLOPT_PROTOCOLS_STR, "http,https");
    handle.set(CURLOPT_PROXY, ""); // the empty string, unlike null, also keeps the environment's out
    handle.set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    handle.set(CURLOPT_FOLLOWLOCATION, 0L);
    if (request.url.scheme() == u"https") {
        handle.set(CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
        handle.set(CURLOPT_SSL_VERIFYPEER, 1L);
        handle.set(CURLOPT_SSL_VERIFYHOST, 2L);
        // Reading the system's bundle takes longer than the exchange, so libcurl is kept from doing it each
        // time.
        handle.set(CURLOPT_CAINFO, static_cast<const char*>(nullptr));
        handle.set(CURLOPT_CAPATH, static_cast<const char*>(nullptr));
        handle.set(CURLOPT_SSL_CTX_FUNCTION, onSslContext);
    }
}

void setRequest(Handle& handle, const Request& request, const QByteArray& url, const HeaderLines& lines)
{
    handle.set(CURLOPT_URL, url.constData());
    handle.set(CURLOPT_PATH_AS_IS, 1L);
    handle.set(CURLOPT_USERAGENT, userAgent);
    handle.set(CURLOPT_HTTPHEADER, lines.get());
    if (request.method != "GET" || !request.body.isEmpty()) {
        handle.set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request.body.size()));
        handle.set(CURLOPT_POSTFIELDS, request.body.constData());
        handle.set(CURLOPT_CUSTOMREQUEST, request.method.constData());
    }
}

void setAnswer(Handle& handle, Received& received)
{
    handle.set(CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(bodyLimit));
    handle.set(CURLOPT_HEADERFUNCTION, onHeadLine);
    handle.set(CURLOPT_HEADERDATA, &received);
    handle.set(CURLOPT_WRITEFUNCTION, onBody);
    handle.set(CURLOPT_WRITEDATA, &received);
}

} // namespace

Answer send(const Request& request)
{
    const QString scheme = request.url.scheme();
    if (!request.url.isValid() || request.url.host().isEmpty() || (scheme != u"http" && scheme != u"https"))
        return {ErrorCode::BadUrl, 0, {}};
    const std::optional<HeaderLines> lines = headerLines(request);
    if (!lines)
        return {ErrorCode::BadHeader, 0, {}};

    // Never undone: whoever else uses libcurl in this process may outlive us.
    static const CURLcode global = curl_global_init(CURL_GLOBAL_DEFAULT);
    if (global != CURLE_OK)
        return {ErrorCode::Connect, 0, {}};

    const QByteArray url = request.url.toEncoded();
    Received received;
    Handle handle;
    setConnection(handle, request);
    setRequest(handle, request, url, *lines);
    setAnswer(handle, received);
    const ErrorCode failure = failureOf(handle.perform(), received);
    return {failure, handle.status(), failure == ErrorCode::None ? std::move(received.body) : QByteArray()};
}

} // namespace network
