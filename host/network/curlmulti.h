#pragma once

#include <curl/curl.h>

#include <vector>

namespace network {

/// Exchanges that go side by side, a step at a time. Connections that may be kept, and the addresses of
/// names, are theirs in common.
class CurlMulti
{
public:
    CurlMulti();
    ~CurlMulti();
    CurlMulti(const CurlMulti&) = delete;
    CurlMulti& operator=(const CurlMulti&) = delete;

    /// From the next step on. The handle has to stay until it is removed.
    void add(CURL* handle);
    /// Ends what is not over yet.
    void remove(CURL* handle);

    struct Over
    {
        CURL* handle;
        CURLcode outcome;
    };
    /// Does what can be done at once; tells what is over by that. It still has to be removed.
    std::vector<Over> step();
    /// Until there is something to do, but no longer than that.
    void wait(int milliseconds);

    /// Each exchange that ends from now on closes an idle connection where there are more in all.
    void keepConnections(long most);

private:
    CURLM* m_multi = curl_multi_init();
    std::vector<CURL*> m_handles;
    CURLMcode m_failure = CURLM_OK;
};

} // namespace network
