#include "stand/service/codes.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QRandomGenerator>

using namespace Qt::StringLiterals;

namespace stand {

QString nextCode(const CodeRules& rules)
{
    if (!rules.fixedCode.isEmpty())
        return rules.fixedCode;
    return u"%1"_s.arg(QRandomGenerator::system()->bounded(10'000), 4, 10, QLatin1Char('0'));
}

QString masked(const QString& phone)
{
    const auto open = phone.right(4);
    return QString(phone.size() - open.size(), u'*') + open;
}

QByteArray withoutCode(const Request& request)
{
    const auto path = QByteArray::fromPercentEncoding(request.path);
    if (!path.contains("confirm-payment-c2b") || request.body.isEmpty())
        return request.body;
    const auto covered = u"***"_s;
    auto object = QJsonDocument::fromJson(request.body).object();
    const auto id = object.take(u"approve_id"_s);
    const bool isExpected =
        object.size() == 1 && object.contains(u"code"_s) && (id.isDouble() || id.isUndefined());
    if (!isExpected)
        return covered.toUtf8();
    object.insert(u"code"_s, covered);
    if (id.isDouble())
        object.insert(u"approve_id"_s, id);
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

} // namespace stand
