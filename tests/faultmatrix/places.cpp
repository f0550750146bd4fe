#include "tests/faultmatrix/places.h"

#include <ostream>

using namespace Qt::StringLiterals;

namespace faulttest {

namespace {

using enum till::State;
using Verb = Strike::Verb;

// What is seen.

Seen done(till::State state, const QString& told = {}) { return {.text = told, .state = state}; }

Seen failed(const QString& text, till::State state) { return {.ok = false, .text = text, .state = state}; }

/// Of a query whose hollow answer is told in words of its own.
Seen queried(const Strike& strike, const QString& hollow)
{
    if (strike.proof == Proof::Done)
        return done(Sale, u"300.00"_s);
    return failed(strike.proof == Proof::Hollow ? hollow : strike.toCashier(), Sale);
}

/// Of a request that moves nothing, and can be made again.
Seen harmless(const Strike& strike, const Seen& answered)
{
    return strike.isAnswered() ? answered : failed(strike.toCashier(), Sale);
}

const QString newCard = u"2000000000062"_s;
const QString doubt =
    u"Чек R: исход списания 50,00 баллов неизвестен, повторите списание той же суммы или отмените чек"_s;

Seen inDoubt(const Strike& strike) { return failed(strike.toCashier() + u'\n' + doubt, SpendingUnknown); }

Seen hollowSpending()
{
    return failed(u"Служба не сообщила, на какие позиции списаны баллы. "_s + doubt, SpendingUnknown);
}

/// Of the request that moves the points: whoever refuses it has not moved any.
Seen spending(const Strike& strike)
{
    switch (strike.proof) {
    case Proof::Done:
        return done(Discounted);
    case Proof::Hollow:
        return hollowSpending();
    case Proof::Unknown:
        return inDoubt(strike);
    default:
        return failed(strike.toCashier(), Sale);
    }
}

/// Of the same when the first answer was lost: only a judgement of the request speaks for the first one too.
Seen spendingAgain(const Strike& strike)
{
    if (strike.proof == Proof::Done)
        return done(Discounted);
    if (strike.proof == Proof::Hollow)
        return hollowSpending();
    return strike.proof == Proof::Rejected ? failed(strike.toCashier(), Sale) : inDoubt(strike);
}

/// Of a confirmation when an earlier one was lost: it confirms another approval.
Seen confirmationAgain(const Strike& strike)
{
    return strike.proof == Proof::Rejected ? inDoubt(strike) : spendingAgain(strike);
}

/// Of an order that can wait: the cashier is done with the receipt, whatever the answer.
Seen put(const Strike& strike)
{
    Seen seen = done(Idle);
    seen.waiting = strike.isAnswered() ? 0 : 1;
    return seen;
}

/// The cashier reads how many points that gave, or that it will be known later.
Seen earning(const Strike& strike)
{
    Seen seen = put(strike);
    seen.text = seen.waiting > 0 ? u"later"_s : strike.proof == Proof::Done ? u"20.00"_s : u"0.00"_s;
    return seen;
}

/// Of the first of so many messages of one receipt: the others wait behind it.
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

// What is done.

Tried identify(Scene& scene) { return scene.identify(Scene::card); }
Tried spend(Scene& scene) { return {scene.checkout().spend(Scene::points)}; }
Tried deliver(Scene& scene) { return {scene.deliver()}; }

void sell(Scene& scene) { scene.sell(); }
void sellOnCard(Scene& scene) { scene.sellOnCard(); }

void sellForPoints(Scene& scene)
{
    scene.sellOnCard();
    scene.spend();
}

/// Has the operation fail that would make a message needless.
void loseNext(Scene& scene, const QString& operation, const std::function<void()>& attempt)
{
    scene.arm(operation, u"drop"_s);
    attempt();
    EXPECT_EQ(scene.fired(), 1);
    scene.disarm();
}

void loseSpending(Scene& scene, const QString& operation)
{
    scene.sellOnCard();
    scene.arm(operation, u"apply-then-drop"_s);
    EXPECT_FALSE(spend(scene).ok);
    EXPECT_EQ(scene.checkout().state(), SpendingUnknown);
    scene.disarm();
}

void identifyAndPay(Scene& scene)
{
    if (!scene.checkout().card())
        Scene::expectDone(identify(scene));
    scene.pay();
}

void spendAndPay(Scene& scene)
{
    if (scene.checkout().state() != Discounted)
        scene.spend();
    scene.pay();
}

void rollBack(Scene& scene)
{
    scene.rollBack();
    scene.deliverAll();
}

void deliverAll(Scene& scene) { scene.deliverAll(); }

// What it comes to: points pay up to half of each position, and what is paid in money earns 5 percent.

const QString earned = u"earning 20.00, balance 320.00, R paid, less 0.00 and 0.00"_s;
const QString spentAndEarned =
    u"spending 50.00, earning 17.50, balance 267.50, R paid, less 37.50 and 12.50"_s;
const QString nothing = u"balance 300.00"_s;
const QString cancelled = u"spending 50.00, cancellation 50.00, balance 300.00"_s;

QList<Place> queries()
{
    return {
        {.name = "CardInfo",
         .operation = u"card-info"_s,
         .path = u"/card-info"_s,
         .verb = Verb::Get,
         .prepare = sell,
         .act = identify,
         .expected =
             [](const Strike& strike) { return queried(strike, u"Не удалось получить статус карты"_s); },
         .goOn = identifyAndPay,
         .books = earned},
        {.name = "AccountOfANewCard",
         .operation = u"user-account"_s,
         .path = u"/user-account/"_s,
         .verb = Verb::Get,
         .prepare = sell,
         .act = [](Scene& scene) { return scene.identify(newCard); },
         .expected = [](const Strike& strike) { return harmless(strike, done(Sale, u"0.00"_s)); },
         .goOn =
             [](Scene& scene) {
                 if (!scene.checkout().card())
                     Scene::expectDone(scene.identify(newCard));
                 scene.rollBack(); // it can neither earn nor spend yet
             },
         .books = nothing},
        {.name = "CustomerOfACard",
         .operation = u"user-info-by-card"_s,
         .path = u"/user/card/"_s,
         .verb = Verb::Get,
         .prepare = sell,
         .act = identify,
         .expected =
             [](const Strike& strike) {
                 return queried(strike, u"В ответе от сервера не найден баланс карты"_s);
             },
         .goOn = identifyAndPay,
         .books = earned},
        {.name = "CardsOfAPhone",
         .operation = u"user-info-by-phone"_s,
         .path = u"/user/phone/"_s,
         .verb = Verb::Get,
         .prepare = sell,
         .act = [](Scene& scene) { return scene.identifyByPhone(u"79005550001"_s); },
         .expected =
             [](const Strike& strike) { return queried(strike, u"Нет карт для телефона '79005550001'"_s); },
         .goOn = identifyAndPay,
         .books = earned},
    };
}

QList<Place> spendings()
{
    const Place limit{
        .name = "Limit",
        .operation = u"pre-payment"_s,
        .path = u"/pre-payment"_s,
        .prepare = sellOnCard,
        .act = [](Scene& scene) { return scene.requestLimit(); },
        .expected =
            [](const Strike& strike) {
                return harmless(strike, done(Sale, strike.proof == Proof::Hollow ? u"0.00"_s : u"200.00"_s));
            },
        .goOn = spendAndPay,
        .books = spentAndEarned};
    Place before = limit;
    before.name = "LimitBeforeASpending";
    before.act = spend;
    before.expected = [](const Strike& strike) { return harmless(strike, done(Discounted)); };

    Place force = before;
    force.name = "Spending";
    force.operation = u"force-payment-c2b"_s;
    force.path = u"/force-payment-c2b"_s;
    force.expected = spending;
    Place forceAgain = force;
    forceAgain.name = "SpendingAskedAgain";
    forceAgain.prepare = [](Scene& scene) { loseSpending(scene, u"force-payment-c2b"_s); };
    forceAgain.expected = spendingAgain;
    Place forceLeft = force;
    forceLeft.name = "SpendingThenRolledBack";
    forceLeft.goOn = rollBack;
    forceLeft.books = cancelled;
    forceLeft.undone = u"cancellation 0.00, balance 300.00"_s;

    Place payment = before;
    payment.name = "SpendingWithACode";
    payment.operation = u"payment-c2b"_s;
    payment.path = u"/payment-c2b"_s;
    payment.asksForCode = true;
    payment.expected = [](const Strike& strike) {
        return strike.proof == Proof::Hollow ? failed(u"Запрос на списание не найден"_s, Sale)
                                             : harmless(strike, done(Discounted));
    };
    Place confirm = force;
    confirm.name = "Confirmation";
    confirm.operation = u"confirm-payment-c2b"_s;
    confirm.path = u"/confirm-payment-c2b"_s;
    confirm.asksForCode = true;
    Place confirmAgain = confirm;
    confirmAgain.name = "ConfirmationAskedAgain";
    confirmAgain.prepare = [](Scene& scene) { loseSpending(scene, u"confirm-payment-c2b"_s); };
    confirmAgain.expected = confirmationAgain;
    Place confirmLeft = forceLeft;
    confirmLeft.name = "ConfirmationThenRolledBack";
    confirmLeft.operation = confirm.operation;
    confirmLeft.path = confirm.path;
    confirmLeft.asksForCode = true;
    return {limit, before, force, forceAgain, forceLeft, payment, confirm, confirmAgain, confirmLeft};
}

QList<Place> ordersThatCanWait()
{
    return {
        {.name = "Earning",
         .operation = u"payment-b2c"_s,
         .path = u"/payment-b2c"_s,
         .prepare = sellOnCard,
         .act = [](Scene& scene) { return scene.tryToPay(); },
         .expected = earning,
         .goOn = deliverAll,
         .books = earned,
         .untold = u"R, card …0055: earned 0.00 at the till, 20.00 in the ledger"_s},
        {.name = "Cancellation",
         .operation = u"cancel-payment"_s,
         .path = u"/cancel-payment"_s,
         .prepare = sellForPoints,
         .act = [](Scene& scene) { return Tried{scene.checkout().rollBack()}; },
         .expected = put,
         .goOn = deliverAll,
         .books = cancelled},
    };
}

QList<Place> messages()
{
    const Place queued{.name = "EarningThatWaited",
                       .operation = u"payment-b2c"_s,
                       .path = u"/payment-b2c"_s,
                       .isQueued = true,
                       .prepare =
                           [](Scene& scene) {
                               scene.sellOnCard();
                               loseNext(scene, u"payment-b2c"_s, [&] { scene.pay(); });
                           },
                       .act = deliver,
                       .expected = [](const Strike& strike) { return delivered(strike, 1); },
                       .goOn = deliverAll,
                       .books = earned};
    Place cancellation = queued;
    cancellation.name = "CancellationThatWaited";
    cancellation.operation = u"cancel-payment"_s;
    cancellation.path = u"/cancel-payment"_s;
    cancellation.prepare = [](Scene& scene) {
        sellForPoints(scene);
        loseNext(scene, u"cancel-payment"_s, [&] { scene.rollBack(); });
    };
    cancellation.books = cancelled;

    Place refusals = queued;
    refusals.name = "RefusalsOfAReturn";
    refusals.operation = u"refuse-payment"_s;
    refusals.path = u"/refuse-payment"_s;
    refusals.prepare = [](Scene& scene) {
        sellForPoints(scene);
        scene.pay();
        scene.takeBack({{.posnum = 1, .quantity = 2}, {.posnum = 2, .quantity = 1}});
        scene.pay();
    };
    refusals.expected = [](const Strike& strike) { return delivered(strike, 2); };
    refusals.books = u"spending 50.00, earning 17.50, refusal 17.50, refusal 50.00, balance 300.00, "
                     "R paid, less 37.50 and 12.50"_s;

    Place report = queued;
    report.name = "SaleWithoutACard";
    report.operation = u"receipt"_s;
    report.path = u"/receipt"_s;
    report.prepare = [](Scene& scene) {
        scene.sell();
        scene.pay();
    };
    report.books = u"POST R of 400.00, balance 300.00, R paid, less 0.00 and 0.00"_s;
    Place correction = report;
    correction.name = "ReturnWithoutACard";
    correction.prepare = [](Scene& scene) {
        scene.sell();
        scene.pay();
        scene.deliverAll();
        scene.takeBack({{.posnum = 2, .quantity = 1}});
        scene.pay();
    };
    correction.expected = refusals.expected;
    correction.books =
        u"POST R of 400.00, PUT V of 400.00, POST V of 300.00, balance 300.00, R paid, less 0.00 and 0.00"_s;
    return {queued, cancellation, refusals, report, correction};
}

} // namespace

const QList<Place>& places()
{
    static const QList<Place> all = queries() + spendings() + ordersThatCanWait() + messages();
    return all;
}

void PrintTo(const Place& place, std::ostream* out) { *out << place.name; }

} // namespace faulttest
