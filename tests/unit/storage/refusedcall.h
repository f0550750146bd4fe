#pragma once

#include "tests/support/atcall.h"
#include "tests/unit/storage/scene.h"

#include <QDir>

#include <cerrno>

/// What the operating system refuses now and then, and what other programs do between two of its calls.
namespace refused {

// The texts by which it is told.
inline const QString failed = QStringLiteral("hostStorageFailed");
inline const QString denied = QStringLiteral("hostStorageDenied");
inline const QString diskFull = QStringLiteral("hostStorageFull");
inline const QString strange = QStringLiteral("hostStorageStrange");
inline const QString damaged = QStringLiteral("hostStorageDamaged");

/// A file of the data directory that a call is about.
class RefusedCall : public test_support::Storage
{
protected:
    RefusedCall() { file = storage::dataFile(QStringLiteral("file")); }

    /// What comes of it while each such call fails with that error.
    template <class Operation>
    static QString whileRefused(const char* function, int error, Operation operation)
    {
        const test_support::AtCall call(function, test_support::failing(error));
        return failure(operation);
    }
    /// And while the disk does not write what it is given.
    template <class Operation>
    static QString whileBroken(const char* function, Operation operation)
    {
        return whileRefused(function, EIO, operation);
    }
    [[nodiscard]] QStringList names() const
    {
        return QDir(path()).entryList(QDir::Files | QDir::Hidden | QDir::System, QDir::Name);
    }

    QString file;
};

} // namespace refused
