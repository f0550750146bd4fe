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
    ~Postgres();
    Postgres(const Postgres&) = delete;
    Postgres& operator=(const Postgres&) = delete;

    /// Of the database "shop", for that user.
    [[nodiscard]] QString address(const QString& user = QStringLiteral("owner")) const;

    void start();
    /// As a power cut ends it.
    void kill();
    /// It stands still, and its connections with it, until thaw().
    void freeze();
    void thaw();

    /// Executes statements as the owner and returns what they found, a line a row, with | between columns.
    QString sql(const QString& statements) const;

private:
    void run(const QString& program, const QStringList& arguments) const;

    QTemporaryDir m_directory;
    std::unique_ptr<QProcess> m_server;
};

} // namespace test_support
