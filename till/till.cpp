#include "till/till.h"

#include "host/core/session.h"
#include "till/settings.h"

using namespace Qt::StringLiterals;

namespace till {

namespace {

template <class T>
T& hostObject()
{
    if (!Singleton<T>::instance)
        Singleton<T>::instance = new T;
    return *Singleton<T>::instance;
}

} // namespace

Till::Till(const Parts& parts, const Config& config, DialogFrontend* terminal)
    : m_cashier(terminal)
{
    auto& settings = hostObject<Config>();
    settings = config;
    if (!namesService(settings)) {
        m_stand = std::make_unique<StandProcess>(parts.standProgram);
        setServerUrl(settings, m_stand->url());
        setCredentials(settings, StandProcess::user(), StandProcess::password());
    }
    hostObject<Session>().getRegistry()->setShopCode(settings.getString(u"Till:shopCode"_s, u"1"_s));
    m_plugin = std::make_unique<PluginHost>(parts.pluginFile);
    Dialog::setFrontend(&m_cashier);
}

Till::~Till()
{
    Dialog::setFrontend(nullptr);
    hostObject<Session>().setDocument(nullptr);
}

void Till::open(const QSharedPointer<Document>& receipt)
{
    m_receipt = receipt;
    hostObject<Session>().setDocument(receipt);
    loyalty().setDocument(receipt);
}

QSharedPointer<DocumentCardRecord> Till::card() const
{
    return m_receipt ? m_receipt->getCardRecord(KyrLoyaltySystem) : nullptr;
}

} // namespace till
