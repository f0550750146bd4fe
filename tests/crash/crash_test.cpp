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

    /// Plays the scenario, is killed there, and goes on; true when it was killed.
    static bool playKilledAt(const Kill& kill, const QStringList& books)
    {
        World world(scenario());
        const Ended first = runTillKilledAt(kill.call, kill.number, world.arguments());
        Ended last = first;
        if (first.killed)
            last = runTill(world.arguments(first.steps.size()));
        EXPECT_EQ(last.status, 0) << last.errors.toStdString() << "after " << first.steps.size() << " steps";
        EXPECT_EQ(textOf(booksOf(world.standUrl())), textOf(books));
        EXPECT_THAT(textOf(differences(world.dataDirectory(), world.standUrl())), IsEmpty());
        return first.killed;
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
        SCOPED_TRACE(u"killed at %1 %2 of %3"_s.arg(kill.call)
                         .arg(kill.number)
                         .arg(QString::fromLatin1(scenario().name))
                         .toStdString());
        killed += playKilledAt(kill, books) ? 1 : 0;
    }
    EXPECT_GE(killed + 1, plan.size() * 9 / 10) << "hardly any call may come or not, as time has it";
    std::cout << scenario().name << ": killed " << killed << " times of " << plan.size() << std::endl;
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
