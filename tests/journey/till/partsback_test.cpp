#include "host/network/restclient.h"
#include "host/utils/quantity.h"
#include "tests/journey/till/tillprocess.h"
#include "tests/stand/standprocess.h"

#include <QUrl>
#include <QVariantMap>

#include <gmock/gmock.h>

#include <cmath>
#include <cstdint>
#include <map>
#include <random>

using namespace Qt::StringLiterals;
using namespace story;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace tilltest {

namespace {

/// Sales by weight that points are spent on, each taken back whole in parts.
class RandomReturns
{
public:
    explicit RandomReturns(unsigned seed)
        : m_random(seed)
    {}

    Steps sale(const QByteArray& id)
    {
        m_left.clear();
        QList<Goods> positions;
        double sum = 0;
        for (auto posnum = upTo(3); posnum >= 0; --posnum) {
            const auto price = static_cast<double>(upTo(39'999) + 1000) / 100;
            m_left.push_back(upTo(2'999) + 200);
            const double quantity = utils::inUnits(m_left.back());
            sum += price * quantity;
            positions.append(tea(price, quantity));
        }
        const double points =
            std::floor(std::min(250.0, sum * 0.4) * static_cast<double>(upTo(99) + 1)) / 100;
        return openSale(id, positions) + card + spendPoints(points) + pay();
    }

    /// Something of what is left, or all of it; empty: there is nothing left.
    Steps back(const QByteArray& id, const QByteArray& of, bool all)
    {
        QList<Back> positions;
        for (std::size_t i = 0; i < m_left.size(); ++i) {
            const auto now = all ? m_left[i] : upTo(m_left[i]);
            m_left[i] -= now;
            if (now > 0)
                positions.append(position(static_cast<int>(i) + 1, utils::inUnits(now)));
        }
        return positions.isEmpty() ? Steps() : openReturn(id, of, positions) + pay();
    }

    int upTo(int most) { return std::uniform_int_distribution(0, most)(m_random); }

private:
    std::mt19937 m_random;
    std::vector<int> m_left; ///< thousandths, by position
};

/// What a stand says of the books that a till has left in that folder.
QVariantMap page(const QString& directory, const QString& name)
{
    standtest::StandProcess stand({u"--data"_s, directory + u"/stand.sqlite"_s});
    RestClient client;
    client.get(QUrl(QString::fromLatin1(stand.url()) + u"/stand/"_s + name), {}, {});
    return client.getResponse().toMap();
}

/// Plays them with the till's own stand, whose books stay in the folder.
Ran played(const Files& files, const Steps& steps)
{
    return runJson(steps + deliver(), {u"--data-dir"_s, files.path(u"data"_s)});
}

Ran reconciled(const Files& files) { return run({u"reconcile"_s, u"--data-dir"_s, files.path(u"data"_s)}); }

QStringList leftByThresholds(const Files& files)
{
    return page(files.path(u"data"_s), u"invariants"_s).value(u"left_by_thresholds"_s).toStringList();
}

std::int64_t hundredths(const QVariant& units) { return std::llround(units.toDouble() * 100); }

/// Of each spending and earning in the books, by "kind receipt": what of it was not taken back.
std::map<std::string, std::int64_t> notTakenBack(const Files& files)
{
    std::map<qlonglong, std::pair<std::string, std::int64_t>> left;
    for (const QVariant& row : page(files.path(u"data"_s), u"ledger"_s).value(u"operations"_s).toList()) {
        const QVariantMap operation = row.toMap();
        const QString kind = operation.value(u"operation"_s).toString();
        if (kind == u"refusal")
            left[operation.value(u"root"_s).toLongLong()].second -= hundredths(operation.value(u"points"_s));
        else if (kind != u"opening")
            left[operation.value(u"n"_s).toLongLong()] = {
                (kind + u' ' + operation.value(u"check_identifier"_s).toString()).toStdString(),
                hundredths(operation.value(u"points"_s))};
    }
    std::map<std::string, std::int64_t> result;
    for (const auto& [n, operation] : left) {
        if (operation.second != 0)
            result.insert(operation);
    }
    return result;
}

} // namespace

TEST(TillPartsBack, OfRandomSalesByWeightLeaveNothingInTheBooksAndAgreeWithThem)
{
    RandomReturns random(20261121);
    Steps steps;
    for (int i = 1; i <= 25; ++i) {
        const QByteArray number = QByteArray::number(i);
        steps += random.sale("R-" + number);
        for (int part = random.upTo(3); part >= 0; --part)
            steps += random.back("V-" + number + '-' + QByteArray::number(part), "R-" + number, part == 0);
    }
    const Files files;
    const Ran ran = played(files, steps);
    EXPECT_EQ(ran.status, 0) << ran.out.right(2000).toStdString() << ran.err.toStdString();
    EXPECT_EQ(linesOf(ran).last().value(u"summary"_s).toObject().value(u"spent"_s).toDouble(), 0);
    EXPECT_THAT(leftByThresholds(files), IsEmpty());
    EXPECT_THAT(notTakenBack(files), IsEmpty());
    const Ran compared = reconciled(files);
    EXPECT_EQ(compared.status, 0) << compared.out.toStdString();
}

TEST(TillPartsBack, OfAnotherRatioAgreeWithTheBooksAsFarAsBothCut)
{
    RandomReturns random(7);
    Steps steps;
    for (int i = 1; i <= 5; ++i) {
        const QByteArray number = QByteArray::number(i);
        steps += random.sale("R-" + number);
        for (int part = 2; part >= 0; --part)
            steps += random.back("V-" + number + '-' + QByteArray::number(part), "R-" + number, part == 0);
    }
    const Ran ran = runJson(steps + deliver(), {}, {{u"KYRLoyalty:bonusRatio"_s, u"10:1"_s}});
    EXPECT_EQ(ran.status, 0) << ran.out.right(2000).toStdString() << ran.err.toStdString();
    EXPECT_EQ(linesOf(ran).last().value(u"summary"_s).toObject().value(u"spent"_s).toDouble(), 0);
}

TEST(TillPartsBack, WorthLessThanAThresholdLeavePointsThatTheStandNames)
{
    Steps steps = openSale("R-1", {goods("Спички", 1, 10)}) + card + spendPoints(0.05) + pay();
    for (int part = 1; part <= 10; ++part)
        steps += openReturn("V-" + QByteArray::number(part), "R-1", {position(1)}) + pay();
    const Files files;
    const Ran ran = played(files, steps);
    EXPECT_EQ(ran.status, 0) << "what a threshold leaves is no difference: "
                             << ran.out.right(1000).toStdString();
    // Every other return has 0.00 of the 0.05, and so the service is told of 5 of 10 alone.
    EXPECT_THAT(leftByThresholds(files), ElementsAre(u"0.03 points of position 1 of receipt R-1"_s));
    EXPECT_EQ(reconciled(files).status, 0);
}

} // namespace tilltest
