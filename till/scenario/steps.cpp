#include "till/scenario/steps.h"

#include "till/scenario/stepplays.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace till {

namespace {

QList<Member> positionMembers()
{
    using enum Member::Type;
    using enum Member::Need;
    return {
        {u"articul"_s, Text, Required, u"the article's code"_s},
        {u"name"_s, Text, Required, u"what is printed"_s},
        {u"price"_s, Number, Required, u"money for one unit"_s},
        {u"quantity"_s, Number, Required, u"units"_s},
        {u"discount"_s, Number, Optional, u"money off the position"_s},
    };
}

QList<Member> returnMembers()
{
    using enum Member::Type;
    using enum Member::Need;
    return {
        {u"posnum"_s, Integer, Required, u"the position's number in the sale, from 1"_s},
        {u"quantity"_s, Number, Required, u"units"_s},
    };
}

QList<StepKind> table()
{
    using enum Member::Type;
    using enum Member::Need;
    return {
        {u"openSale"_s,
         u"open a sale receipt"_s,
         {{u"id"_s, Text, Required, u"the receipt's identifier"_s},
          {u"positions"_s, List, Required, u"what is sold, numbered from 1"_s, positionMembers()}},
         Action::OpenSale,
         plays::openSale},
        {u"openReturn"_s,
         u"open a return of a closed sale"_s,
         {{u"id"_s, Text, Required, u"the return's identifier"_s},
          {u"of"_s, Text, Required, u"the sale's identifier"_s},
          {u"positions"_s, List, Required, u"what comes back"_s, returnMembers()}},
         Action::OpenReturn,
         plays::openReturn},
        {u"setPositions"_s,
         u"put other positions in the place of the open sale's"_s,
         {{u"positions"_s, List, Required, u"what is bought"_s, positionMembers()}},
         Action::SetLines,
         plays::setPositions},
        {u"identifyByCard"_s,
         u"present a card by its number"_s,
         {{u"card"_s, Text, Required, u"the card number"_s}},
         Action::Identify,
         plays::identifyByCard},
        {u"identifyByPhone"_s,
         u"find the customer's card by phone number"_s,
         {{u"phone"_s, Text, Required, u"digits only, such as 79001234567"_s},
          {u"choose"_s, Integer, Optional, u"which card of a list, from 0; -1 closes the list"_s}},
         Action::Identify,
         plays::identifyByPhone},
        {u"getCardInfo"_s,
         u"ask again for the card on the receipt"_s,
         {},
         Action::RefreshCard,
         plays::getCardInfo},
        {u"request"_s, u"ask how many points may be spent"_s, {}, Action::RequestLimit, plays::request},
        {u"spendPoints"_s,
         u"spend points as a discount"_s,
         {{u"points"_s, Number, Required, u"points that the customer wants to spend"_s},
          {u"code"_s, Text, Optional, u"what is entered when a code is asked for; without it, nothing is"_s}},
         Action::Spend,
         plays::spendPoints},
        {u"cancel"_s,
         u"forget the points of the receipt without undoing anything"_s,
         {},
         Action::ForgetPoints,
         plays::cancel},
        {u"rollback"_s,
         u"undo what was done for the receipt and abandon it"_s,
         {},
         Action::RollBack,
         plays::rollback},
        {u"pay"_s, u"close the receipt, a sale or a return"_s, {}, Action::Pay, plays::pay},
        {u"deliver"_s, u"send the messages of the outgoing queue"_s, {}, std::nullopt, plays::deliver},
        {u"service"_s,
         u"stop or start the stand of this till"_s,
         {{u"up"_s, Flag, Required, u"false: the service cannot be reached from now on"_s}},
         std::nullopt,
         plays::service},
        {u"restart"_s,
         u"lose everything that is not on disk and come back"_s,
         {},
         std::nullopt,
         plays::restart},
    };
}

} // namespace

const QList<StepKind>& stepKinds()
{
    static const QList<StepKind> kinds = table();
    return kinds;
}

QStringList stepsIn(State state)
{
    QStringList names;
    for (const StepKind& kind : stepKinds()) {
        if (kind.action && obstacle(*kind.action, state).isEmpty())
            names.append(kind.name);
    }
    return names;
}

const StepKind* findStepKind(const QString& name)
{
    const auto& kinds = stepKinds();
    const auto named = [&name](const StepKind& kind) { return kind.name == name; };
    const auto kind = std::find_if(kinds.begin(), kinds.end(), named);
    return kind == kinds.end() ? nullptr : &*kind;
}

} // namespace till
