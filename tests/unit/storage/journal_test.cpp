#include "host/storage/journal.h"
#include "host/storage/transaction.h"
#include "tests/unit/storage/scene.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using testing::ElementsAre;

namespace {

class JournalOfATill : public test_support::Storage
{
protected:
    static void note(const QString& receipt, int times = 1)
    {
        storage::Transaction transaction;
        for (int i = 0; i < times; ++i)
            storage::Journal().add(
                {.time = {}, .receipt = receipt, .event = u"answer"_s, .operation = {}, .detail = {}});
        transaction.commit();
    }
};

TEST_F(JournalOfATill, ListsReceiptsTheLastFirstHoweverMuchIsToldOfOne)
{
    note(u"R-1"_s);
    note(u"R-2"_s, 1001);
    note(u"R-3"_s);
    EXPECT_THAT(storage::Journal().receipts(10), ElementsAre(u"R-3"_s, u"R-2"_s, u"R-1"_s));
    EXPECT_THAT(storage::Journal().receipts(2), ElementsAre(u"R-3"_s, u"R-2"_s));
}

} // namespace
