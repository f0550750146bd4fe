// Any receipt comes back from its stored form as it was, and no change of that form goes unseen.
#include "host/queue/queuedform.h"
#include "host/storage/documentcodec.h"
#include "host/utils/basicexception.h"
#include "tests/properties/receipts.h"

#include <gtest/gtest.h>

#include <rapidcheck/gtest.h>

using namespace Qt::StringLiterals;

namespace {

bool isRefused(const QByteArray& bytes)
{
    try {
        return documentcodec::readDocument(bytes, u"file"_s).isNull();
    } catch (const BasicException&) {
        return true;
    }
}

QByteArray someReceipt() { return documentcodec::written(**properties::receipts()); }

} // namespace

RC_GTEST_PROP(StoredReceipt, ComesBackAsItWas, ())
{
    const auto receipt = *properties::receipts();
    const QByteArray bytes = documentcodec::written(*receipt);
    const auto read = documentcodec::readDocument(bytes, u"file"_s);
    RC_ASSERT(documentcodec::written(*read) == bytes);
    RC_ASSERT(read->getIdentifier() == receipt->getIdentifier());
    RC_ASSERT(read->flags() == receipt->flags());
    RC_ASSERT(read->getGoodsItems().size() == receipt->getGoodsItems().size());
    for (const auto& item : receipt->getGoodsItems()) {
        const auto same = read->getGoodsItemByPosnum(item->getPosnum());
        RC_ASSERT(!same.isNull());
        RC_ASSERT(same->getName(false) == item->getName(false));
        RC_ASSERT(same->ownGrossSum().has_value() == item->ownGrossSum().has_value());
    }
}

RC_GTEST_PROP(StoredReceipt, IsRefusedWhateverByteOfItIsAnother, ())
{
    QByteArray bytes = someReceipt();
    const auto at = *rc::gen::inRange<qsizetype>(0, bytes.size());
    const auto flipped = *rc::gen::inRange(1, 256);
    bytes[at] = static_cast<char>(bytes[at] ^ flipped);
    RC_ASSERT(isRefused(bytes));
}

RC_GTEST_PROP(StoredReceipt, IsRefusedWhereverItEndsTooEarlyOrGoesOn, ())
{
    const QByteArray bytes = someReceipt();
    RC_ASSERT(isRefused(bytes.first(*rc::gen::inRange<qsizetype>(1, bytes.size()))));
    RC_ASSERT(isRefused(bytes + (*properties::texts()).toUtf8() + '\0'));
}
