#pragma once

#include "host/core/session.h"
#include "host/network/restclient.h"
#include "host/storage/documents.h"
#include "host/storage/journal.h"
#include "tests/support/httpserver.h"
#include "tests/unit/storage/scene.h"
#include "till/checkout/checkout.h"

#include <gmock/gmock.h>

namespace tilltest {

using namespace Qt::StringLiterals;
using test_support::HttpAnswer;
using till::State;

/// A loyalty system that does what it is told, and asks a service where the till has to know of it.
class LoyaltyDouble : public BasicLoyaltySystem
{
public:
    LoyaltyDouble() { m_type = KyrLoyaltySystem; }

    bool identifyByCard(QSharedPointer<DocumentCardRecord>& card, ECardNumberType type) override
    {
        told.append(u"identify %1 as %2"_s.arg(card->getNumber().toString()).arg(static_cast<int>(type)));
        card->setCardStatus(ECard::Active);
        return done();
    }
    bool getCardInfo(QSharedPointer<DocumentCardRecord>& card, ECardNumberType type) override
    {
        told.append(u"look at %1 as %2"_s.arg(card->getNumber().toString()).arg(static_cast<int>(type)));
        card->setBonusBalance(1000);
        return done();
    }
    loyalty::CardNumberResult getCardNumber(const loyalty::CardNumberInputData& input) override
    {
        told.append(u"find %1 as %2"_s.arg(input.text).arg(input.kind));
        return found;
    }
    bool request(const QSharedPointer<AbstractDocument>& document) override
    {
        told.append(u"limit of "_s + document->getIdentifier());
        return exchange(u"pre-payment"_s);
    }
    double getPointsForSpend(const QSharedPointer<AbstractDocument>& /*document*/) override
    {
        return m_pointsForSpend = std::min(m_pointsForSpend, limit);
    }
    bool spendPoints() override
    {
        asked.append(m_pointsForSpend);
        if (!exchange(spendingPath))
            return false;
        m_bonusImpacts += impacts;
        return true;
    }
    bool hasPointsForEarn() override
    {
        told.append(u"earn"_s);
        if (whileEarning)
            whileEarning();
        return earns && exchange(u"payment-b2c"_s);
    }
    double getPointsForEarn() override { return earned; }
    bool commit(const QSharedPointer<AbstractDocument>& /*document*/) override
    {
        told.append(u"commit"_s);
        clearLoyaltyData();
        if (whileCommitting)
            whileCommitting();
        if (!commitFailure.empty())
            throw std::runtime_error(commitFailure);
        return done();
    }
    bool rollback(const QSharedPointer<AbstractDocument>& /*document*/) override
    {
        told.append(u"roll back"_s);
        if (!exchange(u"cancel-payment"_s))
            return false;
        clearLoyaltyData();
        return true;
    }
    bool cancel() override
    {
        told.append(u"cancel"_s);
        clearLoyaltyData();
        return done();
    }
    bool restoreLoyaltySystem() override
    {
        told.append(u"restore"_s);
        if (whileRestoring)
            whileRestoring();
        m_bonusImpacts = restored;
        m_pointsForSpend = restoredPoints;
        return true;
    }
    [[nodiscard]] QSharedPointer<AbstractDocument> document() const { return watchedDocument(); }

    /// So much off each of these positions.
    static QSharedPointer<BonusImpact> impactOn(const QMap<int, double>& shares)
    {
        auto totals = QSharedPointer<DocumentImpactDetail>::create();
        double sum = 0;
        for (const double share : shares)
            sum += share;
        totals->setDiscountSum(sum);
        auto impact = QSharedPointer<BonusImpact>::create(totals);
        for (auto share = shares.cbegin(); share != shares.cend(); ++share)
            impact->addDetailForPosition(share.key(), share.value());
        return impact;
    }

