#include "till/checkout/receiptmarks.h"

#include <QHash>

using namespace Qt::StringLiterals;

namespace till {

namespace {

const QString ownName = u"Till"_s;
const QString stage = u"stage"_s;
const QString applied = u"appliedImpacts"_s;

// As receipts on the disk have them.
const QHash<State, QString>& names()
{
    static const QHash<State, QString> all{
        {State::Paying, u"paying"_s}, {State::Settled, u"settled"_s}, {State::Abandoned, u"abandoned"_s}};
    return all;
}

} // namespace

std::optional<State> markedState(const AbstractDocument& receipt)
{
    const QString name = receipt.getPluginData(ownName, stage, {}).toString();
    for (auto known = names().cbegin(); known != names().cend(); ++known) {
        if (known.value() == name)
            return known.key();
    }
    return std::nullopt;
}

void setMarkedState(AbstractDocument& receipt, std::optional<State> state)
{
    receipt.setPluginData(ownName, stage, state ? names().value(*state) : QString());
}

int appliedImpacts(const AbstractDocument& receipt)
{
    return receipt.getPluginData(ownName, applied, 0).toInt();
}

void setAppliedImpacts(AbstractDocument& receipt, int impacts)
{
    receipt.setPluginData(ownName, applied, impacts);
}

} // namespace till
