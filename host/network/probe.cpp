#include "host/network/probe.h"

#include "host/network/truststore.h"
#include "host/utils/utc.h"

#include <curl/curl.h>

#include <array>
#include <memory>

namespace network {

namespace {

struct CleanUp
{
    void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
    void operator()(curl_slist* lines) const { curl_slist_free_all(lines); }
};

using Handle = std::unique_ptr<CURL, CleanUp>;
using Lines = std::unique_ptr<curl_slist, CleanUp>;

std::size_t onHeadLine(const char* data, std::size_t /*one*/, std::size_t size, void* user)
{
    auto& probe = *static_cast<Probe*>(user);
    const QByteArray line(data, static_cast<qsizetype>(size));
    if (line.toLower().startsWith("date:")) {
        probe.asked = QDateTime::currentDateTimeUtc();
        const std::time_t seconds = curl_getdate(line.sliced(5).trimmed().constData(), nullptr);
        if (seconds >= 0)
            probe.date = utils::utcFromMilliseconds(seconds * 1000);
    }
    return size;
}

std::size_t onBody(const char* /*data*/, std::size_t /*one*/, std::size_t size, void* /*user*/)
{
    return size;
}

CURLcode onSslContext(CURL* /*handle*/, void* context, void* /*user*/)
{
    return useTrustStore(static_cast<SSL_CTX*>(context)) ? CURLE_OK : CURLE_SSL_CACERT_BADFILE;
}

Lines headerLines(const QHash<QString, QString>& headers)
{
    Lines lines;
    for (auto header = headers.cbegin(); header != headers.cend(); ++header) {
        const QByteArray line = (header.key() + QStringLiteral(": ") + header.value()).toUtf8();
        curl_slist* longer = curl_slist_append(lines.get(), line.constData());
        Q_CHECK_PTR(longer);
        static_cast<void>(lines.release());
        lines.reset(longer);
    }
    return lines;
}

void setConnection(CURL* handle, int timeout)
{
    constexpr long bodyLimit = 1 << 20;
    curl_easy_setopt(handle, CURLOPT_TIMEOUT_MS, timeout * 1000L);
    curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(handle, CURLOPT_QUICK_EXIT, 1L);
    curl_easy_setopt(handle, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(handle, CURLOPT_PROXY, "");
    curl_easy_setopt(handle, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    curl_easy_setopt(handle, CURLOPT_FOLLOWLOCATION, 0L);
    curl_easy_setopt(handle, CURLOPT_MAXFILESIZE, bodyLimit);
    curl_easy_setopt(handle, CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    curl_easy_setopt(handle, CURLOPT_CAINFO, static_cast<const char*>(nullptr));
    curl_easy_setopt(handle, CURLOPT_CAPATH, static_cast<const char*>(nullptr));
    curl_easy_setopt(handle, CURLOPT_SSL_CTX_FUNCTION, onSslContext);
    curl_easy_setopt(handle, CURLOPT_CERTINFO, 1L);
}

/// "Expire date:2027-01-01 00:00:00 GMT" of the first certificate, the server's own.
QDateTime certificateUntil(CURL* handle)
{
    curl_certinfo* certificates = nullptr;
    curl_easy_getinfo(handle, CURLINFO_CERTINFO, &certificates);
    if (!certificates || certificates->num_of_certs < 1)
        return {};
    for (const curl_slist* line = certificates->certinfo[0]; line; line = line->next) {
        const QByteArray text(line->data);
        if (!text.startsWith("Expire date:"))
            continue;
        const std::time_t seconds = curl_getdate(text.sliced(text.indexOf(':') + 1).constData(), nullptr);
        return seconds < 0 ? QDateTime() : utils::utcFromMilliseconds(seconds * 1000);
    }
    return {};
}

double reached(CURL* handle, CURLINFO step)
{
    double seconds = 0;
    curl_easy_getinfo(handle, step, &seconds);
    return seconds;
}

void readSteps(CURL* handle, CURLcode outcome, Probe& probe)
{
    const char* address = nullptr;
    curl_easy_getinfo(handle, CURLINFO_PRIMARY_IP, &address);
    probe.address = QString::fromLatin1(address);
    long status = 0;
    curl_easy_getinfo(handle, CURLINFO_RESPONSE_CODE, &status);
    probe.status = static_cast<int>(status);
    // The times tell how far a connection came that ran out of time; after a failed handshake they are all 0.
    const bool late = outcome == CURLE_OPERATION_TIMEDOUT;
    const bool away = outcome == CURLE_COULDNT_RESOLVE_HOST || outcome == CURLE_URL_MALFORMAT;
    probe.resolved = late ? reached(handle, CURLINFO_NAMELOOKUP_TIME) > 0 : !away;
    probe.connected = late ? reached(handle, CURLINFO_CONNECT_TIME) > 0
                           : probe.resolved && outcome != CURLE_COULDNT_CONNECT;
    probe.secured = probe.connected && reached(handle, CURLINFO_APPCONNECT_TIME) > 0;
    if (probe.secured)
        probe.certificateUntil = certificateUntil(handle);
}

} // namespace

Probe probe(const QUrl& url, const QHash<QString, QString>& headers, int timeout)
{
    Probe result;
    static const CURLcode global = curl_global_init(CURL_GLOBAL_DEFAULT);
    const Handle handle(global == CURLE_OK ? curl_easy_init() : nullptr);
    if (!handle) {
        result.error = QStringLiteral("libcurl cannot be used");
        return result;
    }
    const Lines lines = headerLines(headers);
    const QByteArray address = url.toEncoded();
    std::array<char, CURL_ERROR_SIZE> words{};
    setConnection(handle.get(), timeout);
    curl_easy_setopt(handle.get(), CURLOPT_URL, address.constData());
    curl_easy_setopt(handle.get(), CURLOPT_HTTPHEADER, lines.get());
    curl_easy_setopt(handle.get(), CURLOPT_ERRORBUFFER, words.data());
    curl_easy_setopt(handle.get(), CURLOPT_HEADERFUNCTION, onHeadLine);
    curl_easy_setopt(handle.get(), CURLOPT_HEADERDATA, &result);
    curl_easy_setopt(handle.get(), CURLOPT_WRITEFUNCTION, onBody);
    const CURLcode outcome = curl_easy_perform(handle.get());
    readSteps(handle.get(), outcome, result);
    if (outcome != CURLE_OK)
        result.error = words[0] != '\0' ? QString::fromUtf8(words.data())
                                        : QString::fromLatin1(curl_easy_strerror(outcome));
    return result;
}

} // namespace network
