#include "till/audit/exchangetext.h"

#include "host/network/exchangeoutcome.h"
#include "host/utils/masking.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>

using namespace Qt::StringLiterals;

namespace till {

namespace {

/// A number or a text as it is shown: itself, unless something in it has to be masked.
QJsonValue masked(const QJsonValue& value, QString (*mask)(const QString&))
{
    if (!value.isDouble() && !value.isString())
        return value;
    const QString text = value.toVariant().toString();
    const QString shown = mask(text);
    return shown == text ? value : QJsonValue(shown);
}

/// By it the service tells operations apart, and its operator finds them. It is long, but nobody's.
bool isReceiptNumber(const QString& member)
{
    static const QSet<QString> numbers{u"receipt_number"_s, u"receipt_to_cancel"_s, u"receipt_to_refuse"_s,
                                       u"refuse_receipt_number"_s, u"check_identifier"_s};
    return numbers.contains(member);
}

QString hidden(const QString& /*text*/) { return u"***"_s; }

/// What is masked because of the name it stands under, whatever it looks like.
QJsonValue ofMember(const QString& name, const QJsonValue& value)
{
    if (isCustomersNumber(name))
        return masked(value, utils::maskWhole);
    return isPersonal(name) ? masked(value, hidden) : value;
}

QJsonValue withoutSecrets(const QJsonValue& value)
{
    if (value.isArray()) {
        QJsonArray list = value.toArray();
        for (auto entry : list) // a reference of Qt's own kind
            entry = withoutSecrets(entry);
        return list;
    }
    if (!value.isObject())
        return masked(value, utils::maskNumbers);
    const QJsonObject object = value.toObject();
    QJsonObject shown;
    for (auto member = object.begin(); member != object.end(); ++member) {
        const QString name = utils::maskNumbers(member.key());
        if (isSecret(member.key()))
            shown.insert(name, u"***"_s);
        else if (member->isString() && isReceiptNumber(member.key()))
            shown.insert(name, *member);
        else
            shown.insert(name, withoutSecrets(ofMember(member.key(), *member)));
    }
    return shown;
}

QStringList marked(const QString& mark, QStringList lines)
{
    for (QString& line : lines)
        line.prepend(mark + u' ');
    return lines;
}

} // namespace

bool isCustomersNumber(const QString& member)
{
    static const QSet<QString> numbers{u"card"_s,  u"card_number"_s,  u"number"_s,
                                       u"phone"_s, u"phone_number"_s, u"mobile"_s};
    return numbers.contains(member.toLower());
}

bool isPersonal(const QString& member)
{
    static const QSet<QString> personal{u"last_name"_s, u"first_name"_s, u"middle_name"_s,
                                        u"birth_day"_s, u"address"_s,    u"email"_s};
    return personal.contains(member.toLower());
}

bool isSecret(const QString& member)
{
    return member.compare("code"_L1, Qt::CaseInsensitive) == 0 ||
           member.compare("password"_L1, Qt::CaseInsensitive) == 0;
}

QStringList redacted(const RestExchange& exchange)
{
    const QString status = exchange.status > 0 ? QString::number(exchange.status) : u"no answer"_s;
    QString outcome = u"%1 %2  %3, %4 ms"_s.arg(exchange.method, utils::maskPath(exchange.url.path()), status,
                                                QString::number(exchange.milliseconds));
    const QString failure = network::failureName(exchange.errorCode);
    if (!failure.isEmpty())
        outcome += u" (%1)"_s.arg(failure);
    return QStringList{outcome} + marked(u">"_s, redactedBody(exchange.requestBody)) +
           marked(u"<"_s, redactedBody(exchange.answerBody));
}

QStringList redactedBody(const QByteArray& body)
{
    if (body.trimmed().isEmpty())
        return {};
    const QJsonDocument document = QJsonDocument::fromJson(body);
    if (document.isNull())
        return {u"%1 bytes that are not a JSON object or list"_s.arg(body.size())};
    const QJsonDocument shown = document.isArray()
                                    ? QJsonDocument(withoutSecrets(document.array()).toArray())
                                    : QJsonDocument(withoutSecrets(document.object()).toObject());
    return QString::fromUtf8(shown.toJson()).trimmed().split(u'\n');
}

} // namespace till
