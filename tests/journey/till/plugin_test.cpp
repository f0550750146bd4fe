#include "tests/journey/till/tillprocess.h"

#include <QDir>
#include <QFile>
#include <QLibraryInfo>

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using ::testing::HasSubstr;

namespace tilltest {

namespace {

void expectRefusal(const QString& plugin, const char* reason)
{
    const Ran ran = run({u"shell"_s, u"--plugin"_s, plugin});
    EXPECT_EQ(ran.status, 2);
    EXPECT_EQ(ran.out, "");
    EXPECT_THAT(ran.err.toStdString(), HasSubstr(plugin.toStdString() + ": " + reason));
}

} // namespace

TEST(TillPlugin, AMissingFileIsNamed) { expectRefusal(u"/nowhere/libKYRLoyalty.so"_s, "no such file"); }

TEST(TillPlugin, ALibraryThatIsNoPluginIsRefused)
{
    expectRefusal(QStringLiteral(OTHER_LIBRARY), "is not a plug-in that can be loaded");
}

TEST(TillPlugin, AFileThatIsNoLibraryIsRefused)
{
    const Files files;
    expectRefusal(files.write(u"libtext.so"_s, "just text"), "is not a plug-in that can be loaded");
}

TEST(TillPlugin, APluginOfAnotherKindIsRefused)
{
    const QDir drivers(QLibraryInfo::path(QLibraryInfo::PluginsPath) + u"/sqldrivers"_s);
    ASSERT_TRUE(drivers.exists(u"libqsqlite.so"_s));
    expectRefusal(drivers.filePath(u"libqsqlite.so"_s), "is a plug-in, but not a loyalty system");
}

TEST(TillPlugin, APluginForANewerQtIsRefusedWithBothVersions)
{
    QFile original(QStringLiteral(PLUGIN_FILE));
    ASSERT_TRUE(original.open(QIODevice::ReadOnly));
    QByteArray library = original.readAll();
    // In the library's metadata: the mark and a zero, a format number, the major and the minor version of Qt.
    const qsizetype mark = library.indexOf("qt-project!");
    ASSERT_GT(mark, 0);
    library[mark + 14] = 99;
    const Files files;
    expectRefusal(files.write(u"libNewer.so"_s, library),
                  "is built for Qt 6.99, but the till runs on Qt " QT_VERSION_STR);
}

TEST(TillPlugin, TheReasonOfARefusedStartIsInTheLog)
{
    const Ran ran = run({u"shell"_s, u"--plugin"_s, QStringLiteral(REFUSING_PLUGIN)});
    EXPECT_EQ(ran.status, 2);
    EXPECT_EQ(ran.out, "");
    EXPECT_THAT(ran.err.toStdString(), HasSubstr(REFUSING_PLUGIN ": init() refused"));
    EXPECT_THAT(ran.err.toStdString(), HasSubstr("kyrloyalty: error: Отказ"));
}

} // namespace tilltest
