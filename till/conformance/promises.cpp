#include "till/conformance/promises.h"

using namespace Qt::StringLiterals;

namespace till::conformance {

const QList<Promise>& promises()
{
    static const QList<Promise> table{
        {u"unknown-card"_s, u"A card that nobody has is refused with a status from 400 to 499."_s,
         u"A mistyped number looks like a customer, or like a service that is down."_s},
        {u"refusal-words"_s, u"A refusal carries the words that the cashier is to read."_s,
         u"The cashier reads only that the service could not be asked, and cannot tell the customer why."_s},
        {u"odd-card"_s, u"A number that cannot be a card's is refused with a status from 400 to 499."_s,
         u"A wrong barcode looks like a service that is down."_s},
        {u"card"_s, u"The card has a status that is a whole number from 0 to 3."_s,
         u"The customer cannot be served: the card is not taken."_s},
        {u"customer"_s, u"The customer's first account has a balance that is a number."_s,
         u"The card is not taken, or the cashier sees a balance of 0 and spends nothing."_s},
        {u"password"_s, u"Without the right user and password every answer is 401."_s,
         u"Anybody may spend customers' points; a wrong password looks like refused receipts, which then "
         "wait for the administrator one by one."_s},
        {u"phone"_s, u"The customer's phone number leads to the card."_s,
         u"A customer who left the card at home cannot be found."_s},
        {u"unknown-phone"_s, u"A phone number that nobody has gives an empty list, and no error."_s,
         u"The cashier reads of a failure where there is only no such customer."_s},
        {u"limits"_s, u"The limits of a receipt are numbers that are not negative, one for each position."_s,
         u"The cashier offers the customer too many points, or none."_s},
        {u"limits-odd"_s, u"Receipts with fractions of goods and of kopecks have limits."_s,
         u"What is sold by weight cannot be paid with points."_s},
        {u"limits-large"_s, u"A receipt of hundreds of positions and of millions has limits."_s,
         u"A wholesale customer cannot pay with points."_s},
        {u"limits-free"_s, u"Asking for limits, however often, moves no points."_s,
         u"Customers lose points by being asked."_s},
        {u"malformed"_s, u"A request that makes no sense is refused with a status from 400 to 499."_s,
         u"The queue sends a broken message for ever, where the administrator should look at it."_s},
        {u"cancel-unseen"_s, u"The cancellation of a spending that never came is taken."_s,
         u"A receipt whose spending was lost on the way cannot be rolled back for good: its cancellation "
         "waits for the administrator."_s},
        {u"spend-late"_s, u"A spending that comes after its cancellation takes no points."_s,
         u"A customer loses points for a receipt that was rolled back long ago."_s},
        {u"spend-too-much"_s, u"More points than the card has are refused, and none are taken."_s,
         u"The shop gives goods for points that do not exist."_s},
        {u"spend-negative"_s, u"A negative number of points is refused."_s,
         u"A mistake at a till gives points away."_s},
        {u"spend"_s,
         u"A spending takes the points and says which positions they pay, together their worth."_s,
         u"The cashier reads that the outcome is not known, and cannot close the receipt."_s},
        {u"spend-again"_s, u"The same spending asked for again gets the same answer and takes nothing."_s,
         u"Each lost answer costs the customer the points twice."_s},
        {u"cancel"_s, u"A cancellation gives all points of the spending back."_s,
         u"A receipt that is rolled back costs the customer the points."_s},
        {u"cancel-again"_s, u"The same cancellation again is taken and gives nothing back."_s,
         u"Each lost answer to a rollback gives points away, or stops the queue."_s},
        {u"spend-odd"_s, u"Parts of points are spent on parts of goods to the hundredth."_s,
         u"The cashier reads that the outcome is not known, and cannot close the receipt."_s},
        {u"code-asked"_s, u"A spending with a code is answered by the number of its approval."_s,
         u"The customer gets a code that fits nothing."_s},
        {u"code-wrong"_s, u"A wrong code is refused, and no points are taken."_s,
         u"Anybody who finds a card spends its points; or the cashier cannot tell a mistyped code from a "
         "failure."_s},
        {u"code"_s, u"The right code takes the points and says which positions they pay."_s,
         u"A customer who has the code cannot pay with points."_s},
        {u"code-again"_s, u"The same code again gets the same answer and takes nothing."_s,
         u"Each lost answer costs the customer the points twice."_s},
        {u"earn"_s, u"A paid receipt earns a number of points that is not negative."_s,
         u"The cashier reads that nothing was earned, or the receipt waits in the queue."_s},
        {u"earn-again"_s, u"The same earning again gets the same answer and gives nothing."_s,
         u"Each lost answer gives the customer the points twice."_s},
        {u"refuse"_s, u"A part of a sale that comes back takes its part of spending and earning back."_s,
         u"The return is paid out, but its message to the service waits for the administrator."_s},
        {u"refuse-again"_s, u"The same refusal again is taken and moves nothing."_s,
         u"Each lost answer moves the points of a return twice."_s},
        {u"refuse-rest"_s, u"What was left of the sale takes all that was left of the points back."_s,
         u"Customers gain or lose points with every return."_s},
        {u"refuse-unknown"_s, u"The refusal of an operation that never was is refused, from 400 to 499."_s,
         u"The queue sends a wrong message for ever, or the books take back what nobody gave."_s},
        {u"anonymous"_s, u"A receipt without a card is taken."_s,
         u"Receipts of strangers pile up in the till's queue, and an alarm comes on."_s},
        {u"anonymous-back"_s, u"The return of a receipt without a card is taken."_s,
         u"Returns of strangers pile up in the till's queue, and an alarm comes on."_s},
        {u"anonymous-again"_s, u"The same receipt without a card is taken again."_s,
         u"One lost answer and the receipt waits for the administrator."_s},
        {u"given-back"_s, u"Every request to take something back was taken at once."_s,
         u"Rollbacks and returns wait in the queue, and points are missing meanwhile."_s},
        {u"balance"_s, u"When all is taken back, the card has the points that it had."_s,
         u"Customers gain or lose points, a little with every receipt."_s},
        {u"answers"_s, u"Every answer was whole and the service's own, and every refusal had a message."_s,
         u"The cashier reads that the service could not be asked; what must not be lost is asked again."_s},
        {u"in-time"_s, u"Every answer came within the time given to it."_s,
         u"Cashier and queue of customers stand and wait."_s},
    };
    return table;
}

QString verdictText(Verdict verdict)
{
    switch (verdict) {
    case Verdict::Kept:
        return u"kept"_s;
    case Verdict::Differs:
        return u"differs"_s;
    case Verdict::Open:
        break;
    }
    return u"not judged"_s;
}

} // namespace till::conformance
