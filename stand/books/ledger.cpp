#include "stand/books/ledger.h"

#include "stand/books/clock.h"
#include "stand/books/database.h"
#include "stand/books/denial.h"
#include "stand/books/invariants.h"

#include <QDateTime>

#include <array>

using namespace Qt::StringLiterals;

namespace stand {

namespace {

constexpr std::array kindNames = {"opening", "spending", "earning", "refusal", "cancellation"};

QString nameOf(Kind kind) { return QString::fromLatin1(kindNames.at(static_cast<size_t>(kind))); }

Kind kindOf(const QString& name)
{
    for (size_t i = 0; i < kindNames.size(); ++i) {
        if (name == QLatin1StringView(kindNames.at(i)))
            return static_cast<Kind>(i);
    }
    throw DatabaseError(u"there is no operation '%1'"_s.arg(name));
}

/// Never null: no column of the ledger's texts knows NULL.
QString text(const QString& maybeNull) { return maybeNull.isNull() ? u""_s : maybeNull; }

QList<Share> sharesOf(QSqlQuery&& query)
{
    QList<Share> shares;
    while (query.next()) {
        shares.append({query.value(0).toString(), query.value(1).toLongLong(), query.value(2).toLongLong(),
                       query.value(3).toLongLong()});
    }
    return shares;
}

} // namespace

std::optional<QByteArray> Ledger::firstAnswer(const Key& key) const
{
    auto query = m_database.run(uR"(SELECT answer, check_identifier, asked, names FROM operations
                                    WHERE operation = ? AND receipt_number = ? AND card = ?)"_s,
                                {nameOf(key.kind), text(key.receiptNumber), text(key.card)});
    if (!query.next())
        return std::nullopt;
    if (query.value(1).toString() != key.checkIdentifier || query.value(2).toLongLong() != key.asked ||
        query.value(3).toString() != key.names)
        throw Denial{Denial::Reason::AlreadyUsed, u"Номер чека уже использован другой операцией"_s};
    return query.value(0).toString().toUtf8();
}

QByteArray Ledger::answerOf(qint64 operation) const
{
    auto query = m_database.run(u"SELECT answer FROM operations WHERE n = ?"_s, {operation});
    query.next();
    return query.value(0).toString().toUtf8();
}

qint64 Ledger::record(const Key& key, Hundredths points, const QList<Entry>& entries,
                      const QList<Share>& shares, const QByteArray& answer, std::optional<qint64> root)
{
    const auto number =
        m_database
            // Whatever the clock does, time never runs backwards here.
            .run(uR"(INSERT INTO operations(time, operation, receipt_number, card, check_identifier, asked,
                                            names, points, root, answer)
                     VALUES (max(?, coalesce((SELECT time FROM operations ORDER BY n DESC LIMIT 1), '')),
                             ?, ?, ?, ?, ?, ?, ?, ?, ?))"_s,
                 {now().toString(Qt::ISODateWithMs), nameOf(key.kind), text(key.receiptNumber),
                  text(key.card), text(key.checkIdentifier), key.asked, text(key.names), points,
                  root ? QVariant(*root) : QVariant(), text(QString::fromUtf8(answer))})
            .lastInsertId()
            .toLongLong();
    for (const auto& entry : entries) {
        if (entry.amount != 0) {
            m_database.run(u"INSERT INTO entries(operation, account, amount, balance) VALUES (?, ?, ?, ?)"_s,
                           {number, entry.account, entry.amount, balance(entry.account) + entry.amount});
        }
    }
    for (const auto& share : shares) {
        m_database.run(uR"(INSERT INTO shares(operation, position, sum_in_money, thousandths, points)
                           VALUES (?, ?, ?, ?, ?))"_s,
                       {number, share.position, share.sum, share.thousandths, share.points});
    }
    if (const auto broken = violations(m_database, number); !broken.isEmpty())
        throw DatabaseError(u"the books would not be in order: "_s + broken.join(u"; "_s));
    return number;
}

Hundredths Ledger::balance(qint64 account) const
{
    auto query =
        m_database.run(u"SELECT balance FROM entries WHERE account = ? ORDER BY n DESC LIMIT 1"_s, {account});
    return query.next() ? query.value(0).toLongLong() : 0;
}

qint64 Ledger::shop() const { return house(u"shop"_s); }

qint64 Ledger::service() const { return house(u"service"_s); }

Hundredths Ledger::owed(qint64 account) const
{
    auto query = m_database.run(u"SELECT id FROM accounts WHERE kind = 'debt' AND owner = ?"_s, {account});
    return query.next() ? -balance(query.value(0).toLongLong()) : 0;
}

qint64 Ledger::debtOf(qint64 account)
{
    auto query = m_database.run(u"SELECT id FROM accounts WHERE kind = 'debt' AND owner = ?"_s, {account});
    if (query.next())
        return query.value(0).toLongLong();
    return m_database.run(u"INSERT INTO accounts(notation, kind, owner) VALUES (0, 'debt', ?)"_s, {account})
        .lastInsertId()
        .toLongLong();
}

std::optional<Operation> Ledger::root(const QString& receiptNumber, const QString& card) const
{
    // A root has no root: what a refusal's number leads to is one step away however long the chain is. Of an
    // earning and a spending with one number the later one is meant.
    return operation(uR"(n = (SELECT coalesce(root, n) FROM operations
                              WHERE receipt_number = ? AND card = ?
                                    AND operation IN ('spending', 'earning', 'refusal')
                              ORDER BY n DESC LIMIT 1))"_s,
                     {text(receiptNumber), text(card)});
}

std::optional<Operation> Ledger::spending(const QString& receiptNumber) const
{
    return operation(uR"(n = (SELECT max(n) FROM operations
                              WHERE receipt_number = ? AND operation = 'spending'))"_s,
                     {text(receiptNumber)});
}

bool Ledger::isCanceled(const QString& receiptNumber) const
{
    return m_database
        .run(u"SELECT 1 FROM operations WHERE operation = 'cancellation' AND names = ?"_s, {receiptNumber})
        .next();
}

QList<Share> Ledger::shares(qint64 operation) const
{
    return sharesOf(m_database.run(uR"(SELECT position, sum_in_money, thousandths, points FROM shares
                                       WHERE operation = ? ORDER BY rowid)"_s,
                                   {operation}));
}

QList<Share> Ledger::takenBack(qint64 root) const
{
    return sharesOf(
        m_database.run(uR"(SELECT position, sum(sum_in_money), sum(thousandths), sum(shares.points)
                                       FROM shares JOIN operations ON operations.n = shares.operation
                                       WHERE operations.root = ? GROUP BY position)"_s,
                       {root}));
}

std::optional<Operation> Ledger::operation(const QString& condition, const QVariantList& values) const
{
    auto query =
        m_database.run(u"SELECT n, operation, card, points FROM operations WHERE "_s + condition, values);
    if (!query.next())
        return std::nullopt;
    return Operation{query.value(0).toLongLong(), kindOf(query.value(1).toString()),
                     query.value(2).toString(), query.value(3).toLongLong()};
}

qint64 Ledger::house(const QString& kind) const
{
    auto query = m_database.run(u"SELECT id FROM accounts WHERE kind = ?"_s, {kind});
    if (!query.next())
        throw DatabaseError(u"there is no account of the %1"_s.arg(kind));
    return query.value(0).toLongLong();
}

} // namespace stand
