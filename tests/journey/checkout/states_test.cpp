#include "host/network/restclient.h"
#include "till/checkout/receiptmarks.h"
#include "till/checkout/till.h"
#include "till/setup/settings.h"

#include <QTemporaryDir>

#include <gmock/gmock.h>

#include <array>
#include <map>
#include <optional>
#include <tuple>

using namespace Qt::StringLiterals;

namespace till {

void PrintTo(State state, std::ostream* out)
{
    constexpr std::array names{"Idle",   "Sale",    "Discounted", "Return", "SpendingUnknown",
                               "Paying", "Settled", "Abandoned"};
    *out << names.at(static_cast<std::size_t>(state));
}

void PrintTo(Action action, std::ostream* out)
{
    constexpr std::array names{"OpenSale",     "OpenReturn", "SetLines",     "Identify", "RefreshCard",
                               "RequestLimit", "Spend",      "ForgetPoints", "RollBack", "Pay"};
    *out << names.at(static_cast<std::size_t>(action));
}

} // namespace till

namespace checkouttest {

namespace {

using till::Action;
using till::State;

/// What becomes of an action: the state it leads to, or why the cashier may not.
struct Fate
{
    std::optional<State> leadsTo = {};
    QString refusal = {};
};
Fate to(State state) { return {.leadsTo = state, .refusal = {}}; }
Fate no(const QString& refusal) { return {.leadsTo = {}, .refusal = refusal}; }

/// In the order of the actions; the receipt's number is R.
std::map<State, QList<Fate>> fates()
{
    const Fate none = no(u"Чек не открыт: сначала откройте его"_s);
    const Fate spent = no(u"Чек R не закрыт, в нём списаны баллы: оплатите его или отмените"_s);
    const Fate settled = no(u"Баллы уже списаны: позиции не изменить. Оплатите чек или отмените его"_s);
    const Fate card = no(u"В чеке уже списаны баллы: карту не сменить. Отмените чек"_s);
    const Fate twice =
        no(u"В чеке уже списаны баллы: второе списание сервис не отличит от первого. Отмените чек"_s);
    const Fate lines = no(u"Позиции возврата не меняются: отмените его и начните заново"_s);
    const Fate sold = no(u"Карта возврата — та же, что в продаже: другую не указать"_s);
    const Fate noPoints = no(u"Чек R — возврат: баллы в нём не списываются"_s);
    const Fate doubt = no(u"Чек R: исход списания 50,00 баллов неизвестен, повторите списание той же суммы "
                          "или отмените чек"_s);
    const Fate pays = no(u"Чек R уже оплачивается: завершите оплату"_s);
    const Fate leaves = no(u"Чек R отменяется: завершите отмену"_s);
    using enum State;
    // open sale, open return, set lines, identify, refresh, limit, spend, forget, roll back, pay
    return {
        {Idle, {to(Sale), to(Return), none, none, none, none, none, to(Idle), none, none}},
        {Sale,
         {to(Sale), to(Return), to(Sale), to(Sale), to(Sale), to(Sale), to(Discounted), to(Sale), to(Idle),
          to(Idle)}},
        {Discounted,
         {spent, spent, settled, card, to(Discounted), to(Discounted), twice, to(Discounted), to(Idle),
          to(Idle)}},
        {Return,
         {to(Sale), to(Return), lines, sold, to(Return), to(Return), noPoints, to(Return), to(Idle),
          to(Idle)}},
        {SpendingUnknown,
         {doubt, doubt, doubt, doubt, to(SpendingUnknown), doubt, to(Discounted), doubt, to(Idle), doubt}},
        {Paying, {pays, pays, pays, pays, to(Paying), pays, pays, pays, pays, to(Idle)}},
        {Settled, {pays, pays, pays, pays, to(Settled), pays, pays, pays, pays, to(Idle)}},
        {Abandoned,
         {leaves, leaves, leaves, leaves, to(Abandoned), leaves, leaves, leaves, to(Idle), leaves}},
    };
}

/// Nobody is asked anything here.
class NoDialogs : public DialogFrontend
{
public:
    int chooseFromList(const ChoiceRequest& /*request*/) override { return -1; }
    core::BasicDialog::Result inputText(const TextInputRequest& /*request*/) override
    {
        return core::BasicDialog::Result::cancelled();
    }
};

/// What a failed operation may not change.
QStringList contentOf(const till::Checkout& checkout)
{
    const auto& receipt = checkout.receipt();
    if (!receipt)
        return {};
    QStringList content{receipt->getIdentifier(), QString::number(receipt->getSum()),
                        QString::number(receipt->getDiscountSum())};
    if (const auto card = checkout.card())
        content += card->getNumber().toString();
    return content;
}

} // namespace

/// A till with its own stand, for one receipt R after the other.
class CheckoutState : public testing::TestWithParam<std::tuple<State, Action>>
{
protected:
    CheckoutState()
        : m_till({QStringLiteral(PLUGIN_FILE), QStringLiteral(STAND_PROGRAM), m_directory.path()},
                 till::loadSettings({}), m_cashier)
    {}

