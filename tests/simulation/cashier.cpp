// What people do at a till.

#include "tests/simulation/shop.h"

#include "host/core/documentcardrecord.h"
#include "tests/simulation/fate.h"

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace simulation {

namespace {

using till::State;

// The demonstration's cards: those that work, one that is blocked, one of nobody.
const std::array cards{u"2000000000017"_s, u"2000000000024"_s, u"2000000000031"_s,
                       u"2000000000055"_s, u"2000000000048"_s, u"2000000000062"_s};
const std::array phones{u"79001234567"_s, u"79005550001"_s};

QList<till::Line> someGoods(Dice& dice)
{
    QList<till::Line> lines;
    for (int left = dice.between(1, 4); left > 0; --left) {
        till::Line line{.articul = QString::number(dice.between(1, 99)),
                        .name = u"Товар"_s,
                        .price = dice.between(1, 50'000) / 100.0,
                        .quantity = dice.oneIn(3) ? dice.between(1, 5000) / 1000.0 : dice.between(1, 3),
                        .discount = 0};
        lines.append(line);
    }
    return lines;
}

} // namespace

QString Shop::number() { return u"T%1-%2"_s.arg(m_at + 1).arg(++m_numbered); }

Seen& Shop::seenOf(const QString& identifier)
{
    const auto found = std::find_if(m_seen.rbegin(), m_seen.rend(),
                                    [&](const Seen& seen) { return seen.identifier == identifier; });
    if (found != m_seen.rend())
        return *found;
    Seen seen;
    seen.identifier = identifier;
    seen.till = m_at;
    m_seen.append(seen);
    return m_seen.last();
}

void Shop::sell(Dice& dice)
{
    finish(dice);
    m_clock.move(3s); // operations are numbered by the second, two to a receipt
    till::Checkout& checkout = m_till->checkout();
    const QString identifier = number();
    const till::Result opened = checkout.openSale(identifier, someGoods(dice));
    requireAlive();
    note(u"sale %1%2"_s.arg(identifier, opened.ok ? u""_s : u": "_s + opened.error));
    if (!opened.ok)
        return;
    Seen& seen = seenOf(identifier);
    if (!dice.oneIn(4)) {
        chooseCard(dice, seen);
        if (!dice.oneIn(5))
            static_cast<void>(checkout.requestLimit());
        requireAlive();
        if (dice.oneIn(15))
            static_cast<void>(checkout.setLines(someGoods(dice)));
        requireAlive();
        if (!dice.oneIn(3))
            spend(dice, seen);
    }
    m_clock.move(std::chrono::seconds(dice.between(1, 60)));
    end(dice);
}

void Shop::chooseCard(Dice& dice, Seen& seen)
{
    till::Checkout& checkout = m_till->checkout();
    const till::Identification found = dice.oneIn(5)
                                           ? checkout.identifyByPhone(phones.at(dice.next() % phones.size()))
                                           : checkout.identifyByCard(cards.at(dice.next() % cards.size()));
    requireAlive();
    const auto card = checkout.card();
    seen.card = card ? card->getNumber().toString() : QString();
    note(u"card %1%2"_s.arg(seen.card, found.ok ? u""_s : u": "_s + found.error));
}

void Shop::spend(Dice& dice, Seen& seen)
{
    const double points = dice.oneIn(4) ? dice.between(1, 9999) / 100.0 : dice.between(1, 50);
    const till::Spending spending = m_till->checkout().spend(points);
    requireAlive();
    note(u"spend %1%2"_s.arg(points).arg(spending.ok ? u""_s : u": "_s + spending.error));
    if (spending.ok)
        seen.spent = spending.points;
    else if (!dice.oneIn(3))
        askAgain();
}

void Shop::askAgain()
{
    till::Checkout& checkout = m_till->checkout();
    const auto unknown = checkout.unknownSpending();
    if (!unknown)
        return;
    const QString identifier = checkout.receipt()->getIdentifier();
    const till::Spending spending = checkout.spend(unknown->wanted);
    requireAlive();
    note(u"spend %1 again%2"_s.arg(unknown->wanted).arg(spending.ok ? u""_s : u": "_s + spending.error));
    if (spending.ok)
        seenOf(identifier).spent = spending.points;
}

void Shop::end(Dice& dice)
{
    switch (dice.below(10)) {
    case 0: // the customer has gone, and the cashier waits
        break;
    case 1:
    case 2:
        rollBack();
        break;
    default:
        pay();
        if (dice.oneIn(2))
            pay(); // where it did not go at once
    }
}

void Shop::finish(Dice& dice)
{
    const till::Checkout& checkout = m_till->checkout();
    for (int i = 0; i < 3 && checkout.receipt(); ++i) {
        m_clock.move(5s);
        if (checkout.state() == State::Abandoned)
            rollBack();
        else if (checkout.state() == State::SpendingUnknown && dice.oneIn(2))
            askAgain();
        else if (checkout.state() == State::SpendingUnknown || dice.oneIn(3))
            rollBack();
        else
            pay();
    }
}

void Shop::pay()
{
    till::Checkout& checkout = m_till->checkout();
    if (!checkout.receipt())
        return;
    const QString identifier = checkout.receipt()->getIdentifier();
    const till::Payment payment = checkout.pay();
    requireAlive();
    note(u"pay %1%2"_s.arg(identifier, payment.ok ? u""_s : u": "_s + payment.error));
    if (payment.ok) {
        Seen& seen = seenOf(identifier);
        seen.paid = true;
        seen.earns = payment.earning != till::Payment::Earning::None;
    }
}

void Shop::rollBack()
{
    till::Checkout& checkout = m_till->checkout();
    if (!checkout.receipt())
        return;
    const QString identifier = checkout.receipt()->getIdentifier();
    seenOf(identifier).leaving = true;
    const till::Result result = checkout.rollBack();
    requireAlive();
    note(u"roll back %1%2"_s.arg(identifier, result.ok ? u""_s : u": "_s + result.error));
    if (result.ok)
        seenOf(identifier).gone = true;
}

void Shop::giveBack(Dice& dice)
{
    finish(dice);
    QStringList sales;
    for (const Seen& seen : m_seen) {
        if (seen.till == m_at && seen.paid && seen.sale.isEmpty())
            sales.append(seen.identifier);
    }
    if (sales.isEmpty())
        return;
    m_clock.move(3s);
    const QString sale = sales.at(dice.below(static_cast<int>(sales.size())));
    const QString identifier = number();
    QList<till::ReturnLine> lines;
    for (int left = dice.between(1, 2); left > 0; --left)
        lines.append({.posnum = left, .quantity = dice.oneIn(3) ? dice.between(1, 2000) / 1000.0 : 1.0});
    const till::Result opened = m_till->checkout().openReturn(identifier, sale, lines);
    requireAlive();
    note(u"return %1 of %2%3"_s.arg(identifier, sale, opened.ok ? u""_s : u": "_s + opened.error));
    if (!opened.ok)
        return;
    seenOf(identifier).sale = sale;
    m_clock.move(std::chrono::seconds(dice.between(1, 60)));
    end(dice);
}

void Shop::deliver(Dice& dice)
{
    m_clock.move(std::chrono::minutes(dice.between(1, 300)));
    const till::DeliveryResult result = m_till->deliver();
    requireAlive();
    note(u"deliver: %1%2"_s.arg(result.delivered.value_or(-1))
             .arg(result.ok ? u""_s : u": "_s + result.error));
}

} // namespace simulation
