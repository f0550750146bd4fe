#pragma once

#include "host/utils/export.h"

#include <QSqlDatabase>
#include <QSqlQuery>
#include <QString>
#include <QStringList>
#include <QVariantList>

#include <sys/types.h>

#include <functional>

namespace utils {

/// One open SQLite file whose commits survive a power cut (write-ahead log, synchronous=FULL), private to its
/// owner with all its companions. Everything here throws BasicException, with the file's name, when SQLite
/// refuses; what was begun is then undone. Another program's lock is waited for two seconds. Belongs to the
/// thread that made it, and needs a QCoreApplication, which finds the driver.
class HOST_EXPORT Database
{
public:
    struct Format
    {
        int applicationId = 0; ///< tells this kind of file from any other SQLite file
        int version = 1;       ///< the file's user_version
        QStringList creates;   ///< the statements that make a new file
    };

    /// Opens the file, or makes it. One that is damaged, a stranger's or of a later version is refused and
    /// left untouched.
    Database(const QString& path, const Format& format);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    [[nodiscard]] const QString& path() const { return m_path; }

    /// A statement to keep, for change() and rows().
    [[nodiscard]] QSqlQuery prepared(const QString& sql) const;

    /// Executes a statement that changes something; durable on return unless inside atomically(). Returns how
    /// many rows it changed. A null text is stored as an empty one.
    int change(QSqlQuery& statement, const QVariantList& values) const;

    /// The same for a statement that inserts one row; returns the row's id.
    qint64 insert(QSqlQuery& statement, const QVariantList& values) const;

    /// All rows that the statement finds. Nothing of it stays open: a reader that lingers would keep the log
    /// from being folded into the file.
    [[nodiscard]] QList<QVariantList> rows(QSqlQuery& statement, const QVariantList& values = {}) const;

    /// Runs the steps as one commit; when they throw, none of them was done. Not to be nested.
    void atomically(const std::function<void()>& steps) const;

private:
    void connect(const QString& options);
    void disconnect();
    void check(const Format& format);
    void create(const Format& format) const;
    void execute(const QString& sql) const;
    void execute(QSqlQuery& statement, const QVariantList& values) const;
    [[nodiscard]] int number(const QString& sql) const;
    void requireInPlace() const;
    [[nodiscard]] ino_t inode() const;
    [[noreturn]] void fail(const QSqlError& error) const;

    QString m_path;
    QString m_connection;
    QSqlDatabase m_database;
    ino_t m_inode = 0;
};

} // namespace utils
