#include "host/core/activitynotifier.h"
#include "host/core/basicloyaltysystem.h"
#include "host/core/document.h"
#include "host/core/loyaltysystems.h"
#include "tests/support/hostworld.h"

#include <QJsonObject>
#include <QMetaMethod>
#include <QPluginLoader>
#include <QPointer>

#include <dlfcn.h>

using namespace Qt::StringLiterals;

namespace {

constexpr auto pluginInterface = "ru.poshost.AbstractPlugin";

/// The library as the host meets it: a file.
class LoadedPlugin : public test_support::HostWorld
{
protected:
    LoadedPlugin() { EXPECT_NE(object, nullptr) << loader.errorString().toStdString(); }
    ~LoadedPlugin() override
    {
        delete loader.instance(); // the loader's instance is the host's to delete
    }

    void sendEvent(int code)
    {
        const Event event(static_cast<EActivityListener::Event>(code));
        ASSERT_TRUE(
            QMetaObject::invokeMethod(object, "handleEvent", Qt::DirectConnection, Q_ARG(Event, event)));
    }

    QPluginLoader loader{QStringLiteral(KYR_PLUGIN)};
    QObject* object = loader.instance();
};

/// A session that tells whether anybody asked it for its document.
class WatchedSession : public Session
{
public:
    QSharedPointer<AbstractDocument> getDocument() const override
    {
        ++asked;
        return Session::getDocument();
    }
    mutable int asked = 0;
};

TEST_F(LoadedPlugin, SaysItsInterfaceAndClassInItsMetadata)
{
    const QJsonObject metadata = loader.metaData();
    EXPECT_EQ(metadata.value(u"IID"_s).toString(), u"KyrLoyalty"_s);
    EXPECT_EQ(metadata.value(u"className"_s).toString(), u"KyrLoyalty"_s);
}

TEST_F(LoadedPlugin, IsBuiltForTheQtThatItWasBuiltWith)
{
    const int version = loader.metaData().value(u"version"_s).toInt();
    EXPECT_EQ(version >> 16, QT_VERSION_MAJOR);
    EXPECT_EQ((version >> 8) & 0xff, QT_VERSION_MINOR);
}

TEST_F(LoadedPlugin, AnswersItsOwnNameWithItself)
{
    EXPECT_EQ(object->qt_metacast("KyrLoyalty"), static_cast<void*>(object));
}

TEST_F(LoadedPlugin, AnswersBothLoyaltyNamesWithTheLoyaltySystem)
{
    auto* loyalty = dynamic_cast<BasicLoyaltySystem*>(object);
    ASSERT_NE(loyalty, nullptr);
    EXPECT_EQ(object->qt_metacast("BasicLoyaltySystem"), static_cast<void*>(loyalty));
    EXPECT_EQ(object->qt_metacast("LoyaltySystem"), static_cast<void*>(loyalty));
    EXPECT_NE(static_cast<void*>(loyalty), static_cast<void*>(object));
    EXPECT_EQ(qobject_cast<BasicLoyaltySystem*>(object), loyalty);
}

TEST_F(LoadedPlugin, AnswersTheHostsPluginNameWithTheBasicPlugin)
{
    auto* plugin = dynamic_cast<BasicPlugin*>(object);
    ASSERT_NE(plugin, nullptr);
    EXPECT_EQ(object->qt_metacast(pluginInterface), static_cast<void*>(plugin));
    EXPECT_EQ(qobject_cast<BasicPlugin*>(object), plugin);
}

TEST_F(LoadedPlugin, PassesTheListenersNamesToItsBase)
{
    EXPECT_EQ(object->qt_metacast("BaseActivityListener"),
              static_cast<void*>(dynamic_cast<BaseActivityListener*>(object)));
    EXPECT_EQ(object->qt_metacast("QObject"), static_cast<void*>(object));
}

TEST_F(LoadedPlugin, AnswersNullAndUnknownNamesWithNull)
{
    EXPECT_EQ(object->qt_metacast(nullptr), nullptr);
    EXPECT_EQ(object->qt_metacast("SomebodyElse"), nullptr);
    EXPECT_EQ(object->qt_metacast("kyrloyalty"), nullptr);
    EXPECT_EQ(object->qt_metacast(""), nullptr);
}

TEST_F(LoadedPlugin, GivesOneInstanceHoweverOftenItIsAsked)
{
    EXPECT_EQ(loader.instance(), object);
    QPluginLoader other(QStringLiteral(KYR_PLUGIN));
    EXPECT_EQ(other.instance(), object);
}

TEST_F(LoadedPlugin, MakesANewInstanceAfterTheFirstWasDeleted)
{
    const QPointer<QObject> first = object;
    delete object;
    EXPECT_TRUE(first.isNull());
    object = loader.instance();
    ASSERT_NE(object, nullptr);
    EXPECT_NE(object->qt_metacast("KyrLoyalty"), nullptr);
}

// Through the symbol itself: QPluginLoader remembers what it got and would hide a second object.
TEST(EntryPoint, GivesOneObjectUntilThatIsDeletedAndThenANewOne)
{
    void* library = dlopen(KYR_PLUGIN, RTLD_NOW);
    ASSERT_NE(library, nullptr) << dlerror();
    const auto instance = reinterpret_cast<QObject* (*)()>(dlsym(library, "qt_plugin_instance"));
    ASSERT_NE(instance, nullptr) << dlerror();

    QObject* first = instance();
    first->setObjectName(u"first"_s);
    EXPECT_EQ(instance(), first);
    delete first;
    QObject* second = instance();
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(second->objectName(), QString()) << "a new one, though perhaps in the old one's place";
    EXPECT_NE(second->qt_metacast("KyrLoyalty"), nullptr);
    EXPECT_EQ(instance(), second);
    delete second;
    dlclose(library);
}

TEST_F(LoadedPlugin, HasTheSlotAsItsOneMethod)
{
    const QMetaObject* meta = object->metaObject();
    EXPECT_STREQ(meta->className(), "KyrLoyalty");
    ASSERT_EQ(meta->methodCount() - meta->methodOffset(), 1);
    EXPECT_EQ(meta->method(meta->methodOffset()).methodSignature(), "handleEvent(Event)");
}

TEST_F(LoadedPlugin, TakesEventsAsAComparableMetaType)
{
    const QMetaType type = QMetaType::fromName("Event");
    ASSERT_TRUE(type.isValid());
    EXPECT_TRUE(type.isEqualityComparable());
    Event one(EActivityListener::ReceiptClosed);
    const Event same(EActivityListener::ReceiptClosed);
    EXPECT_TRUE(type.equals(&one, &same));
    one.addArgument(u"message"_s, 1);
    EXPECT_FALSE(type.equals(&one, &same));
}

TEST_F(LoadedPlugin, SeesTheProgramsSessionWhenItsSlotIsInvokedByName)
{
    auto* session = new WatchedSession;
    Singleton<Session>::instance = session;
    sendEvent(10);
    EXPECT_EQ(session->asked, 1);
}

TEST_F(LoadedPlugin, CreatesTheMissingSessionForTheProgramToo)
{
    ASSERT_EQ(Singleton<Session>::instance, nullptr);
    sendEvent(10);
    EXPECT_NE(Singleton<Session>::instance, nullptr);
}

TEST_F(LoadedPlugin, RegistersWithTheProgramsLoyaltySystemsAndLeavesThemWhenDeleted)
{
    auto* loyalty = qobject_cast<BasicLoyaltySystem*>(object);
    ASSERT_TRUE(loyalty->init());
    ASSERT_NE(Singleton<LoyaltySystems>::instance, nullptr);
    EXPECT_EQ(Singleton<LoyaltySystems>::instance->find(KyrLoyaltySystem), loyalty);
    delete object;
    EXPECT_EQ(Singleton<LoyaltySystems>::instance->find(KyrLoyaltySystem), nullptr);
}

TEST_F(LoadedPlugin, RefusesToStartWithAMalformedRatioAndStaysUnregistered)
{
    set("bonusRatio", u"1:2:3"_s);
    EXPECT_FALSE(qobject_cast<BasicLoyaltySystem*>(object)->init());
    EXPECT_EQ(Singleton<LoyaltySystems>::instance, nullptr);
    EXPECT_TRUE(log().join(u'\n').contains(u"Некорретный формат"_s));
}

TEST_F(LoadedPlugin, HearsTheProgramsEventsOnceStarted)
{
    ASSERT_TRUE(qobject_cast<BasicLoyaltySystem*>(object)->init());
    auto* session = new WatchedSession;
    Singleton<Session>::instance = session;
    Singleton<ActivityNotifier>::instance->notify(Event(EActivityListener::ReceiptClosed));
    EXPECT_EQ(session->asked, 1);
}

} // namespace
