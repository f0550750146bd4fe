#pragma once

#include "host/shop/connection.h"
#include "host/shop/localmarks.h"

#include <QDate>
#include <QString>
#include <QStringList>
#include <QVariantList>

#include <functional>

namespace shop {

/// What moves on from this till's store to the shop's database: each message in the order in which it was put
/// in, and each family of closed receipts with its journal, when no receipt of it is open any more. It is
/// inserted there, and then removed here. A till that is killed in between, or that gets no answer, does so
/// again; what is there already is known by its identity.
///
/// Belongs to the thread that made it. Everything throws DatabaseError when the database can't be used, and
/// BasicException when the store can't; nothing is lost then.
class Moving
{
public:
    /// `till` names this till among those of the shop.
    Moving(QString till, Connection& database);

    /// Moves a few hundred messages or some families. False: there was nothing to move.
    bool step();

    /// Families that can't move, because the database has another receipt of the same identifier: each is
    /// told in the log once, marked (see stuckReceipts()), and tried again by the next object.
    [[nodiscard]] const QStringList& stuck() const { return m_stuck; }

    /// Moves all that lies here of the family, its messages too, inside a transaction of both: what is
    /// removed here is only kept so once that of the database is done.
    void carry(const QString& family);
    /// Tells the deliveries that there is something to do; to be called outside a transaction.
    void wakeDeliveries() noexcept;

private:
    /// What lies here of a family, each row as its table has it.
    struct Luggage
    {
        QString family;
        QList<QVariantList> documents;
        QList<QVariantList> cards;
        QList<QVariantList> journal;
        QList<QVariantList> history;
    };

    bool moveMessages();
    bool moveFamilies();
    /// Families that are to be moved.
    struct Departure
    {
        QStringList families;
        QStringList known; ///< those of them that nothing was heard of the last time: they may be there
    };
    [[nodiscard]] Departure departing();
    void move(const Departure& departure);
    /// What is certainly not there stays here for now.
    void stay(const Departure& departure) const;

    [[nodiscard]] Luggage packed(const QString& family) const;
    void put(const Luggage& luggage);
    void putJournal(const QDate& month, const QList<QVariantList>& entries);
    void putDocument(const QDate& month, const QVariantList& document);
    [[nodiscard]] QDate monthOf(const Luggage& luggage);
    void remove(const Luggage& luggage) const;

    [[nodiscard]] QList<QVariantList> messages(const QString& where, const QVariantList& values) const;
    void putMessages(const QList<QVariantList>& messages);
    void removeMessages(const QList<QVariantList>& messages) const;

    QString m_till;
    Connection& m_database;
    std::shared_ptr<storage::Database> m_store;
    LocalMarks m_marks;
    QStringList m_stuck;
    bool m_oneByOne = false;
};

} // namespace shop
