#include "till/setup/parts.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>

using namespace Qt::StringLiterals;

namespace till {

namespace {

QString besideProgram(const QString& path)
{
    return QDir::cleanPath(QCoreApplication::applicationDirPath() + u'/' + path);
}

/// Where it is built, else where it is installed.
QString usualPlugin()
{
    const QString built = besideProgram(u"../lib/libKYRLoyalty.so"_s);
    const QString installed = besideProgram(u"../" KYR_LIBRARY_FOLDER "/libKYRLoyalty.so"_s);
    return QFile::exists(built) || !QFile::exists(installed) ? built : installed;
}

} // namespace

QString usualDataDirectory()
{
    QString service = qEnvironmentVariable("STATE_DIRECTORY").section(u':', 0, 0);
    if (!service.isEmpty())
        return service;
    const QString state = qEnvironmentVariable("XDG_STATE_HOME");
    return (QDir::isAbsolutePath(state) ? state : QDir::homePath() + u"/.local/state"_s) + u"/kyr-loyalty"_s;
}

Parts partsOf(const Options& options)
{
    return {options.pluginFile.isEmpty() ? usualPlugin() : options.pluginFile,
            options.standProgram.isEmpty() ? besideProgram(u"stand"_s) : options.standProgram,
            options.dataDirectory};
}

} // namespace till
