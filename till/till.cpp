#include "till/till.h"

#include "host/core/activitynotifier.h"
#include "host/core/session.h"
#include "host/core/storage.h"
#include "host/network/dbqueuebroker.h"
#include "host/utils/datadirectory.h"
#include "host/utils/logging.h"
#include "till/hostobjects.h"
#include "till/settings.h"

using namespace Qt::StringLiterals;

namespace till {

namespace {

// How far the closing of a receipt has come, kept with the receipt itself.
const QString ownName = u"Till"_s;
const QString stage = u"stage"_s;
const QString applied = u"appliedImpacts"_s;
const QString settled = u"settled"_s;     // the loyalty system has done its part
const QString abandoned = u"abandoned"_s; // the cashier wants to be rid of it

/// Messages of one receipt keep their order, and a return's follow its sale's.
QString messageGroup()
{
    const auto document = hostObject<Session>().getDocument();
    if (!document)
        return {};
    return document->getDocumentType() == ReturnReceipt ? document->getSaleDocumentId().toString()
                                                        : document->getIdentifier();
}

bool isAt(const QSharedPointer<Document>& receipt, const QString& point)
{
    return receipt && receipt->getPluginData(ownName, stage, {}).toString() == point;
}

void apply(const BonusImpact& impact, const Document& receipt)
{
    for (const auto& [position, sum] : impact.getPositionSums()) {
        if (const auto item = receipt.getGoodsItemByPosnum(position))
            item->setBonusImpactSum(item->getBonusImpactSum() + sum);
    }
}

void saveReceipt(const QSharedPointer<Document>& receipt)
{
    MockFactory<SaveToFileLogic>::create()->save(receipt, {});
}

} // namespace

Till::Till(const Parts& parts, const Config& config, DialogFrontend* terminal)
    : m_parts(parts)
    , m_cashier(terminal)
{
    utils::setDataDirectory(parts.dataDirectory.isEmpty() ? m_ownDirectory.path() : parts.dataDirectory);
    auto& settings = hostObject<Config>();
    settings = config;
    if (!namesService(settings))
        startService(settings);
    startUp();
    Dialog::setFrontend(&m_cashier);
    m_found = recover();
    if (!m_found.isEmpty())
        utils::logger(u"till"_s)->info(m_found);
}

Till::~Till()
{
    Dialog::setFrontend(nullptr);
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
    const QString shop = hostObject<Config>().getString(u"Till:shopCode"_s, u"1"_s);
    hostObject<Session>().getRegistry()->setShopCode(shop);
    m_plugin = std::make_unique<PluginHost>(m_parts.pluginFile);
    DBQueueBroker::setGroupSource(messageGroup);
}

// The receipt first: it holds objects that the plug-in made.
void Till::shutDown()
{
    DBQueueBroker::setGroupSource({});
    if (m_plugin)
        letGo();
    m_plugin.reset();
    m_queue.reset();
    dropHostObject<Session>();
    dropHostObject<DocumentsDao>();
    dropHostObject<DBQueueBroker>();
}

QString Till::restart()
{
    shutDown();
    startUp();
    m_found = recover();
    return m_found.isEmpty() ? u"Открытого чека нет"_s : m_found;
}

// Each way out of a receipt ends with the removal of its file, so whatever was interrupted is found here.
QString Till::recover()
{
    const auto receipt = SaveToFileLogic::loadOpenReceipt();
    if (!receipt)
        return {};
    const QString name = u"Чек "_s + receipt->getIdentifier();
    m_receipt = receipt;
    hostObject<Session>().setDocument(receipt);
    if (hostObject<DocumentsDao>().loadDocument(receipt->getIdentifier(), false)) {
        finishClosing();
        return name + u" был оплачен: закрытие завершено"_s;
    }
    loyalty().setDocument(receipt);
    loyalty().restoreLoyaltySystem();
    if (isAt(receipt, abandoned)) {
        abandon();
        return name + u" отменялся: отмена завершена"_s;
    }
    applyImpacts();
    return u"Найден открытый чек "_s + receipt->getIdentifier();
}

MessageQueue& Till::queue()
{
    if (!m_queue)
        m_queue = std::make_unique<MessageQueue>();
    return *m_queue;
}

void Till::open(const QSharedPointer<Document>& receipt)
{
    change(receipt);
    ++m_opened;
}

void Till::change(const QSharedPointer<Document>& receipt)
{
    saveReceipt(receipt);
    m_receipt = receipt;
    hostObject<Session>().setDocument(receipt);
    loyalty().setDocument(receipt);
}

void Till::save() const { saveReceipt(m_receipt); }

// The plug-in saves the receipt when the points are spent, so a power cut may come before they are a
// discount.
void Till::applyImpacts() const
{
    const auto& impacts = loyalty().getBonusImpacts();
    for (qsizetype i = m_receipt->getPluginData(ownName, applied, 0).toInt(); i < impacts.size(); ++i) {
        if (impacts[i])
            apply(*impacts[i], *m_receipt);
    }
    m_receipt->setPluginData(ownName, applied, static_cast<int>(impacts.size()));
    save();
}

void Till::markSettled() const
{
    m_receipt->setPluginData(ownName, stage, settled);
    save();
}

bool Till::isSettled() const { return isAt(m_receipt, settled); }

void Till::close()
{
    hostObject<DocumentsDao>().store(m_receipt);
    finishClosing();
}

// The receipt is stored. When this is cut short it is done again, and the service knows a repeat.
void Till::finishClosing()
{
    hostObject<ActivityNotifier>().notify(Event(EActivityListener::ReceiptClosed));
    m_closed.append(m_receipt->getIdentifier());
    hostObject<Session>().setDocument(nullptr);
    SaveToFileLogic::removeOpenReceipt();
    letGo();
}

bool Till::abandon()
{
    // Said beforehand: the rollback saves a receipt whose spending is undone, and that may never be paid.
    m_receipt->setPluginData(ownName, stage, abandoned);
    save();
    if (card() && !loyalty().rollback(m_receipt))
        return false;
    hostObject<Session>().setDocument(nullptr);
    SaveToFileLogic::removeOpenReceipt();
    letGo();
    return true;
}

void Till::letGo()
{
    loyalty().setDocument(nullptr);
    hostObject<Session>().setDocument(nullptr);
    m_receipt.reset();
}

QSharedPointer<DocumentCardRecord> Till::card() const
{
    return m_receipt ? m_receipt->getCardRecord(KyrLoyaltySystem) : nullptr;
}

} // namespace till
