#include "host/network/curlmulti.h"

#include <QtGlobal>

namespace network {

CurlMulti::CurlMulti() { Q_CHECK_PTR(m_multi); }

CurlMulti::~CurlMulti()
{
    for (CURL* handle : m_handles)
        curl_multi_remove_handle(m_multi, handle);
    curl_multi_cleanup(m_multi);
}

void CurlMulti::add(CURL* handle)
{
    m_handles.push_back(handle);
    m_failure = curl_multi_add_handle(m_multi, handle);
}

void CurlMulti::remove(CURL* handle)
{
    std::erase(m_handles, handle);
    curl_multi_remove_handle(m_multi, handle);
}

std::vector<CurlMulti::Over> CurlMulti::step()
{
    std::vector<Over> over;
    int running = 0;
    if (m_failure == CURLM_OK)
        m_failure = curl_multi_perform(m_multi, &running);
    if (m_failure != CURLM_OK) {
        for (CURL* handle : m_handles)
            over.push_back({handle, CURLE_OUT_OF_MEMORY}); // the only one that is not our mistake
        m_failure = CURLM_OK;
        return over;
    }
    int left = 0;
    while (const CURLMsg* message = curl_multi_info_read(m_multi, &left)) {
        if (message->msg == CURLMSG_DONE)
            over.push_back({message->easy_handle, message->data.result});
    }
    return over;
}

void CurlMulti::wait(int milliseconds)
{
    if (m_failure == CURLM_OK)
        m_failure = curl_multi_poll(m_multi, nullptr, 0, milliseconds, nullptr);
}

void CurlMulti::keepConnections(long most) { curl_multi_setopt(m_multi, CURLMOPT_MAXCONNECTS, most); }

} // namespace network
