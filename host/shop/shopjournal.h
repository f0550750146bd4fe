#pragma once

#include "host/network/exchangeoutcome.h"
#include "host/shop/connection.h"
#include "host/storage/journal.h"

#include <QDateTime>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>

namespace shop {

/// What happened to the receipts that have moved on to the shop's database, for the administrator. Everything
/// throws DatabaseError when that can't be used.
class ShopJournal
{
public:
    /// With a till: only receipts to which that till has done something.
    explicit ShopJournal(Connection& database, QString till = {});

    /// All that happened to the receipt, whoever did it, by its time.
    [[nodiscard]] QList<storage::JournalEntry> of(const QString& receipt) const;
    /// The receipts to which something happened, the one of the latest entry first, at most `limit`.
    [[nodiscard]] QStringList receipts(int limit) const;
    /// Those to which something happened from the one moment until before the other, in that order.
    [[nodiscard]] QStringList receiptsBetween(const QDateTime& from, const QDateTime& until) const;
    /// Whether something happened to that receipt.
    [[nodiscard]] bool knows(const QString& receipt) const;
    /// How many attempts to deliver the receipts' messages had which outcome since that time; an outcome that
    /// none had is missing.
    [[nodiscard]] QMap<network::ExchangeOutcome, int> attemptsSince(const QDateTime& time) const;

private:
    Connection& m_database;
    QString m_till;
};

} // namespace shop
