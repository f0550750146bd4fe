#pragma once

#include "host/utils/export.h"

#include <QString>

#include <memory>

namespace storage {

/// A file of the data directory held by one holder at a time, among all threads and programs, while the
/// object lives. A program that dies lets go of it.
class HOST_EXPORT FileLock
{
public:
    /// Throws BasicException at once when somebody else holds it.
    explicit FileLock(const QString& name);
    /// The same, but nothing when somebody else holds it.
    [[nodiscard]] static std::unique_ptr<FileLock> ifFree(const QString& name);
    ~FileLock();
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

    /// Throws when the file was removed or replaced: then somebody else may hold the one of its name.
    void requireInPlace() const;

private:
    FileLock() = default;
    /// False when somebody else holds it.
    [[nodiscard]] bool take(const QString& path);

    QString m_path;
    int m_descriptor = -1;
};

} // namespace storage
