#include "host/network/probe.h"

#include "host/network/curlhandle.h"
#include "host/utils/utc.h"

#include <algorithm>
#include <array>

namespace network {

namespace {

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

std::size_t onBody(const char* data, std::size_t /*one*/, std::size_t size, void* user)
{
    constexpr qsizetype most = 64 << 10;
    QByteArray& body = static_cast<Probe*>(user)->body;
    body.append(data, std::min(static_cast<qsizetype>(size), most - body.size()));
    return size;
}

/// "Expire date:2027-01-01 00:00:00 GMT" of the first certificate, the server's own.
QDateTime certificateUntil(const CurlHandle& handle)
{
    const auto* certificates = handle.told<curl_certinfo*>(CURLINFO_CERTINFO, nullptr);
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

void readSteps(const CurlHandle& handle, CURLcode outcome, Probe& probe)
{
    const auto reached = [&handle](CURLINFO step) { return handle.told(step, 0.0) > 0; };
    probe.address = QString::fromLatin1(handle.told<const char*>(CURLINFO_PRIMARY_IP, nullptr));
    probe.status = handle.status();
    probe.redirect = QString::fromUtf8(handle.told<const char*>(CURLINFO_REDIRECT_URL, nullptr));
    // The times tell how far a connection came that ran out of time; after a failed handshake they are all 0.
    const bool late = outcome == CURLE_OPERATION_TIMEDOUT;
    const bool away = outcome == CURLE_COULDNT_RESOLVE_HOST || outcome == CURLE_URL_MALFORMAT;
    probe.resolved = late ? reached(CURLINFO_NAMELOOKUP_TIME) : !away;
    probe.connected =
        late ? reached(CURLINFO_CONNECT_TIME) : probe.resolved && outcome != CURLE_COULDNT_CONNECT;
    probe.secured = probe.connected && reached(CURLINFO_APPCONNECT_TIME);
    if (probe.secured)
        probe.certificateUntil = certificateUntil(handle);
}

} // namespace

Probe probe(const QUrl& url, const QHash<QString, QString>& headers, int timeout)
{
    Probe result;
    const QByteArray method("GET");
    const QByteArray noBody;
    const Request request{method, url, noBody, headers, timeout};
    const std::optional<HeaderLines> lines = headerLines(request);
    if (!lines) {
        result.error = QStringLiteral("a header cannot be sent");
        return result;
    }
    std::array<char, CURL_ERROR_SIZE> words{};
    CurlHandle handle(request, *lines);
    handle.set(CURLOPT_CERTINFO, 1L);
    handle.set(CURLOPT_ERRORBUFFER, words.data());
    handle.set(CURLOPT_HEADERFUNCTION, onHeadLine);
    handle.set(CURLOPT_HEADERDATA, &result);
    handle.set(CURLOPT_WRITEFUNCTION, onBody);
    handle.set(CURLOPT_WRITEDATA, &result);
    const CURLcode outcome = handle.perform();
    readSteps(handle, outcome, result);
    if (outcome != CURLE_OK)
        result.error = words[0] != '\0' ? QString::fromUtf8(words.data())
                                        : QString::fromLatin1(curl_easy_strerror(outcome));
    return result;
}

} // namespace network
