#include "host/shop/sharedreceipts.h"

#include "host/shop/places.h"
#include "host/storage/documentcodec.h"

using namespace Qt::StringLiterals;

namespace shop {

SharedReceipt SharedReceipts::find(const QString& identifier) const
{
    const QVariant month = placeOf(m_database, identifier);
    const auto found = month.isNull() ? QList<QVariantList>()
                                      : m_database
                                            .run(u"SELECT content, till FROM documents WHERE month = $1 AND "
                                                 "identifier = $2"_s,
                                                 {month, identifier})
                                            .rows;
    if (found.isEmpty())
        return {identifier, {}};
    const QByteArray original = found[0][0].toByteArray();
    return {identifier, found[0][1].toString(), read(month, identifier, original), original};
}

QString SharedReceipts::tillOf(const QString& identifier) const
{
    return m_database
        .run(u"SELECT till FROM documents WHERE month = $1 AND identifier = $2"_s,
             {placeOf(m_database, identifier), identifier})
        .rows.value(0)
        .value(0)
        .toString();
}

QList<QSharedPointer<Document>> SharedReceipts::returnsOf(const QString& sale) const
{
    const QVariant month = placeOf(m_database, sale);
    QList<QSharedPointer<Document>> returns;
    const auto rows = m_database
                          .run(u"SELECT identifier, content FROM documents WHERE month = $1 AND sale = $2 "
                               "AND sale <> '' ORDER BY stored, identifier"_s,
                               {month, sale})
                          .rows;
    for (const QVariantList& row : rows)
        returns.append(read(month, row[0].toString(), row[1].toByteArray()));
    return returns;
}

QList<ClosedSale> SharedReceipts::newestSales(const QString& till, int limit) const
{
    QList<ClosedSale> sales;
    const auto rows = m_database
                          .run(u"SELECT identifier, content, month FROM documents WHERE sale = '' AND "
                               "till = $1 ORDER BY stored DESC LIMIT $2"_s,
                               {till, limit})
                          .rows;
    for (const QVariantList& row : rows) {
        const QString identifier = row[0].toString();
        addSale(sales, identifier, [&] { return read(row[2], identifier, row[1].toByteArray()); });
    }
    return sales;
}

QSharedPointer<Document> SharedReceipts::read(const QVariant& month, const QString& identifier,
                                              const QByteArray& content) const
{
    const auto records =
        m_database
            .run(u"SELECT content, revision FROM card_records WHERE month = $1 AND document = $2"_s,
                 {month, identifier})
            .rows;
    return documentcodec::assembled(content, records, m_database.where());
}

} // namespace shop
