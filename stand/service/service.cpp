#include "stand/service/service.h"

#include "stand/books/denial.h"

#include <QJsonDocument>

using namespace Qt::StringLiterals;

namespace stand {

namespace {

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
{
    addRoutes();
}

void Service::addRoutes()
{
    const auto operations = "/v2/partner/operation/"_ba;
    const auto card = [this](const QByteArray& path, Answer (Cards::*page)(const QString&)) {
        m_routes.add("GET", path, [this, page](const QByteArray& value, const Request&) {
            return (m_cards.*page)(Cards::number(value));
        });
    };
    const auto operation = [&](const QByteArray& name, auto& part, auto handler) {
        m_routes.add("POST", operations + name, [&part, handler](const QByteArray&, const Request& request) {
            return (part.*handler)(objectFrom(request));
        });
    };
    card("/v2/partner/card/{card}/card-info", &Cards::cardInfo);
    card("/v2/partner/user-account/card/{card}", &Cards::userAccount);
    card(operations + "user/card/{card}/user-info", &Cards::userInfoByCard);
    m_routes.add("GET", operations + "user/phone/{phone}/user-info",
                 [this](const QByteArray& value, const Request&) {
                     return m_cards.userInfoByPhone(Cards::phone(value));
                 });
    operation("pre-payment", m_spending, &Spending::prePayment);
    operation("force-payment-c2b", m_approvals, &Approvals::forcePayment);
    operation("payment-c2b", m_approvals, &Approvals::payment);
    operation("confirm-payment-c2b", m_approvals, &Approvals::confirmPayment);
    operation("payment-b2c", m_earning, &Earning::payment);
    operation("refuse-payment", m_reversal, &Reversal::refusePayment);
    operation("cancel-payment", m_reversal, &Reversal::cancelPayment);
    for (const auto* method : {"POST", "PUT"}) {
        m_routes.add(method, operations + "receipt", [this](const QByteArray&, const Request& request) {
            return m_anonymous.receipt(request.method, objectFrom(request));
        });
    }
}

Answer Service::answer(const Request& request)
{
    try {
        return m_routes.answer(request);
    } catch (const ApiError& error) {
        return error.answer;
    } catch (const Denial& denial) {
        return failure(statusOf(denial.reason), denial.text);
    }
}

} // namespace stand
