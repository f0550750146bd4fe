#include "till/window/desk.h"

#include "host/storage/documents.h"
#include "host/utils/basicexception.h"
#include "host/utils/currenttime.h"
#include "till/checkout/receiptsums.h"
#include "till/cli/usageerror.h"
#include "till/scenario/player.h"
#include "till/setup/hostobjects.h"

using namespace Qt::StringLiterals;

namespace till::window {

Desk::Desk(Till& till, Waiting& waiting, const ServiceWatch& watch)
    : m_till(till)
    , m_waiting(waiting)
    , m_watch(watch)
{
    m_notice.text = u"Касса готова к работе"_s;
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
    const auto discount = receipt() ? bonusDiscountOf(*receipt()) : std::nullopt;
    return static_cast<double>(discount.value_or(0)) / 100;
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
