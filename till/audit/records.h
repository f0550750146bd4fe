#pragma once

#include "host/core/abstractdocument.h"
#include "host/queue/outgoingqueue.h"
#include "host/storage/journal.h"

#include <QDate>
#include <QList>
#include <QSharedPointer>
#include <QString>
#include <QStringList>

#include <optional>

namespace till {

/// What is kept of receipts where an administrator looks: at a till, or in the database of a shop of many.
/// Everything throws BasicException when that can't be used.
class Records
{
public:
    virtual ~Records();

    /// The receipt as it was closed, with what was written back of its cards since; null: it was not, or not
    /// here. Throws BasicException when it is damaged.
    [[nodiscard]] virtual QSharedPointer<AbstractDocument> closed(const QString& receipt) = 0;
    /// The returns of that sale, in the order in which they were closed. Throws BasicException when one is
    /// damaged.
    [[nodiscard]] virtual QList<QSharedPointer<AbstractDocument>> returnsOf(const QString& sale) = 0;
    /// The receipt that a cashier was working on when it was first asked for; null: none. Throws
    /// BasicException when it is damaged.
    [[nodiscard]] virtual QSharedPointer<AbstractDocument> open() = 0;

    /// All that happened to the receipt, in its order.
    [[nodiscard]] virtual QList<storage::JournalEntry> journalOf(const QString& receipt) = 0;
    /// The receipts to which something happened, the one of the latest entry first, at most `limit`.
    [[nodiscard]] virtual QStringList latest(int limit) = 0;
    /// Those to which something happened on that day of local time, in that order.
    [[nodiscard]] virtual QStringList ofDay(const QDate& day) = 0;
    /// What waits or is parked of the receipt, in order; of a return it goes under its sale.
    [[nodiscard]] virtual QList<QueuedMessage> messagesOf(const QString& receipt) = 0;

    /// The till that has closed the receipt, by its name in the shop; empty: nobody has, or this is a till.
    [[nodiscard]] virtual QString tillOf(const QString& receipt) = 0;
    /// Whether this is where the receipt is to be looked for, known or not: it has not moved on from this
    /// till, or is one of the till's that is looked at.
    [[nodiscard]] virtual bool concerns(const QString& receipt) = 0;
};

/// Of the process's data directory: what has not moved on to a shop's database.
class TillRecords : public Records
{
public:
    TillRecords();
    ~TillRecords() override;
    TillRecords(const TillRecords&) = delete;
    TillRecords& operator=(const TillRecords&) = delete;

    [[nodiscard]] QSharedPointer<AbstractDocument> closed(const QString& receipt) override;
    [[nodiscard]] QList<QSharedPointer<AbstractDocument>> returnsOf(const QString& sale) override;
    [[nodiscard]] QSharedPointer<AbstractDocument> open() override;
    [[nodiscard]] QList<storage::JournalEntry> journalOf(const QString& receipt) override;
    [[nodiscard]] QStringList latest(int limit) override;
    [[nodiscard]] QStringList ofDay(const QDate& day) override;
    [[nodiscard]] QList<QueuedMessage> messagesOf(const QString& receipt) override;
    [[nodiscard]] QString tillOf(const QString& /*receipt*/) override { return {}; }
    [[nodiscard]] bool concerns(const QString& receipt) override;

private:
    bool m_hadDocuments; ///< somebody else's, who goes on with them
    storage::Journal m_journal;
    std::optional<QSharedPointer<AbstractDocument>> m_open;
};

} // namespace till
