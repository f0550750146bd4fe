#include "till/admin/tool.h"

#include "host/storage/datadirectory.h"
#include "host/utils/basicexception.h"
#include "till/cli/usageerror.h"
#include "till/setup/parts.h"

#include <QDir>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace till {

QString dataDirectoryOf(const Options& options)
{
    return options.dataDirectory.isEmpty() ? usualDataDirectory() : options.dataDirectory;
}

bool keepsAnything(const QString& directory) { return QDir(directory).exists(u"till.sqlite"_s); }

Tool::Tool(const Invocation& invocation)
    : options(invocation.options)
    , config(settingsOf(options))
    , console(options.json)
    , m_logFile(options.logFile, fileLevel(options))
    , m_screenLog(screenLevel(options, LogLevel::Warning))
{
    warnOfExposure(options);
}

Tool::~Tool() { storage::setDataDirectory({}); }

void Tool::take(const Options& anew, const Config& itsConfig)
{
    m_logFile.reopen(anew.logFile, fileLevel(anew));
    m_screenLog.setLeast(screenLevel(anew, LogLevel::Warning));
    options = anew;
    config = itsConfig;
}

void Tool::useDataDirectory()
{
    const QString path = dataDirectoryOf(options);
    if (!QFileInfo(path).isDir())
        throw UsageError(u"till: %1: no such data directory; name the till's with --data-dir"_s.arg(path));
    storage::setDataDirectory(path);
}

namespace {

struct Explanation
{
    QString meaning;
    QString remedy;
};

Explanation explanationOf(const std::exception& failure)
{
    static const QHash<QString, Explanation> known{
        {u"hostStorageFull"_s,
         {u"the disk is full; make room and try again"_s, u"make room on the disk of the data directory"_s}},
        {u"hostStorageDenied"_s,
         {u"no permission; run as the owner of the data directory"_s,
          u"run as the owner of the data directory; else mend owner and mode: chown, chmod 600"_s}},
        {u"hostStorageDamaged"_s,
         {u"a file is damaged, or a stranger's; it was left as it is"_s,
          u"restart the till, which sets a damaged file aside; then till rescue, see docs/operations.md"_s}},
        {u"hostStorageNewer"_s,
         {u"a file was written by a later version; use that one"_s, u"install the later version again"_s}},
        {u"hostStorageLocked"_s,
         {u"another program works on the data directory"_s,
          u"end the program that keeps the file locked: lsof, or fuser -v, names it"_s}},
        {u"hostStorageGone"_s,
         {u"a file was removed or replaced meanwhile; put it back, or start again"_s,
          u"put the former file or folder back, or restart the till; see docs/operations.md"_s}},
        {u"hostStorageStrange"_s,
         {u"something that is no plain file lies in the place of one; take it away"_s,
          u"see with ls -l what lies there, and take it away"_s}},
        {u"hostStorageExposed"_s,
         {u"everybody may write the data directory; chmod 700 it"_s,
          u"chmod 700 the data directory, and look whether all files in it are the till's"_s}},
        {u"hostStorageFailed"_s,
         {u"a file cannot be read or written"_s, u"check the disk; see docs/operations.md"_s}},
    };
    const auto* told = dynamic_cast<const BasicException*>(&failure);
    return told ? known.value(told->tr().id()) : Explanation{};
}

} // namespace

QString administratorsText(const std::exception& failure)
{
    const QString words = QString::fromUtf8(failure.what());
    const QString meaning = explanationOf(failure).meaning;
    return meaning.isEmpty() ? words : u"till: %1 (%2)"_s.arg(meaning, words);
}

QString remedyOf(const std::exception& failure)
{
    const QString remedy = explanationOf(failure).remedy;
    return remedy.isEmpty() ? u"see docs/operations.md"_s : remedy;
}

} // namespace till
