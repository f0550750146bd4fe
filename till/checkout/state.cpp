#include "till/checkout/state.h"

#include <cstddef>

namespace till {

namespace {

/// What is said to the cashier. There is none by default, so that the table lacks no row and no cell.
struct Obstacle
{
    constexpr Obstacle(QStringView name, QStringView words)
        : id(name)
        , text(words)
    {}
    QStringView id;
    QStringView text;
};

constexpr Obstacle none{QStringView(), QStringView()};
constexpr Obstacle noReceipt{u"tillNoReceipt", u"Чек не открыт: сначала откройте его"};
constexpr Obstacle notClosed{u"tillNotClosed",
                             u"Чек %1 не закрыт, в нём списаны баллы: оплатите его или отмените"};
constexpr Obstacle ofReturn{u"tillOfReturn", u"Позиции возврата не меняются: отмените его и начните заново"};
constexpr Obstacle cardOfSale{u"tillCardOfSale", u"Карта возврата — та же, что в продаже: другую не указать"};
constexpr Obstacle noSpending{u"tillNoSpending", u"Чек %1 — возврат: баллы в нём не списываются"};
constexpr Obstacle linesSettled{u"tillLinesSettled",
                                u"Баллы уже списаны: позиции не изменить. Оплатите чек или отмените его"};
// Another card's record would not know the numbers of what was done with this one.
constexpr Obstacle cardSettled{u"tillCardSettled",
                               u"В чеке уже списаны баллы: карту не сменить. Отмените чек"};
constexpr Obstacle spent{
    u"tillSpent", u"В чеке уже списаны баллы: второе списание сервис не отличит от первого. Отмените чек"};
constexpr Obstacle unknown{
    u"tillUnknown",
    u"Чек %1: исход списания %2 баллов неизвестен, повторите списание той же суммы или отмените чек"};
constexpr Obstacle paying{u"tillPaying", u"Чек %1 уже оплачивается: завершите оплату"};
constexpr Obstacle leaving{u"tillLeaving", u"Чек %1 отменяется: завершите отмену"};

// A new receipt may push an unpaid one aside, but not one that the service knows of.
// clang-format off
constexpr std::array<std::array<Obstacle, states.size()>, actions.size()> table{{
    //                 Idle       Sale  Discounted    Return      SpendingUnknown  Paying  Settled  Abandoned
    /* OpenSale */     {none,      none, notClosed,    none,       unknown,         paying, paying,  leaving},
    /* OpenReturn */   {none,      none, notClosed,    none,       unknown,         paying, paying,  leaving},
    /* SetLines */     {noReceipt, none, linesSettled, ofReturn,   unknown,         paying, paying,  leaving},
    /* Identify */     {noReceipt, none, cardSettled,  cardOfSale, unknown,         paying, paying,  leaving},
    /* RefreshCard */  {noReceipt, none, none,         none,       none,            none,   none,    none},
    /* RequestLimit */ {noReceipt, none, none,         none,       unknown,         paying, paying,  leaving},
    /* Spend */        {noReceipt, none, spent,        noSpending, none,            paying, paying,  leaving},
    /* ForgetPoints */ {none,      none, none,         none,       unknown,         paying, paying,  leaving},
    /* RollBack */     {noReceipt, none, none,         none,       none,            paying, paying,  none},
    /* Pay */          {noReceipt, none, none,         none,       unknown,         none,   none,    leaving},
}};
// clang-format on

} // namespace

tr::Tr obstacle(Action action, State state)
{
    const Obstacle& one = table.at(static_cast<std::size_t>(action)).at(static_cast<std::size_t>(state));
    return {one.id.toString(), one.text.toString()};
}

} // namespace till
