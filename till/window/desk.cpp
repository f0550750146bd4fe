#include "till/window/desk.h"

#include "host/core/storage.h"
#include "host/utils/basicexception.h"
#include "host/utils/currenttime.h"
#include "host/utils/money.h"
#include "till/hostobjects.h"
#include "till/player.h"
#include "till/reconciliation.h"
#include "till/screen.h"
#include "till/usageerror.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace till::window {

Desk::Desk(Till& till, Waiting& waiting, const ServiceWatch& watch)
    : m_till(till)
    , m_waiting(waiting)
    , m_watch(watch)
{
    if (!till.found().isEmpty())
        m_notice = {Notice::Kind::Warning, till.found() + (receipt() ? u": можно продолжать"_s : QString())};
}

Desk::Stage Desk::stage() const
{
    if (!receipt())
        return Stage::Between;
    if (m_till.unknownSpending())
        return Stage::Unknown;
    return receipt()->getDocumentType() == ReturnReceipt ? Stage::Return : Stage::Sale;
}

bool Desk::changeable() const
{
    return stage() == Stage::Sale && !pointsSpent() && m_till.stage() == Till::Stage::Open;
}

bool Desk::pointsSpent() const { return m_till.hasSpentPoints(); }

double Desk::spentPoints() const
{
    return receipt() ? static_cast<double>(bonusDiscountOf(*receipt())) / 100 : 0;
}

std::optional<Outcome> Desk::play(const QString& step, const QVariantMap& members)
{
    if (m_waiting.underWay())
        return std::nullopt;
    Outcome outcome;
    try {
        const Waiting::Step running(m_waiting);
        outcome = played(m_till, *findStepKind(step), members);
    } catch (const UsageError& failure) {
        outcome = {.ok = false, .error = QString::fromUtf8(failure.what())};
    }
    if (!outcome.ok) {
        say(Notice::Kind::Bad, outcome.error.section(u'\n', 0, 0));
        Q_EMIT changed();
        return std::nullopt;
    }
    return outcome;
}

void Desk::say(Notice::Kind kind, const QString& text)
{
    m_notice = {kind, text};
    Q_EMIT noticed();
}

// The service tells receipts apart by the second, and a number is never given twice.
QString Desk::nextIdentifier()
{
    QDateTime time = MockFactory<CurrentTime>::create()->currentDateTime();
    if (m_lastOpened.isValid() && time < m_lastOpened.addSecs(1))
        time = m_lastOpened.addSecs(1);
    const auto isTaken = [this](const QString& identifier) {
        try {
            return (receipt() && receipt()->getIdentifier() == identifier) ||
                   hostObject<DocumentsDao>().loadDocument(identifier, false);
        } catch (const BasicException&) {
            return false; // the step that opens the receipt meets it again, and says it
        }
    };
    while (isTaken(time.toString(u"yyMMdd-hhmmss"_s)))
        time = time.addSecs(1);
    m_lastOpened = time;
    return time.toString(u"yyMMdd-hhmmss"_s);
}

void Desk::startAnew()
{
    m_balanceTime = {};
    m_serviceLimit.reset();
}

void Desk::openSale(const QVariantList& positions)
{
    startAnew();
    if (!play(u"openSale"_s, {{u"id"_s, nextIdentifier()}, {u"positions"_s, positions}}))
        return;
    say(Notice::Kind::Plain, positions.isEmpty() ? u"Новый чек: добавьте товары"_s
                                                 : u"Чек открыт: найдите покупателя или оплатите"_s);
    Q_EMIT changed();
}

QVariantList Desk::positions() const
{
    QVariantList list;
    const auto items = receipt()->getGoodsItems();
    for (const auto& item : items) {
        list.append(QVariantMap{{u"articul"_s, item->getArticul()},
                                {u"name"_s, item->getName(false)},
                                {u"price"_s, item->getPrice()},
                                {u"quantity"_s, item->getBquant()},
                                {u"discount"_s, item->getDiscount()}});
    }
    return list;
}

void Desk::replacePositions(const QVariantList& positions)
{
    if (!play(u"setPositions"_s, {{u"positions"_s, positions}}))
        return;
    m_serviceLimit.reset(); // it was for another receipt
    say(Notice::Kind::Plain, u"Товаров в чеке: %1"_s.arg(positions.size()));
    Q_EMIT changed();
}

