#include "tests/crash/books.h"
#include "tests/crash/world.h"

#include <QCoreApplication>
#include <QLoggingCategory>

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using ::testing::IsEmpty;

namespace crashtest {

namespace {

struct Kill
{
    QString call;
    int number;
};

/// Every how manyth call the till is killed at.
int stride()
{
    bool isNumber = false;
    const int every = qEnvironmentVariableIntValue("KYR_CRASH_EVERY", &isNumber);
    return isNumber && every > 0 ? every : 61; // a sample: a few seconds for each scenario
}

std::string textOf(const Kill& kill)
{
    return u"killed at %1 %2"_s.arg(kill.call).arg(kill.number).toStdString();
}

std::string textOf(const QStringList& lines) { return lines.join(u'\n').toStdString(); }

std::string nameOf(const ::testing::TestParamInfo<qsizetype>& info)
{
    return scenarios().at(info.param).name;
}

class ACrashingTill : public ::testing::TestWithParam<qsizetype>
{
protected:
    void SetUp() override
    {
        const QString fault = tracingFault();
        ASSERT_TRUE(fault.isEmpty()) << fault.toStdString();
    }

    [[nodiscard]] static const Scenario& scenario() { return scenarios().at(GetParam()); }

    /// What the books say when nothing is killed.
    static QStringList undisturbed()
    {
        World world(scenario());
        const Ended ended = runTill(world.arguments());
        EXPECT_EQ(ended.status, 0) << ended.errors.toStdString();
        EXPECT_THAT(textOf(differences(world.dataDirectory(), world.standUrl())), IsEmpty());
        return booksOf(world.standUrl());
    }

    static QList<Kill> kills()
    {
        World world(scenario());
        const auto counts = countCalls(world.arguments());
        QList<Kill> chosen;
        int passed = stride() / 2;
        for (const QString& call : deadlyCalls()) {
            for (int number = 1; number <= counts.value(call); ++number) {
                if (++passed % stride() == 0)
                    chosen.append({call, number});
            }
        }
        return chosen;
    }

    /// Plays the scenario, is killed at the first of these calls, goes on, is killed at the next, and so on
    /// to the end; how often it was killed.
    static int playKilledAt(const QList<Kill>& kills, const QStringList& books)
    {
        World world(scenario());
        int killed = 0;
        qsizetype played = 0;
        Ended ended;
        for (const Kill& kill : kills) {
            ended = runTillKilledAt(kill.call, kill.number, world.arguments(played));
            played += ended.steps.size();
            if (!ended.killed)
                break;
            ++killed;
        }
        if (ended.killed)
            ended = runTill(world.arguments(played));
        EXPECT_EQ(ended.status, 0) << ended.errors.toStdString() << "after " << played << " steps";
        EXPECT_EQ(textOf(booksOf(world.standUrl())), textOf(books));
        EXPECT_THAT(textOf(differences(world.dataDirectory(), world.standUrl())), IsEmpty());
        return killed;
    }
};

} // namespace

TEST_P(ACrashingTill, LosesAndDoublesNothing)
{
    const QStringList books = undisturbed();
    const QList<Kill> plan = kills();
    ASSERT_FALSE(plan.isEmpty());
    int killed = 0;
    for (const Kill& kill : plan) {
        SCOPED_TRACE(textOf(kill));
        killed += playKilledAt({kill}, books);
    }
    EXPECT_GE(killed + 1, plan.size() * 9 / 10) << "hardly any call may come or not, as time has it";
    std::cout << scenario().name << ": killed " << killed << " times of " << plan.size() << std::endl;
}

TEST_P(ACrashingTill, LosesAndDoublesNothingWhenKilledAgainOnItsWayBack)
{
    const QStringList books = undisturbed();
    const QList<Kill> plan = kills();
    ASSERT_FALSE(plan.isEmpty());
    int twice = 0;
    for (qsizetype i = 0; i < plan.size(); ++i) {
        // Another kind of call each time; what is left to do is shorter, so that many never come to it.
        const Kill& again = plan[(i * 5 + plan.size() / 2) % plan.size()];
        const QList<Kill> both{plan[i], {again.call, (again.number + 2) / 3}};
        SCOPED_TRACE(textOf(both[0]) + ", then " + textOf(both[1]));
        twice += playKilledAt(both, books) > 1 ? 1 : 0;
    }
    EXPECT_GE(twice, plan.size() / 2);
    std::cout << scenario().name << ": killed twice " << twice << " times of " << plan.size() << std::endl;
}

INSTANTIATE_TEST_SUITE_P(Playing, ACrashingTill, ::testing::Range<qsizetype>(0, scenarios().size()), nameOf);

} // namespace crashtest

int main(int argc, char* argv[])
{
    ::testing::InitGoogleTest(&argc, argv);
    // QProcess asks for an application object.
    const QCoreApplication application(argc, argv);
    QLoggingCategory::setFilterRules(u"network.debug=false"_s); // three books are read for each kill
    return RUN_ALL_TESTS();
}
