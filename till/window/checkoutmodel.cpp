#include "till/window/checkoutmodel.h"

#include "host/storage/documents.h"
#include "host/utils/basicexception.h"
#include "host/utils/currenttime.h"
#include "till/checkout/receiptsums.h"
#include "till/checkout/screen.h"
#include "till/setup/hostobjects.h"
#include "till/window/sound.h"

using namespace Qt::StringLiterals;

namespace till::window {

CheckoutModel::CheckoutModel(Till& till, Waiting& waiting, const ServiceWatch& watch,
                             const Catalogue& catalogue)
    : m_till(till)
    , m_waiting(waiting)
    , m_watch(watch)
    , m_catalogue(catalogue)
{
    m_notice.text = tr::shown(u"windowReady"_s, u"Касса готова к работе"_s);
    if (!till.found().isEmpty())
        m_notice = {Notice::Kind::Warning,
                    receipt()
                        ? tr::shown(u"windowFound"_s, u"%1: можно продолжать"_s).arg(till.found().shown())
                        : till.found().shown()};
}

bool CheckoutModel::isReturn() const { return receipt() && receipt()->getDocumentType() == ReturnReceipt; }

double CheckoutModel::spentPoints() const
{
    const auto discount = receipt() ? bonusDiscountOf(*receipt()) : std::nullopt;
    return static_cast<double>(discount.value_or(0)) / 100;
}

void CheckoutModel::say(Notice::Kind kind, const QString& text)
{
    m_notice = {kind, text};
    if (kind == Notice::Kind::Bad)
        soundRefusal();
    Q_EMIT noticed();
}

// The service tells receipts apart by the second, and a number is never given twice.
QString CheckoutModel::nextIdentifier()
{
    QDateTime time = MockFactory<CurrentTime>::create()->currentDateTime();
    if (m_lastOpened.isValid() && time < m_lastOpened.addSecs(1))
        time = m_lastOpened.addSecs(1);
    const auto isTaken = [this](const QString& identifier) {
        try {
            return (receipt() && receipt()->getIdentifier() == identifier) ||
                   hostObject<DocumentsDao>().loadDocument(identifier, false);
        } catch (const BasicException&) {
            return false; // opening the receipt meets it again, and says it
        }
    };
    while (isTaken(time.toString(u"yyMMdd-hhmmss"_s)))
        time = time.addSecs(1);
    m_lastOpened = time;
    return time.toString(u"yyMMdd-hhmmss"_s);
}

void CheckoutModel::startAnew()
{
    m_paid.reset();
    m_balanceTime = {};
    m_serviceLimit.reset();
    m_spentSince.reset();
    m_code.forget();
}

void CheckoutModel::openSale(const QList<Line>& lines)
{
    startAnew();
    if (!done([&] { return checkout().openSale(nextIdentifier(), lines); }))
        return;
    say(Notice::Kind::Plain,
        lines.isEmpty() ? tr::shown(u"windowNewOpened"_s, u"Новый чек: добавьте товары"_s)
                        : tr::shown(u"windowOpened"_s, u"Чек открыт: найдите покупателя или оплатите"_s));
    Q_EMIT changed();
}

bool CheckoutModel::pay()
{
    const auto payment = done([&] { return checkout().pay(); });
    if (!payment)
        return false;
    m_finished = screen::payment(*payment);
    forgetBalance(payment->receipt->getCardRecord(KyrLoyaltySystem).data());
    startAnew();
    m_paid = payment;
    const bool wasReturn = payment->receipt->getDocumentType() == ReturnReceipt;
    say(Notice::Kind::Good, wasReturn ? tr::shown(u"windowReturnClosed"_s, u"Возврат закрыт"_s)
                                      : tr::shown(u"windowPaid"_s, u"Чек оплачен и закрыт"_s));
    Q_EMIT changed();
    return true;
}

bool CheckoutModel::abandon()
{
    const QString identifier = receipt() ? receipt()->getIdentifier() : QString();
    if (!done([&] { return checkout().rollBack(); }))
        return false;
    m_finished = {screen::abandoned(identifier)};
    startAnew();
    say(Notice::Kind::Plain, m_finished.first());
    Q_EMIT changed();
    return true;
}

bool CheckoutModel::openReturn(const QString& sale, const QList<ReturnLine>& lines)
{
    startAnew();
    if (!done([&] { return checkout().openReturn(nextIdentifier(), sale, lines); }))
        return false;
    say(Notice::Kind::Plain,
        tr::shown(u"windowReturnOpened"_s, u"Возврат открыт: проверьте позиции и верните деньги"_s));
    Q_EMIT changed();
    return true;
}

void CheckoutModel::deliver()
{
    if (const auto delivery = done([&] { return m_till.deliver(); })) {
        say(Notice::Kind::Good, screen::delivered(delivery->delivered.value_or(0)));
        Q_EMIT changed();
    }
}

} // namespace till::window
