#pragma once

#include "host/utils/export.h"

#include <QDateTime>
#include <QList>
#include <QSqlQuery>
#include <QString>
#include <QStringList>

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
/// what is removed. Everything throws BasicException when the store can't be used; so does the constructor
/// when the open receipt is damaged, because nobody knows then which sale it returns.
class HOST_EXPORT Removal
{
public:
    explicit Removal(std::shared_ptr<Database> store);

    /// The family that the receipt of that identifier belongs to.
    [[nodiscard]] QString familyOf(const QString& receipt);
    /// Nothing when it may be removed.
    [[nodiscard]] std::optional<Need> needOf(const QString& family);
    /// When its youngest receipt was closed, in milliseconds since 1970; nothing when none is closed.
    [[nodiscard]] std::optional<qint64> youngestOf(const QString& family);
    /// Removes its receipts, what was written back of their cards, their journal and the queue's history of
    /// it. Returns the receipts.
    QList<RemovedReceipt> remove(const QString& family);

private:
    [[nodiscard]] bool finds(QSqlQuery& query, const QString& family);

    std::shared_ptr<Database> m_store;
    QStringList m_open; ///< the open receipt and the sale that it returns
    QSqlQuery m_sale;
    QSqlQuery m_members;
    QSqlQuery m_parked;
    QSqlQuery m_waiting;
    QSqlQuery m_unknown;
    QSqlQuery m_ended;
};

/// Where a loyalty card's number was found in the store.
struct CardTraces
{
    QStringList families;
    QStringList damaged; ///< closed receipts that can't be read: nobody knows whose they are
};

/// Looks for it in every receipt and every kept message: seconds for a gigabyte. Throws BasicException.
HOST_EXPORT CardTraces tracesOf(const QString& card);

/// Folds the log into the store's file and empties it, so that nothing of what was removed is left in it.
/// False when another program, or thread, is in the way and stays there for so many milliseconds. Not inside
/// a transaction. Throws BasicException.
HOST_EXPORT bool foldLog(const Database& store, int patience = 0);

} // namespace storage
