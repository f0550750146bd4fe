#include "host/shop/shopdocuments.h"

#include "host/core/document.h"
#include "host/shop/familylock.h"
#include "host/shop/places.h"
#include "host/storage/documentcodec.h"
#include "host/storage/store.h"
#include "host/utils/logging.h"

#include <algorithm>
#include <iterator>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace shop {

namespace {

// A cashier waits.
constexpr Patience patience{.statement = 3s, .pause = 5s};

} // namespace

ShopDocuments::ShopDocuments(const QString& till, const QString& address)
    : m_till(till)
    , m_database(address, patience)
{}

ShopDocuments::~ShopDocuments() = default;

QSharedPointer<AbstractDocument> ShopDocuments::loadDocument(const QVariant& reference, bool forUpdate)
{
    const QString identifier = reference.toString();
    m_seesAll = true;
    auto own = DocumentsDao::loadDocument(reference, forUpdate);
    if (own && (!forUpdate || isHere(identifier)))
        return own;
    try {
        if (forUpdate && storage::store()->isInTransaction())
            enlist(identifier);
        return loadFromShop(identifier);
    } catch (const DatabaseError& failure) {
        if (failure.fault() == Fault::Conflict)
            throw;
        m_seesAll = false;
        utils::logger(u"shop"_s)->warn(failure.tr().ru());
        return nullptr;
    }
}

bool ShopDocuments::isHere(const QString& identifier)
{
    return DocumentsDao::contains(identifier) && !LocalMarks().isMoving(identifier);
}

bool ShopDocuments::contains(const QString& identifier)
{
    return DocumentsDao::contains(identifier) || LocalMarks().hasMoved(identifier);
}

QSharedPointer<Document> ShopDocuments::loadFromShop(const QString& identifier)
{
    const SharedReceipt found = m_receipts.find(identifier);
    const bool isOwn = found.document && found.till == m_till;
    // Nobody knows yet whether it arrives; what is there may be another till's of the same identifier.
    if (!isOwn && DocumentsDao::contains(identifier))
        throw DatabaseError(Fault::Conflict, u"receipt %1 is just moving there"_s.arg(identifier));
    // Its store does not know, and will rely on it.
    if (isOwn && !LocalMarks().hasMoved(identifier))
        m_database.write();
    return found.document;
}

void ShopDocuments::saveCardRecord(const QSharedPointer<DocumentCardRecord>& record)
{
    const QString identifier = record ? record->storedPlace().document : QString();
    const auto sale = identifier.isEmpty() || isHere(identifier) ? nullptr : loadFromShop(identifier);
    if (!sale || !sale->hasCardRecord(record->getKind())) {
        DocumentsDao::saveCardRecord(record);
        return;
    }
    const int next = record->storedPlace().revision + 1;
    if (storage::store()->isInTransaction())
        enlist(identifier);
    writeRecord(*record, next);
    record->setStoredPlace({identifier, next});
}

void ShopDocuments::store(const QSharedPointer<Document>& document)
{
    const QString identifier = document ? document->getIdentifier() : QString();
    if (!identifier.isEmpty() && LocalMarks().hasMoved(identifier)) {
        const SharedReceipt found = m_receipts.find(identifier);
        if (found.document) {
            requireStored(*document, *found.document, found.original);
            return;
        }
    }
    DocumentsDao::store(document);
}

void ShopDocuments::writeRecord(const DocumentCardRecord& record, int revision)
{
    const QString identifier = record.storedPlace().document;
    const qint64 written =
        m_database
            .run(u"INSERT INTO card_records (month, document, kind, revision, content) "
                 "SELECT month, identifier, $2::integer, $3::integer, $4::bytea FROM places WHERE "
                 "identifier = $1 "
                 "ON CONFLICT (month, document, kind) DO UPDATE SET revision = excluded.revision, "
                 "content = excluded.content WHERE card_records.revision = excluded.revision - 1"_s,
                 {identifier, static_cast<int>(record.getKind()), revision, documentcodec::written(record)})
            .changed;
    if (written == 0)
        throw DatabaseError(Fault::Conflict, u"the card of receipt %1"_s.arg(identifier));
}

QList<QSharedPointer<AbstractDocument>> ShopDocuments::returnsOf(const QString& sale)
{
    auto own = DocumentsDao::returnsOf(sale);
    if (isHere(sale))
        return own;
    QList<QSharedPointer<AbstractDocument>> returns;
    QStringList known;
    for (const auto& shared : m_receipts.returnsOf(sale)) {
        known.append(shared->getIdentifier());
        returns.append(shared);
    }
    std::copy_if(own.cbegin(), own.cend(), std::back_inserter(returns),
                 [&](const auto& one) { return !known.contains(one->getIdentifier()); });
    return returns;
}

QList<ClosedSale> ShopDocuments::newestSales(int limit)
{
    QList<ClosedSale> sales = DocumentsDao::newestSales(limit);
    try {
        for (const ClosedSale& shared : m_receipts.newestSales(m_till, limit)) {
            const bool isKnown = std::any_of(sales.cbegin(), sales.cend(), [&](const ClosedSale& sale) {
                return sale.identifier == shared.identifier;
            });
            if (!isKnown && sales.size() < limit)
                sales.append(shared);
        }
    } catch (const DatabaseError& failure) {
        utils::logger(u"shop"_s)->warn(failure.tr().ru());
    }
    return sales;
}

void ShopDocuments::enlist(const QString& family)
{
    if (!m_database.isInTransaction()) {
        m_families.clear();
        m_database.begin();
        storage::store()->accompany(*this);
    }
    if (m_families.contains(family))
        return;
    lockFamily(m_database, family);
    m_families.append(family);
}

void ShopDocuments::keep()
{
    for (const QString& family : m_families)
        moving().carry(family);
    m_database.commit();
    moving().wakeDeliveries();
}

void ShopDocuments::undo() noexcept { m_database.rollback(); }

// Not before there is a store.
Moving& ShopDocuments::moving()
{
    if (!m_moving)
        m_moving.emplace(m_till, m_database);
    return *m_moving;
}

} // namespace shop
