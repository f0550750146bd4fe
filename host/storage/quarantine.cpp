#include "host/storage/quarantine.h"

#include "host/storage/datadirectory.h"
#include "host/storage/durablefile.h"
#include "host/storage/storageerror.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace storage {

namespace {

const QStringList& companions()
{
    static const QStringList suffixes{u"-wal"_s, u"-shm"_s, u"-journal"_s};
    return suffixes;
}

bool anyExists(const QString& path)
{
    if (QFileInfo::exists(path))
        return true;
    return std::any_of(companions().begin(), companions().end(),
                       [&](const QString& suffix) { return QFileInfo::exists(path + suffix); });
}

/// A name that neither a file nor a companion has yet.
QString freeName(const QString& path, const QString& why = u"damaged"_s)
{
    const QString name =
        path + u'.' + why + u'-' + QDateTime::currentDateTimeUtc().toString(u"yyyyMMdd'T'HHmmss'Z'"_s);
    QString result = name;
    for (int i = 2; anyExists(result); ++i)
        result = u"%1-%2"_s.arg(name).arg(i);
    return result;
}

/// The file goes first: without it, its log can't be taken for another's before finishQuarantine() has
/// found it, while a file without its log would pass for a whole one that lacks the last commits.
void moveWithCompanions(const QString& from, const QString& to)
{
    moveToNewName(from, to);
    for (const QString& suffix : companions()) {
        if (QFileInfo::exists(from + suffix))
            moveToNewName(from + suffix, to + suffix);
    }
    ensurePrivateFile(to);
}

/// Gives it a second name.
void linkFile(const QString& from, const QString& to)
{
    if (link(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) != 0)
        throw systemError(errno, from);
}

QStringList setAsideFiles(const QString& path)
{
    const QFileInfo info(path);
    QStringList result;
    for (const QString& name :
         info.dir().entryList({info.fileName() + u".damaged-*"_s}, QDir::Files, QDir::Name)) {
        if (std::none_of(companions().begin(), companions().end(),
                         [&](const QString& suffix) { return name.endsWith(suffix); }))
            result.append(info.dir().filePath(name));
    }
    return result;
}

/// Those in the data directory, without their companions.
QStringList filesSetAside(const QString& why)
{
    const QDir directory(QFileInfo(dataFile(u"any"_s)).path());
    QStringList result;
    for (QString name : directory.entryList({u"*.%1-*"_s.arg(why)}, QDir::Files, QDir::Name)) {
        for (const QString& suffix : companions()) {
            if (name.endsWith(suffix))
                name.chop(suffix.size());
        }
        if (!result.contains(directory.filePath(name)))
            result.append(directory.filePath(name));
    }
    return result;
}

} // namespace

QString quarantine(const QString& path)
{
    QString to = freeName(path);
    moveWithCompanions(path, to);
    QFile::remove(path + u".suspect"_s); // now it is said
    return to;
}

QString quarantineLogOf(const QString& database)
{
    QString to = freeName(database) + u"-wal"_s;
    replaceFile(to, readFile(database + u"-wal"_s).value_or(QByteArray()));
    return to;
}

QString quarantineContent(const QString& path, const QByteArray& content)
{
    QString to = freeName(path);
    replaceFile(to, content);
    return to;
}

QStringList finishQuarantine(const QString& path)
{
    QStringList result;
    QString to;
    for (const QString& suffix : companions()) {
        if (QFileInfo::exists(path) || !QFileInfo::exists(path + suffix))
            continue;
        if (to.isEmpty()) {
            to = setAsideFiles(path).value(setAsideFiles(path).size() - 1);
            if (to.isEmpty() || QFileInfo::exists(to + suffix))
                to = freeName(path);
        }
        moveToNewName(path + suffix, to + suffix);
        result.append(to + suffix);
    }
    return result;
}

QString replaceDatabase(const QString& path, const QString& by)
{
    QString former;
    if (QFileInfo::exists(path)) {
        former = freeName(path, u"replaced"_s);
        linkFile(path, former);
        for (const QString& suffix : companions()) {
            if (QFileInfo::exists(path + suffix))
                linkFile(path + suffix, former + suffix);
        }
        syncDirectoryOf(path);
        ensurePrivateFile(former);
    } else {
        finishQuarantine(path);
    }
    for (const QString& suffix : companions()) // which SQLite would take for the new one's
        removeFile(path + suffix);
    if (rename(QFile::encodeName(by).constData(), QFile::encodeName(path).constData()) != 0)
        throw systemError(errno, path);
    syncDirectoryOf(path);
    QFile::remove(path + u".suspect"_s); // it is another now
    return former;
}

QStringList quarantinedFiles() { return filesSetAside(u"damaged"_s); }

QStringList replacedFiles() { return filesSetAside(u"replaced"_s); }

} // namespace storage
