#pragma once

#include "till/conformance/tester.h"

/// What is played to judge the promises. Each leaves no receipt open, and nothing that is not given back.
namespace till::conformance {

/// Who the customer is, what may be spent, and what is refused. False when the card is not taken: then
/// nothing else can be judged.
bool playCustomer(Tester& tester);
void playMalformed(Tester& tester);

void playSpending(Tester& tester);
void playRefusedSpendings(Tester& tester);
void playLateSpending(Tester& tester);
void playOddSpending(Tester& tester);
/// At a till that asks for codes.
void playCode(Tester& tester);

void playEarning(Tester& tester);
void playAnonymous(Tester& tester);

/// 150.00 of one article in two pieces, and 250.00 of another.
QList<Line> usualLines();
/// Parts of goods, of kopecks, and a discount.
QList<Line> oddLines();

} // namespace till::conformance
