#pragma once

#include "host/storage/database.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <memory>

/// What a till's own store knows of what moves on to the shop's database.
namespace shop {

/// A closed receipt that can't move on: the shop's database has another one of the same identifier.
struct StuckReceipt
{
    QString receipt;
    QString till; ///< from which the other one comes
};

/// Those that lie in this thread's store, as far as it was tried to move them on. Changes nothing there;
/// throws BasicException when the store can't be used.
QList<StuckReceipt> stuckReceipts();

/// The marks lie in the store, beside what they mark, in tables that only a till with a shop's database has.
/// A family is a sale with its returns, named by the sale. Each operation throws BasicException when the
/// store can't be used.
class LocalMarks
{
public:
    /// Of this thread's store.
    LocalMarks();

    /// Whether the family is on its way: then the shop's database may have it already, and what is written
    /// back of it belongs there.
    [[nodiscard]] bool isMoving(const QString& family) const;
    /// The families that were on their way when it was last looked, whoever moved them.
    [[nodiscard]] QStringList moving() const;
    /// The family is on its way from now on, with the Transaction around it.
    void begin(const QString& family) const;
    /// It is not; what was to be moved is still here.
    void giveUp(const QString& family) const;
    /// The same, because of that receipt of it.
    void giveUp(const QString& family, const StuckReceipt& stuck) const;
    /// It has arrived: `receipts` are kept in the shop's database alone.
    void finish(const QString& family, const QStringList& receipts) const;

    /// Whether a receipt of that identifier was closed here and has moved on.
    [[nodiscard]] bool hasMoved(const QString& receipt) const;
    /// Forgets what moved on before that time, in milliseconds since 1970.
    void forgetBefore(qint64 time) const;

private:
    std::shared_ptr<storage::Database> m_store;
};

/// Whether a receipt of that identifier was closed at this thread's store and has moved on: asked of any
/// store, also of one that never had a shop's database. Throws BasicException when it can't be used.
bool hasMovedOn(const QString& receipt);

} // namespace shop
