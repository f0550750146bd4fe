#include "till/conformance/judging.h"
#include "till/conformance/plays.h"

#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace till::conformance {

namespace {

const QString atOnce = u"force-payment-c2b"_s;

/// The balance, of which so much can be spent.
double balanceFor(Tester& tester, double wanted)
{
    const double balance = tester.balance();
    if (balance < wanted)
        throw NotJudged(u"the card has only %1 points"_s.arg(points(balance)));
    return balance;
}

/// Spends on the open receipt; what is due is on it afterwards, and gone from the card.
void spend(Tester& tester, double wanted)
{
    const double before = balanceFor(tester, wanted);
    require(tester.checkout().spend(wanted));
    tester.requireBalance(before - wanted);
}

/// The same request again; nothing moves.
void spendAgain(Tester& tester, const QString& operation)
{
    if (!tester.checkout().hasSpentPoints())
        throw NotJudged(u"nothing was spent"_s);
    const auto first = tester.lastEver(operation);
    requireFirst(first);
    const double before = tester.balance();
    requireSameAnswer(*first, tester.repeat(*first));
    tester.requireBalance(before);
}

/// Rolls the receipt back; the card has so many points afterwards.
void cancel(Tester& tester, double expected)
{
    require(tester.checkout().rollBack());
    requireAccepted(tester.last(u"cancel-payment"_s));
    tester.requireBalance(expected);
}

/// The limits asked for the open receipt as a spending of so many points.
RestExchange spendRaw(Tester& tester, const RestExchange& limits, double amount)
{
    return tester.repeatWith(limits, {{u"receipt_bonus_amount"_s, points(amount)}}, atOnce);
}

/// What was asked for its limits; a card whose registration is not complete has none.
RestExchange limitsOf(Tester& tester)
{
    require(tester.checkout().requestLimit());
    return tester.last(u"pre-payment"_s);
}

} // namespace

void playSpending(Tester& tester)
{
    if (!tester.openSaleWithCard(usualLines()))
        return tester.giveBack();
    const double wanted = tester.terms().points;
    std::optional<double> before;
    tester.judge(u"spend"_s, [&] {
        before = tester.balance();
        spend(tester, wanted);
    });
    tester.judge(u"spend-again"_s, [&] { spendAgain(tester, atOnce); });
    tester.judge(u"cancel"_s, [&] {
        if (!before || !tester.checkout().hasSpentPoints())
            throw NotJudged(u"nothing was spent"_s);
        cancel(tester, *before);
    });
    tester.judge(u"cancel-again"_s, [&] {
        const auto first = tester.lastEver(u"cancel-payment"_s);
        requireFirst(first);
        const double now = tester.balance();
        requireAccepted(tester.repeat(*first));
        tester.requireBalance(now);
    });
    tester.giveBack();
}

void playRefusedSpendings(Tester& tester)
{
    if (!tester.openSaleWithCard(usualLines()))
        return tester.giveBack();
    std::optional<RestExchange> limits;
    const auto isRefused = [&](double amount) {
        if (!limits)
            limits = limitsOf(tester);
        const double before = tester.balance();
        requireRefused(spendRaw(tester, *limits, amount));
        tester.requireBalance(before);
    };
    tester.judge(u"spend-too-much"_s, [&] { isRefused(tester.balance() + 1); });
    tester.judge(u"spend-negative"_s, [&] { isRefused(-1); });
    tester.giveBack();
}

void playLateSpending(Tester& tester)
{
    if (!tester.openSaleWithCard(usualLines()))
        return tester.giveBack();
    tester.judge(u"spend-late"_s, [&] {
        const RestExchange limits = limitsOf(tester);
        const double before = tester.balance();
        require(tester.checkout().rollBack());
        requireAccepted(tester.last(u"cancel-payment"_s));
        static_cast<void>(spendRaw(tester, limits, tester.terms().points));
        tester.requireBalance(before);
    });
    tester.giveBack();
}

void playOddSpending(Tester& tester)
{
    if (!tester.openSaleWithCard(oddLines()))
        return tester.giveBack();
    tester.judge(u"spend-odd"_s, [&] {
        constexpr double odd = 1.37;
        const double before = tester.balance();
        spend(tester, odd);
        cancel(tester, before);
    });
    tester.giveBack();
}

void playCode(Tester& tester)
{
    if (!tester.openSaleWithCard(usualLines()))
        return tester.giveBack();
    const double wanted = tester.terms().points;
    tester.judge(u"code-asked"_s, [&] {
        static_cast<void>(balanceFor(tester, wanted));
        tester.enter(u"0"_s); // a code of one digit is nobody's
        static_cast<void>(tester.checkout().spend(wanted));
        const RestExchange answer = tester.last(u"payment-c2b"_s);
        requireAccepted(answer);
        require(dataOf(answer).value(u"approve_id"_s).toInt() > 0, u"\"approve_id\" is no number above 0"_s);
    });
    tester.judge(u"code-wrong"_s, [&] {
        const auto wrong = tester.lastEver(u"confirm-payment-c2b"_s);
        if (!wrong)
            throw NotJudged(u"no code was asked for"_s);
        requireRefused(*wrong);
        const double before = tester.balance();
        requireRefused(tester.repeat(*wrong));
        tester.requireBalance(before);
    });
    tester.judge(u"code"_s, [&] {
        if (tester.terms().code.isEmpty() && !tester.terms().canAskFor)
            throw NotJudged(u"no --code was given, and nobody can be asked"_s);
        if (!tester.terms().code.isEmpty())
            tester.enter(tester.terms().code);
        spend(tester, wanted);
    });
    tester.judge(u"code-again"_s, [&] { spendAgain(tester, u"confirm-payment-c2b"_s); });
    tester.giveBack();
}

} // namespace till::conformance