void Desk::addGoods(const Goods& goods)
{
    if (stage() == Stage::Between)
        openSale();
    if (stage() != Stage::Sale)
        return;
    QVariantList list = positions();
    const auto same = std::find_if(list.begin(), list.end(), [&goods](const QVariant& entry) {
        return entry.toMap().value(u"articul"_s) == goods.articul;
    });
    if (same != list.end()) {
        QVariantMap position = same->toMap();
        position[u"quantity"_s] = position[u"quantity"_s].toDouble() + 1;
        *same = position;
    } else {
        list.append(QVariantMap{{u"articul"_s, goods.articul},
                                {u"name"_s, goods.name},
                                {u"price"_s, goods.price},
                                {u"quantity"_s, 1.0},
                                {u"discount"_s, 0.0}});
    }
    replacePositions(list);
}

bool Desk::addArticle(const QString& articul)
{
    const Goods* goods = findGoods(articul.trimmed());
    if (!goods) {
        say(Notice::Kind::Bad,
            u"Артикула «%1» нет: введите другой или выберите товар кнопкой"_s.arg(articul));
        return false;
    }
    addGoods(*goods);
    return true;
}

void Desk::setQuantity(int posnum, double quantity)
{
    QVariantList list = positions();
    QVariantMap position = list.value(posnum - 1).toMap();
    if (position.isEmpty())
        return;
    if (!(quantity >= 0.001) || quantity > 9999)
        return say(Notice::Kind::Bad, u"Количество — от 0,001 до 9999"_s);
    const double whole = utils::roundToHundredths(position[u"price"_s].toDouble() * quantity);
    if (position[u"discount"_s].toDouble() > whole)
        return say(Notice::Kind::Bad, u"Скидка больше суммы: сначала уменьшите скидку"_s);
    position[u"quantity"_s] = quantity;
    list[posnum - 1] = position;
    replacePositions(list);
}

void Desk::setDiscount(int posnum, double discount)
{
    QVariantList list = positions();
    QVariantMap position = list.value(posnum - 1).toMap();
    if (position.isEmpty())
        return;
    const double whole =
        utils::roundToHundredths(position[u"price"_s].toDouble() * position[u"quantity"_s].toDouble());
    if (!(discount >= 0) || discount > whole)
        return say(Notice::Kind::Bad, u"Скидка — от 0 до %1"_s.arg(screen::amount(whole)));
    position[u"discount"_s] = utils::roundToHundredths(discount);
    list[posnum - 1] = position;
    replacePositions(list);
}

void Desk::remove(int posnum)
{
    QVariantList list = positions();
    if (posnum < 1 || posnum > list.size())
        return;
    list.removeAt(posnum - 1);
    replacePositions(list);
}

bool Desk::pay()
{
    const bool isReturn = stage() == Stage::Return;
    const auto outcome = play(u"pay"_s);
    if (!outcome)
        return false;
    m_finished = outcome->screen;
    startAnew();
    say(Notice::Kind::Good, isReturn ? u"Возврат закрыт"_s : u"Чек оплачен и закрыт"_s);
    Q_EMIT changed();
    return true;
}

bool Desk::abandon()
{
    const auto outcome = play(u"rollback"_s);
    if (!outcome)
        return false;
    m_finished = outcome->screen;
    startAnew();
    say(Notice::Kind::Plain, outcome->screen.value(0));
    Q_EMIT changed();
    return true;
}

bool Desk::openReturn(const QString& sale, const QVariantList& positions)
{
    startAnew();
    if (!play(u"openReturn"_s, {{u"id"_s, nextIdentifier()}, {u"of"_s, sale}, {u"positions"_s, positions}}))
        return false;
    say(Notice::Kind::Plain, u"Возврат открыт: проверьте позиции и верните деньги"_s);
    Q_EMIT changed();
    return true;
}

void Desk::deliver()
{
    if (const auto outcome = play(u"deliver"_s)) {
        say(Notice::Kind::Good, outcome->screen.value(0));
        Q_EMIT changed();
    }
}

} // namespace till::window
