// The stand's own time.

#include "tests/stand/shop.h"
#include "tests/stand/standfixture.h"

#include <QDateTime>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;
using standtest::json;
using standtest::Shop;
using standtest::StandProcess;
using ::testing::Optional;

namespace {

standtest::Reply clock(const Shop& shop, const QByteArray& body)
{
    return standtest::send({.url = shop.root() + "/stand/clock", .method = "POST", .body = body});
}

QDateTime timeOf(const Shop& shop)
{
    return QDateTime::fromString(shop.page("clock")[u"time"].toString(), Qt::ISODateWithMs);
}

QString lastOperationTime(const Shop& shop) { return shop.operations().last()[u"time"].toString(); }

TEST(StandClock, IsTheSystemsUnlessSet)
{
    const Shop shop;
    EXPECT_LT(std::abs(timeOf(shop).secsTo(QDateTime::currentDateTimeUtc())), 60);
    const Shop other({u"--clock"_s, u"2030-01-02T03:04:05Z"_s});
    EXPECT_EQ(other.page("clock")[u"time"].toString().first(16), u"2030-01-02T03:04"_s);
}

TEST(StandClock, GoesForwardAndDatesOperationsAndExchanges)
{
    Shop shop({u"--clock"_s, u"2030-01-02T03:04:05Z"_s});
    EXPECT_EQ(clock(shop, R"({"advance": 86400})").status, 200);
    shop.earn({});
    EXPECT_EQ(lastOperationTime(shop).first(10), u"2030-01-03"_s);
    EXPECT_EQ(standtest::exchangesOf(shop.root()).last()[u"time"].toString().first(10), u"2030-01-03"_s);
    EXPECT_EQ(clock(shop, R"({"time": "2030-02-01T00:00:00Z"})").status, 200);
    EXPECT_EQ(timeOf(shop).date(), QDate(2030, 2, 1));
}

TEST(StandClock, IsToldWithEachAnswer)
{
    const Shop shop({u"--clock"_s, u"2030-01-02T03:04:05Z"_s});
    const auto date =
        QString::fromLatin1(standtest::send({.url = shop.root() + "/stand/clock"}).headers["date"]);
    EXPECT_EQ(date.first(20), u"Wed, 02 Jan 2030 03:"_s);
    EXPECT_TRUE(date.endsWith(u" GMT"_s)) << date.toStdString();
}

TEST(StandClock, NeverGoesBack)
{
    Shop shop({u"--clock"_s, u"2030-01-02T03:04:05Z"_s});
    for (const auto* body :
         {R"({"advance": -1})", R"({"time": "2029-01-01T00:00:00Z"})", R"({"advance": 1e300})",
          R"({"time": "soon"})", R"({"advance": "1"})", "{}", "nonsense"})
        EXPECT_EQ(clock(shop, body).status, 422) << body;
    EXPECT_EQ(timeOf(shop).date(), QDate(2030, 1, 2));
}

TEST(StandClock, OfAStandStartedInThePastDatesNothingBeforeWhatIsThere)
{
    const QTemporaryDir directory;
    const QStringList data = {u"--data"_s, directory.filePath(u"stand.sqlite"_s)};
    {
        Shop shop(data + QStringList{u"--clock"_s, u"2030-01-02T00:00:00Z"_s});
        shop.earn({.number = u"1"_s});
        shop.kill();
    }
    Shop shop(data + QStringList{u"--clock"_s, u"2029-01-01T00:00:00Z"_s});
    shop.earn({.number = u"2"_s});
    EXPECT_EQ(lastOperationTime(shop).first(10), u"2030-01-02"_s);
    EXPECT_EQ(shop.page("invariants"), json(u"{'ok':true,'violations':[],'left_by_thresholds':[]}"_s));
}

TEST(StandClock, RefusesATimeThatIsNone)
{
    StandProcess stand({u"--clock"_s, u"noon"_s});
    EXPECT_THAT(stand.exitStatus(), Optional(2));
    EXPECT_THAT(stand.errors().toStdString(), ::testing::HasSubstr("'noon' is no time"));
}

} // namespace
