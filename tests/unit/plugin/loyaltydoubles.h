#pragma once

#include "host/core/dialog.h"
#include "host/core/document.h"
#include "host/core/session.h"
#include "host/storage/documents.h"
#include "plugin/kyrloyalty.h"
#include "tests/support/hostworld.h"

#include <gmock/gmock.h>

#include <functional>

/// The service client with every operation that the adapter calls replaced.
class MockClient : public KyrLoyaltyInterface
{
public:
    MOCK_METHOD(bool, init, (), (override));
    MOCK_METHOD(void, getUserInfo, (const QSharedPointer<DocumentCardRecord>&), (const, override));
    using Allowance = std::pair<double, DocumentBonusRecord>;
    MOCK_METHOD(Allowance, prePayment, (double), (const, override));
    MOCK_METHOD(QSharedPointer<BonusImpact>, forcePayment, (double), (const, override));
    MOCK_METHOD(int, payment, (double), (const, override));
    MOCK_METHOD(QSharedPointer<BonusImpact>, confirmPayment, (int, const QString&, double),
                (const, override));
    MOCK_METHOD(DocumentBonusRecord, earnPoints, (bool), (const, override));
    MOCK_METHOD(void, refusePayment, (), (const, override));
    MOCK_METHOD(void, cancel, (bool), (const, override));
    MOCK_METHOD(QList<QString>, getCardNumbers, (const QString&), (const, override));
    MOCK_METHOD(void, anonymousReceipt, (), (const, override));

    using KyrLoyaltyInterface::bonusRatio;
};

/// The host's front ends, replaced.
struct MockDialog : Dialog
{
    MOCK_METHOD(int, chooseFromList, (const ChoiceRequest&), (override));
    MOCK_METHOD(core::BasicDialog::Result, inputText, (const TextInputRequest&), (override));
};

struct MockNotifier : ActivityNotifier
{
    MOCK_METHOD(void, subscribe, (BaseActivityListener*), (override));
    MOCK_METHOD(void, notify, (const Event&), (override));
};

struct MockSave : SaveToFileLogic
{
    MOCK_METHOD(void, save, (const QSharedPointer<AbstractDocument>&, const QString&), (override));
};

/// The adapter with its state open to tests and, once given one, another client than the real one.
class OpenLoyalty : public KyrLoyalty
{
public:
    using BasicLoyaltySystem::watchedDocument;
    using KyrLoyalty::client;
    using KyrLoyalty::logger;
    using KyrLoyalty::m_bonusImpacts;
    using KyrLoyalty::m_bonusRecords;
    using KyrLoyalty::m_lastError;
    using KyrLoyalty::m_pointsForSpend;
    using KyrLoyalty::smsVerification;

    std::function<void()> beforeClear; ///< called first when the state is cleared

protected:
    void clearLoyaltyData() override
    {
        if (beforeClear)
            beforeClear();
        KyrLoyalty::clearLoyaltyData();
    }
};

/// A till with a sale open for an active card, watched by an adapter whose client, dialogs, events and
/// storage are strict doubles: what a test does not expect fails it.
class LoyaltyWorld : public test_support::HostWorld
{
protected:
    LoyaltyWorld()
    {
        loyalty.client = client;
        loyalty.m_lastError = before;
        Singleton<Session>::instance = new Session;
        Singleton<ActivityNotifier>::instance = notifier = new testing::StrictMock<MockNotifier>;
        MockFactory<Dialog>::mocked = [this] {
            ++openDialogs;
            return QSharedPointer<Dialog>(dialog.data(), [this](Dialog*) { --openDialogs; });
        };
        MockFactory<SaveToFileLogic>::mocked = [this] { return save; };
        card->setCardStatus(ECard::Active);
        open(SaleReceipt);
    }
    ~LoyaltyWorld() override
    {
        MockFactory<Dialog>::mocked = nullptr;
        MockFactory<SaveToFileLogic>::mocked = nullptr;
    }

