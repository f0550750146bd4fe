#include "till/conformance/judging.h"
#include "till/conformance/plays.h"

#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace till::conformance {

namespace {

/// Every refusal that the promise in hand has sent.
void requireRefusalsTaken(Tester& tester)
{
    for (const RestExchange& exchange : tester.present()) {
        if (operationOf(exchange) == u"refuse-payment"_s)
            requireAccepted(exchange);
    }
    static_cast<void>(tester.last(u"refuse-payment"_s));
}

void takeBack(Tester& tester, const QList<ReturnLine>& lines)
{
    tester.takeBack(lines);
    requireRefusalsTaken(tester);
}

} // namespace

void playEarning(Tester& tester)
{
    if (!tester.openSaleWithCard(usualLines()))
        return tester.giveBack();
    std::optional<double> before;
    bool paid = false;
    tester.judge(u"earn"_s, [&] {
        before = tester.balance();
        if (*before >= tester.terms().points)
            static_cast<void>(tester.checkout().spend(tester.terms().points)); // judged elsewhere
        const Payment payment = tester.pay();
        paid = payment.ok;
        require(payment);
        const RestExchange answer = tester.last(u"payment-b2c"_s);
        requireAccepted(answer);
        requireAmount(dataOf(answer).value(u"paymentBonus"_s), u"\"paymentBonus\""_s);
    });
    const auto requirePaid = [&paid] {
        if (!paid)
            throw NotJudged(u"no receipt was paid"_s);
    };
    tester.judge(u"earn-again"_s, [&] {
        requirePaid();
        const auto first = tester.lastEver(u"payment-b2c"_s);
        requireFirst(first);
        const double now = tester.balance();
        requireSameAnswer(*first, tester.repeat(*first));
        tester.requireBalance(now);
    });
    tester.judge(u"refuse"_s, [&] {
        requirePaid();
        takeBack(tester, {{.posnum = 1, .quantity = 1}});
    });
    tester.judge(u"refuse-again"_s, [&] {
        requirePaid();
        const auto first = tester.lastEver(u"refuse-payment"_s);
        requireFirst(first);
        const double now = tester.balance();
        requireAccepted(tester.repeat(*first));
        tester.requireBalance(now);
    });
    tester.judge(u"refuse-rest"_s, [&] {
        requirePaid();
        takeBack(tester, {{.posnum = 1, .quantity = 1}, {.posnum = 2, .quantity = 1}});
        tester.requireBalance(*before);
    });
    tester.judge(u"refuse-unknown"_s, [&] {
        const auto first = tester.lastEver(u"refuse-payment"_s);
        requireFirst(first);
        const QString number = sentIn(*first).value(u"receipt_number"_s).toString();
        requireRefused(tester.repeatWith(*first, {{u"receipt_to_refuse"_s, number + u"-nobodys"_s},
                                                  {u"receipt_number"_s, number + u"-refused"_s}}));
    });
    tester.giveBack();
}

void playAnonymous(Tester& tester)
{
    if (!tester.openSale(usualLines()))
        return tester.giveBack();
    const QString operation = u"receipt"_s;
    std::optional<RestExchange> sale;
    tester.judge(u"anonymous"_s, [&] {
        require(tester.pay());
        require(tester.deliver());
        sale = tester.last(operation);
        requireAccepted(*sale);
    });
    tester.judge(u"anonymous-back"_s, [&] {
        if (!sale)
            throw NotJudged(u"no receipt was told of"_s);
        tester.takeBack({{.posnum = 1, .quantity = 2}, {.posnum = 2, .quantity = 1}});
        requireAccepted(tester.last(operation));
    });
    tester.judge(u"anonymous-again"_s, [&] {
        for (const auto& first : {sale, tester.lastEver(operation)}) {
            requireFirst(first);
            requireAccepted(tester.repeat(*first));
        }
    });
    tester.giveBack();
}

} // namespace till::conformance
