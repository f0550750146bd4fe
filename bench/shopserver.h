#pragma once

#include "bench/shopclients.h"
#include "host/shop/connection.h"
#include "tests/support/postgres.h"

#include <QElapsedTimer>
#include <QMap>
#include <QString>

#include <memory>
#include <thread>
#include <vector>

/// What the database and its clients did for some time.
struct Meanwhile
{
    double seconds = 0;
    double computing = 0; ///< of the server, in seconds of a processor
    double machine = 0;   ///< of everything on this machine, in the same
    qint64 commits = 0;
    qint64 syncs = 0;         ///< of the log of what was written; 0 where the server does not tell
    qint64 written = 0;       ///< bytes of that log
    int mostConnections = 0;  ///< of clients
    int mostLocks = 0;        ///< in the table that all connections share
    QMap<QString, int> waits; ///< what a client's process there was found at, and how often
};

/// A server on the file system of the current folder, with a database that is ready for tills.
class ShopServer
{
public:
    /// `months` have their tables, up to the present one.
    ShopServer(int months, bool withStandby, const QStringList& settings = {});
    ~ShopServer();
    Q_DISABLE_COPY_MOVE(ShopServer)

    [[nodiscard]] QString address() const { return m_server->address(); }
    [[nodiscard]] qint64 number(const QString& sql) const { return m_server->sql(sql).toLongLong(); }
    void run(const QString& sql) const { m_server->sql(sql); }
    /// Of the tables whose names begin so, with their indexes.
    [[nodiscard]] qint64 bytesOf(const QString& beginnings) const;
    /// Of the server's processes so far, also of those that have ended, in seconds.
    [[nodiscard]] double computing() const;

    /// Looks at the server from its making to end().
    class Watch
    {
    public:
        explicit Watch(const ShopServer& server);
        /// To be asked when all clients have gone, and `seconds` after the beginning of what is measured.
        [[nodiscard]] Meanwhile end(double seconds);

    private:
        void look(const std::stop_token& stop);

        const ShopServer& m_server;
        Meanwhile m_before;
        Meanwhile m_seen;
        std::jthread m_thread; // the last: it uses all of the others
    };

private:
    [[nodiscard]] Meanwhile told() const;

    std::unique_ptr<test_support::Postgres> m_server;
    std::unique_ptr<test_support::Postgres> m_standby;
    qint64 m_process = 0;
};

/// What some clients came to, time after time.
struct Measured
{
    std::vector<double> perSecond;
    Meanwhile last;
    ShopClients::Done clients;
};

/// One line: what the server was busy with the last time, and its clients.
void tell(const Measured& measured);
