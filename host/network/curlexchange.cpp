#include "host/network/curlexchange.h"

#include <algorithm>
#include <utility>

namespace network {

namespace {

using ErrorCode = RestClient::ErrorCode;

constexpr qsizetype headLimit = 1 << 18;

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
    if (received.body.size() + static_cast<qsizetype>(size) > CurlHandle::bodyLimit) {
        received.tooLarge = true;
        return 0;
    }
    received.body.append(data, static_cast<qsizetype>(size));
    return size;
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

} // namespace

CurlExchange::CurlExchange(Request request)
    : m_request(std::move(request))
{
    const QUrl& url = m_request.url;
    const QString scheme = url.scheme();
    if (!url.isValid() || url.host().isEmpty() || (scheme != u"http" && scheme != u"https"))
        m_unfit = ErrorCode::BadUrl;
    else if (!(m_lines = headerLines(m_request)))
        m_unfit = ErrorCode::BadHeader;
    if (m_unfit != ErrorCode::None)
        return;
    m_handle.emplace(m_request, *m_lines);
    m_handle->set(CURLOPT_HEADERFUNCTION, onHeadLine);
    m_handle->set(CURLOPT_HEADERDATA, &m_received);
    m_handle->set(CURLOPT_WRITEFUNCTION, onBody);
    m_handle->set(CURLOPT_WRITEDATA, &m_received);
}

Answer CurlExchange::answer(CURLcode outcome)
{
    const ErrorCode failure = failureOf(outcome, m_received);
    if (failure != ErrorCode::None)
        return {.failure = failure, .status = m_handle->status()};
    const auto asked = m_handle->told(CURLINFO_RETRY_AFTER, curl_off_t{0});
    return {failure, m_handle->status(), std::move(m_received.body),
            std::chrono::seconds(std::max<curl_off_t>(asked, 0))};
}

Answer send(const Request& request)
{
    CurlExchange exchange(request);
    if (exchange.unfit() != ErrorCode::None)
        return {.failure = exchange.unfit()};
    return exchange.answer(exchange.handle().perform());
}

} // namespace network
