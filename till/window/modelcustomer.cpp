#include "till/window/checkoutmodel.h"

#include "host/utils/money.h"
#include "host/utils/tr.h"
#include "till/checkout/receiptsums.h"
#include "till/checkout/screen.h"
#include "till/setup/hostobjects.h"
#include "till/setup/settings.h"

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
        say(Notice::Kind::Bad, tr::shown(u"windowTypeCustomer"_s, u"Введите номер карты или телефон"_s));
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
        say(Notice::Kind::Plain, tr::shown(u"windowNoCardChosen"_s, u"Карта не выбрана"_s));
        Q_EMIT changed();
        return false;
    }
    learn();
    m_serviceLimit.reset();
    m_code.forget();
    say(Notice::Kind::Good, tr::shown(u"windowCustomerFound"_s, u"Покупатель найден"_s));
    Q_EMIT changed();
    if (!receipt()->getGoodsItems().isEmpty())
        askLimit();
    return true;
}

void CheckoutModel::refresh()
{
    if (!done([&] { return checkout().refreshCard(); }))
        return;
    learn();
    say(Notice::Kind::Good, tr::shown(u"windowBalanceFresh"_s, u"Баланс обновлён"_s));
    Q_EMIT changed();
}

void CheckoutModel::learn()
{
    const auto card = checkout().card();
    const auto client = card->getCard()->getClient();
    m_balanceTime = QDateTime::currentDateTime();
    m_spentSince.reset();
    m_known[card->getNumber().toString()] = {.name = client ? client->getName() : QString(),
                                             .balance = card->getBonusBalance().toDouble(),
                                             .time = m_balanceTime};
}

void CheckoutModel::forgetBalance(const DocumentCardRecord* card)
{
    const auto known = card ? m_known.find(card->getNumber().toString()) : m_known.end();
    if (known != m_known.end())
        known->balance.reset();
}

std::optional<KnownCard> CheckoutModel::known(const QString& card) const
{
    const auto known = m_known.find(card);
    return known == m_known.end() ? std::nullopt : std::optional(*known);
}

// A balance from before the last start may be from before or after what was spent then.
QDateTime CheckoutModel::balanceTime() const
{
    return m_spentSince || checkout().unknownSpending() ? QDateTime() : m_balanceTime;
}

void CheckoutModel::askLimit()
{
    if (!done([&] { return checkout().requestLimit(); }))
        return;
    m_serviceLimit = m_till.loyalty().currentPointsForSpend();
    Q_EMIT changed();
}

std::optional<Limit> CheckoutModel::requireLimit()
{
    if (!limit())
        askLimit();
    return limit();
}

std::optional<Limit> CheckoutModel::limit() const
{
    const auto card = checkout().card();
    if (!card || !m_serviceLimit)
        return std::nullopt;
    if (card->getCardStatus() == ECard::RegistrationIncomplete)
        return Limit{0, tr::shown(u"windowLimitRegistration"_s,
                                  u"Регистрация покупателя не завершена: списать нельзя"_s)};
    if (card->getCardStatus() == ECard::Blocked)
        return Limit{0, tr::shown(u"windowLimitBlocked"_s, u"Карта заблокирована: списать нельзя"_s)};
    const double balance = card->getBonusBalance().toDouble();
    if (utils::toHundredths(balance) == 0)
        return Limit{0, tr::shown(u"windowLimitNoPoints"_s, u"На карте нет баллов"_s)};
    const double sum = pointsFor(hostObject<Config>(), receipt()->getSum());
    const double most = std::min({*m_serviceLimit, balance, sum});
    const QString reason = most == balance ? tr::shown(u"windowLimitBalance"_s, u"Больше нет на карте"_s)
                           : most == sum
                               ? tr::shown(u"windowLimitReceipt"_s, u"Больше чек не стоит"_s)
                               : tr::shown(u"windowLimitService"_s, u"Больше служба не разрешает"_s);
    return Limit{most, reason};
}

std::optional<Expectation> CheckoutModel::expectation(double wanted) const
{
    const auto card = checkout().card();
    if (!card || isReturn() || !m_balanceTime.isValid() || checkout().unknownSpending())
        return std::nullopt;
    const bool isSpent = checkout().hasSpentPoints();
    Expectation expected{.balance = card->getBonusBalance().toDouble(),
                         .spent = isSpent ? m_spentSince.value_or(0) : wanted,
                         .earned = {},
                         .isRounded = worthOf(hostObject<Config>(), 1) < 1};
    const auto earned = earnedBy(*receipt());
    if (isSpent && earned) // the service tells it for the reduced receipt when points are spent
        expected.earned =
            utils::roundToHundredths(pointsFor(hostObject<Config>(), static_cast<double>(*earned) / 100));
    return expected;
}

bool CheckoutModel::spend(double points)
{
    if (const auto unknown = checkout().unknownSpending())
        points = unknown->points;
    else if (!(points > 0)) {
        say(Notice::Kind::Bad, tr::shown(u"windowTypePoints"_s, u"Введите, сколько баллов списать"_s));
        return false;
    } else {
        const auto most = requireLimit();
        if (!most)
            return false; // the service did not say; why is on the screen
        const auto wanted = utils::toHundredths(points);
        if (!wanted || wanted > utils::toHundredths(most->points)) {
            say(Notice::Kind::Bad, tr::shown(u"windowSpendAtMost"_s, u"Можно списать не больше %1. %2"_s)
                                       .arg(screen::amount(most->points), most->reason));
            return false;
        }
    }
    const auto spending = done([&] { return spendWithCodes(points); });
    if (!spending)
        return false;
    say(Notice::Kind::Good, tr::shown(u"windowSpent"_s, u"Списано баллов: %1"_s)
                                .arg(screen::amount(spending->points.value_or(0))));
    Q_EMIT changed();
    return true;
}

/// The loyalty system asks once for the code of a spending, and then begins anew: so does whoever wants
/// another one.
Spending CheckoutModel::spendWithCodes(double points)
{
    const auto card = checkout().card();
    const auto client = card ? card->getCard()->getClient() : nullptr;
    Spending spending;
    do {
        m_code.begin(points, client ? client->getPhoneNumber() : QString());
        spending = checkout().spend(points);
        m_code.end();
    } while (!spending.ok && m_code.outcome() == CodeEntry::Outcome::SendAgain);
    const bool isUnknown = checkout().unknownSpending().has_value();
    if (spending.ok)
        m_spentSince = spending.points;
    else if (!isUnknown && m_code.outcome() == CodeEntry::Outcome::Entered)
        spending.error = tr::shown(u"windowCodeRefused"_s, u"%1. Enter — ещё раз: придёт новый код"_s)
                             .arg(spending.error.section(u'\n', 0, 0));
    if (spending.ok || isUnknown)
        forgetBalance(card.data());
    return spending;
}

} // namespace till::window
