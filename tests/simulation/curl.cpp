// libcurl as far as the host needs it, on the network of the simulation: the host's library finds these
// functions in the program before it finds libcurl's own. What it does not ask for is not there; what it asks
// for and means nothing here (connections, certificates) is taken and forgotten.

#include "tests/simulation/network.h"

#include <QUrl>

#include <curl/curl.h>

#include <algorithm>
#include <cstdarg>
#include <vector>

#undef curl_easy_setopt
#undef curl_easy_getinfo
#undef curl_multi_setopt

namespace {

struct Easy
{
    stand::Request request;
    long patience = 0;
    std::size_t (*onHead)(const char*, std::size_t, std::size_t, void*) = nullptr;
    void* head = nullptr;
    std::size_t (*onBody)(const char*, std::size_t, std::size_t, void*) = nullptr;
    void* body = nullptr;
    long status = 0;
    curl_off_t retryAfter = 0;
    CURLMsg message{};
};

struct Multi
{
    std::vector<Easy*> waiting;
    std::vector<Easy*> over;
};

Easy& easyOf(CURL* handle) { return *static_cast<Easy*>(handle); }

void setHeaders(Easy& easy, const curl_slist* lines)
{
    for (; lines; lines = lines->next) {
        const QByteArray line(lines->data);
        const auto colon = line.indexOf(':');
        if (colon > 0)
            easy.request.headers.insert(line.first(colon).toLower(), line.sliced(colon + 1).trimmed());
    }
}

CURLcode deliver(Easy& easy, const simulation::Heard& heard)
{
    for (qsizetype begin = 0; begin < heard.head.size();) {
        const qsizetype end = heard.head.indexOf('\n', begin) + 1;
        const QByteArray line = heard.head.sliced(begin, end - begin);
        if (line.startsWith("HTTP/"))
            easy.status = line.split(' ').at(1).toLong();
        if (line.startsWith("Retry-After:"))
            easy.retryAfter = line.sliced(line.indexOf(':') + 1).trimmed().toLongLong();
        if (easy.onHead(line.constData(), 1, static_cast<std::size_t>(line.size()), easy.head) !=
            static_cast<std::size_t>(line.size()))
            return CURLE_WRITE_ERROR;
        begin = end;
    }
    if (!heard.body.isEmpty() &&
        easy.onBody(heard.body.constData(), 1, static_cast<std::size_t>(heard.body.size()), easy.body) !=
            static_cast<std::size_t>(heard.body.size()))
        return CURLE_WRITE_ERROR;
    return heard.outcome;
}

CURLcode carry(Easy& easy)
{
    if (easy.request.method.isEmpty())
        easy.request.method = "GET";
    return deliver(easy,
                   simulation::Network::one().carry(easy.request, std::chrono::milliseconds(easy.patience)));
}

} // namespace

#pragma GCC diagnostic ignored "-Wvarargs" // libcurl declares them so

