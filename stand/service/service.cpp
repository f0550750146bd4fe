#include "stand/service/service.h"

#include "stand/books/denial.h"

#include <QJsonDocument>

#include <functional>

using namespace Qt::StringLiterals;

namespace stand {

/// One path of the contract. A path has at most one variable segment, {card} or {phone}.
struct Service::Route
{
    QByteArray method;
    QList<QByteArray> pattern;
    /// Gets the segment in the variable's place.
    std::function<Answer(const QByteArray& value, const Request& request)> handler;

    /// The segment of the path in the variable's place, empty when there is none; nothing when the path is
    /// another one.
    [[nodiscard]] std::optional<QByteArray> match(const QList<QByteArray>& segments) const
    {
        if (segments.size() != pattern.size())
            return std::nullopt;
        QByteArray value;
        for (qsizetype i = 0; i < pattern.size(); ++i) {
            if (pattern[i].startsWith('{'))
                value = segments[i];
            else if (pattern[i] != segments[i])
                return std::nullopt;
        }
        return value;
    }
};

namespace {

/// The segments behind the first slash, decoded one by one.
QList<QByteArray> segmentsOf(const QByteArray& path)
{
    auto segments = path.mid(1).split('/');
    for (auto& segment : segments)
        segment = QByteArray::fromPercentEncoding(segment);
    return segments;
}

QJsonObject objectFrom(const Request& request)
{
    const auto document = QJsonDocument::fromJson(request.body);
    if (!document.isObject())
        throw ApiError(400, u"Тело запроса должно быть объектом JSON"_s);
    return document.object();
}

int statusOf(Denial::Reason reason)
{
    switch (reason) {
    case Denial::Reason::Unknown:
        return 404;
    case Denial::Reason::NotAllowed:
        return 403;
    case Denial::Reason::AlreadyUsed:
        return 409;
    }
    return 403;
}

} // namespace

Service::Service(Database& database, const Tariff& tariff, const CodeRules& rules)
    : m_tariff(tariff)
    , m_accounts(database)
    , m_ledger(database)
    , m_approvals(database, m_accounts, m_ledger, m_spending, rules)
    , m_anonymous(database)
    , m_routes(routes())
{}

Service::~Service() = default;

QList<Service::Route> Service::routes()
{
    const auto card = [this](const char* path, Answer (Cards::*page)(const QString&)) {
        return Route{"GET", QByteArray(path).split('/'),
                     [this, page](const QByteArray& value, const Request&) {
                         return (m_cards.*page)(Cards::number(value));
                     }};
    };
    const auto operation = [](const char* name, auto& part, auto handler) {
        return Route{"POST", (QByteArray("v2/partner/operation/") + name).split('/'),
                     [&part, handler](const QByteArray&, const Request& request) {
                         return (part.*handler)(objectFrom(request));
                     }};
    };
    const auto anonymous = [this](const char* method) {
        return Route{method, QByteArray("v2/partner/operation/receipt").split('/'),
                     [this](const QByteArray&, const Request& request) {
                         return m_anonymous.receipt(request.method, objectFrom(request));
                     }};
    };
    return {
        card("v2/partner/card/{card}/card-info", &Cards::cardInfo),
        card("v2/partner/user-account/card/{card}", &Cards::userAccount),
        card("v2/partner/operation/user/card/{card}/user-info", &Cards::userInfoByCard),
        {"GET", QByteArray("v2/partner/operation/user/phone/{phone}/user-info").split('/'),
         [this](const QByteArray& value, const Request&) {
             return m_cards.userInfoByPhone(Cards::phone(value));
         }},
        operation("pre-payment", m_spending, &Spending::prePayment),
        operation("force-payment-c2b", m_approvals, &Approvals::forcePayment),
        operation("payment-c2b", m_approvals, &Approvals::payment),
        operation("confirm-payment-c2b", m_approvals, &Approvals::confirmPayment),
        operation("payment-b2c", m_earning, &Earning::payment),
        operation("refuse-payment", m_reversal, &Reversal::refusePayment),
        operation("cancel-payment", m_reversal, &Reversal::cancelPayment),
        anonymous("POST"),
        anonymous("PUT"),
    };
}

QJsonArray Service::paths() const
{
    QJsonArray list;
    for (const auto& route : m_routes) {
        list.append(QJsonObject{
            {u"method"_s, QString::fromLatin1(route.method)},
            {u"path"_s, QString::fromLatin1('/' + route.pattern.join('/'))},
        });
    }
    return list;
}

Answer Service::answer(const Request& request)
{
    const auto segments = segmentsOf(request.path);
    QByteArrayList allowed;
    for (const auto& route : m_routes) {
        const auto value = route.match(segments);
        if (!value)
            continue;
        if (route.method != request.method) {
            allowed.append(route.method);
            continue;
        }
        try {
            return route.handler(*value, request);
        } catch (const ApiError& error) {
            return error.answer;
        } catch (const Denial& denial) {
            return failure(statusOf(denial.reason), denial.text);
        }
    }
    if (!allowed.isEmpty())
        return wrongMethod(request.method, allowed.join(", "));
    return failure(404, u"Адрес не найден"_s);
}

} // namespace stand
