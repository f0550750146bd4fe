#pragma once

#include "host/utils/export.h"

#include <QString>

namespace utils {

/// A file of the data directory held by one holder at a time, among all threads and programs, while the
/// object lives. A program that dies lets go of it.
class HOST_EXPORT FileLock
{
public:
    /// Throws BasicException at once when somebody else holds it.
    explicit FileLock(const QString& name);
    ~FileLock();
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

private:
    int m_descriptor;
};

} // namespace utils
