#include "till/checkout/till.h"

#include "host/core/session.h"
#include "host/queue/dbqueuebroker.h"
#include "host/shop/shopdocuments.h"
#include "host/storage/datacheck.h"
#include "host/storage/datadirectory.h"
#include "host/storage/documents.h"
#include "host/storage/storageerror.h"
#include "host/utils/logging.h"
#include "host/utils/masking.h"
#include "till/checkout/deliverynow.h"
#include "till/checkout/failure.h"
#include "till/cli/usageerror.h"
#include "till/setup/hostobjects.h"
#include "till/setup/settings.h"
#include "till/setup/shopsettings.h"

using namespace Qt::StringLiterals;

namespace till {

namespace {

/// Messages of one receipt keep their order, and a return's follow its sale's.
QString messageGroup()
{
    const auto document = hostObject<Session>().getDocument();
    if (!document)
        return {};
    return document->getDocumentType() == ReturnReceipt ? document->getSaleDocumentId().toString()
                                                        : document->getIdentifier();
}

/// Two tills on one open receipt would overwrite each other's.
std::unique_ptr<storage::FileLock> lockDirectory()
{
    try {
        return std::make_unique<storage::FileLock>(u"till.lock"_s);
    } catch (const BasicException& failure) {
        if (failure.tr().id() != storage::storageError(storage::StorageFault::Locked, {}).tr().id())
            throw;
        throw UsageError(u"another till works on this data directory; end it, or give this one a "
                         "--data-dir of its own (%1)"_s.arg(failure.tr().ru()));
    }
}

/// Asks the cashier, for whom nobody else is to wait.
class Questions : public DialogFrontend
{
public:
    Questions(DialogFrontend& cashier, const std::unique_ptr<Checkout>& checkout)
        : m_cashier(cashier)
        , m_checkout(checkout)
    {}

    int chooseFromList(const ChoiceRequest& request) override
    {
        const auto pause = m_checkout->breakStep();
        return m_cashier.chooseFromList(request);
    }
    core::BasicDialog::Result inputText(const TextInputRequest& request) override
    {
        const auto pause = m_checkout->breakStep();
        return m_cashier.inputText(request);
    }

private:
    DialogFrontend& m_cashier;
    const std::unique_ptr<Checkout>& m_checkout; ///< there whenever a loyalty system is asked for something
};

} // namespace

Till::Till(const Parts& parts, const Config& config, DialogFrontend& cashier)
    : m_language(languageOf(config))
    , m_parts(parts)
{
    storage::setDataDirectory(parts.dataDirectory.isEmpty() ? m_ownDirectory.path() : parts.dataDirectory);
    m_lock = lockDirectory();
    auto& settings = hostObject<Config>();
    settings = config;
    if (!namesService(settings))
        startService(settings);
    m_questions = std::make_unique<Questions>(cashier, m_checkout);
    m_dialogs = Dialog::registerFrontend(*m_questions);
    try {
        startUp();
    } catch (...) {
        end(); // without an object there is no destructor
        throw;
    }
    if (!m_found.isEmpty())
        utils::logger(u"till"_s)->info(m_found.ru());
}

Till::~Till() { end(); }

void Till::end()
{
    shutDown();
    storage::setDataDirectory({});
}

void Till::startService(Config& settings)
{
    m_standSetup = {.program = m_parts.standProgram,
                    .dataFile = storage::dataFile(u"stand.sqlite"_s),
                    .logFile = storage::dataFile(u"stand.log"_s),
                    .ratio = standRatio(settings)};
    setServiceUp(true);
    setServerUrl(settings, m_stand->url());
    setCredentials(settings, StandProcess::user(), StandProcess::password());
}

void Till::setServiceUp(bool up)
{
    if (!up)
        m_stand.reset();
    else if (!m_stand)
        m_stand = std::make_unique<StandProcess>(m_standSetup);
    if (m_stand)
        m_standSetup.port = m_stand->port();
}

QString Till::serviceUrl() const { return u"http://127.0.0.1:%1/"_s.arg(m_standSetup.port); }

void Till::startUp()
{
    QList<tr::Tr> found;
    const storage::OpenedStore opened = openDataDirectory();
    m_store = opened.store;
    for (const storage::DataFinding& finding : opened.findings)
        found.append(finding.text);
    if (const auto shop = shopOf(hostObject<Config>())) {
        dropHostObject<DocumentsDao>();
        Singleton<DocumentsDao>::instance = new shop::ShopDocuments(shop->till, shop->database);
    }
    const QString shop = hostObject<Config>().getString(u"Till:shopCode"_s, u"1"_s);
    hostObject<Session>().getRegistry()->setShopCode(shop);
    m_plugin = std::make_unique<PluginHost>(m_parts.pluginFile);
    m_groups = DBQueueBroker::registerGroupSource(messageGroup);
    m_checkout = std::make_unique<Checkout>(m_plugin->loyalty(), *m_lock, m_turnover);
    if (const tr::Tr open = m_checkout->recover(); !open.isEmpty())
        found.append(open);
    m_found = tr::Tr::joined(found, u" "_s);
}

// The receipt first: it holds objects that the plug-in made.
void Till::shutDown()
{
    m_checkout.reset();
    m_groups = {};
    m_plugin.reset();
    m_queue.reset();
    m_store.reset();
    dropHostObject<Session>();
    dropHostObject<DocumentsDao>();
    dropHostObject<DBQueueBroker>();
}

tr::Tr Till::restart()
{
    m_lock->requireInPlace();
    shutDown();
    try {
        startUp();
    } catch (const BasicException& failure) {
        throw UsageError(failure.tr().ru());
    }
    return m_found.isEmpty() ? tr::Tr(u"tillFoundNothing"_s, u"Открытого чека нет"_s) : m_found;
}

DeliveryResult Till::deliver()
{
    DeliveryResult delivery;
    carryOut(delivery, [&] {
        m_lock->requireInPlace();
        const Checkout::Pause pause = m_checkout->pauseGuard(); // what waits is on disk, whoever's it is
        const auto summary = deliverNow(queue(), hostObject<Config>());
        delivery.delivered = summary.delivered;
        m_delivered += summary.delivered;
        if (summary.waiting == 0 && summary.parked == 0)
            return;
        QList<tr::Tr> left{tr::Tr(u"tillLeft"_s, u"В очереди осталось сообщений: %1"_s)
                               .arg(QString::number(summary.waiting + summary.parked))};
        if (summary.parked > 0)
            left.append(tr::Tr(u"tillLeftParked"_s, u", из них отклонено службой: %1"_s)
                            .arg(QString::number(summary.parked)));
        if (!summary.firstError.isEmpty())
            left.append({{}, u" (%1)"_s.arg(utils::maskNumbers(summary.firstError))});
        fail(tr::Tr::joined(left, {}));
    });
    return delivery;
}

MessageQueue& Till::queue() { return m_queue.get(); }

} // namespace till
