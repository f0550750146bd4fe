#include "tests/support/hostworld.h"

#include "host/core/activitynotifier.h"
#include "host/core/dialog.h"
#include "host/core/loyaltysystems.h"
#include "host/network/restclient.h"
#include "host/queue/dbqueuebroker.h"
#include "host/storage/documents.h"
#include "host/utils/currenttime.h"

#include <ostream>

using namespace Qt::StringLiterals;

namespace test_support {

namespace {

template <class T>
void drop()
{
    delete Singleton<T>::instance;
    Singleton<T>::instance = nullptr;
}

void dropAll()
{
    drop<ActivityNotifier>();
    drop<Config>();
    drop<DBQueueBroker>();
    drop<DocumentsDao>();
    drop<LoyaltySystems>();
    drop<Session>();
    MockFactory<CurrentTime>::mocked = nullptr;
    MockFactory<Dialog>::mocked = nullptr;
    MockFactory<RestClient>::mocked = nullptr;
    MockFactory<SaveToFileLogic>::mocked = nullptr;
}

} // namespace

HostWorld::HostWorld()
    : m_log(u"kyrloyalty"_s)
{
    dropAll();
    Singleton<Config>::instance = new Config;
    using Type = ConfigKey::Type;
    Singleton<Config>::instance->declare({{u"KYRLoyalty:serverUrl"_s, Type::Text, {}},
                                          {u"KYRLoyalty:user"_s, Type::Text, {}},
                                          {u"KYRLoyalty:password"_s, Type::Text, {}},
                                          {u"KYRLoyalty:timeout"_s, Type::Integer, {}},
                                          {u"KYRLoyalty:bonusRatio"_s, Type::Text, {}},
                                          {u"KYRLoyalty:currencyName"_s, Type::Text, {}},
                                          {u"KYRLoyalty:smsVerification"_s, Type::Boolean, {}}});
}

HostWorld::~HostWorld() { dropAll(); }

void HostWorld::set(const char* key, const QVariant& value)
{
    Singleton<Config>::instance->set(u"KYRLoyalty:"_s + QLatin1StringView(key), value);
}

} // namespace test_support

void PrintTo(const QString& text, std::ostream* out) { *out << '"' << text.toStdString() << '"'; }
