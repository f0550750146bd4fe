#include "host/shop/shopdocuments.h"

#include "host/core/document.h"
#include "host/shop/familylock.h"
#include "host/shop/places.h"
#include "host/storage/documentcodec.h"
#include "host/storage/store.h"
#include "host/utils/logging.h"

#include <algorithm>

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
    const auto own = DocumentsDao::loadDocument(reference, forUpdate);
    if (own && (!forUpdate || isHere(identifier)))
        return own;
    try {
        if (forUpdate && storage::store()->isInTransaction())
            enlist(identifier);
        const auto found = loadFromShop(identifier);
        if (!found && own)
            throw DatabaseError(Fault::Conflict, u"receipt %1 is just moving there"_s.arg(identifier));
        return found;
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
    const QVariant month = placeOf(m_database, identifier);
    if (month.isNull())
        return nullptr;
    const auto found = m_database
                           .run(u"SELECT content, till FROM documents WHERE month = $1 AND identifier = $2"_s,
                                {month, identifier})
                           .rows;
    // Of this till, and its store does not know: it will rely on it.
    if (!found.isEmpty() && found[0][1] == m_till && !LocalMarks().hasMoved(identifier))
        m_database.write();
    return found.isEmpty() ? nullptr : documentOf(month, identifier, found[0][0].toByteArray());
}

QSharedPointer<Document> ShopDocuments::documentOf(const QVariant& month, const QString& identifier,
                                                   const QByteArray& content)
{
    const auto records =
        m_database
            .run(u"SELECT content, revision FROM card_records WHERE month = $1 AND document = $2"_s,
                 {month, identifier})
            .rows;
    return documentWith(identifier, content, records, m_database.where());
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
    auto returns = DocumentsDao::returnsOf(sale);
    if (isHere(sale))
        return returns;
    const QVariant month = placeOf(m_database, sale);
    const auto rows = m_database
                          .run(u"SELECT identifier, content FROM documents WHERE month = $1 AND sale = $2 "
                               "AND sale <> '' ORDER BY stored, identifier"_s,
                               {month, sale})
                          .rows;
    for (const QVariantList& row : rows) {
        returns.removeIf([&](const auto& own) { return own->getIdentifier() == row[0].toString(); });
        returns.append(documentOf(month, row[0].toString(), row[1].toByteArray()));
    }
    return returns;
}

QList<ClosedSale> ShopDocuments::newestSales(int limit)
{
    QList<ClosedSale> sales = DocumentsDao::newestSales(limit);
    try {
        const auto rows =
            m_database
                .run(u"SELECT identifier, content, month FROM documents WHERE sale = '' AND till = $1 "
                     "ORDER BY stored DESC LIMIT $2"_s,
                     {m_till, limit})
                .rows;
        for (const QVariantList& row : rows) {
            const QString identifier = row[0].toString();
            const bool isKnown =
                std::any_of(sales.cbegin(), sales.cend(),
                            [&identifier](const ClosedSale& sale) { return sale.identifier == identifier; });
            if (!isKnown && sales.size() < limit)
                sales.append({identifier,
                              ifWhole([&] { return documentOf(row[2], identifier, row[1].toByteArray()); })});
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
