#include "tests/unit/queue/anyqueue.h"
#include "tests/unit/shop/scene.h"

using namespace Qt::StringLiterals;

namespace test_support {

namespace {

/// With one till, from which everything moves on at once.
class ShopsQueue : public QueueHome
{
public:
    ShopsQueue() { shop::prepare(m_database); }

    [[nodiscard]] std::unique_ptr<OutgoingQueue> open() const override
    {
        return std::make_unique<shop::ShopQueue>(m_server.address());
    }
    void take() override
    {
        shop::Moving moving(u"1"_s, m_database);
        while (moving.step()) {
        }
    }
    QString sql(const QString& statement) const override
    {
        return m_server.sql(u"SET search_path = kyr; "_s + statement);
    }
    [[nodiscard]] QString literal(const QByteArray& bytes) const override
    {
        return u"'\\x%1'"_s.arg(QLatin1StringView(bytes.toHex()));
    }
    void goAway() override { m_server.kill(); }
    void comeBack() override { m_server.start(); }

private:
    Postgres m_server;
    shop::Connection m_database{m_server.address()};
};

} // namespace

INSTANTIATE_TEST_SUITE_P(OfAShop, AnyQueue,
                         testing::Values(QueuePlace{
                             "ShopQueue", [] { return std::unique_ptr<QueueHome>(new ShopsQueue); }}));

} // namespace test_support
