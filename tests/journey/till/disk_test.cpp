#include "tests/journey/till/disk.h"
#include "tests/journey/till/kepttill.h"
#include "tests/support/leftout.h"

#include <QDateTime>
#include <QThread>

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using namespace story;
using ::testing::AnyOf;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::Not;

namespace tilltest {

namespace {

const Step plain = openSale("R-2", {honey(99.9)});

Step returnOf(const char* sold) { return openReturn("V-1", sold, {position(1)}); }

/// The service tells receipts apart by the second, and the shell goes by the real clock: no sale is returned
/// before its numbers have passed.
void letNumbersPass()
{
    constexpr int numbersOfASale = 2;
    const qint64 later = QDateTime::currentSecsSinceEpoch() + numbersOfASale;
    while (QDateTime::currentSecsSinceEpoch() < later)
        QThread::msleep(20);
}

/// Has a disk of its own to fill, which a container may forbid: there the injected failures of the tests
/// below, which need no mount, stand alone. Where the project is judged nothing is left out.
class TillMountedDisk : public ::testing::Test
{
protected:
    void SetUp() override
    {
        const QString fault = Place::mountingFault();
        if (!fault.isEmpty())
            LEAVE_OUT(fault.toStdString() + "; TillDiskCall and DataCheck fail the calls instead");
    }
};

} // namespace

TEST_F(TillMountedDisk, FullAtAnyStepIsSaidAndPromisesNothingAndTheReceiptGoesOnOnceThereIsRoom)
{
    const Place place;
    QProcess shell;
    place.startShellOnSmallDisk(shell);
    ASSERT_TRUE(play(shell, deliver()).value(u"ok"_s).toBool()) << "it is up";
    for (const Step& step : {sale, card, request(), spend, pay(), returnOf("R-1"), pay()}) {
        if (step == returnOf("R-1"))
            letNumbersPass();
        const qint64 before = place.lastExchange();
        {
            const FilledDisk full(place.smallDisk(shell));
            const QJsonObject refused = play(shell, step);
            EXPECT_FALSE(refused.value(u"ok"_s).toBool()) << step;
            EXPECT_THAT(errorOf(refused), HasSubstr("Не сохранено: на диске нет места для файла"));
            EXPECT_TRUE(refused.value(u"unknown"_s).isNull());
            EXPECT_EQ(refused.value(u"queued"_s).toInt(), 0);
        }
        EXPECT_THAT(place.asked(before), Not(Contains(u"POST"_s))) << step << ": nothing left";
        const QJsonObject again = play(shell, step);
        EXPECT_TRUE(again.value(u"ok"_s).toBool()) << step << ": " << errorOf(again);
    }
    EXPECT_TRUE(play(shell, deliver()).value(u"ok"_s).toBool());
    end(shell);
    EXPECT_EQ(place.operations(),
              QStringList({u"spending 100"_s, u"earning 10"_s, u"refusal 10"_s, u"refusal 100"_s}));
}

/// A call of the system's that says that the disk is full.
class TillDiskCall : public ::testing::TestWithParam<const char*>
{
protected:
    void SetUp() override
    {
        const QString fault = FailingCall::fault();
        ASSERT_TRUE(fault.isEmpty()) << fault.toStdString();
    }
};

TEST_P(TillDiskCall, FailingAtAnyStepStopsTheReceiptForNoLongerThanItFails)
{
    const Place place;
    QProcess shell;
    place.startShell(shell);
    const QJsonObject first = play(shell, deliver());
    ASSERT_TRUE(first.value(u"ok"_s).toBool()) << errorOf(first);
    int failed = 0;
    for (const Step& step : {sale, card, request(), spend, pay(), plain, pay(), returnOf("R-2"), pay()}) {
        QJsonObject line;
        {
            const FailingCall full(shell, QString::fromLatin1(GetParam()));
            line = play(shell, step);
        }
        if (line.value(u"ok"_s).toBool())
            continue; // it does not need that call
        ++failed;
        EXPECT_THAT(errorOf(line), AnyOf(HasSubstr("Не сохранено: на диске нет места для файла"),
                                         HasSubstr("Ошибка чтения или записи файла")));
        const QJsonObject again = play(shell, step);
        EXPECT_TRUE(again.value(u"ok"_s).toBool()) << step << ": " << errorOf(again);
    }
    EXPECT_GT(failed, 0);
    EXPECT_TRUE(play(shell, deliver()).value(u"ok"_s).toBool());
    end(shell);
    EXPECT_EQ(place.operations(),
              QStringList({u"spending 100"_s, u"earning 10"_s, u"POST R-2"_s, u"PUT V-1"_s}));
}

INSTANTIATE_TEST_SUITE_P(Saying, TillDiskCall, ::testing::Values("fdatasync", "pwrite64"),
                         [](const auto& call) { return std::string(call.param); });

TEST(TillDisk, FullBetweenARequestAndItsAnswerLeavesTheOutcomeUnknownUntilThereIsRoom)
{
    const QString fault = FailingCall::fault();
    ASSERT_TRUE(fault.isEmpty()) << fault.toStdString();
    int lost = 0;
    for (int number = 1; number <= 4; ++number) {
        const Place place;
        QProcess shell;
        place.startShell(shell);
        for (const Step& step : {sale, card})
            ASSERT_TRUE(play(shell, step).value(u"ok"_s).toBool());
        QJsonObject line;
        {
            const FailingCall full(shell, u"fdatasync"_s, number);
            line = play(shell, spend);
        }
        const bool left = place.operations().contains(u"spending 100"_s);
        if (!line.value(u"ok"_s).toBool()) {
            EXPECT_EQ(line.value(u"unknown"_s).isNull(), !left) << "it is said exactly when it left";
            lost += left ? 1 : 0;
            EXPECT_TRUE(play(shell, spend).value(u"ok"_s).toBool()) << "from the " << number << ". call on";
        }
        EXPECT_TRUE(play(shell, pay()).value(u"ok"_s).toBool());
        end(shell);
        EXPECT_EQ(place.operations(), QStringList({u"spending 100"_s, u"earning 10"_s}));
    }
    EXPECT_GT(lost, 0);
}

TEST_F(TillMountedDisk, ThatMayNotBeWrittenEndsEveryTillAtOnceWithAClearWord)
{
    const Place place;
    QProcess shell;
    place.startShell(shell);
    play(shell, sale);
    end(shell);
    const Files files;
    const QString file = files.write(u"s.json"_s, scenario(pay()));
    for (const QStringList& command : {QStringList{u"run"_s, file}, QStringList{u"shell"_s},
                                       QStringList{u"deliver"_s}, QStringList{u"queue"_s, u"deliver"_s}}) {
        QProcess till;
        place.startReadOnly(till, command);
        till.closeWriteChannel();
        ASSERT_TRUE(till.waitForFinished(patienceMs));
        EXPECT_EQ(till.exitCode(), 2) << command.join(u' ').toStdString();
        EXPECT_THAT(till.readAllStandardError().toStdString(),
                    AllOf(HasSubstr("no permission"), HasSubstr("Нет прав на файл или папку")));
    }
    EXPECT_EQ(place.lastExchange(), 0) << "the service was asked nothing";
}

TEST_F(TillMountedDisk, FullAtTheStartEndsTheTillAtOnceWithAClearWord)
{
    const Place place;
    for (const auto* size : {"4k", "64k", "128k"}) {
        QProcess shell;
        place.startShellOnSmallDisk(shell, QString::fromLatin1(size));
        shell.closeWriteChannel();
        ASSERT_TRUE(shell.waitForFinished(patienceMs));
        EXPECT_EQ(shell.exitCode(), 2) << size;
        EXPECT_THAT(shell.readAllStandardError().toStdString(),
                    AllOf(HasSubstr("the disk is full; make room and try again"),
                          HasSubstr("Не сохранено: на диске нет места для файла")));
    }
}

} // namespace tilltest