    test_support::HttpServer service;
    QString spendingPath = u"force-payment-c2b"_s;
    QStringList told;                            ///< what it was told to do, but for the spendings
    QList<double> asked;                         ///< the points of each spending
    QList<QSharedPointer<BonusImpact>> impacts;  ///< what the next spending comes to
    QList<QSharedPointer<BonusImpact>> restored; ///< what a restart finds
    double restoredPoints = 0;
    double limit = 1000;
    bool earns = true;
    double earned = 0;
    std::function<void()> whileEarning;
    std::function<void()> whileCommitting;
    std::function<void()> whileRestoring;
    loyalty::CardNumberResult found;
    tr::Tr refusal;            ///< not empty: everything is refused so
    std::string commitFailure; ///< not empty: a commit throws that

private:
    bool done()
    {
        m_lastError = refusal;
        return refusal.isEmpty();
    }
    bool exchange(const QString& operation)
    {
        RestClient client;
        client.post(service.url(u'/' + operation), "{}", {});
        m_lastError = tr::Tr::untranslated(u"Ошибка %1"_s.arg(client.getErrorCode()));
        return client.getErrorCode() == 0;
    }
};

/// A checkout with that loyalty system in a data directory of its own.
class CheckoutScene : public test_support::Storage
{
protected:
    CheckoutScene() { start(); }
    ~CheckoutScene() override { end(); }

    void end()
    {
        checkout.reset();
        lock.reset();
    }
    /// Also after a till that died.
    void start()
    {
        end();
        lock = std::make_unique<storage::FileLock>(u"till.lock"_s);
        checkout = std::make_unique<till::Checkout>(loyalty, *lock, turnover);
    }
    static void expectDone(const till::Result& result)
    {
        ASSERT_TRUE(result.ok) << result.error.toStdString();
    }
    static QList<till::Line> lines()
    {
        return {{.articul = u"1"_s, .name = u"Чай"_s, .price = 200, .quantity = 1},
                {.articul = u"2"_s, .name = u"Мёд"_s, .price = 300, .quantity = 1}};
    }
    void open(const QString& identifier = u"R"_s) const
    {
        expectDone(checkout->openSale(identifier, lines()));
    }
    void openOnCard(const QString& identifier = u"R"_s) const
    {
        open(identifier);
        expectDone(checkout->identifyByCard(u"2000000000017"_s));
    }
    void answer(int status = 200, const QByteArray& body = "{}")
    {
        loyalty.service.enqueue(HttpAnswer::status(status, body));
    }
    void loseTheNextAnswer() { loyalty.service.enqueue(HttpAnswer::none()); }
    void spendWithADiscount(double points = 50)
    {
        loyalty.impacts = {LoyaltyDouble::impactOn({{1, points * 0.4}, {2, points * 0.6}})};
        answer();
        expectDone(checkout->spend(points));
    }
    [[nodiscard]] static QSharedPointer<Document> kept() { return SaveToFileLogic::loadOpenReceipt(); }
    [[nodiscard]] static QStringList eventsOf(const QString& identifier = u"R"_s)
    {
        QStringList events;
        for (const auto& entry : storage::Journal().of(identifier))
            events.append(entry.event);
        return events;
    }
    /// Does it while the store is gone from the moment that the service's answer comes.
    template <class Operation>
    auto interrupted(Operation operation)
    {
        const auto taking = RestClient::guard({.departing = {},
                                               .answered =
                                                   [this](const RestExchange& /*exchange*/) {
                                                       EXPECT_TRUE(QFile::rename(store(), store() + u"_"_s));
                                                   },
                                               .secondsAtMost = 0});
        return operation();
    }
    void bringBack() const { ASSERT_TRUE(QFile::rename(store() + u"_"_s, store())); }
    [[nodiscard]] QString store() const { return path(u"till.sqlite"_s); }

    LoyaltyDouble loyalty;
    till::Turnover turnover;
    std::unique_ptr<storage::FileLock> lock;
    std::unique_ptr<till::Checkout> checkout;
};

} // namespace tilltest
