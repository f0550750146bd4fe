#include "host/core/document.h"
#include "till/checkout/spendingpaths.h"
#include "till/checkout/unknownspending.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;

namespace till {

namespace {

const QString spendAtOnce = u"https://service.example/v2/partner/operation/force-payment-c2b"_s;
const QString confirm = u"https://service.example/v2/partner/operation/confirm-payment-c2b"_s;

/// What a first spending, or a repeated one, that ended with each code says.
QList<int> codesThatProve(const QString& url, bool askedAgain)
{
    QList<int> proving;
    for (const int code :
         {0, 1, 2, 3, 4, 5, 6, 7, 8, 400, 401, 403, 404, 408, 409, 422, 425, 429, 500, 503}) {
        RestExchange exchange;
        exchange.url = QUrl(url);
        exchange.errorCode = code;
        if (provesNothingSpent(exchange, askedAgain))
            proving.append(code);
    }
    return proving;
}

} // namespace

TEST(UnknownSpending, IsNoneOfAFirstRequestThatNeverLeftOrWasRefused)
{
    for (const QString& url : {spendAtOnce, confirm}) {
        EXPECT_THAT(codesThatProve(url, false),
                    testing::ElementsAre(3, 7, 8, 400, 401, 403, 404, 409, 422, 429))
            << url.toStdString() << ": after any other the service may have spent the points";
    }
}

TEST(UnknownSpending, IsSettledByTheRejectionOfARepeatThatTheServiceJudgesByTheReceipt)
{
    EXPECT_THAT(codesThatProve(spendAtOnce, true), testing::ElementsAre(400, 409, 422));
    EXPECT_THAT(codesThatProve(confirm, true), testing::IsEmpty())
        << "a wrong code says nothing of what went before";
}

TEST(UnknownSpending, IsTheBusinessOfNoOtherRequest)
{
    for (const QString& other : {u"https://service.example/v2/partner/operation/pre-payment"_s,
                                 u"https://service.example/payment-c2b"_s, QString()}) {
        EXPECT_FALSE(movesPoints(QUrl(other))) << other.toStdString();
        EXPECT_THAT(codesThatProve(other, false), testing::IsEmpty());
        EXPECT_THAT(codesThatProve(other, true), testing::IsEmpty());
    }
    EXPECT_TRUE(movesPoints(QUrl(spendAtOnce)));
    EXPECT_TRUE(movesPoints(QUrl(confirm)));
}

TEST(UnknownSpending, IsOfNothingAndUnsettledUnlessSomebodySays)
{
    EXPECT_EQ(UnknownSpending().points, 0);
    EXPECT_EQ(UnknownSpending().wanted, 0);
    EXPECT_FALSE(SpendingPath().rejectionSettlesARepeat);
}

TEST(UnknownSpending, IsReadAsEarlierTillsHaveWrittenIt)
{
    Document receipt(SaleReceipt, u"R-1"_s);
    EXPECT_EQ(unknownSpendingOf(receipt), std::nullopt);
    const QDateTime since(QDate(2026, 3, 2), QTime(9, 0));
    const QVariantMap written{{u"points"_s, 30.5}, {u"wanted"_s, 50}, {u"since"_s, since}};
    receipt.setPluginData(u"Till"_s, u"unknownSpending"_s, written);
    const auto spending = unknownSpendingOf(receipt);
    ASSERT_TRUE(spending);
    EXPECT_EQ(spending->points, 30.5);
    EXPECT_EQ(spending->wanted, 50);
    EXPECT_EQ(spending->since, since);

    Document other(SaleReceipt, u"R-2"_s);
    setUnknownSpending(other, spending);
    EXPECT_EQ(other.getPluginData(u"Till"_s, u"unknownSpending"_s, {}).toMap(), written);
    setUnknownSpending(other, std::nullopt);
    EXPECT_EQ(unknownSpendingOf(other), std::nullopt);
}

} // namespace till
