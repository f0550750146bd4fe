#pragma once

#include "host/network/request.h"

#include <curl/curl.h>

#include <memory>
#include <optional>

class IdleWork;

namespace network {

/// libcurl's list of header lines.
class HeaderLines
{
public:
    void append(const QByteArray& line);
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
std::optional<HeaderLines> headerLines(const Request& request);

/// One request to the service, set up as every one is: with no proxy and no redirects, and TLS by the trusted
/// certificates. Where the answer goes is the caller's to set.
class CurlHandle
{
public:
    static constexpr qsizetype bodyLimit = 8 << 20; ///< bytes; a longer body ends the exchange
    static constexpr int idleSlice =
        8; ///< milliseconds between two IdleWorks: half of what a screen shows a picture for

    /// The request and the lines have to outlive it.
    CurlHandle(const Request& request, const HeaderLines& lines);

    /// An option that cannot be set makes perform() fail: better no request than one with less protection.
    template <typename Value>
    void set(CURLoption option, Value value)
    {
        if (m_setUp == CURLE_OK)
            m_setUp = curl_easy_setopt(m_handle.get(), option, value);
    }

    /// Why the request can't be carried out as it was set up; else CURLE_OK.
    [[nodiscard]] CURLcode setUp() const { return m_setUp; }
    /// To be carried out side by side with others; null when it is not set up.
    [[nodiscard]] CURL* get() const { return m_handle.get(); }
    /// Carries the request out on a connection of its own, beside the thread's IdleWork where it has one.
    CURLcode perform();

    /// What libcurl tells of it afterwards; where it tells nothing, what it was called with.
    template <typename Value>
    [[nodiscard]] Value told(CURLINFO what, Value value) const
    {
        curl_easy_getinfo(m_handle.get(), what, &value);
        return value;
    }
    /// Of the HTTP answer; 0: not even a status line came.
    [[nodiscard]] int status() const { return static_cast<int>(told(CURLINFO_RESPONSE_CODE, 0L)); }

private:
    void setConnection(const Request& request);
    void setRequest(const Request& request, const HeaderLines& lines);
    CURLcode performBeside(const IdleWork& idle);

    struct CleanUp
    {
        void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
    };
    std::unique_ptr<CURL, CleanUp> m_handle;
    CURLcode m_setUp;
};

} // namespace network
