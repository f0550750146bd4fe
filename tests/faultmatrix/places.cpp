#include "tests/faultmatrix/places.h"

#include <gmock/gmock.h>

#include <ostream>

using namespace Qt::StringLiterals;

namespace faulttest {

using enum till::State;
using Verb = Strike::Verb;

namespace {

const QString newCard = u"2000000000062"_s;

Tried identify(Scene& scene) { return scene.identify(Scene::card); }
Tried spend(Scene& scene) { return {scene.checkout().spend(Scene::points)}; }
Tried deliver(Scene& scene) { return {scene.deliver()}; }

// How a till comes to the place.

void sell(Scene& scene) { scene.sell(); }
void sellOnCard(Scene& scene) { scene.sellOnCard(); }

void sellForPoints(Scene& scene)
{
    scene.sellOnCard();
    scene.spend();
}

void sellWithoutCard(Scene& scene)
{
    scene.sell();
    scene.pay();
}

void loseSpending(Scene& scene)
{
    scene.sellOnCard();
    scene.arm(u"force-payment-c2b:apply-then-drop"_s);
    EXPECT_FALSE(spend(scene).ok);
    scene.disarm();
}

void loseConfirmation(Scene& scene)
{
    scene.sellOnCard();
    scene.arm(u"confirm-payment-c2b:apply-then-drop"_s);
    EXPECT_FALSE(spend(scene).ok);
    scene.disarm();
}

void payWithoutEarning(Scene& scene)
{
    scene.sellOnCard();
    scene.arm(u"payment-b2c:drop"_s);
    scene.pay();
    scene.disarm();
}

void rollBackWithoutCancelling(Scene& scene)
{
    sellForPoints(scene);
    scene.arm(u"cancel-payment:drop"_s);
    scene.rollBack();
    scene.disarm();
}

void takeAllBack(Scene& scene)
{
    sellForPoints(scene);
    scene.pay();
    scene.takeBack({{.posnum = 1, .quantity = 2}, {.posnum = 2, .quantity = 1}});
    scene.pay();
}

void takeHoneyBack(Scene& scene)
{
    sellWithoutCard(scene);
    scene.deliverAll();
    scene.takeBack({{.posnum = 2, .quantity = 1}});
    scene.pay();
}

// How it is left.

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

void spendWhatIsInDoubtAndPay(Scene& scene)
{
    if (scene.checkout().state() == SpendingUnknown)
        scene.spend();
    scene.pay();
}

void rollBack(Scene& scene)
{
    scene.rollBack();
    scene.deliverAll();
}

void deliverAll(Scene& scene) { scene.deliverAll(); }

QList<Place> queries()
{
    const Place card{
        .name = "CardInfo",
        .operation = u"card-info"_s,
        .path = u"/card-info"_s,
        .verb = Verb::Get,
        .prepare = sell,
        .act = identify,
        .expected =
            [](const Strike& strike) { return queried(strike, u"Не удалось получить статус карты"_s); },
        .goOn = identifyAndPay,
        .end = earned};
    Place customer = card;
    customer.name = "CustomerOfACard";
    customer.operation = u"user-info-by-card"_s;
    customer.path = u"/user/card/"_s;
    customer.request = 2;
    customer.expected = [](const Strike& strike) {
        return queried(strike, u"В ответе от сервера не найден баланс карты"_s);
    };
    Place phone = card;
    phone.name = "CardsOfAPhone";
    phone.operation = u"user-info-by-phone"_s;
    phone.path = u"/user/phone/"_s;
    phone.act = [](Scene& scene) { return scene.identifyByPhone(u"79005550001"_s); };
    phone.expected = [](const Strike& strike) {
        return queried(strike, u"Нет карт для телефона '79005550001'"_s);
    };

    Place account = card;
    account.name = "AccountOfANewCard";
    account.operation = u"user-account"_s;
    account.path = u"/user-account/"_s;
    account.request = 2;
    account.act = [](Scene& scene) { return scene.identify(newCard); };
    account.expected = [](const Strike& strike) { return harmless(strike, done(Sale, u"0.00"_s)); };
    account.goOn = [](Scene& scene) {
        if (!scene.checkout().card())
            Scene::expectDone(scene.identify(newCard));
        scene.rollBack(); // it can neither earn nor spend yet
    };
    account.end = [](const Strike& /*strike*/) { return End{u"balance 300.00"_s}; };
    return {card, account, customer, phone};
}

/// Each has its own operation, and is one of those that a spending makes.
Place ofSpending(const char* name, const QString& operation, int request)
{
    return {.name = name,
            .operation = operation,
            .path = u'/' + operation,
            .prepare = sellOnCard,
            .act = spend,
            .request = request,
            .expected = spending,
            .goOn = spendAndPay,
            .end = spentAndEarned};
}

QList<Place> limits()
{
    Place limit = ofSpending("Limit", u"pre-payment"_s, 1);
    limit.act = [](Scene& scene) { return scene.requestLimit(); };
    limit.expected = [](const Strike& strike) {
        return harmless(strike, done(Sale, strike.proof == Proof::Hollow ? u"0.00"_s : u"200.00"_s));
    };
    Place before = ofSpending("LimitBeforeASpending", u"pre-payment"_s, 1);
    before.expected = [](const Strike& strike) { return harmless(strike, done(Discounted)); };
    Place again = before;
    again.name = "LimitBeforeAskingAgain";
    again.prepare = loseSpending;
    again.expected = harmlessInDoubt;
    return {limit, before, again};
}

QList<Place> spendings()
{
    const Place force = ofSpending("Spending", u"force-payment-c2b"_s, 2);
    Place again = force;
    again.name = "SpendingAskedAgain";
    again.prepare = loseSpending;
    again.expected = spendingAgain;
    Place left = force;
    left.name = "SpendingThenRolledBack";
    left.goOn = rollBack;
    left.end = cancelledIfItWasDone;
    Place paid = force;
    paid.name = "SpendingThenPaid";
    paid.goOn = spendWhatIsInDoubtAndPay;
    paid.end = paidInMoneyWhenRefused;
    return {force, again, left, paid};
}

QList<Place> spendingsWithACode()
{
    Place payment = ofSpending("SpendingWithACode", u"payment-c2b"_s, 2);
    payment.asksForCode = true;
    payment.expected = [](const Strike& strike) {
        return strike.proof == Proof::Hollow ? failed(u"Запрос на списание не найден"_s, Sale)
                                             : harmless(strike, done(Discounted));
    };
    Place paymentAgain = payment;
    paymentAgain.name = "SpendingWithACodeAskedAgain";
    paymentAgain.prepare = loseConfirmation;
    paymentAgain.expected = [](const Strike& strike) {
        return strike.proof == Proof::Hollow ? inDoubt(u"Запрос на списание не найден"_s)
                                             : harmlessInDoubt(strike);
    };

    Place confirm = ofSpending("Confirmation", u"confirm-payment-c2b"_s, 3);
    confirm.asksForCode = true;
    Place confirmAgain = confirm;
    confirmAgain.name = "ConfirmationAskedAgain";
    confirmAgain.prepare = loseConfirmation;
    confirmAgain.expected = confirmationAgain;
    Place left = confirm;
    left.name = "ConfirmationThenRolledBack";
    left.goOn = rollBack;
    left.end = cancelledIfItWasDone;
    return {payment, paymentAgain, confirm, confirmAgain, left};
}

QList<Place> ordersThatCanWait()
{
    Place pay = ofSpending("Earning", u"payment-b2c"_s, 1);
    pay.act = [](Scene& scene) { return scene.tryToPay(); };
    pay.expected = earning;
    pay.goOn = deliverAll;
    pay.end = earnedAtOnce;
    Place cancel = pay;
    cancel.name = "Cancellation";
    cancel.operation = u"cancel-payment"_s;
    cancel.path = u"/cancel-payment"_s;
    cancel.prepare = sellForPoints;
    cancel.act = [](Scene& scene) { return Tried{scene.checkout().rollBack()}; };
    cancel.expected = put;
    cancel.end = cancelled;
    return {pay, cancel};
}

Place ofQueue(const char* name, const QString& operation, void (*prepare)(Scene&), End (*end)(const Strike&))
{
    return {.name = name,
            .operation = operation,
            .path = u'/' + operation,
            .isQueued = true,
            .prepare = prepare,
            .act = deliver,
            .expected = [](const Strike& strike) { return delivered(strike, 1); },
            .goOn = deliverAll,
            .end = end};
}

QList<Place> messages()
{
    const auto ofTwo = [](const Strike& strike) { return delivered(strike, 2); };
    Place refusals =
        ofQueue("RefusalsOfAReturn", u"refuse-payment"_s, takeAllBack, [](const Strike& /*strike*/) {
            return End{u"spending 50.00, earning 17.50, refusal 17.50, refusal 50.00, balance 300.00, "
                       "R paid, less 37.50 and 12.50"_s};
        });
    refusals.expected = ofTwo;
    Place correction =
        ofQueue("ReturnWithoutACard", u"receipt"_s, takeHoneyBack, [](const Strike& /*strike*/) {
            return End{u"POST R of 400.00, PUT V of 400.00, POST V of 300.00, balance 300.00, "
                       "R paid, less 0.00 and 0.00"_s};
        });
    correction.expected = ofTwo;
    return {ofQueue("EarningThatWaited", u"payment-b2c"_s, payWithoutEarning, earned),
            ofQueue("CancellationThatWaited", u"cancel-payment"_s, rollBackWithoutCancelling, cancelled),
            refusals,
            ofQueue("SaleWithoutACard", u"receipt"_s, sellWithoutCard,
                    [](const Strike& /*strike*/) {
                        return End{u"POST R of 400.00, balance 300.00, R paid, less 0.00 and 0.00"_s};
                    }),
            correction};
}

} // namespace

const QList<Place>& places()
{
    static const QList<Place> all =
        queries() + limits() + spendings() + spendingsWithACode() + ordersThatCanWait() + messages();
    return all;
}

void PrintTo(const Place& place, std::ostream* out) { *out << place.name; }

} // namespace faulttest
