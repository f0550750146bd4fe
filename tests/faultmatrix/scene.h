#pragma once

#include "host/network/restclient.h"
#include "tests/stand/standprocess.h"
#include "tests/support/stillclock.h"
#include "till/checkout/till.h"

#include <QJsonObject>
#include <QTemporaryDir>

#include <memory>

namespace faulttest {

/// What a cashier tried, and reads of it when it succeeded: the balance, say.
struct Tried : till::Result
{
    Tried(const till::Result& result)
        : till::Result(result)
    {}
    QString told;
};

/// What cashier and administrator see after something was tried.
struct Seen
{
    bool ok = true;
    QString text = {}; ///< what was told, or why it failed
    till::State state = till::State::Idle;
    int waiting = 0; ///< messages in the queue
    int parked = 0;
    bool isSuspended = false; ///< the queue waits for other credentials

    [[nodiscard]] QString line() const;
};

/// Confirms spendings with the code that the stand sends to everybody.
class Customer : public DialogFrontend
{
public:
    int chooseFromList(const ChoiceRequest& request) override;
    core::BasicDialog::Result inputText(const TextInputRequest& request) override;
};

/// A till with the real plug-in, a real stand as another process, and a cashier who sells tea and honey for
/// 400.00.
class Scene
{
public:
    explicit Scene(bool asksForCode);

    static constexpr int timeLimitMs = 1000; ///< of an exchange

    [[nodiscard]] till::Checkout& checkout() const { return m_till->checkout(); }
    [[nodiscard]] MessageQueue& queue() const { return m_till->queue(); }
    [[nodiscard]] till::DeliveryResult deliver() const { return m_till->deliver(); }

    // What a cashier does, and reads.
    [[nodiscard]] Tried identify(const QString& number) const;
    [[nodiscard]] Tried identifyByPhone(const QString& phone) const;
    [[nodiscard]] Tried requestLimit() const;
    [[nodiscard]] Tried tryToPay() const;

    /// Opens sale R.
    void sell();
    /// The same, for the customer with 300.00 points.
    void sellOnCard();
    /// Has these positions of sale R come back as return V.
    void takeBack(const QList<till::ReturnLine>& lines);
    void spend() const { expectDone(checkout().spend(points)); }
    void pay() const { expectDone(checkout().pay()); }
    void rollBack() const { expectDone(checkout().rollBack()); }
    /// Brings everything that waits or is parked to the service.
    void deliverAll() const;
    static void expectDone(const till::Result& result);

    static constexpr double points = 50;
    static const QString card;

    /// Lets calls go wrong from now on: "payment-b2c:reset:when=before".
    void arm(const QString& fault) const;
    /// How many calls have gone wrong since; waits until the stand listens again.
    [[nodiscard]] int fired() const;
    void disarm() const;
    /// What the exchange with that in its path ended with since the scene began: the last of them.
    [[nodiscard]] int codeOf(const QString& path) const;
    /// The outcome that the journal of sale R and its returns has last of the operation: "answer 503".
    [[nodiscard]] QString noted(const QString& operation) const;
    [[nodiscard]] Seen seen(const Tried& tried) const;

    /// Until an operation that came late has taken effect.
    void waitForWhatComesLate() const;
    /// What the service's books say of the receipts, what is left on the cards, and what the till took off
    /// each position of sale R.
    [[nodiscard]] QString books() const;
    /// Ends the till; in what its receipts differ from the service's books.
    [[nodiscard]] QStringList differences();

private:
    /// A page of the stand's own; waits until it listens.
    [[nodiscard]] QJsonObject page(const QByteArray& name) const;
    [[nodiscard]] Config settings(bool asksForCode) const;

    test_support::StillClock m_clock;
    standtest::StandProcess m_stand;
    QByteArray m_url;
    QTemporaryDir m_directory;
    Customer m_customer;
    QList<RestExchange> m_exchanges;
    utils::Registration m_observing;
    std::unique_ptr<till::Till> m_till;
};

} // namespace faulttest
