#include "till/checkout/till.h"

#include "host/core/session.h"
#include "host/queue/dbqueuebroker.h"
#include "host/storage/datacheck.h"
#include "host/storage/datadirectory.h"
#include "host/storage/documents.h"
#include "host/storage/storageerror.h"
#include "host/utils/logging.h"
#include "till/cli/usageerror.h"
#include "till/setup/hostobjects.h"
#include "till/setup/settings.h"

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
std::unique_ptr<utils::FileLock> lockDirectory()
{
    try {
        return std::make_unique<utils::FileLock>(u"till.lock"_s);
    } catch (const BasicException& failure) {
        if (failure.tr().id() != utils::storageError(utils::StorageFault::Locked, {}).tr().id())
            throw;
        throw UsageError(u"another till works on this data directory; end it, or give this one a "
                         "--data-dir of its own (%1)"_s.arg(failure.tr().ru()));
    }
}

} // namespace

Till::Till(const Parts& parts, const Config& config, DialogFrontend* terminal)
    : m_parts(parts)
    , m_cashier(terminal)
{
    utils::setDataDirectory(parts.dataDirectory.isEmpty() ? m_ownDirectory.path() : parts.dataDirectory);
    m_lock = lockDirectory();
    auto& settings = hostObject<Config>();
    settings = config;
    if (!namesService(settings))
        startService(settings);
    m_dialogs = Dialog::registerFrontend(m_cashier);
    try {
        startUp();
    } catch (...) {
        end(); // without an object there is no destructor
        throw;
    }
    if (!m_found.isEmpty())
        utils::logger(u"till"_s)->info(m_found);
}

Till::~Till() { end(); }

void Till::end()
{
    m_dialogs = {};
    shutDown();
    m_stand.reset();
    utils::setDataDirectory({});
}

void Till::startService(Config& settings)
{
    m_standSetup = {.program = m_parts.standProgram,
                    .dataFile = utils::dataFile(u"stand.sqlite"_s),
                    .logFile = utils::dataFile(u"stand.log"_s),
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
    QStringList found;
    const utils::OpenedStore opened = openDataDirectory();
    m_store = opened.store;
    for (const utils::DataFinding& finding : opened.findings)
        found.append(finding.text.ru());
    const QString shop = hostObject<Config>().getString(u"Till:shopCode"_s, u"1"_s);
    hostObject<Session>().getRegistry()->setShopCode(shop);
    m_plugin = std::make_unique<PluginHost>(m_parts.pluginFile);
    m_groups = DBQueueBroker::registerGroupSource(messageGroup);
    m_guard = std::make_unique<RequestGuard>([this] { return m_receipt; }, m_journal);
    found.append(recover());
    m_found = found.join(u' ').trimmed();
}

// The receipt first: it holds objects that the plug-in made.
void Till::shutDown()
{
    m_guard.reset();
    m_groups = {};
    if (m_plugin)
        letGo();
    m_plugin.reset();
    m_queue.reset();
    m_journal.reset();
    m_store.reset();
    dropHostObject<Session>();
    dropHostObject<DocumentsDao>();
    dropHostObject<DBQueueBroker>();
}

QString Till::restart()
{
    shutDown();
    try {
        startUp();
    } catch (const BasicException& failure) {
        throw UsageError(failure.tr().ru());
    }
    return m_found.isEmpty() ? u"Открытого чека нет"_s : m_found;
}

void Till::requireInPlace() const { m_lock->requireInPlace(); }

MessageQueue& Till::queue() { return m_queue.get(); }

} // namespace till
