#include "host/network/curlhandle.h"

#include "host/network/curlmulti.h"
#include "host/network/idlework.h"
#include "host/network/truststore.h"

#include <algorithm>

namespace network {

namespace {

constexpr auto userAgent = "KYRLoyalty-host/" KYR_HOST_VERSION;

// Of a connection that is kept, in seconds. What lies idle for long a firewall may have forgotten without a
// word. The system's resolver does not say how long a name's address holds, so it is asked once a minute; and
// a service that moves is followed within minutes though its old address still answers.
constexpr long idleLife = 60;
constexpr long connectionLife = 300;
constexpr long nameLife = 60;

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

/// Never undone: whoever else uses libcurl in this process may outlive us.
CURLcode useLibcurl()
{
    static const CURLcode outcome = curl_global_init(CURL_GLOBAL_DEFAULT);
    return outcome;
}

} // namespace

void HeaderLines::append(const QByteArray& line)
{
    // When memory ends, curl_slist_append gives null and leaves the list as it was.
    curl_slist* longer = curl_slist_append(m_lines.get(), line.constData());
    Q_CHECK_PTR(longer);
    static_cast<void>(m_lines.release());
    m_lines.reset(longer);
}

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
    if (!hasConnection && !request.keepConnection)
        lines.append("Connection: close");
    if (!hasContentType)
        lines.append(request.body.isEmpty() ? "Content-Type:" : "Content-Type: application/json");
    // Waiting for a 100 before the body would cost a second at a service that ignores it.
    lines.append("Expect:");
    return lines;
}

CurlHandle::CurlHandle(const Request& request, const HeaderLines& lines)
    : m_setUp(useLibcurl())
{
    if (m_setUp != CURLE_OK)
        return;
    m_handle.reset(curl_easy_init());
    Q_CHECK_PTR(m_handle);
    setConnection(request);
    setRequest(request, lines);
}

CURLcode CurlHandle::perform()
{
    if (m_setUp != CURLE_OK)
        return m_setUp;
    const IdleWork* idle = IdleWork::current();
    return idle ? performBeside(*idle) : curl_easy_perform(m_handle.get());
}

CURLcode CurlHandle::performBeside(const IdleWork& idle)
{
    CurlMulti exchange;
    exchange.add(m_handle.get());
    for (;;) {
        if (const auto over = exchange.step(); !over.empty())
            return over.front().outcome;
        exchange.wait(idleSlice);
        idle();
    }
}

void CurlHandle::setConnection(const Request& request)
{
    set(CURLOPT_TIMEOUT_MS, request.timeout * 1000L);
    set(CURLOPT_NOSIGNAL, 1L);
    // A resolver stuck in the system's getaddrinfo is left to end by itself; joining it would outlast the
    // timeout.
    set(CURLOPT_QUICK_EXIT, 1L);
    set(CURLOPT_PROTOCOLS_STR, "http,https");
    set(CURLOPT_PROXY, ""); // the empty string, unlike null, also keeps the environment's out
    set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    set(CURLOPT_FOLLOWLOCATION, 0L);
    if (request.keepConnection) {
        set(CURLOPT_MAXAGE_CONN, idleLife);
        set(CURLOPT_MAXLIFETIME_CONN, connectionLife);
        set(CURLOPT_DNS_CACHE_TIMEOUT, nameLife);
    }
    if (request.url.scheme() == u"https") {
        set(CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
        set(CURLOPT_SSL_VERIFYPEER, 1L);
        set(CURLOPT_SSL_VERIFYHOST, 2L);
        // Reading the system's bundle takes longer than the exchange, so libcurl is kept from doing it each
        // time.
        set(CURLOPT_CAINFO, static_cast<const char*>(nullptr));
        set(CURLOPT_CAPATH, static_cast<const char*>(nullptr));
        set(CURLOPT_SSL_CTX_FUNCTION, onSslContext);
    }
}

void CurlHandle::setRequest(const Request& request, const HeaderLines& lines)
{
    set(CURLOPT_URL, request.url.toEncoded().constData()); // libcurl copies it
    set(CURLOPT_PATH_AS_IS, 1L);
    set(CURLOPT_USERAGENT, userAgent);
    set(CURLOPT_HTTPHEADER, lines.get());
    if (request.method != "GET" || !request.body.isEmpty()) {
        set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request.body.size()));
        set(CURLOPT_POSTFIELDS, request.body.constData());
        set(CURLOPT_CUSTOMREQUEST, request.method.constData());
    }
    set(CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(bodyLimit));
}

} // namespace network
