#include "host/storage/database.h"
#include "host/storage/store.h"
#include "tests/unit/storage/scene.h"

#include <QStringList>

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using storage::Transaction;
using testing::ElementsAre;

namespace {

/// Tells what it is told.
class Elsewhere : public storage::Database::Companion
{
public:
    void keep() override
    {
        told.append(u"keep"_s);
        if (isAway)
            throw BasicException(tr::Tr(u"away"_s, u"away"_s));
    }
    void undo() noexcept override { told.append(u"undo"_s); }

    QStringList told;
    bool isAway = false;
};

class TransactionWithACompanion : public test_support::Storage
{
protected:
    void add(const char* receipt) const
    {
        QSqlQuery insert =
            store->prepared(u"INSERT INTO journal (time, receipt, event, operation, message, code, "
                            "detail, milliseconds) VALUES (0, ?, '', '', 0, 0, '', 0)"_s);
        store->change(insert, {QString::fromLatin1(receipt)});
    }
    [[nodiscard]] QStringList kept() const
    {
        QSqlQuery query = store->prepared(u"SELECT receipt FROM journal ORDER BY id"_s);
        QStringList receipts;
        for (const QVariantList& row : store->rows(query))
            receipts.append(row[0].toString());
        return receipts;
    }

    const std::shared_ptr<storage::Database> store = storage::store();
    Elsewhere elsewhere;
};

} // namespace

TEST_F(TransactionWithACompanion, IsKeptByItFirst)
{
    {
        Transaction transaction;
        store->accompany(elsewhere);
        add("R-1");
        transaction.commit();
    }
    EXPECT_THAT(elsewhere.told, ElementsAre(u"keep"_s));
    EXPECT_THAT(kept(), ElementsAre(u"R-1"_s));
    Transaction next;
    next.commit();
    EXPECT_EQ(elsewhere.told.size(), 1) << "the next one is none of its business";
}

TEST_F(TransactionWithACompanion, IsUndoneWithIt)
{
    {
        const Transaction transaction;
        store->accompany(elsewhere);
        add("R-1");
    }
    EXPECT_THAT(elsewhere.told, ElementsAre(u"undo"_s));
}

TEST_F(TransactionWithACompanion, KeepsNothingThatItCouldNotKeep)
{
    elsewhere.isAway = true;
    {
        Transaction transaction;
        store->accompany(elsewhere);
        add("R-1");
        EXPECT_EQ(failure([&] { transaction.commit(); }), u"away");
    }
    EXPECT_THAT(elsewhere.told, ElementsAre(u"keep"_s, u"undo"_s));
    EXPECT_TRUE(kept().isEmpty());
}

TEST_F(TransactionWithACompanion, IsKeptByItWithTheOuterOneOnly)
{
    Transaction outer;
    {
        Transaction inner;
        store->accompany(elsewhere);
        add("R-1");
        inner.commit();
    }
    EXPECT_TRUE(elsewhere.told.isEmpty());
    outer.commit();
    EXPECT_THAT(elsewhere.told, ElementsAre(u"keep"_s));
}

TEST_F(TransactionWithACompanion, IsUndoneByItWithTheInnerOneThatItBelongsTo)
{
    Transaction outer;
    {
        const Transaction inner;
        store->accompany(elsewhere);
        add("R-1");
    }
    EXPECT_THAT(elsewhere.told, ElementsAre(u"undo"_s));
    add("R-2");
    outer.commit();
    EXPECT_THAT(kept(), ElementsAre(u"R-2"_s));
    EXPECT_EQ(elsewhere.told.size(), 1);
}

/// It cannot undo a part.
TEST_F(TransactionWithACompanion, IsSpoiltAsAWholeByAnInnerOneThatIsUndoneLater)
{
    {
        Transaction outer;
        store->accompany(elsewhere);
        add("R-1");
        {
            const Transaction inner;
            add("R-2");
        }
        EXPECT_EQ(failure([&] { outer.commit(); }), u"hostStorageFailed");
    }
    EXPECT_THAT(elsewhere.told, ElementsAre(u"undo"_s));
    EXPECT_TRUE(kept().isEmpty());
    add("R-3");
    EXPECT_THAT(kept(), ElementsAre(u"R-3"_s));
}
