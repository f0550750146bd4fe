#include "till/checkout/receiptsums.h"
#include "till/checkout/till.h"

#include "host/core/activitynotifier.h"
#include "host/core/session.h"
#include "host/storage/documents.h"
#include "host/storage/store.h"
#include "host/utils/basicexception.h"
#include "host/utils/logging.h"
#include "till/checkout/spendingshares.h"
#include "till/setup/hostobjects.h"
#include "till/setup/settings.h"

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace till {

namespace {

// Kept with the receipt itself.
const QString ownName = u"Till"_s;
const QString stageKey = u"stage"_s;
const QString applied = u"appliedImpacts"_s;

QString nameOf(Till::Stage stage)
{
    switch (stage) {
    case Till::Stage::Paying:
        return u"paying"_s;
    case Till::Stage::Settled:
        return u"settled"_s;
    case Till::Stage::Abandoned:
        return u"abandoned"_s;
    case Till::Stage::Open:
        break;
    }
    return {};
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

void Till::change(const QSharedPointer<Document>& receipt)
{
    saveReceipt(receipt);
    m_receipt = receipt;
    hostObject<Session>().setDocument(receipt);
    loyalty().setDocument(receipt);
}

void Till::open(const QSharedPointer<Document>& receipt)
{
    change(receipt);
    ++m_opened;
    m_journal.note(receipt->getIdentifier(), u"opened"_s);
}

void Till::save() const { saveReceipt(m_receipt); }

bool Till::spendPoints(double points, double wanted)
{
    m_guard->expectSpending(points, wanted);
    const bool answered = unknownSpending() && !loyalty().getBonusImpacts().isEmpty(); // but it was not kept
    if (answered || loyalty().spendPoints()) {
        if (!finishSpending(points)) {
            m_journal.note(m_receipt->getIdentifier(), u"unknown"_s);
            throw std::runtime_error(
                u"Служба не сообщила, на какие позиции списаны баллы. Чек %1: %2"_s
                    .arg(m_receipt->getIdentifier(), unknownSpendingText({points, wanted, {}}))
                    .toStdString());
        }
        return true;
    }
    if (m_guard->nothingSpent()) {
        setUnknownSpending(*m_receipt, std::nullopt);
        save();
    } else if (unknownSpending()) {
        m_journal.note(m_receipt->getIdentifier(), u"unknown"_s);
    }
    return false;
}

/// Makes the one impact that came with those points a discount, in the same save that ends the doubt.
bool Till::finishSpending(double points)
{
    const auto& impacts = loyalty().getBonusImpacts();
    const auto impact = impacts.size() == appliedImpacts() + 1 ? impacts.last() : nullptr;
    const QString fault =
        impact ? shareFault(*impact, *m_receipt, worthOf(hostObject<Config>(), points)) : u"no discount"_s;
    if (fault.isEmpty()) {
        setUnknownSpending(*m_receipt, std::nullopt);
        applyImpacts();
        return true;
    }
    utils::logger(u"till"_s)->error(
        u"Receipt %1: the service says that points were spent, but not on which positions: %2"_s.arg(
            m_receipt->getIdentifier(), fault));
    loyalty().cancel(); // there were no impacts before; asked again, the service repeats its first answer
    return false;
}

std::optional<UnknownSpending> Till::unknownSpending() const
{
    return m_receipt ? unknownSpendingOf(*m_receipt) : std::nullopt;
}

int Till::appliedImpacts() const { return m_receipt->getPluginData(ownName, applied, 0).toInt(); }

// The plug-in saves the receipt when the points are spent, so a power cut may come before they are a
// discount.
void Till::applyImpacts() const
{
    const auto& impacts = loyalty().getBonusImpacts();
    for (qsizetype i = appliedImpacts(); i < impacts.size(); ++i) {
        if (impacts[i])
            apply(*impacts[i], *m_receipt);
    }
    m_receipt->setPluginData(ownName, applied, static_cast<int>(impacts.size()));
    save();
}

bool Till::hasSpentPoints() const
{
    return m_receipt && m_receipt->getDocumentType() == SaleReceipt &&
           (!loyalty().getBonusImpacts().isEmpty() || bonusDiscountOf(*m_receipt) != 0);
}

bool Till::cancel()
{
    if (!loyalty().cancel())
        return false;
    if (m_receipt)
        applyImpacts(); // none are left
    return true;
}

Till::Stage Till::stage() const
{
    const QString name = m_receipt ? m_receipt->getPluginData(ownName, stageKey, {}).toString() : QString();
    for (const Stage known : {Stage::Paying, Stage::Settled, Stage::Abandoned}) {
        if (name == nameOf(known))
            return known;
    }
    return Stage::Open;
}

void Till::setStage(Stage stage) const
{
    const QVariant before = m_receipt->getPluginData(ownName, stageKey, {});
    m_receipt->setPluginData(ownName, stageKey, nameOf(stage));
    try {
        save();
    } catch (...) {
        m_receipt->setPluginData(ownName, stageKey, before);
        throw;
    }
}

// The queue's messages, the sale's record that a return changes, the receipt itself and its journal: all are
// kept or none is. A receipt found both open and stored is therefore closed in every respect.
bool Till::close()
{
    const QString identifier = m_receipt->getIdentifier();
    try {
        utils::Transaction transaction;
        if (card() && !loyalty().commit(m_receipt))
            return false;
        hostObject<DocumentsDao>().store(m_receipt);
        hostObject<ActivityNotifier>().notify(Event(EActivityListener::ReceiptClosed));
        utils::Journal().add(ReceiptJournal::entry(identifier, u"closed"_s));
        transaction.commit();
    } catch (...) {
        loyalty().restoreLoyaltySystem(); // the commit has cleared it, but the receipt is still open
        throw;
    }
    m_closed.append(identifier);
    leave();
    return true;
}

bool Till::abandon()
{
    // Said beforehand: the rollback saves a receipt whose spending is undone, and that may never be paid.
    setStage(Stage::Abandoned);
    // Without numbers the service knows nothing of it: it was never asked, or the rollback is done.
    const bool isKnown = card() && !card()->getOperationId().isEmpty();
    if (isKnown ? !loyalty().rollback(m_receipt) : !loyalty().cancel())
        return false;
    m_journal.note(m_receipt->getIdentifier(), u"abandoned"_s);
    leave();
    return true;
}

// What could not be removed is found by the next start, which knows that it came to its end; until then the
// next receipt takes its place. Whoever has paid is not to be told that it failed.
void Till::leave()
{
    letGo();
    try {
        SaveToFileLogic::removeOpenReceipt();
    } catch (const BasicException& failure) {
        utils::logger(u"till"_s)->warn(u"The receipt is finished, but its file stays: "_s +
                                       failure.tr().ru());
    }
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
