#pragma once

#include "host/network/curlhandle.h"
#include "host/network/restclient.h"

#include <chrono>
#include <optional>

namespace network {

struct Answer
{
    RestClient::ErrorCode failure = RestClient::ErrorCode::None; ///< why there is no whole HTTP answer
    int status = 0;                                              ///< 0 when not even a status line came
    QByteArray body = {};                                        ///< empty on failure
    std::chrono::seconds retryAfter{0}; ///< how long the server asks to be left alone; 0: it does not
};

/// What came of an answer so far.
struct Received
{
    QByteArray body;
    qsizetype headBytes = 0;
    bool headWhole = false;
    bool tooLarge = false;
};

/// One request on its way, with all that libcurl needs until it is over.
class CurlExchange
{
public:
    explicit CurlExchange(Request request);
    ~CurlExchange() = default;
    CurlExchange(const CurlExchange&) = delete;
    CurlExchange& operator=(const CurlExchange&) = delete;

    /// Why it can't be sent at all; else None.
    [[nodiscard]] RestClient::ErrorCode unfit() const { return m_unfit; }
    /// What carries it out; there is none for what is unfit.
    [[nodiscard]] CurlHandle& handle() { return *m_handle; }
    /// What came, after the handle had that outcome; to be asked for once.
    [[nodiscard]] Answer answer(CURLcode outcome);

private:
    Request m_request;
    RestClient::ErrorCode m_unfit = RestClient::ErrorCode::None;
    std::optional<HeaderLines> m_lines;
    Received m_received;
    std::optional<CurlHandle> m_handle;
};

/// Carries one request out and waits for the answer; what the status and the body mean is the caller's to
/// judge.
Answer send(const Request& request);

} // namespace network
