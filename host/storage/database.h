#pragma once

#include "host/storage/fileidentity.h"
#include "host/utils/export.h"

#include <QSqlDatabase>
#include <QSqlQuery>
#include <QString>
#include <QStringList>
#include <QVariantList>

#include <exception>
#include <functional>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

namespace storage {

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

    /// Opens the file, or makes it: then it appears whole or not at all. One that is damaged, a stranger's or
    /// of a later version is refused and left as it is.
    Database(const QString& path, const Format& format);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    /// Bytes: a file up to this size is read through for damage by a process's first connection to it, and
    /// any by each connection once damage was met in it. A cashier waits for a start, so it must not take
    /// much longer the more is kept.
    static constexpr qint64 readAtAStart = qint64{4} * 1024 * 1024;

    /// Looks at a file that exists as the first connection does, and throws what it would throw.
    static void examine(const QString& path, const Format& format);
    /// The same for a file of any size, all of which is read. Damage that is found makes the next start read
    /// through all of it too.
    static void readThrough(const QString& path, const Format& format);

    [[nodiscard]] const QString& path() const { return m_path; }
    [[nodiscard]] FileIdentity identity() const { return m_files.value_or(Files{}).own; }
    /// Where the log lies as it was found, because it was damaged (isLogDamaged()) when this connection was
    /// opened; empty: it was not.
    [[nodiscard]] const QString& damagedLog() const { return m_damagedLog; }
    /// False once something happened that a connection made anew may not meet: the file was damaged, taken
    /// away, or could not be read or written at all.
    [[nodiscard]] bool isSound() const { return m_sound; }

    /// A statement to keep, for change() and rows().
    [[nodiscard]] QSqlQuery prepared(const QString& sql) const;

    /// Executes a statement that changes something; durable on return unless inside a transaction. Returns
    /// how many rows it changed. A null text is stored as an empty one.
    int change(QSqlQuery& statement, const QVariantList& values) const;

    /// The same for a statement that inserts one row; returns the row's id.
    qint64 insert(QSqlQuery& statement, const QVariantList& values) const;

    /// All rows that the statement finds. Nothing of it stays open: a reader that lingers would keep the log
    /// from being folded into the file.
    [[nodiscard]] QList<QVariantList> rows(QSqlQuery& statement, const QVariantList& values = {}) const;

    /// The same for a statement that is kept here, once it was used.
    int change(const QString& sql, const QVariantList& values) const;
    [[nodiscard]] QList<QVariantList> rows(const QString& sql, const QVariantList& values = {}) const;

    /// Throws when the file, its log or the log's index was removed or replaced: a reader does not notice by
    /// itself. Who changes something need not ask.
    void requireInPlace() const;

    /// Runs the steps as one commit; when they throw, none of them was done. Inside a transaction it joins
    /// it, and steps that throw spoil all of it.
    void atomically(const std::function<void()>& steps) const;

    // What changes between begin() and commit() is one commit. Inside another such pair it is part of that
    // one's commit, but can be undone by itself.

    void begin() const;
    /// Throws when anything since begin() failed, also when somebody caught it: that failure, and nothing was
    /// done.
    void commit() const;
    /// Undoes everything since the last begin(); fine when there was none.
    void rollback() const noexcept;
    /// Has that done once what is changed here is durable: at once outside a transaction, never when the
    /// transaction, or one inside it that asked, is undone. It must not throw.
    void onceKept(std::function<void()> what) const;
    /// Somebody who keeps elsewhere what belongs to a transaction here.
    class Companion
    {
    public:
        virtual ~Companion() = default;
        /// Keeps it, as the last step inside the transaction. When it throws, nothing is kept here either.
        virtual void keep() = 0;
        /// The transaction is undone. Where keep() was called before, it may have kept all the same.
        virtual void undo() noexcept = 0;
    };
    /// Has it keep or undo its part with the transaction around this, of which it is the only one. As it can
    /// undo all or nothing, an inner transaction that is undone later spoils the whole.
    void accompany(Companion& companion) const;
    /// Writes something that changes nothing, so that a disk that is full or may not be written to is met
    /// now.
    void requireWritable() const;
    [[nodiscard]] bool isInTransaction() const { return m_depth > 0; }

    /// How many commits this process has made so far, to any file; each of them waited for the disk.
    [[nodiscard]] static qint64 commits();

    /// The file with the companions that it has while it is open.
    struct Files
    {
        FileIdentity own;
        std::optional<FileIdentity> log;
        std::optional<FileIdentity> index;
    };

private:
    explicit Database(const QString& path);
    void requireInPlace(const Files& files) const;
    void connect(const QString& options);
    void disconnect();
    void open(const Format& format);
    enum class Look {
        AtItsKind,
        AtAStart,
        Through,
    };
    void examine(const Format& format, Look look);
    void requirePlainFiles() const;
    void keepDamagedLog();
    /// Past SQLite, so only while this process has no connection to the file.
    void lookFromOutside(const Format& format) const;
    [[nodiscard]] QString suspicion() const;
    void suspect() const noexcept;
    void requireKind(const Format& format);
    void ensureMade(const Format& format) const;
    void fill(const Format& format);
    void execute(const QString& sql) const;
    void execute(QSqlQuery& statement, const QVariantList& values) const;
    /// Prepared the first time, as most of what a receipt takes is to parse the same again.
    QSqlQuery& kept(const QString& sql) const;
    [[nodiscard]] int number(const QString& sql) const;
    void spoil(const std::exception_ptr& failure) const;
    void requireUnspoilt() const;
    void requireReady() const;
    /// Who may have kept SQLite waiting, to be added to what it says.
    [[nodiscard]] QString lockHolders() const;
    [[noreturn]] void fail(const QSqlError& error) const;

    QString m_path;
    QString m_connection;
    QSqlDatabase m_database;
    mutable std::unordered_map<QString, QSqlQuery> m_kept;
    std::optional<Files> m_files; ///< nothing until it is open
    QString m_damagedLog;
    mutable bool m_sound = true;
    mutable int m_depth = 0;             ///< of transactions
    mutable std::exception_ptr m_spoilt; ///< the first failure in the innermost transaction
    mutable std::vector<std::pair<int, std::function<void()>>> m_onceKept; ///< each with its depth
    mutable std::optional<std::pair<int, Companion*>> m_companion;         ///< with its depth
};

} // namespace storage
