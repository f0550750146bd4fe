#include "host/storage/fileidentity.h"

#include <QFile>

namespace storage {

std::optional<FileIdentity> identityOf(const QString& path)
{
    struct stat found = {};
    if (lstat(QFile::encodeName(path).constData(), &found) != 0)
        return std::nullopt;
    return identityOf(found);
}

} // namespace storage
