#include "tests/unit/shop/scene.h"
#include "tests/unit/storage/anyreceipts.h"

using namespace Qt::StringLiterals;

namespace test_support {

namespace {

/// Of a till whose receipts lie at it until they are told to move on.
class WaitingReceipts : public ReceiptsHome
{
public:
    WaitingReceipts() { shop::prepare(m_database); }

    [[nodiscard]] std::unique_ptr<DocumentsDao> open() const override
    {
        return std::make_unique<shop::ShopDocuments>(u"1"_s, m_server.address());
    }
    void take() override {}
    void damage(const QString& identifier) override
    {
        flipABit(storage::store()->path(), u"documents"_s, u"content"_s,
                 u"identifier = '%1'"_s.arg(identifier));
    }

protected:
    [[nodiscard]] const Postgres& server() const { return m_server; }
    [[nodiscard]] shop::Connection& database() { return m_database; }

private:
    const Postgres m_server;
    shop::Connection m_database{m_server.address()};
};

/// Of a till from which everything moves on at once.
class MovedReceipts : public WaitingReceipts
{
public:
    void take() override
    {
        shop::Moving moving(u"1"_s, database());
        while (moving.step()) {
        }
    }
    void damage(const QString& identifier) override
    {
        server().sql(u"UPDATE kyr.documents SET content = set_byte(content, 60, get_byte(content, 60) # 1) "
                     "WHERE identifier = '%1'"_s.arg(identifier));
    }
};

} // namespace

INSTANTIATE_TEST_SUITE_P(
    OfAShop, AnyReceipts,
    testing::Values(
        ReceiptsPlace{"StillAtTheTill", [] { return std::unique_ptr<ReceiptsHome>(new WaitingReceipts); }},
        ReceiptsPlace{"MovedOn", [] { return std::unique_ptr<ReceiptsHome>(new MovedReceipts); }}));

} // namespace test_support
