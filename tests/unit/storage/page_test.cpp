#include "host/storage/store.h"
#include "tests/unit/storage/scene.h"

#include <QSet>

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;

namespace {

class StoragePage : public test_support::Storage
{
protected:
    static QString page()
    {
        QFile file(QStringLiteral(KYR_STORAGE_PAGE));
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    }
    /// What the page says under the heading of that table.
    static QString section(const QString& table)
    {
        const QString text = page();
        const qsizetype start = text.indexOf(u"### %1: "_s.arg(table));
        return start < 0 ? QString() : text.sliced(start).section(u"\n#"_s, 0, 0);
    }
    static QStringList texts(const QString& sql)
    {
        const auto store = storage::store();
        QSqlQuery query = store->prepared(sql);
        QStringList result;
        for (const QVariantList& row : store->rows(query))
            result.append(row[0].toString());
        return result;
    }
};

TEST_F(StoragePage, NamesEveryTableAndColumnOfTheStoreAndNoOthers)
{
    const QStringList tables =
        texts(u"SELECT name FROM sqlite_master WHERE type = 'table' AND name NOT LIKE 'sqlite_%'"_s);
    ASSERT_GT(tables.size(), 5);
    for (const QString& table : tables) {
        const QString said = section(table);
        QStringList named;
        for (const QString& line : said.split(u'\n')) {
            if (line.startsWith(u"| `"_s))
                named += line.section(u'|', 1, 1).remove(u'`').remove(u' ').split(u',');
        }
        const QStringList columns = texts(u"SELECT name FROM pragma_table_info('%1')"_s.arg(table));
        EXPECT_EQ(QSet<QString>(named.begin(), named.end()), QSet<QString>(columns.begin(), columns.end()))
            << table.toStdString();
    }
    EXPECT_EQ(page().count(u"\n### "_s), tables.size());
}

TEST_F(StoragePage, GivesTheStoresNumbers)
{
    EXPECT_TRUE(page().contains(u"| store | %1 |"_s.arg(texts(u"PRAGMA user_version"_s).value(0))));
    EXPECT_TRUE(
        page().contains(u"`PRAGMA application_id` is %1 "_s.arg(texts(u"PRAGMA application_id"_s).value(0))));
}

} // namespace
