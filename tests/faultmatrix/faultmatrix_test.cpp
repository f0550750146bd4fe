// Every fault of the stand at every operation of the service, before and after it takes effect, while the
// cashier waits and out of the queue: how long that takes, what is seen, and what the books say when it is
// over.

#include "tests/faultmatrix/places.h"
#include "tests/stand/http.h"

#include <QCoreApplication>
#include <QDate>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QLoggingCategory>

#include <gmock/gmock.h>

#include <algorithm>
#include <iostream>

using namespace Qt::StringLiterals;
using ::testing::UnorderedElementsAreArray;

namespace faulttest {

namespace {

constexpr int graceMs = 500;

/// What a running stand says of its faults.
QJsonObject standsOwn()
{
    standtest::StandProcess stand;
    return standtest::send({.url = stand.url() + "/stand/overview"}).json().toObject();
}

/// Where the table of all cells is to be written; empty: only some of them are played.
QString tableFolder() { return qEnvironmentVariable("KYR_FAULTS_TABLE"); }

/// The same for all places on the same day, so that none of the strikes is left out by all of them.
qsizetype seed()
{
    bool isNumber = false;
    const int given = qEnvironmentVariableIntValue("KYR_SEED", &isNumber);
    return isNumber ? given : static_cast<qsizetype>(QDate::currentDate().toJulianDay());
}

std::vector<std::string> words(const QStringList& texts)
{
    std::vector<std::string> all;
    for (const QString& text : texts)
        all.push_back(text.toStdString());
    return all;
}

/// A line of the table that the run writes.
void write(const Place& place, const Strike& strike, qint64 milliseconds, int code, const Seen& seen,
           const QString& books)
{
    if (tableFolder().isEmpty())
        return;
    QFile file(tableFolder() + u'/' + QString::fromLatin1(place.name) + u".md"_s);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Append));
    QString line = QStringList{QString::fromLatin1(place.name),
                               place.operation,
                               place.isQueued ? u"queued"_s : u"online"_s,
                               strike.name(),
                               QString::number(milliseconds),
                               QString::number(code),
                               seen.line(),
                               books}
                       .join(u" | "_s);
    file.write((u"| "_s + line.replace(u'\n', u' ') + u" |\n"_s).toUtf8());
}

/// What the journal says of the request that was struck; a query is none of its business.
QString noteOf(const Place& place, const Strike& strike)
{
    if (place.verb == Strike::Verb::Get)
        return {};
    QString event = u"answer"_s;
    if (place.isQueued)
        event = strike.isAnswered() ? u"delivered"_s : strike.parks() ? u"parked"_s : u"attempt"_s;
    return u"%1 %2"_s.arg(event).arg(strike.code);
}

void play(const Place& place, const Strike& strike)
{
    Scene scene(place.asksForCode);
    place.prepare(scene);
    scene.arm(strike.at(place.operation, place.request));

    QElapsedTimer time;
    time.start();
    const Tried tried = place.act(scene);
    const qint64 milliseconds = time.elapsed();

    const Seen seen = scene.seen(tried);
    const int code = scene.codeOf(place.path);
    EXPECT_EQ(scene.fired(), 1);
    EXPECT_LE(milliseconds, Scene::timeLimitMs + graceMs);
    EXPECT_EQ(code, strike.code);
    EXPECT_EQ(scene.noted(place.operation).toStdString(), noteOf(place, strike).toStdString());
    EXPECT_EQ(seen.line().toStdString(), place.expected(strike).line().toStdString());

    scene.disarm();
    place.goOn(scene);
    if (strike.comesLate())
        scene.waitForWhatComesLate();
    const QString books = scene.books();
    const End end = place.end(strike);
    EXPECT_EQ(books.toStdString(), end.books.toStdString());
    EXPECT_EQ(scene.differences().join(u'\n').toStdString(), end.differences.toStdString());
    write(place, strike, milliseconds, code, seen, books);
}

class FaultMatrix : public ::testing::TestWithParam<qsizetype>
{};

} // namespace

// Each strike at one of the places that ask in the same way, at another every day, KYR_SEED says which; all
// of them when the table is written.
TEST_P(FaultMatrix, IsWaitedForShownAndSettledAsTheContractSays)
{
    const QList<Place>& all = places();
    const Place& place = all.at(GetParam());
    const auto asksAlike = [&place](const Place& other) { return other.verb == place.verb; };
    const auto alike = std::count_if(all.cbegin(), all.cend(), asksAlike);
    const auto turn = std::count_if(all.cbegin(), all.cbegin() + GetParam(), asksAlike);
    std::cout << "KYR_SEED=" << seed() << std::endl;
    const QList<Strike> strikes = strikesOf(standsOwn()[u"kinds"_s].toArray(), place.verb);
    ASSERT_GT(strikes.size(), alike);
    for (qsizetype i = 0; i < strikes.size(); ++i) {
        if (tableFolder().isEmpty() && (i + seed()) % alike != turn)
            continue;
        SCOPED_TRACE(place.name + (" " + strikes[i].name().toStdString()));
        play(place, strikes[i]);
    }
}

INSTANTIATE_TEST_SUITE_P(At, FaultMatrix, ::testing::Range<qsizetype>(0, places().size()),
                         [](const auto& cell) { return places().at(cell.param).name; });

TEST(FaultMatrixOfTheStand, HasARowForEachOfItsFaults)
{
    QStringList kinds;
    for (const auto& kind : standsOwn()[u"kinds"_s].toArray())
        kinds.append(kind[u"name"_s].toString());
    EXPECT_THAT(words(knownKinds()), UnorderedElementsAreArray(words(kinds)));
}

TEST(FaultMatrixOfTheStand, HasAPlaceForEachOfItsOperations)
{
    QStringList operations{u"any"_s};
    for (const Place& place : places())
        operations.append(place.operation);
    operations.removeDuplicates();
    const QStringList known = standsOwn()[u"fault_operations"_s].toVariant().toStringList();
    EXPECT_THAT(words(operations), UnorderedElementsAreArray(words(known)));
}

TEST(FaultMatrixOfTheStand, HasMoreThanAThousandCells)
{
    const QJsonArray kinds = standsOwn()[u"kinds"_s].toArray();
    qsizetype cells = 0;
    for (const Place& place : places())
        cells += strikesOf(kinds, place.verb).size();
    EXPECT_GT(cells, 1000);
}

} // namespace faulttest

int main(int argc, char* argv[])
{
    ::testing::InitGoogleTest(&argc, argv);
    // QProcess asks for an application object.
    const QCoreApplication application(argc, argv);
    QLoggingCategory::setFilterRules(u"*.info=false\n*.debug=false\n*.warning=false\n*.critical=false"_s);
    return RUN_ALL_TESTS();
}
