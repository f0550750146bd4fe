#include "till/checkout/lateearning.h"

#include <QUrl>

#include <gmock/gmock.h>

#include <limits>

using namespace Qt::StringLiterals;

namespace till {

namespace {

QString accountOf(const QString& operation, const QVariant& points)
{
    QueuedMessage message;
    message.message = {{u"url"_s, QUrl(u"https://service.example/v2/partner/operation/"_s + operation)}};
    return accountOfEarning(message, QVariantMap{{u"data"_s, QVariantMap{{u"paymentBonus"_s, points}}}});
}

} // namespace

TEST(LateEarning, IsToldInPointsAndReadBack)
{
    EXPECT_EQ(accountOf(u"payment-b2c"_s, 12.5), u"earned 12.50 points"_s);
    EXPECT_EQ(accountOf(u"payment-b2c"_s, 0), u"earned 0.00 points"_s);
    EXPECT_EQ(pointsIn(accountOf(u"payment-b2c"_s, 12.5)), 12.5);
}

TEST(LateEarning, IsOfAnEarningWithPointsOnly)
{
    EXPECT_EQ(accountOf(u"refuse-payment"_s, 12.5), QString());
    EXPECT_EQ(accountOf(u"payment-b2c"_s, {}), QString());
    EXPECT_EQ(accountOf(u"payment-b2c"_s, u"many"_s), QString());
    EXPECT_EQ(accountOf(u"payment-b2c"_s, std::numeric_limits<double>::infinity()), QString());
    EXPECT_EQ(accountOfEarning({}, u"no object"_s), QString());
    for (const QString& other : {u""_s, u"busy"_s, u"earned points"_s, u"earned 1 points"_s,
                                 u"earned 1.00 points, or so"_s, u"never earned 1.00 points"_s})
        EXPECT_EQ(pointsIn(other), std::nullopt) << other.toStdString();
}

} // namespace till
