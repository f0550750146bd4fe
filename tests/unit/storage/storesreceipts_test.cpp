#include "tests/unit/storage/anyreceipts.h"

using namespace Qt::StringLiterals;

namespace test_support {

namespace {

class StoresReceipts : public ReceiptsHome
{
public:
    [[nodiscard]] std::unique_ptr<DocumentsDao> open() const override
    {
        return std::make_unique<DocumentsDao>();
    }
    void take() override {}
    void damage(const QString& identifier) override
    {
        flipABit(storage::store()->path(), u"documents"_s, u"content"_s,
                 u"identifier = '%1'"_s.arg(identifier));
    }
};

} // namespace

INSTANTIATE_TEST_SUITE_P(OfATill, AnyReceipts,
                         testing::Values(ReceiptsPlace{"DocumentsDao", [] {
                                                           return std::unique_ptr<ReceiptsHome>(
                                                               new StoresReceipts);
                                                       }}));

} // namespace test_support
