#include "till/setup/pluginhost.h"

#include "till/cli/usageerror.h"

#include <QFileInfo>
#include <QJsonObject>
#include <QLibraryInfo>

using namespace Qt::StringLiterals;

namespace till {

namespace {

/// The Qt that the plug-in was built for, as its metadata says; null when it has none.
QVersionNumber qtOf(const QPluginLoader& loader)
{
    const int version = loader.metaData().value("version"_L1).toInt(); // 0xMMmmpp
    if (version == 0)
        return {};
    return {version >> 16, (version >> 8) & 0xff};
}

} // namespace

PluginHost::PluginHost(const QString& fileName)
{
    if (!QFileInfo(fileName).isFile())
        throw UsageError(u"%1: no such file; name the plug-in with --plugin"_s.arg(fileName));
    // An absolute path, for a bare name would be looked for in Qt's own plug-in directories.
    m_loader.setFileName(QFileInfo(fileName).absoluteFilePath());
    try {
        load();
        start();
    } catch (const std::exception& failure) {
        m_loader.unload();
        throw UsageError(u"%1: %2"_s.arg(fileName, QString::fromUtf8(failure.what())));
    }
}

PluginHost::~PluginHost() { m_loader.unload(); }

QVersionNumber PluginHost::builtFor() const { return qtOf(m_loader); }

void PluginHost::load()
{
    if (m_loader.load())
        return;
    const QVersionNumber ours = QLibraryInfo::version();
    const QVersionNumber theirs = qtOf(m_loader);
    const bool fits =
        theirs.majorVersion() == ours.majorVersion() && theirs.minorVersion() <= ours.minorVersion();
    if (!theirs.isNull() && !fits)
        throw UsageError(
            u"is built for Qt %1, but the till runs on Qt %2; build it against the till's Qt"_s.arg(
                theirs.toString(), ours.toString()));
    throw UsageError(u"is not a plug-in that can be loaded: "_s + m_loader.errorString());
}

void PluginHost::start()
{
    QObject* object = m_loader.instance();
    if (!object)
        throw UsageError(u"cannot make its object: "_s + m_loader.errorString());
    m_loyalty = qobject_cast<BasicLoyaltySystem*>(object);
    if (!m_loyalty || !qobject_cast<BasicPlugin*>(object))
        throw UsageError(u"is a plug-in, but not a loyalty system of this host"_s);
    if (!m_loyalty->init())
        throw UsageError(u"init() refused; the log says why"_s);
}

} // namespace till
