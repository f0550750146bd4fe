#pragma once

#include "stand/books/money.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>

namespace stand {

class Database;

enum class Kind { Opening, Spending, Earning, Refusal, Cancellation };

/// What a position of a receipt has to do with the points of its operation.
struct Share
{
    QString position;
    Hundredths sum = 0;     ///< Money.
    qint64 thousandths = 0; ///< Of the quantity.
    Hundredths points = 0;
};

/// What a request is known by when it comes again: the first three, and what must then be the same.
struct Key
{
    Kind kind = Kind::Opening;
    QString receiptNumber;
    QString card; ///< Empty for a cancellation, which names none.
    QString checkIdentifier = {};
    Hundredths asked = 0; ///< The amount that the request asks for.
    QString names = {};   ///< The number of the receipt to refuse or to cancel.
};

struct Operation
{
    qint64 n = 0;
    Kind kind = Kind::Opening;
    QString card;
    Hundredths points = 0;
};

struct Entry
{
    qint64 account = 0;
    Hundredths amount = 0; ///< What the account gets; negative: what it gives.
};

/// The one place that moves points: operations and their entries, which add up to 0. Throws DatabaseError.
class Ledger
{
public:
    explicit Ledger(Database& database)
        : m_database(database)
    {}

    /// The answer given to this request before, or nothing. Throws Denial when the key was used for
    /// something else.
    [[nodiscard]] std::optional<QByteArray> firstAnswer(const Key& key) const;
    [[nodiscard]] QByteArray answerOf(qint64 operation) const;

    /// Writes an operation with the entries that move `points` and the answer it is remembered with. Entries
    /// of 0 are left out. Returns its number. Throws DatabaseError also when the books would not be in order
    /// afterwards.
    qint64 record(const Key& key, Hundredths points, const QList<Entry>& entries, const QList<Share>& shares,
                  const QByteArray& answer, std::optional<qint64> root = std::nullopt);

    [[nodiscard]] Hundredths balance(qint64 account) const;
    [[nodiscard]] qint64 shop() const;    ///< Gets the points that customers spend.
    [[nodiscard]] qint64 service() const; ///< Gives the points that customers earn.
    /// What a customer owes for points that were taken back when they had been spent already; 0 or more.
    [[nodiscard]] Hundredths owed(qint64 account) const;
    /// The account that keeps this debt, opened when there was none; its balance is negative or 0.
    qint64 debtOf(qint64 account);

    /// The spending or earning behind a receipt number of this card; behind that of a refusal, the one which
    /// it refused.
    [[nodiscard]] std::optional<Operation> root(const QString& receiptNumber, const QString& card) const;
    [[nodiscard]] std::optional<Operation> spending(const QString& receiptNumber) const;
    [[nodiscard]] bool isCanceled(const QString& receiptNumber) const;
    [[nodiscard]] QList<Share> shares(qint64 operation) const;
    /// What refusals and cancellations have taken back of `root`, added up for each position.
    [[nodiscard]] QList<Share> takenBack(qint64 root) const;

private:
    [[nodiscard]] std::optional<Operation> operation(const QString& condition,
                                                     const QVariantList& values) const;
    [[nodiscard]] qint64 house(const QString& kind) const;

    Database& m_database;
};

} // namespace stand
