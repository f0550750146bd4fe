#pragma once

#include "host/storage/datacheck.h"
#include "host/utils/export.h"

#include <QDateTime>
#include <QMap>
#include <QString>
#include <QStringList>

#include <optional>

/// Copies of the whole store: one made while others work with it, and one put back in its place.
namespace storage {

/// What lies in a store.
struct StoreContents
{
    QMap<QString, qint64> rows; ///< how many each table has
    qint64 waiting = 0;         ///< messages that are to be sent
    qint64 parked = 0;
    QString openReceipt;        ///< its identifier; empty: none is open, or it is damaged
    QDateTime newest;           ///< UTC, the time of the journal's last entry; invalid: it has none
    QList<DamagedSeal> damaged; ///< the open receipt as "open_receipt"
};

/// Copies the data directory's store, as it is at one moment, to a new file of its owner's alone (0600), and
/// reads the copy back: its structure, each seal, and as many rows of each table as were copied. Nobody who
/// works with the store waits for it. What is damaged in the store by its seal is so in the copy, and told.
/// Nothing when a file of that name is there, which stays as it is. Throws BasicException when it can't be
/// made, and leaves nothing behind.
HOST_EXPORT std::optional<StoreContents> backUpStore(const QString& file);

struct RestoredStore
{
    StoreContents contents;
    QString former;               ///< where the former store lies now; empty: there was none
    bool isFormerKnown = true;    ///< false: it could not be read, so the rest is not known
    QStringList receiptsBehind;   ///< closed ones that only the former store has, the oldest first
    QString openBehind;           ///< the receipt that was open in the former store only; empty: none
    QList<qint64> messagesBehind; ///< that waited or were parked in the former store, and are not in this one
    qsizetype mayBeDelivered = 0; ///< messages that wait again, and did not in the former store
};

/// Puts a copy of that store, with its log where one lies beside it, in the place of the data directory's,
/// which is made when it is missing. The former store is set aside as `till.sqlite.replaced-<UTC time>`; a
/// kill leaves the one or the other in place. Throws BasicException, with nothing changed, when anything of
/// the file is damaged, of a later version or strange, or when a program has the store open. For who holds
/// the locks of till and delivery.
HOST_EXPORT RestoredStore restoreStore(const QString& file);

} // namespace storage
