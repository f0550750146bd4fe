#pragma once

#include "host/utils/basicexception.h"

#include <QList>
#include <QString>
#include <QVariantList>

#include <chrono>
#include <memory>
#include <stop_token>

/// The database of a shop of many tills: PostgreSQL, or whatever speaks its protocol.
namespace shop {

/// Why the database did not do what it was asked for.
enum class Fault {
    Away,     ///< it could not be reached, or gave no answer in time: whether it was done is not known
    Refused,  ///< it said no, and nothing was done: a right that is missing, a table that is not there
    Conflict, ///< what was to be changed somebody else has just changed
};

/// The failure as the host shows it, with the database's own words for the administrator.
class DatabaseError : public BasicException
{
public:
    DatabaseError(Fault fault, const QString& words, const QString& state = {});

    [[nodiscard]] Fault fault() const { return m_fault; }
    /// The five letters of SQLSTATE; empty when the database said none.
    [[nodiscard]] const QString& state() const { return m_state; }

private:
    Fault m_fault;
    QString m_state;
};

/// How long somebody waits for the database.
struct Patience
{
    std::chrono::milliseconds statement{5000}; ///< for the answer to one statement
    /// After it could not be reached, everything fails at once for so long: a cashier is not to wait for it
    /// again with each step.
    std::chrono::milliseconds pause{0};
};

/// A connection to the database, made when it is first needed and anew after it was lost. Belongs to one
/// thread. Everything here throws DatabaseError.
class Connection
{
public:
    /// `address` is libpq's: "postgresql://till@db1,db2/shop?sslmode=verify-full&passfile=…". Of several
    /// hosts the one is taken that may be written to.
    explicit Connection(QString address, Patience patience = {});
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    /// What a statement came to.
    struct Result
    {
        QList<QVariantList> rows; ///< bytes, whole numbers, truth values; everything else as text
        qint64 changed = 0;       ///< how many rows were inserted, changed or removed
    };

    /// Executes one statement with $1, $2, … for the values; a null QVariant is NULL, a text never is.
    /// Durable on return unless inside a transaction.
    Result run(const QString& sql, const QVariantList& values = {});
    /// Executes several statements without values, as one transaction when none is under way.
    void runAll(const QString& sql);

    void begin();
    /// When it throws Fault::Away, nobody knows whether it was done.
    void commit();
    /// Undoes everything since begin(); fine when there was none, or the connection is gone.
    void rollback() noexcept;
    /// Something is written that changes nothing. A commit that wrote nothing waits for no standby; but what
    /// it saw a server may have alone, since its power went before the standby had it. Whoever removes what
    /// he saw there writes first.
    void write();
    [[nodiscard]] bool isInTransaction() const { return m_inTransaction; }

    /// Waits until somebody has said NOTIFY on the channel since the last call, the time is over or a stop is
    /// asked for. The first call listens and returns at once.
    void waitForNotice(const QString& channel, std::chrono::milliseconds longest,
                       const std::stop_token& stop);

    /// Where it is connected to, or is to be, without a password.
    [[nodiscard]] QString where() const;

private:
    struct Link;
    void connect();
    [[noreturn]] void lose(const QString& words);
    [[nodiscard]] Result take();

    QString m_address;
    Patience m_patience;
    std::unique_ptr<Link> m_link;
    bool m_inTransaction = false;
    QString m_listensTo;
    std::chrono::steady_clock::time_point m_awayUntil;
    QString m_whyAway;
};

/// The version of libpq that is in use.
QString clientVersion();

/// What is wrong with an address, for the administrator; empty: nothing.
QString faultOfDatabaseAddress(const QString& address);

} // namespace shop
