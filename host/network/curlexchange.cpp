#include "host/network/curlexchange.h"

#include "host/network/curlhandle.h"

namespace network {

namespace {

using ErrorCode = RestClient::ErrorCode;

constexpr qsizetype headLimit = 1 << 18;

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

void setAnswer(CurlHandle& handle, Received& received)
{
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

    Received received;
    CurlHandle handle(request, *lines);
    setAnswer(handle, received);
    const ErrorCode failure = failureOf(handle.perform(), received);
    return {failure, handle.status(), failure == ErrorCode::None ? std::move(received.body) : QByteArray()};
}

} // namespace network
