#include "tests/stand/http.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <curl/curl.h>

#include <memory>

using namespace Qt::StringLiterals;

namespace standtest {

namespace {

size_t appendBody(const char* bytes, size_t, size_t size, void* body)
{
    static_cast<QByteArray*>(body)->append(bytes, static_cast<qsizetype>(size));
    return size;
}

size_t addHeader(const char* bytes, size_t, size_t size, void* headers)
{
    const QByteArray line(bytes, static_cast<qsizetype>(size));
    if (const auto colon = line.indexOf(':'); colon > 0) {
        static_cast<QMap<QByteArray, QByteArray>*>(headers)->insert(line.first(colon).toLower(),
                                                                    line.mid(colon + 1).trimmed());
    }
    return size;
}

} // namespace

QJsonValue Reply::json() const
{
    const auto document = QJsonDocument::fromJson(body);
    if (document.isNull())
        return QJsonValue::Undefined;
    return document.isArray() ? QJsonValue(document.array()) : QJsonValue(document.object());
}

QJsonObject Reply::data() const { return json()[u"data"].toObject(); }

QJsonArray Reply::messages() const
{
    QJsonArray messages;
    for (const auto& object : json()[u"data"].toArray())
        messages.append(object.toObject().value(u"message"));
    return messages;
}

Reply send(const Call& call)
{
    Reply reply;
    const std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> owner(curl_easy_init(), curl_easy_cleanup);
    auto* curl = owner.get();
    curl_slist* list = nullptr;
    for (const auto& header : call.headers)
        list = curl_slist_append(list, header.constData());
    const std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> headers(list, curl_slist_free_all);

    curl_easy_setopt(curl, CURLOPT_URL, call.url.constData());
    curl_easy_setopt(curl, CURLOPT_PATH_AS_IS, 1L);
    curl_easy_setopt(curl, CURLOPT_NOPROXY, "*");
    curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, static_cast<long>(call.patienceMs));
    curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers.get());
    if (!call.body.isEmpty()) {
        curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE, static_cast<long>(call.body.size()));
        curl_easy_setopt(curl, CURLOPT_POSTFIELDS, call.body.constData());
    }
    if (call.method == "HEAD")
        curl_easy_setopt(curl, CURLOPT_NOBODY, 1L);
    else
        curl_easy_setopt(curl, CURLOPT_CUSTOMREQUEST, call.method.constData());
    if (call.login) {
        curl_easy_setopt(curl, CURLOPT_HTTPAUTH, CURLAUTH_BASIC);
        curl_easy_setopt(curl, CURLOPT_USERNAME, call.login->user.constData());
        curl_easy_setopt(curl, CURLOPT_PASSWORD, call.login->password.constData());
    }
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, appendBody);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &reply.body);
    curl_easy_setopt(curl, CURLOPT_HEADERFUNCTION, addHeader);
    curl_easy_setopt(curl, CURLOPT_HEADERDATA, &reply.headers);

    reply.error = curl_easy_perform(curl);
    if (reply.error == CURLE_OK) {
        long status = 0;
        curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status);
        reply.status = static_cast<int>(status);
    }
    return reply;
}

} // namespace standtest
