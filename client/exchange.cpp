#include "client/compactjson.h"
#include "client/kyrloyaltyinterface.h"
#include "client/servicecontract.h"
#include "client/texts.h"
#include "host/network/restclient.h"
#include "host/utils/mockfactory.h"
#include "plugin/kyrloyaltyexception.h"

#include <QJsonDocument>
#include <QUrl>

using namespace Qt::StringLiterals;

QMap<QString, QVariant> KyrLoyaltyInterface::getServerResponse(const QString& path, const QByteArray& body,
                                                               RestMethod method) const
{
    const auto client = MockFactory<RestClient>::create();
    client->setTimeout(timeout);
    const QUrl url(serverUrl + path, QUrl::TolerantMode);
    switch (method) {
    case RestMethod::Post:
        client->post(url, body, headers);
        break;
    case RestMethod::Put:
        client->put(url, body, headers);
        break;
    default:
        client->get(url, QJsonDocument(), headers);
    }

    QVariantMap answer = client->getResponse().toMap();
    if (client->getErrorCode() <= 0)
        return answer;

    const QStringList messages = getErrorMessages(listOf(answer.value(keys::data)));
    if (messages.isEmpty())
        throw KyrLoyaltyException(texts::requestFailed());
    throw KyrLoyaltyException(messages.join(u'\n'));
}

QList<QString> KyrLoyaltyInterface::getErrorMessages(const QList<QVariant>& errors) const
{
    QList<QString> messages;
    for (const QVariant& error : errors) {
        const QVariant message = error.toMap().value(u"message"_s);
        if (message.typeId() == QMetaType::QString) {
            messages.append(message.toString());
        } else {
            // Texts per field; anything but an object makes an empty map.
            const QVariantMap fields = message.toMap();
            for (const QVariant& field : fields)
                messages.append(field.toStringList());
        }
    }
    return messages;
}

QVariantMap KyrLoyaltyInterface::post(const QString& path, const QVariantMap& body) const
{
    return getServerResponse(path, json::compact(body), RestMethod::Post).value(keys::data).toMap();
}
