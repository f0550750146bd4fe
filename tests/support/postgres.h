#pragma once

#include <QProcess>
#include <QString>
#include <QTemporaryDir>

#include <memory>

namespace test_support {

/// A PostgreSQL of the test's own, reached through a socket in a folder of its own, with a database "shop"
/// that its user "owner" owns. Run by an ordinary user, as it wants it, also where the test is root's. Gone
/// with the object, or with the test.
class Postgres
{
public:
    Postgres();
    /// Below that folder, with settings besides those that a test needs, such as "max_connections=300".
    Postgres(const QString& folder, QStringList settings);
    ~Postgres();
    Q_DISABLE_COPY_MOVE(Postgres)

    /// Where its socket is: what psql takes for a host.
    [[nodiscard]] QString folder() const { return m_directory.path(); }
    /// Of the database "shop", for that user.
    [[nodiscard]] QString address(const QString& user = QStringLiteral("owner")) const;

    void start();
    /// As a power cut ends it.
    void kill();
    /// It stands still, and its connections with it, until thaw().
    void freeze();
    void thaw();

    /// Another server that has each commit before whoever asked for it is told so: from now on this one waits
    /// for it, however long.
    std::unique_ptr<Postgres> makeStandby();
    /// After it was killed it comes back as a standby of that one, with nothing of what it had, as
    /// makeStandby() makes one.
    void comeBackAsStandbyOf(const Postgres& primary);
    /// A standby becomes the one that may be written to, and waits for nobody.
    void promote() const { sql(QStringLiteral("SELECT pg_promote()")); }
    /// As address(), of these two, whichever of them may be written to.
    [[nodiscard]] QString addressWith(const Postgres& standby) const;

    /// Executes statements as the owner and returns what they found, a line a row, with | between columns.
    QString sql(const QString& statements) const; // NOLINT(modernize-use-nodiscard): many find nothing

private:
    struct Copy
    {};
    Postgres(const Postgres& primary, Copy /*of it*/);

    void make();
    void copyOf(const Postgres& primary);
    /// Only once there is one: a copy is to know nothing of it.
    void waitForStandbys() const;
    void ownDirectory() const;
    void giveBackMemory() const;
    void run(const QString& program, const QStringList& arguments) const;

    QTemporaryDir m_directory;
    QStringList m_settings;
    std::unique_ptr<QProcess> m_server;
};

} // namespace test_support
