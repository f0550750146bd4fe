#pragma once

#include "host/storage/cardsearch.h"
#include "host/utils/export.h"

#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariantList>

#include <functional>
#include <memory>
#include <optional>

/// What of the store may be removed, and how. A sale and its returns are one family, named by the sale, under
/// which the messages of all of them go too: how much of a sale is left to be given back its returns tell, so
/// a family stays or goes as a whole.
namespace storage {

class Database;

/// Why a family has to stay.
enum class Need {
    Open,    ///< it is the receipt that the cashier is working on, or the sale that this one returns
    Unknown, ///< the outcome of a spending was never known, and the receipt never ended
    Parked,  ///< a message of it is parked
    Waiting, ///< a message of it waits
};

/// A closed receipt that was removed.
struct RemovedReceipt
{
    QString identifier;
    QDateTime closed; ///< UTC
};

/// The receipt that the cashier is working on, and the sale that it returns; empty when there is none. Throws
/// BasicException when it is damaged.
HOST_EXPORT QStringList openFamilies();

/// Looks at and removes families. One lives inside one transaction, so that nobody comes to need meanwhile
/// what is removed. Everything throws what the statements throw.
class HOST_EXPORT Removal
{
public:
    /// Executes a statement, "?" for each of the values, and returns the rows that it found.
    using Execute = std::function<QList<QVariantList>(const QString& sql, const QVariantList& values)>;

    /// Of a till's store. Throws BasicException when the store can't be used, and when the open receipt is
    /// damaged: nobody knows then which sale it returns.
    explicit Removal(const std::shared_ptr<Database>& store);
    /// Of whatever has the same tables, where nobody works on a receipt.
    explicit Removal(Execute execute);

    /// The family that the receipt of that identifier belongs to.
    [[nodiscard]] QString familyOf(const QString& receipt) const;
    /// Nothing when it may be removed.
    [[nodiscard]] std::optional<Need> needOf(const QString& family) const;
    /// When its youngest receipt was closed, in milliseconds since 1970; nothing when none is closed.
    [[nodiscard]] std::optional<qint64> youngestOf(const QString& family) const;
    /// Removes its receipts, what was written back of their cards, their journal and the queue's history of
    /// it. Returns the receipts.
    [[nodiscard]] QList<RemovedReceipt> remove(const QString& family) const;

private:
    [[nodiscard]] bool finds(const QString& sql, const QString& family) const;
    /// Its receipts in the order in which they were closed: identifier, stored.
    [[nodiscard]] QList<QVariantList> membersOf(const QString& family) const;

    Execute m_execute;
    QStringList m_open; ///< the open receipt and the sale that it returns
};

/// Looks for a loyalty card's number in every receipt and every kept message: seconds for a gigabyte. Throws
/// BasicException.
HOST_EXPORT CardTraces tracesOf(const QString& card);

/// Folds the log into the store's file and empties it, so that nothing of what was removed is left in it.
/// False when another program, or thread, is in the way and stays there for so many milliseconds. Not inside
/// a transaction. Throws BasicException.
HOST_EXPORT bool foldLog(const Database& store, int patience = 0);

} // namespace storage
