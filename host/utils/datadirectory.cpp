#include "host/utils/datadirectory.h"

#include "host/utils/privatefile.h"
#include "host/utils/storageerror.h"

#include <QDir>
#include <QFileInfo>

#include <cerrno>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace utils {

namespace {

QString& directory()
{
    static QString path;
    return path;
}

void make(const QString& path)
{
    const QString parent = QFileInfo(path).path();
    if (!QFileInfo::exists(parent))
        make(parent);
    const QByteArray name = QFile::encodeName(path);
    if (mkdir(name.constData(), S_IRWXU) != 0) {
        if (errno == EEXIST && QFileInfo(path).isDir())
            return; // another process was quicker
        throw systemError(errno, path);
    }
    if (chmod(name.constData(), S_IRWXU) != 0) // a strict umask takes from the owner too
        throw systemError(errno, path);
    syncDirectoryOf(path);
}

} // namespace

void setDataDirectory(const QString& path)
{
    directory() = path.isEmpty() ? QString() : QDir::cleanPath(QDir::current().absoluteFilePath(path));
}

QString dataFile(const QString& name)
{
    if (QDir::isAbsolutePath(name))
        return name;
    const QString& path = directory();
    if (path.isEmpty())
        throw BasicException(tr::Tr(u"hostDataDirectoryUnset"_s,
                                    u"Не указана папка данных кассы: сохранить и прочитать данные негде"_s));
    if (!QFileInfo(path).isDir())
        make(path);
    return QDir(path).filePath(name);
}

} // namespace utils
