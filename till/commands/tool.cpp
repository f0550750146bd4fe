#include "till/commands/tool.h"

#include "host/utils/basicexception.h"
#include "host/utils/datadirectory.h"
#include "till/usageerror.h"

#include <QDir>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace till {

QString usualDataDirectory()
{
    QString service = qEnvironmentVariable("STATE_DIRECTORY").section(u':', 0, 0);
    if (!service.isEmpty())
        return service;
    const QString state = qEnvironmentVariable("XDG_STATE_HOME");
    return (QDir::isAbsolutePath(state) ? state : QDir::homePath() + u"/.local/state"_s) + u"/kyr-loyalty"_s;
}

QString dataDirectoryOf(const Options& options)
{
    return options.dataDirectory.isEmpty() ? usualDataDirectory() : options.dataDirectory;
}

bool keepsAnything(const QString& directory)
{
    const QDir folder(directory);
    return folder.exists(u"till.sqlite"_s) || folder.exists(u"queue.sqlite"_s);
}

Tool::Tool(const Invocation& invocation)
    : options(invocation.options)
    , config(settingsOf(options))
    , console(options.json)
    , m_logFile(options.logFile, fileLevel(options))
    , m_screenLog(screenLevel(options, LogLevel::Warning))
{}

Tool::~Tool() { utils::setDataDirectory({}); }

void Tool::useDataDirectory()
{
    const QString path = dataDirectoryOf(options);
    if (!QFileInfo(path).isDir())
        throw UsageError(u"till: %1: no such data directory; name the till's with --data-dir"_s.arg(path));
    utils::setDataDirectory(path);
}

QString administratorsText(const std::exception& failure)
{
    static const QHash<QString, QString> english{
        {u"hostStorageFull"_s, u"the disk is full; make room and try again"_s},
        {u"hostStorageDenied"_s, u"no permission; run as the owner of the data directory"_s},
        {u"hostStorageDamaged"_s, u"a file is damaged, or a stranger's; it was left as it is"_s},
        {u"hostStorageNewer"_s, u"a file was written by a later version; use that one"_s},
        {u"hostStorageLocked"_s, u"another program works on the data directory"_s},
        {u"hostStorageGone"_s, u"a file was removed or replaced meanwhile"_s},
        {u"hostStorageFailed"_s, u"a file cannot be read or written"_s},
    };
    const QString words = QString::fromUtf8(failure.what());
    const auto* known = dynamic_cast<const BasicException*>(&failure);
    const QString meaning = known ? english.value(known->tr().id()) : QString();
    return meaning.isEmpty() ? words : u"till: %1 (%2)"_s.arg(meaning, words);
}

} // namespace till