    /// Opens another document for the same card.
    void open(int type)
    {
        document.reset(new Document(static_cast<EDocumentType>(type), QStringLiteral("R-1")));
        document->setCardRecord(card);
        Singleton<Session>::instance->setDocument(document);
        loyalty.setDocument(document);
    }
    void addPosition(int posnum, double price)
    {
        document->addGoodsItem(
            QSharedPointer<GoodsItem>::create(posnum, QStringLiteral("a"), QStringLiteral("n"), price, 1));
    }
    /// What there was when the session's document was saved: what comes later is not on disk.
    struct Saved
    {
        QVariant pointsForSpend;
        qsizetype impacts = -1;
        QVariant cardPointsForEarn;
        double cardPointsForSpend = -1;
        QStringList log;
    };
    /// The one save that is expected is in `saved` afterwards.
    void expectSave()
    {
        EXPECT_CALL(*save, save(QSharedPointer<AbstractDocument>(document), QString()))
            .WillOnce([this](const QSharedPointer<AbstractDocument>&, const QString&) {
                const QVariant impacts = pluginData("bonusImpacts");
                saved = {pluginData("pointsForSpend"), impacts.isValid() ? impacts.toList().size() : -1,
                         card->getPointsForEarn(), card->getPointsForSpend(), log()};
            })
            .RetiresOnSaturation();
    }
    [[nodiscard]] QVariant pluginData(const char* key) const
    {
        return document->getPluginData(QStringLiteral("KyrLoyalty"), QString::fromUtf8(key), {});
    }
    /// The plug-in's state before an operation, to compare with what it is after.
    void fillState()
    {
        loyalty.m_pointsForSpend = 40;
        loyalty.m_bonusImpacts = {earlier};
        loyalty.m_bonusRecords = {{{}, 3, 1200, {}, {}, 1}};
        card->setPointsForEarn(3.0);
        card->setPointsForSpend(1);
    }
    void expectStateUntouched() const
    {
        EXPECT_EQ(loyalty.m_pointsForSpend, 40.0);
        EXPECT_EQ(loyalty.m_bonusImpacts, (QList<QSharedPointer<BonusImpact>>{earlier}));
        EXPECT_EQ(loyalty.m_bonusRecords, (QList<DocumentBonusRecord>{{{}, 3, 1200, {}, {}, 1}}));
        EXPECT_EQ(card->getPointsForEarn(), QVariant(3.0));
        EXPECT_EQ(card->getPointsForSpend(), 1.0);
        EXPECT_FALSE(pluginData("pointsForSpend").isValid());
        EXPECT_FALSE(pluginData("bonusImpacts").isValid());
    }
    void expectStateCleared() const
    {
        EXPECT_EQ(loyalty.m_pointsForSpend, 0.0);
        EXPECT_TRUE(loyalty.m_bonusImpacts.isEmpty());
        EXPECT_TRUE(loyalty.m_bonusRecords.isEmpty());
    }

    const tr::Tr before{QStringLiteral("before"), QStringLiteral("Прежняя ошибка")};
    const tr::Tr failed{QStringLiteral("loyaltyErrorRequest"), QStringLiteral("Ошибка обращения к серверу")};
    const QSharedPointer<BonusImpact> earlier{new BonusImpact};
    QSharedPointer<testing::StrictMock<MockClient>> client{new testing::StrictMock<MockClient>};
    Saved saved;
    int openDialogs = 0; ///< made by the plug-in and not yet released
    QSharedPointer<testing::StrictMock<MockDialog>> dialog{new testing::StrictMock<MockDialog>};
    QSharedPointer<testing::StrictMock<MockSave>> save{new testing::StrictMock<MockSave>};
    testing::StrictMock<MockNotifier>* notifier = nullptr; // the host's singleton: its owner deletes it
    QSharedPointer<DocumentCardRecord> card{
        new DocumentCardRecord(KyrLoyaltySystem, QStringLiteral("2000000000017"))};
    QSharedPointer<Document> document;
    OpenLoyalty loyalty;
};
