#include "till/conformance/judging.h"
#include "till/conformance/plays.h"
#include "till/setup/settings.h"

#include <QJsonArray>

using namespace Qt::StringLiterals;

namespace till::conformance {

QList<Line> usualLines()
{
    return {{.articul = u"460001"_s, .name = u"Чай чёрный"_s, .price = 75, .quantity = 2},
            {.articul = u"460002"_s, .name = u"Мёд"_s, .price = 250, .quantity = 1}};
}

QList<Line> oddLines()
{
    return {
        {.articul = u"460003"_s, .name = u"Сыр «Российский», весовой"_s, .price = 899.9, .quantity = 0.337},
        {.articul = u"460004"_s, .name = u"Пакет"_s, .price = 0.07, .quantity = 3, .discount = 0.01},
        {.articul = u"460005"_s, .name = u"Молоко 3,2 %"_s, .price = 33.33, .quantity = 3}};
}

namespace {

QList<Line> largeLines()
{
    constexpr int positions = 300;
    QList<Line> lines;
    for (int i = 0; i < positions; ++i)
        lines.append({.articul = QString::number(460100 + i),
                      .name = u"Позиция большого чека"_s,
                      .price = 99'999.99,
                      .quantity = 5});
    return lines;
}

/// A number of the same form that no shop has given to anybody.
QString strangersCard(const QString& card)
{
    const QChar other = card.endsWith(u'9') ? u'8' : u'9';
    return card.left(1) + QString(card.size() - 1, other);
}

/// The limits that the service names for the receipt, as the plug-in reads them.
void requireLimits(const RestExchange& exchange, qsizetype positions)
{
    requireAccepted(exchange);
    const QJsonObject data = dataOf(exchange);
    const QJsonArray details = data.value(u"receipt_details"_s).toArray();
    require(details.size() == positions,
            u"%1 positions have limits, of %2"_s.arg(details.size()).arg(positions));
    for (const auto& position : details)
        requireAmount(position[u"parameters"_s][u"max_payment_bonus"_s], u"\"max_payment_bonus\""_s);
    requireAmount(data.value(u"payment_bonus"_s), u"\"payment_bonus\""_s);
}

void judgeLimits(Tester& tester, const QString& id, const QList<Line>& lines)
{
    tester.judge(id, [&] {
        require(tester.checkout().setLines(lines));
        require(tester.checkout().requestLimit());
        requireLimits(tester.last(u"pre-payment"_s), lines.size());
    });
}

void judgeRefusals(Tester& tester)
{
    const QString stranger = strangersCard(tester.terms().card);
    tester.judge(u"unknown-card"_s, [&] {
        static_cast<void>(tester.checkout().identifyByCard(stranger));
        requireRefused(tester.last(u"card-info"_s));
    });
    tester.judge(u"refusal-words"_s, [&] {
        const QString read = tester.checkout().identifyByCard(stranger).error;
        require(!read.isEmpty(), u"the card was taken"_s);
        const RestExchange refusal = tester.last(u"card-info"_s);
        for (const QString& line : read.split(u'\n'))
            require(says(refusal, line),
                    u"the cashier reads '%1', which the service did not say"_s.arg(line));
    });
    tester.judge(u"odd-card"_s, [&] {
        static_cast<void>(tester.checkout().identifyByCard(u"ABC-12"_s));
        requireRefused(tester.last(u"card-info"_s));
    });
}

void judgePassword(Tester& tester)
{
    tester.judge(u"password"_s, [&] {
        const auto asked = tester.lastEver(u"card-info"_s);
        if (!asked)
            throw NotJudged(u"nothing was asked before"_s);
        auto stranger = tester.headers();
        stranger[u"Authorization"_s] =
            u"Basic "_s + QString::fromLatin1(QByteArray("nobody:wrong").toBase64());
        auto nobody = tester.headers();
        nobody.remove(u"Authorization"_s);
        for (const auto& headers : {stranger, nobody}) {
            const RestExchange answer = tester.send(asked->method, asked->url, {}, headers);
            require(answer.status == 401, u"answered with %1"_s.arg(statusOf(answer)));
        }
    });
}

void judgePhones(Tester& tester)
{
    tester.judge(u"unknown-phone"_s, [&] {
        static_cast<void>(tester.checkout().identifyByPhone(u"70000000000"_s));
        const RestExchange answer = tester.last(u"user-info"_s);
        requireAccepted(answer);
        const QJsonValue cards = dataOf(answer).value(u"cards_data"_s);
        require(cards.isUndefined() || (cards.isArray() && cards.toArray().isEmpty()),
                u"the answer has no empty \"cards_data\""_s);
    });
    tester.judge(u"phone"_s, [&] {
        if (tester.terms().phone.isEmpty())
            throw NotJudged(u"no --phone was given"_s);
        const Identification found = tester.checkout().identifyByPhone(tester.terms().phone);
        require(found);
        require(found.card == tester.terms().card, u"the phone does not lead to the card"_s);
    });
}

} // namespace

bool playCustomer(Tester& tester)
{
    if (!tester.openSale(usualLines()))
        throw NotJudged(u"no receipt can be opened"_s);
    judgeRefusals(tester);
    const bool known = tester.judge(u"card"_s, [&] {
        const Identification found = tester.checkout().identifyByCard(tester.terms().card);
        const RestExchange answer = tester.last(u"card-info"_s);
        requireAccepted(answer);
        const QJsonValue status = dataOf(answer)[u"card_data"_s][u"status"_s];
        require(requireAmount(status, u"\"status\""_s) <= 3 && status.toVariant().toString().size() == 1,
                u"\"status\" is no whole number from 0 to 3"_s);
        require(found);
    });
    const bool taken = tester.judge(u"customer"_s, [&] {
        const double balance = tester.balance();
        if (!tester.checkout().card())
            throw NotJudged(u"the card was not taken"_s);
        require(isSame(balance, tester.checkout().card()->getBonusBalance().toDouble()),
                u"the balance is another each time"_s);
    });
    judgePassword(tester);
    judgePhones(tester);
    judgeLimits(tester, u"limits"_s, usualLines());
    judgeLimits(tester, u"limits-odd"_s, oddLines());
    judgeLimits(tester, u"limits-large"_s, largeLines());
    if (taken) {
        tester.judge(u"limits-free"_s, [&] {
            const double before = tester.checkout().card()->getBonusBalance().toDouble();
            require(tester.checkout().requestLimit());
            static_cast<void>(tester.repeat(tester.last(u"pre-payment"_s)));
            tester.requireBalance(before);
        });
    }
    tester.judge(u"cancel-unseen"_s, [&] {
        require(tester.checkout().rollBack());
        requireAccepted(tester.last(u"cancel-payment"_s));
    });
    tester.giveBack();
    return known && taken;
}

void playMalformed(Tester& tester)
{
    tester.judge(u"malformed"_s, [&] {
        const auto asked = tester.lastEver(u"pre-payment"_s);
        if (!asked)
            throw NotJudged(u"no limit was asked for"_s);
        for (const QByteArray& body : {QByteArray("["), QByteArray("{}")})
            requireRefused(tester.send(asked->method, asked->url, body, tester.headers()));
    });
}

} // namespace till::conformance
