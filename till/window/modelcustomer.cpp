#include "till/window/checkoutmodel.h"

#include "host/utils/money.h"
#include "till/checkout/screen.h"

#include <algorithm>

using namespace Qt::StringLiterals;

/// The customer's side of the model.
namespace till::window {

namespace {

QString digitsOf(const QString& entered)
{
    QString digits;
    for (const QChar c : entered) {
        if (c.isDigit())
            digits += c;
    }
    return digits;
}

/// Whether nothing but digits, and what people write between them.
bool isNumber(const QString& entered)
{
    return std::all_of(entered.begin(), entered.end(),
                       [](QChar c) { return c.isDigit() || c.isSpace() || u"+-()"_s.contains(c); });
}

/// As the service knows phones: 79001234567.
QString phoneOf(const QString& entered)
{
    if (!isNumber(entered))
        return entered;
    QString digits = digitsOf(entered);
    if (digits.size() == 10)
        digits.prepend(u'7');
    if (digits.size() == 11 && digits.startsWith(u'8'))
        digits[0] = u'7';
    return digits;
}

} // namespace

CheckoutModel::Means CheckoutModel::meansOf(const QString& entered)
{
    const QString digits = digitsOf(entered);
    const bool looksLikePhone =
        isNumber(entered) && ((digits.size() == 11 && QStringView(u"78").contains(digits[0])) ||
                              (digits.size() == 10 && digits.startsWith(u'9')));
    return looksLikePhone ? Means::Phone : Means::Card;
}

bool CheckoutModel::identify(const QString& entered, Means means)
{
    const QString text = entered.trimmed();
    if (text.isEmpty()) {
        say(Notice::Kind::Bad, u"Введите номер карты или телефон"_s);
        return false;
    }
    if (state() == State::Idle)
        openSale();
    const bool byPhone = (means == Means::Guess ? meansOf(text) : means) == Means::Phone;
    const auto found = done([&] {
        return byPhone ? checkout().identifyByPhone(phoneOf(text)) : checkout().identifyByCard(text);
    });
    if (!found)
        return false;
    if (found->card.isEmpty()) { // the list was closed
        say(Notice::Kind::Plain, u"Карта не выбрана"_s);
        Q_EMIT changed();
        return false;
    }
    m_balanceTime = QDateTime::currentDateTime();
    m_serviceLimit.reset();
    say(Notice::Kind::Good, u"Покупатель найден"_s);
    Q_EMIT changed();
    if (!receipt()->getGoodsItems().isEmpty())
        askLimit();
    return true;
}

void CheckoutModel::refresh()
{
    if (!done([&] { return checkout().refreshCard(); }))
        return;
    m_balanceTime = QDateTime::currentDateTime();
    say(Notice::Kind::Good, u"Баланс обновлён"_s);
    Q_EMIT changed();
}

void CheckoutModel::askLimit()
{
    if (!done([&] { return checkout().requestLimit(); }))
        return;
    m_serviceLimit = m_till.loyalty().currentPointsForSpend();
    Q_EMIT changed();
}

std::optional<Limit> CheckoutModel::limit() const
{
    const auto card = checkout().card();
    if (!card || !m_serviceLimit)
        return std::nullopt;
    if (card->getCardStatus() == ECard::RegistrationIncomplete)
        return Limit{0, limitReason(0)};
    const double points = std::min(*m_serviceLimit, card->getBonusBalance().toDouble());
    return Limit{points, limitReason(points)};
}

QString CheckoutModel::limitReason(double points) const
{
    const auto card = checkout().card();
    if (card->getCardStatus() == ECard::RegistrationIncomplete)
        return u"Регистрация покупателя не завершена: списать нельзя"_s;
    if (card->getCardStatus() == ECard::Blocked)
        return u"Карта заблокирована: списать нельзя"_s;
    if (utils::toHundredths(card->getBonusBalance().toDouble()) == 0)
        return u"На карте нет баллов"_s;
    if (utils::toHundredths(points) == utils::toHundredths(card->getBonusBalance().toDouble()))
        return u"Больше нет на карте"_s;
    return u"Больше служба не разрешает"_s;
}

bool CheckoutModel::spend(double points)
{
    if (const auto unknown = checkout().unknownSpending())
        points = unknown->points;
    else if (!(points > 0)) {
        say(Notice::Kind::Bad, u"Введите, сколько баллов списать"_s);
        return false;
    } else {
        if (!m_serviceLimit)
            askLimit();
        const auto most = limit();
        if (!most)
            return false; // the service did not say; why is on the screen
        const auto wanted = utils::toHundredths(points);
        if (!wanted || wanted > utils::toHundredths(most->points)) {
            say(Notice::Kind::Bad,
                u"Можно списать не больше %1. %2"_s.arg(screen::amount(most->points), most->reason));
            return false;
        }
    }
    m_balanceTime = {}; // it is another one now, or may be
    const auto spending = done([&] { return checkout().spend(points); });
    if (!spending)
        return false;
    say(Notice::Kind::Good, u"Списано баллов: %1"_s.arg(screen::amount(spending->points.value_or(0))));
    Q_EMIT changed();
    return true;
}

} // namespace till::window
