#pragma once

#include "host/storage/damagedstore.h"
#include "host/storage/database.h"
#include "host/storage/rescuetally.h"

#include <QHash>

namespace storage {

/// Puts a file's messages, waiting, parked and gone, into a store that may have some of them, or others under
/// their numbers.
class RescuedMessages
{
public:
    RescuedMessages(DamagedStore& from, const Database& to);

    void take(RescueTally& tally);

    /// The number in the store of what the file knows as `former`, also of one that is known by its number
    /// only.
    qint64 numberOf(qint64 former);
    /// Whether the store has that one, or the file had it whole.
    [[nodiscard]] bool has(qint64 former, const QString& receipt);
    /// No number that was used is given to another message.
    void keepNumbers();

private:
    [[nodiscard]] std::optional<qint64> known(const QVariantList& row, bool isQueued);
    void compare();
    bool mend(qint64 number, const QVariantList& row);
    void put(const QString& table, const QVariantList& row);

    DamagedStore& m_from;
    const Database& m_to;
    QHash<QByteArray, QList<qint64>> m_alike;       ///< the store's by identity
    QHash<QByteArray, QList<qint64>> m_sameContent; ///< those in its queue by content
    QSet<qint64> m_matched;                         ///< the store's that the file has too
    QHash<qint64, qint64> m_numbers;                ///< the file's and the store's number of one message
    QHash<qint64, QByteArray> m_gone;               ///< out of the file's queue
    qint64 m_last = 0;                              ///< number in the store
    qint64 m_shift = 0;
    qint64 m_highest = 0;
};

} // namespace storage
