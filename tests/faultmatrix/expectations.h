#pragma once

#include "tests/faultmatrix/scene.h"
#include "tests/faultmatrix/strikes.h"

namespace faulttest {

// What cashier and administrator see of a request that met a fault. Sale R is of 400.00, the card has 300.00
// points, and 50.00 are to be spent.

/// What is seen when all is well.
Seen done(till::State state, const QString& told = {});
/// The operation failed, and the receipt is in that state.
Seen failed(const QString& text, till::State state);
/// Nobody knows whether the points are spent.
Seen inDoubt(const QString& text);

/// Of a query whose hollow answer is told in words of its own.
Seen queried(const Strike& strike, const QString& hollow);
/// Of a request that moves nothing, and can be made again.
Seen harmless(const Strike& strike, const Seen& answered);
/// The same while the outcome of an earlier spending is not known.
Seen harmlessInDoubt(const Strike& strike);
/// Of the request that moves the points: whoever refuses it has not moved any.
Seen spending(const Strike& strike);
/// Of the same when the first answer was lost: only a judgement of the request speaks for the first one too.
Seen spendingAgain(const Strike& strike);
/// Of a confirmation when an earlier one was lost: it confirms another approval.
Seen confirmationAgain(const Strike& strike);
/// Of an order that can wait: the cashier is done with the receipt, whatever the answer.
Seen put(const Strike& strike);
/// The same of an earning, of which the cashier reads how many points that gave, or that it will be known
/// later.
Seen earning(const Strike& strike);
/// Of the first of so many messages of one receipt: the others wait behind it.
Seen delivered(const Strike& strike, int messages);

/// What all comes to when the fault is gone, and cashier or administrator have gone on.
struct End
{
    QString books;
    QString differences = {}; ///< between till and books, as the till's reconciliation tells them
};

End earned(const Strike& strike);
End earnedAtOnce(const Strike& strike); ///< the till reads in the answer how much
End spentAndEarned(const Strike& strike);
End cancelled(const Strike& strike);
/// Of a spending that was struck and then rolled back, perhaps before it took effect.
End cancelledIfItWasDone(const Strike& strike);
/// Of a spending whose refusal was believed.
End paidInMoneyWhenRefused(const Strike& strike);

} // namespace faulttest
