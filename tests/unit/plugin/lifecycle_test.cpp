#include "host/core/loyaltysystems.h"
#include "plugin/kyrloyaltyexception.h"
#include "tests/unit/plugin/loyaltydoubles.h"

#include <QMetaMethod>

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using testing::ElementsAre;
using testing::InSequence;
using testing::IsEmpty;
using testing::Return;
using testing::Throw;

namespace {

using testing::_;

class Lifecycle : public LoyaltyWorld
{
protected:
    static BasicLoyaltySystem* registered()
    {
        auto* systems = Singleton<LoyaltySystems>::instance;
        return systems ? systems->find(KyrLoyaltySystem) : nullptr;
    }
    Lifecycle() { EXPECT_CALL(*notifier, subscribe(_)).Times(testing::AnyNumber()); }
    void close() { loyalty.handleEvent(Event(EActivityListener::ReceiptClosed)); }
};

TEST_F(Lifecycle, AFreshPlugInHasItsTypeOptionsAndClient)
{
    const OpenLoyalty fresh;
    EXPECT_EQ(fresh.getType(), 12);
    EXPECT_TRUE(fresh.isOptionSet(LoyaltySystemOption{1024}));
    EXPECT_TRUE(fresh.isOptionSet(LoyaltySystemOption{16}));
    EXPECT_FALSE(fresh.smsVerification);
    EXPECT_NE(fresh.client, nullptr);
    EXPECT_EQ(fresh.logger->name(), u"kyrloyalty"_s);
    EXPECT_EQ(fresh.parent(), nullptr);
}

TEST_F(Lifecycle, AFreshPlugInTouchesNeitherConfigurationNorEventsNorTheRegister)
{
    delete Singleton<ActivityNotifier>::instance;
    Singleton<ActivityNotifier>::instance = nullptr;
    const OpenLoyalty fresh;
    EXPECT_EQ(Singleton<ActivityNotifier>::instance, nullptr);
    EXPECT_EQ(registered(), nullptr);
    EXPECT_THAT(log(), IsEmpty());
}

TEST_F(Lifecycle, ThePlugInReleasesItsClientWhenDestroyed)
{
    QWeakPointer<KyrLoyaltyInterface> released;
    {
        const OpenLoyalty fresh;
        released = fresh.client;
        EXPECT_FALSE(released.isNull());
    }
    EXPECT_TRUE(released.isNull());
}

TEST_F(Lifecycle, TheOptionsAreSwitchedOnInTheHostsOrder)
{
    const OpenLoyalty fresh;
    EXPECT_THAT(fresh.options(), ElementsAre(LoyaltySystemOption{1024}, LoyaltySystemOption{16}));
}

TEST_F(Lifecycle, InitListensToTheHostBeforeTheClientReadsItsSettingsAndRegistersLast)
{
    const InSequence order;
    EXPECT_CALL(*notifier, subscribe(&loyalty));
    EXPECT_CALL(*client, init()).WillOnce([] {
        EXPECT_EQ(registered(), nullptr);
        return true;
    });
    EXPECT_TRUE(loyalty.init());
    EXPECT_EQ(registered(), &loyalty);
}

class UnreadableConfig : public Config
{
public:
    [[nodiscard]] bool getBool(const QString& /*key*/, bool /*defaultValue*/) const override
    {
        throw ConfigError(u"KYRLoyalty:smsVerification: true or false is expected"_s);
    }
};

TEST_F(Lifecycle, InitThatCannotReadItsSettingListensToNothing)
{
    delete Singleton<Config>::instance;
    Singleton<Config>::instance = new UnreadableConfig;
    EXPECT_CALL(*notifier, subscribe(_)).Times(0);
    EXPECT_THROW(loyalty.init(), ConfigError);
}

TEST_F(Lifecycle, InitRegistersTheSystem)
{
    EXPECT_CALL(*client, init()).WillOnce(Return(true));
    EXPECT_TRUE(loyalty.init());
    EXPECT_EQ(registered(), &loyalty);
    EXPECT_FALSE(loyalty.smsVerification);
}

TEST_F(Lifecycle, InitReadsWhetherSpendingIsConfirmedWithACode)
{
    set("smsVerification", true);
    EXPECT_CALL(*client, init()).WillOnce(Return(true));
    loyalty.init();
    EXPECT_TRUE(loyalty.smsVerification);
}

TEST_F(Lifecycle, InitSubscribesToTheHostsEvents)
{
    EXPECT_CALL(*client, init()).WillOnce(Return(true));
    delete Singleton<ActivityNotifier>::instance;
    Singleton<ActivityNotifier>::instance = nullptr;
    loyalty.init();
    EXPECT_CALL(*client, anonymousReceipt());
    ASSERT_NE(Singleton<ActivityNotifier>::instance, nullptr);
    Singleton<ActivityNotifier>::instance->notify(Event(EActivityListener::ReceiptClosed));
}

TEST_F(Lifecycle, InitFailsAndRegistersNothingWhenTheClientRefusesItsSettings)
{
    EXPECT_CALL(*client, init()).WillOnce(Return(false));
    EXPECT_FALSE(loyalty.init());
    EXPECT_EQ(registered(), nullptr);
    EXPECT_THAT(log(), IsEmpty()) << "the client logs its own reason";
}

TEST_F(Lifecycle, InitFailsWhenAnotherSystemOfTheTypeIsRegistered)
{
    OpenLoyalty first;
    first.client = client;
    EXPECT_CALL(*client, init()).Times(2).WillRepeatedly(Return(true));
    ASSERT_TRUE(first.init());
    EXPECT_FALSE(loyalty.init());
}

TEST_F(Lifecycle, InitCatchesNoException)
{
    EXPECT_CALL(*client, init()).WillOnce(Throw(KyrLoyaltyException(u"no"_s)));
    EXPECT_THROW(loyalty.init(), KyrLoyaltyException);
}

TEST_F(Lifecycle, EventTenReportsTheReceipt)
{
    EXPECT_CALL(*client, anonymousReceipt());
    close();
    EXPECT_THAT(log(), IsEmpty());
}

TEST_F(Lifecycle, EventTenIsSilentForAReceiptWithFlag254)
{
    document->setFlag(254);
    close(); // the strict double fails on any call
}

TEST_F(Lifecycle, EventTenWithAnotherFlagStillReportsTheReceipt)
{
    document->setFlag(253);
    EXPECT_CALL(*client, anonymousReceipt());
    close();
}

TEST_F(Lifecycle, EventTenLogsAFailureOnceAndKeepsTheLastError)
{
    EXPECT_CALL(*client, anonymousReceipt()).WillOnce(Throw(KyrLoyaltyException(u"не вышло"_s)));
    EXPECT_NO_THROW(close());
    EXPECT_THAT(log(), ElementsAre(u"error: не вышло"_s));
    EXPECT_EQ(loyalty.getLastErrorString(), before);
}

TEST_F(Lifecycle, EventTenLetsOtherExceptionsPass)
{
    EXPECT_CALL(*client, anonymousReceipt()).WillOnce(Throw(std::logic_error("other")));
    EXPECT_THROW(close(), std::logic_error);
}

TEST_F(Lifecycle, AnyOtherEventDoesNothing)
{
    for (const int code : {0, 9, 11, 72, 73, 254})
        loyalty.handleEvent(Event(static_cast<EActivityListener::Event>(code)));
    EXPECT_THAT(log(), IsEmpty());
}

TEST_F(Lifecycle, AnEventWithoutACurrentDocumentIsIgnored)
{
    Singleton<Session>::instance->setDocument(nullptr);
    close();
    EXPECT_THAT(log(), IsEmpty());
}

TEST_F(Lifecycle, AnEventWithoutASessionMakesOne)
{
    delete Singleton<Session>::instance;
    Singleton<Session>::instance = nullptr;
    close();
    EXPECT_NE(Singleton<Session>::instance, nullptr);
}

TEST_F(Lifecycle, TheSlotIsTheOneMethodOfTheMetaObjectAndIsReachedByName)
{
    const QMetaObject& meta = KyrLoyalty::staticMetaObject;
    ASSERT_EQ(meta.methodCount() - meta.methodOffset(), 1);
    const QMetaMethod slot = meta.method(meta.methodOffset());
    EXPECT_EQ(slot.methodSignature(), "handleEvent(Event)");
    EXPECT_EQ(slot.methodType(), QMetaMethod::Slot);
    EXPECT_CALL(*client, anonymousReceipt());
    EXPECT_TRUE(QMetaObject::invokeMethod(&loyalty, "handleEvent", Qt::DirectConnection,
                                          Q_ARG(Event, Event(EActivityListener::ReceiptClosed))));
}

TEST_F(Lifecycle, PlugInDataHoldsImpactsAndPointsAndTheDocumentIsSaved)
{
    auto detail = QSharedPointer<DocumentImpactDetail>::create();
    detail->setDiscountSum(12.5);
    auto impact = QSharedPointer<BonusImpact>::create(detail);
    impact->addDetailForPosition(3, 12.5);
    loyalty.m_bonusImpacts = {impact};
    loyalty.m_pointsForSpend = 40;
    expectSave();
    loyalty.updatePluginData();
    EXPECT_EQ(saved.pointsForSpend, QVariant(40.0)) << "what is written after the save is not on disk";
    EXPECT_EQ(saved.impacts, 1);

    const QVariant points = document->getPluginData(u"KyrLoyalty"_s, u"pointsForSpend"_s, {});
    EXPECT_EQ(points.typeId(), QMetaType::Double);
    EXPECT_EQ(points.toDouble(), 40.0);
    const QVariant impacts = document->getPluginData(u"KyrLoyalty"_s, u"bonusImpacts"_s, {});
    ASSERT_EQ(impacts.typeId(), QMetaType::QVariantList);
    ASSERT_EQ(impacts.toList().size(), 1);
    const QVariantMap written = impacts.toList().first().toMap();
    EXPECT_EQ(written.value(u"totals"_s).toMap().value(u"discountSum"_s), QVariant(12.5));
    EXPECT_EQ(written.value(u"positions"_s).toList().first().toMap().value(u"position"_s), QVariant(3));
}

TEST_F(Lifecycle, PlugInDataKeepsThePlaceOfANullImpact)
{
    const auto impact = QSharedPointer<BonusImpact>::create();
    loyalty.m_bonusImpacts = {impact, nullptr, impact};
    EXPECT_CALL(*save, save(_, _));
    loyalty.updatePluginData();
    const QVariantList impacts = document->getPluginData(u"KyrLoyalty"_s, u"bonusImpacts"_s, {}).toList();
    ASSERT_EQ(impacts.size(), 3);
    EXPECT_TRUE(impacts[0].isValid());
    EXPECT_FALSE(impacts[1].isValid());
    EXPECT_TRUE(impacts[2].isValid());
}

TEST_F(Lifecycle, PlugInDataWithoutImpactsIsAnEmptyListAndThePoints)
{
    EXPECT_CALL(*save, save(_, _));
    loyalty.updatePluginData();
    const QVariant impacts = document->getPluginData(u"KyrLoyalty"_s, u"bonusImpacts"_s, {});
    EXPECT_EQ(impacts.typeId(), QMetaType::QVariantList);
    EXPECT_TRUE(impacts.toList().isEmpty());
    EXPECT_EQ(document->getPluginData(u"KyrLoyalty"_s, u"pointsForSpend"_s, {}), QVariant(0.0));
}

TEST_F(Lifecycle, PlugInDataIsNotWrittenWithoutACurrentDocument)
{
    Singleton<Session>::instance->setDocument(nullptr);
    loyalty.updatePluginData(); // the strict double fails on a save
}

TEST_F(Lifecycle, PlugInDataPassesAFailureToSaveOn)
{
    MockFactory<SaveToFileLogic>::mocked = nullptr;
    EXPECT_THROW(loyalty.updatePluginData(), BasicException) << "the host has no data directory, and says so";
}

TEST(KyrLoyaltyException, CarriesATranslatableTextUnchanged)
{
    const tr::Tr text(u"id"_s, u"Текст"_s);
    EXPECT_EQ(KyrLoyaltyException(text).tr(), text);
    EXPECT_STREQ(KyrLoyaltyException(text).what(), "Текст");
}

TEST(KyrLoyaltyException, PutsAPlainTextIntoTheUndefinedContext)
{
    EXPECT_EQ(KyrLoyaltyException(u"Текст"_s).tr(), tr::Tr(u"undefined"_s, u"Текст"_s));
}

TEST(KyrLoyaltyException, IsCaughtAsTheHostsException)
{
    EXPECT_THROW(throw KyrLoyaltyException(u"Текст"_s), BasicException);
}

} // namespace
