#include "till/audit/receiptreport.h"

#include "host/core/document.h"
#include "host/network/exchangeoutcome.h"
#include "host/storage/storageerror.h"
#include "host/utils/masking.h"
#include "host/utils/money.h"
#include "till/audit/queuereport.h"
#include "till/audit/reconciliation.h"
#include "till/checkout/lateearning.h"
#include "till/checkout/receiptsums.h"
#include "till/checkout/unknownspending.h"

#include <QJsonArray>

#include <cstdint>

using namespace Qt::StringLiterals;

namespace till {

namespace {

const QString damagedState = u"damaged"_s;

QString stateOf(const ReceiptReport& report, bool closed)
{
    if (report.state == damagedState)
        return report.state;
    if (report.document)
        return closed ? u"closed"_s : u"open"_s;
    const auto abandoned = [](const storage::JournalEntry& entry) { return entry.event == u"abandoned"_s; };
    return std::any_of(report.timeline.begin(), report.timeline.end(), abandoned) ? u"abandoned"_s
                                                                                  : u"unknown"_s;
}

QString nextOf(const ReceiptReport& report)
{
    if (report.state == damagedState)
        return u"bring it back from a backup with till rescue; see docs/operations.md"_s;
    for (const QueuedMessage& message : report.pending) {
        if (message.damaged)
            return u"damaged: message %1 needs till queue drop"_s.arg(message.id);
        if (message.state == QueuedMessage::State::Parked)
            return u"parked: message %1 needs till queue retry or till queue drop"_s.arg(message.id);
    }
    if (!report.pending.isEmpty()) {
        const QueuedMessage& first = report.pending.first();
        return first.attempts == 0 ? u"waiting: message %1 is to be sent"_s.arg(first.id)
                                   : u"waiting: next attempt of message %1 at %2"_s.arg(
                                         QString::number(first.id), timeText(first.due));
    }
    const auto unknown = report.document ? unknownSpendingOf(*report.document) : std::nullopt;
    if (unknown && report.state == u"open"_s)
        return u"outcome unknown: the answer to spending %1 points was lost at %2; ask again for as many, or roll back"_s
            .arg(QString::number(unknown->points, 'f', 2), timeText(unknown->since));
    return report.state == u"open"_s ? u"the cashier goes on with it"_s : u"nothing is left to do"_s;
}

QJsonValue money(const std::optional<std::int64_t>& hundredths)
{
    return hundredths ? QJsonValue(static_cast<double>(*hundredths) / 100) : QJsonValue();
}

/// The points that an earning brought which had waited in the queue.
std::optional<double> earnedLater(const QList<storage::JournalEntry>& timeline)
{
    std::optional<double> points;
    for (const storage::JournalEntry& entry : timeline) {
        if (const auto told = entry.event == u"delivered"_s ? pointsIn(entry.detail) : std::nullopt)
            points = told;
    }
    return points;
}

QJsonArray positionsJson(const AbstractDocument& document)
{
    QJsonArray positions;
    for (const auto& item : document.getGoodsItems())
        positions.append(
            QJsonObject{{u"position"_s, item->getPosnum()},
                        {u"articul"_s, item->getArticul()},
                        {u"name"_s, item->getName(false)},
                        {u"price"_s, item->getPrice()},
                        {u"quantity"_s, item->getBquant()},
                        {u"discount"_s, utils::roundToHundredths(item->getDiscountSum())},
                        {u"pointsDiscount"_s, utils::roundToHundredths(item->getBonusImpactSum())},
                        {u"sum"_s, utils::roundToHundredths(item->getSumb())}});
    return positions;
}

QJsonObject entryJson(const storage::JournalEntry& entry)
{
    return {{u"time"_s, timeText(entry.time)},
            {u"event"_s, entry.event},
            {u"operation"_s, utils::maskNumbers(entry.operation)},
            {u"message"_s, entry.message == 0 ? QJsonValue() : QJsonValue(entry.message)},
            {u"code"_s, entry.code},
            {u"detail"_s, utils::maskNumbers(entry.detail)},
            {u"milliseconds"_s, entry.milliseconds}};
}

} // namespace

ReceiptReports::ReceiptReports(Records& records)
    : m_records(records)
{
    try {
        m_open = records.open();
    } catch (const BasicException& failure) {
        if (!storage::isFault(failure, storage::StorageFault::Damaged))
            throw;
        m_openIsDamaged = true;
    }
}

ReceiptReport ReceiptReports::of(const QString& identifier) const
{
    ReceiptReport report;
    report.identifier = identifier;
    report.timeline = m_records.journalOf(identifier);
    report.till = m_records.tillOf(identifier);
    try {
        report.document = m_records.closed(identifier);
    } catch (const BasicException& failure) {
        if (!storage::isFault(failure, storage::StorageFault::Damaged))
            throw;
        report.state = damagedState;
    }
    const bool closed = !report.document.isNull();
    if (!closed && m_open && m_open->getIdentifier() == identifier)
        report.document = m_open;
    report.state = stateOf(report, closed);
    const bool isReturn = report.document && report.document->getDocumentType() == ReturnReceipt;
    report.pending =
        m_records.messagesOf(isReturn ? report.document->getSaleDocumentId().toString() : identifier);
    report.next = nextOf(report);
    return report;
}

QList<ReceiptReport> ReceiptReports::latest(int limit) const
{
    QList<ReceiptReport> reports;
    if (m_openIsDamaged) {
        ReceiptReport unknown;
        unknown.identifier = u"open-receipt"_s;
        unknown.state = damagedState;
        unknown.next = u"restart the till, which sets it aside; see docs/operations.md"_s;
        reports.append(unknown);
    }
    for (const QString& identifier : m_records.latest(limit))
        reports.append(of(identifier));
    return reports;
}

QJsonObject summaryJson(const ReceiptReport& report)
{
    const AbstractDocument* document = report.document.get();
    const auto record = document ? document->getCardRecord(KyrLoyaltySystem) : nullptr;
    const QString type = !document                                      ? QString()
                         : document->getDocumentType() == ReturnReceipt ? u"return"_s
                                                                        : u"sale"_s;
    const QDateTime last = report.timeline.isEmpty() ? QDateTime() : report.timeline.last().time;
    QJsonArray pending;
    for (const QueuedMessage& message : report.pending)
        pending.append(messageJson(message));
    QJsonObject json{
        {u"receipt"_s, report.identifier},
        {u"type"_s, type},
        {u"state"_s, report.state},
        {u"last"_s, timeText(last)},
        {u"card"_s, record ? utils::maskWhole(record->getNumber().toString()) : QString()},
        {u"sum"_s, document ? QJsonValue(utils::roundToHundredths(document->getSum())) : QJsonValue()},
        {u"pointsDiscount"_s, document ? money(bonusDiscountOf(*document)) : QJsonValue()},
        {u"pending"_s, pending},
        {u"next"_s, report.next}};
    if (!report.till.isEmpty())
        json.insert(u"till"_s, report.till);
    return json;
}

QJsonObject receiptJson(const ReceiptReport& report)
{
    QJsonObject json = summaryJson(report);
    if (report.document) {
        const auto earned = earnedBy(*report.document);
        const bool isReturn = report.document->getDocumentType() == ReturnReceipt;
        json.insert(u"sale"_s, isReturn ? report.document->getSaleDocumentId().toString() : QString());
        const auto later = earnedLater(report.timeline);
        json.insert(u"earned"_s, money(earned));
        json.insert(u"earnedLater"_s, later ? QJsonValue(*later) : QJsonValue());
        json.insert(u"positions"_s, positionsJson(*report.document));
    }
    QJsonArray timeline;
    for (const storage::JournalEntry& entry : report.timeline)
        timeline.append(entryJson(entry));
    json.insert(u"timeline"_s, timeline);
    return json;
}

QStringList timelineCells(const storage::JournalEntry& entry)
{
    const bool wentWell = network::outcomeOf(entry.code) == network::ExchangeOutcome::Accepted;
    const bool exchanged = entry.milliseconds > 0 || !wentWell;
    QString outcome = entry.message == 0 ? QString() : u"message %1 "_s.arg(entry.message);
    if (exchanged)
        outcome += wentWell ? u"ok "_s : u"code %1 "_s.arg(entry.code);
    if (entry.milliseconds > 0)
        outcome += u"in %1 ms "_s.arg(entry.milliseconds);
    return {timeText(entry.time), entry.event, utils::maskNumbers(entry.operation),
            (outcome + utils::maskNumbers(entry.detail)).simplified()};
}

} // namespace till