    till::Checkout& checkout() { return m_till.checkout(); }
    void expectDone(const till::Result& result) { ASSERT_TRUE(result.ok) << result.error.toStdString(); }
    void sellOnCard(const QString& identifier)
    {
        expectDone(checkout().openSale(identifier, lines));
        expectDone(checkout().identifyByCard(card));
    }
    void bringTo(State state)
    {
        sellOnCard(u"S"_s); // something that can be returned
        expectDone(checkout().pay());
        if (state == State::Return)
            expectDone(checkout().openReturn(u"R"_s, u"S"_s, {{.posnum = 1, .quantity = 1}}));
        else if (state != State::Idle)
            sellOnCard(u"R"_s);
        if (state == State::Discounted)
            expectDone(checkout().spend(50));
        if (state == State::SpendingUnknown) {
            loseTheNextSpending();
            EXPECT_FALSE(checkout().spend(50).ok);
        }
        if (state == State::Paying || state == State::Settled || state == State::Abandoned)
            till::setMarkedState(*checkout().receipt(), state); // as a till that died then left it
        ASSERT_EQ(checkout().state(), state);
    }
    void loseTheNextSpending()
    {
        RestClient client;
        client.post(QUrl(m_till.serviceUrl() + u"stand/faults"_s),
                    R"({"operation":"POST /v2/partner/operation/force-payment-c2b",
                        "fault":"apply-then-drop"})",
                    {});
        ASSERT_EQ(client.getErrorCode(), 0);
    }
    till::Result attempt(Action action)
    {
        switch (action) {
        case Action::OpenSale:
            return checkout().openSale(u"N"_s, lines);
        case Action::OpenReturn:
            return checkout().openReturn(u"N"_s, u"S"_s, {{.posnum = 1, .quantity = 0.5}});
        case Action::SetLines:
            return checkout().setLines({lines.first()});
        case Action::Identify:
            return checkout().identifyByCard(card);
        case Action::RefreshCard:
            return checkout().refreshCard();
        case Action::RequestLimit:
            return checkout().requestLimit();
        case Action::Spend:
            return checkout().spend(50);
        case Action::ForgetPoints:
            return checkout().forgetPoints();
        case Action::RollBack:
            return checkout().rollBack();
        case Action::Pay:
            return checkout().pay();
        }
        throw std::logic_error("an action that nobody knows");
    }

    const QString card = u"2000000000017"_s;
    const QList<till::Line> lines{{.articul = u"1"_s, .name = u"Чай"_s, .price = 200, .quantity = 2},
                                  {.articul = u"2"_s, .name = u"Мёд"_s, .price = 300, .quantity = 1}};

private:
    QTemporaryDir m_directory;
    NoDialogs m_cashier;
    till::Till m_till;
};

TEST_P(CheckoutState, AllowsEachActionOrSaysWhyNot)
{
    const auto [state, action] = GetParam();
    const Fate fate = fates().at(state).at(static_cast<int>(action));
    ASSERT_NO_FATAL_FAILURE(bringTo(state));
    const QStringList before = contentOf(checkout());
    EXPECT_EQ(checkout().obstacleTo(action), fate.refusal);

    const till::Result result = attempt(action);

    EXPECT_EQ(result.error, fate.refusal);
    EXPECT_EQ(result.ok, fate.leadsTo.has_value());
    EXPECT_EQ(checkout().state(), fate.leadsTo.value_or(state));
    if (!fate.leadsTo) {
        EXPECT_EQ(contentOf(checkout()), before);
    }
}

INSTANTIATE_TEST_SUITE_P(Every, CheckoutState,
                         testing::Combine(testing::ValuesIn(till::states), testing::ValuesIn(till::actions)),
                         [](const auto& instance) {
                             return testing::PrintToString(std::get<0>(instance.param)) + "_" +
                                    testing::PrintToString(std::get<1>(instance.param));
                         });

} // namespace checkouttest