extern "C" {

__attribute__((visibility("default"))) CURL* curl_easy_init() { return new Easy; }
__attribute__((visibility("default"))) void curl_easy_cleanup(CURL* handle)
{
    delete static_cast<Easy*>(handle);
}

__attribute__((visibility("default"))) CURLcode curl_easy_setopt(CURL* handle, CURLoption option, ...)
{
    Easy& easy = easyOf(handle);
    va_list values;
    va_start(values, option);
    switch (option) {
    case CURLOPT_URL: {
        const QUrl url(QString::fromUtf8(va_arg(values, const char*)));
        easy.request.path = url.path(QUrl::FullyEncoded).toUtf8();
        easy.request.query = url.query(QUrl::FullyEncoded).toUtf8();
        break;
    }
    case CURLOPT_CUSTOMREQUEST:
        easy.request.method = va_arg(values, const char*);
        break;
    case CURLOPT_POSTFIELDSIZE_LARGE:
        easy.request.body.resize(va_arg(values, curl_off_t));
        break;
    case CURLOPT_POSTFIELDS: {
        const char* body = va_arg(values, const char*);
        std::copy_n(body, easy.request.body.size(), easy.request.body.begin());
        break;
    }
    case CURLOPT_HTTPHEADER:
        setHeaders(easy, va_arg(values, const curl_slist*));
        break;
    case CURLOPT_TIMEOUT_MS:
        easy.patience = va_arg(values, long);
        break;
    case CURLOPT_HEADERFUNCTION:
        easy.onHead = va_arg(values, decltype(easy.onHead));
        break;
    case CURLOPT_HEADERDATA:
        easy.head = va_arg(values, void*);
        break;
    case CURLOPT_WRITEFUNCTION:
        easy.onBody = va_arg(values, decltype(easy.onBody));
        break;
    case CURLOPT_WRITEDATA:
        easy.body = va_arg(values, void*);
        break;
    default:
        break;
    }
    va_end(values);
    return CURLE_OK;
}

__attribute__((visibility("default"))) CURLcode curl_easy_getinfo(CURL* handle, CURLINFO info, ...)
{
    va_list values;
    va_start(values, info);
    if (info == CURLINFO_RESPONSE_CODE)
        *va_arg(values, long*) = easyOf(handle).status;
    else if (info == CURLINFO_RETRY_AFTER)
        *va_arg(values, curl_off_t*) = easyOf(handle).retryAfter;
    va_end(values);
    return CURLE_OK;
}

__attribute__((visibility("default"))) CURLcode curl_easy_perform(CURL* handle)
{
    return carry(easyOf(handle));
}

__attribute__((visibility("default"))) CURLM* curl_multi_init()
{
    return reinterpret_cast<CURLM*>(new Multi);
}
__attribute__((visibility("default"))) CURLMcode curl_multi_cleanup(CURLM* multi)
{
    delete reinterpret_cast<Multi*>(multi);
    return CURLM_OK;
}
__attribute__((visibility("default"))) CURLMcode curl_multi_add_handle(CURLM* multi, CURL* handle)
{
    reinterpret_cast<Multi*>(multi)->waiting.push_back(&easyOf(handle));
    return CURLM_OK;
}
__attribute__((visibility("default"))) CURLMcode curl_multi_remove_handle(CURLM* multi, CURL* handle)
{
    auto& all = *reinterpret_cast<Multi*>(multi);
    std::erase(all.waiting, &easyOf(handle));
    std::erase(all.over, &easyOf(handle));
    return CURLM_OK;
}
/// One after the other, in any order: the time of the simulation is one, too.
__attribute__((visibility("default"))) CURLMcode curl_multi_perform(CURLM* multi, int* running)
{
    auto& all = *reinterpret_cast<Multi*>(multi);
    if (!all.waiting.empty()) {
        const auto first = all.waiting.begin() +
                           static_cast<std::ptrdiff_t>(simulation::Network::one().first(all.waiting.size()));
        Easy* easy = *first;
        all.waiting.erase(first);
        easy->message.msg = CURLMSG_DONE;
        easy->message.easy_handle = easy;
        easy->message.data.result = carry(*easy);
        all.over.push_back(easy);
    }
    *running = static_cast<int>(all.waiting.size());
    return CURLM_OK;
}
__attribute__((visibility("default"))) CURLMsg* curl_multi_info_read(CURLM* multi, int* left)
{
    auto& all = *reinterpret_cast<Multi*>(multi);
    *left = 0;
    if (all.over.empty())
        return nullptr;
    Easy* easy = all.over.back();
    all.over.pop_back();
    *left = static_cast<int>(all.over.size());
    return &easy->message;
}
__attribute__((visibility("default"))) CURLMcode curl_multi_poll(CURLM* /*multi*/, curl_waitfd* /*more*/,
                                                                 unsigned /*number*/, int /*milliseconds*/,
                                                                 int* /*ready*/)
{
    return CURLM_OK;
}
__attribute__((visibility("default"))) CURLMcode curl_multi_setopt(CURLM* /*multi*/, CURLMoption /*option*/,
                                                                   ...)
{
    return CURLM_OK;
}

} // extern "C"
