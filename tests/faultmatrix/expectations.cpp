#include "tests/faultmatrix/expectations.h"

using namespace Qt::StringLiterals;

namespace faulttest {

using enum till::State;

namespace {

const QString doubt =
    u"Чек R: исход списания 50,00 баллов неизвестен, повторите списание той же суммы или отмените чек"_s;

Seen hollowSpending()
{
    return failed(u"Служба не сообщила, на какие позиции списаны баллы. "_s + doubt, SpendingUnknown);
}

// Points pay up to half of each position, tea for 300.00 and honey for 100.00; what is paid in money earns 5
// percent.
const QString inMoney = u"earning 20.00, balance 320.00, R paid, less 0.00 and 0.00"_s;

} // namespace

Seen done(till::State state, const QString& told) { return {.text = told, .state = state}; }

Seen failed(const QString& text, till::State state) { return {.ok = false, .text = text, .state = state}; }

Seen inDoubt(const QString& text) { return failed(text + u'\n' + doubt, SpendingUnknown); }

Seen queried(const Strike& strike, const QString& hollow)
{
    if (strike.proof == Proof::Done)
        return done(Sale, u"300.00"_s);
    return failed(strike.proof == Proof::Hollow ? hollow : strike.toCashier(), Sale);
}

Seen harmless(const Strike& strike, const Seen& answered)
{
    return strike.isAnswered() ? answered : failed(strike.toCashier(), Sale);
}

Seen harmlessInDoubt(const Strike& strike)
{
    return strike.isAnswered() ? done(Discounted) : inDoubt(strike.toCashier());
}

Seen spending(const Strike& strike)
{
    switch (strike.proof) {
    case Proof::Done:
        return done(Discounted);
    case Proof::Hollow:
        return hollowSpending();
    case Proof::Unknown:
        return inDoubt(strike.toCashier());
    default:
        return failed(strike.toCashier(), Sale);
    }
}

Seen spendingAgain(const Strike& strike)
{
    if (strike.proof == Proof::Done)
        return done(Discounted);
    if (strike.proof == Proof::Hollow)
        return hollowSpending();
    return strike.proof == Proof::Rejected ? failed(strike.toCashier(), Sale) : inDoubt(strike.toCashier());
}

Seen confirmationAgain(const Strike& strike)
{
    return strike.proof == Proof::Rejected ? inDoubt(strike.toCashier()) : spendingAgain(strike);
}

Seen put(const Strike& strike)
{
    Seen seen = done(Idle);
    seen.waiting = strike.isAnswered() ? 0 : 1;
    return seen;
}

Seen earning(const Strike& strike)
{
    Seen seen = put(strike);
    seen.text = seen.waiting > 0 ? u"later"_s : strike.proof == Proof::Done ? u"20.00"_s : u"0.00"_s;
    return seen;
}

Seen delivered(const Strike& strike, int messages)
{
    Seen seen = done(Idle);
    if (strike.isAnswered())
        return seen;
    seen.ok = false;
    seen.parked = strike.parks() ? 1 : 0;
    seen.waiting = messages - seen.parked;
    seen.isSuspended = strike.proof == Proof::Credentials;
    seen.text = u"В очереди осталось сообщений: %1"_s.arg(messages);
    if (seen.parked > 0)
        seen.text += u", из них отклонено службой: 1"_s;
    seen.text += u" (%1)"_s.arg(strike.toAdministrator());
    return seen;
}

End earned(const Strike& /*strike*/) { return {inMoney}; }

End earnedAtOnce(const Strike& strike)
{
    if (strike.proof == Proof::Hollow)
        return {inMoney, u"R, card …0055: earned 0.00 at the till, 20.00 in the ledger"_s};
    return {inMoney};
}

End spentAndEarned(const Strike& /*strike*/)
{
    return {u"spending 50.00, earning 17.50, balance 267.50, R paid, less 37.50 and 12.50"_s};
}

End cancelled(const Strike& /*strike*/) { return {u"spending 50.00, cancellation 50.00, balance 300.00"_s}; }

// A spending that comes behind its cancellation is refused.
End cancelledIfItWasDone(const Strike& strike)
{
    return strike.tookEffect() ? cancelled(strike) : End{u"cancellation 0.00, balance 300.00"_s};
}

// A service that refuses what it has done is not seen through, but found out.
End paidInMoneyWhenRefused(const Strike& strike)
{
    if (spending(strike).state != Sale)
        return spentAndEarned(strike);
    if (!strike.tookEffect())
        return {inMoney};
    return {u"spending 50.00, earning 20.00, balance 270.00, R paid, less 0.00 and 0.00"_s,
            u"R, card …0055: spent 0.00 at the till, 50.00 in the ledger"_s};
}

} // namespace faulttest
