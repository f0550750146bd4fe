#include "host/queue/deliverypace.h"
#include "tests/unit/queue/heldservice.h"
#include "tests/unit/queue/scene.h"

#include <QtEndian>

#include <gmock/gmock.h>

#include <stdexcept>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using network::DeliveryPace;
using testing::Each;
using testing::ElementsAre;
using testing::Le;
using testing::SizeIs;
using Finished = ParallelClient::Finished;
using Requests = QList<test_support::HeldService::Request>;

namespace {

TEST(Pace, IsOneMoreAfterEachDeliveryUpToFour)
{
    DeliveryPace pace;
    QList<int> paces;
    for (int i = 0; i < 6; ++i) {
        paces.append(pace.sideBySide());
        pace.wentWell();
    }
    EXPECT_THAT(paces, ElementsAre(1, 2, 3, 4, 4, 4));
}

TEST(Pace, IsOneAfterTroubleAndGrowsSlowlyFromThenOn)
{
    DeliveryPace pace;
    for (int i = 0; i < 6; ++i)
        pace.wentWell();
    pace.wentWrong();
    for (const int expected : {1, 2, 3, 4}) {
        for (int i = 0; i < 10; ++i) {
            EXPECT_EQ(pace.sideBySide(), expected) << i;
            pace.wentWell();
        }
    }
    EXPECT_EQ(pace.sideBySide(), DeliveryPace::most);
}

TEST(Pace, CountsFromTheLastTrouble)
{
    DeliveryPace pace;
    for (int round = 0; round < 3; ++round) {
        pace.wentWrong();
        for (int i = 0; i < 9; ++i)
            pace.wentWell();
        EXPECT_EQ(pace.sideBySide(), 1);
    }
}

class SideBySide : public test_support::Storage
{
protected:
    qint64 add(const QString& group, const QString& path)
    {
        return queue.enqueue(u"q"_s, group, test_support::messageTo(u"http://service/"_s + path), {});
    }
    /// That many, each in a group of its own.
    void addGroups(int count)
    {
        for (int i = 1; i <= count; ++i)
            add(u"R-%1"_s.arg(i), QString::number(i));
    }
    QueueDelivery::Summary pass(const std::stop_token& stop = {}) { return delivery.deliverDue(*lock, stop); }
    static QueueDelivery::Options options()
    {
        return {.authorization = {}, .random = [] { return 0.5; }, .attempted = {}};
    }
    /// How many commits the store's log has.
    [[nodiscard]] int commits() const
    {
        const QByteArray log = bytes(u"till.sqlite-wal"_s);
        constexpr qsizetype head = 32;
        const auto word = [&log](qsizetype at) { return qFromBigEndian<quint32>(log.constData() + at); };
        const qsizetype frame = 24 + static_cast<qsizetype>(word(8));
        int count = 0;
        for (qsizetype at = head; at + frame <= log.size(); at += frame)
            count += word(at + 4) != 0 ? 1 : 0; // the last of a commit says how large the file is by then
        return count;
    }

    test_support::StillClock clock;
    test_support::HeldService service;
    MessageQueue queue;
    std::unique_ptr<storage::FileLock> lock = QueueDelivery::lock();
    QueueDelivery delivery{queue, options()};
};

TEST_F(SideBySide, GoUpToFourGroupsOnceItIsKnownToGoWell)
{
    addGroups(9);
    EXPECT_EQ(pass().delivered, 9);
    EXPECT_THAT(service.sideBySide(), ElementsAre(1, 2, 3, 4, 4, 4, 3, 2, 1));
    EXPECT_EQ(service.kept(), 4);
}

TEST_F(SideBySide, GoesOnlyOneOfAGroupAndInOrderWhateverTheOthersDo)
{
    for (const char* number : {"1", "2", "3", "4", "5"}) {
        for (const char* group : {"A", "B", "C"})
            add(QString::fromLatin1(group), QString::fromLatin1(group) + QString::fromLatin1(number));
    }
    service.over = [](const Requests& underWay) {
        QSet<QChar> groups;
        for (const auto& request : underWay)
            groups.insert(request.path.front());
        EXPECT_EQ(groups.size(), underWay.size());
        return QList<Finished>{test_support::HeldService::well(underWay.last())}; // the one begun last
    };
    EXPECT_EQ(pass().delivered, 15);
    for (const QChar group : u"ABC"_s) {
        EXPECT_THAT(service.begun().filter(group), ElementsAre(group + u"1"_s, group + u"2"_s, group + u"3"_s,
                                                               group + u"4"_s, group + u"5"_s));
    }
    EXPECT_THAT(service.sideBySide(), testing::Contains(3));
}

TEST_F(SideBySide, GoesNothingOfAGroupWhoseMessageIsDroppedOnItsWay)
{
    add({}, u"1"_s);
    const qint64 dropped = add(u"A"_s, u"a1"_s);
    add(u"A"_s, u"a2"_s);
    bool isDropped = false;
    service.over = [&](const Requests& underWay) -> QList<Finished> {
        if (underWay.first().id == dropped && !isDropped) {
            isDropped = queue.drop(dropped);
            return {};
        }
        EXPECT_THAT(underWay, SizeIs(1));
        return {test_support::HeldService::well(underWay.first())};
    };
    pass();
    EXPECT_TRUE(isDropped);
    EXPECT_THAT(service.begun(), ElementsAre(u"1"_s, u"a1"_s, u"a2"_s));
    EXPECT_EQ(queue.waitingCount(), 0);
}

TEST_F(SideBySide, GoesWhatComesInWhileOthersAreUnderWay)
{
    addGroups(3);
    service.over = [&](const Requests& underWay) -> QList<Finished> {
        if (service.begun().size() == 3 && underWay.size() == 1) {
            add({}, u"late"_s);
            return {};
        }
        return {test_support::HeldService::well(underWay.first())};
    };
    EXPECT_EQ(pass().delivered, 4);
    EXPECT_THAT(service.sideBySide(), ElementsAre(1, 2, 1, 2, 1));
}

TEST_F(SideBySide, GoesOneAtATimeAfterAnythingThatHasToBeTriedAgain)
{
    const auto allWell = service.over;
    for (const int code : {429, 503, 500, 2}) {
        addGroups(30);
        QueueDelivery fresh(queue, options());
        bool hasFailed = false;
        QList<qsizetype> afterwards;
        service.over = [&](const Requests& underWay) {
            if (hasFailed)
                afterwards.append(underWay.size());
            hasFailed = hasFailed || underWay.size() == 4;
            return QList<Finished>{hasFailed && afterwards.isEmpty()
                                       ? test_support::HeldService::failed(underWay.first(), code)
                                       : test_support::HeldService::well(underWay.first())};
        };
        fresh.deliverDue(*lock);
        EXPECT_TRUE(hasFailed) << code;
        EXPECT_THAT(afterwards.first(10), ElementsAre(3, 2, 1, 1, 1, 1, 1, 1, 1, 1)) << code;
        EXPECT_THAT(afterwards, Each(Le(3))) << code;
        clock.move(10min);
        service.over = allWell;
        QueueDelivery(queue).deliverDue(*lock);
        ASSERT_EQ(queue.waitingCount(), 0);
    }
}

TEST_F(SideBySide, KeepsOneConnectionOfThemAfterTrouble)
{
    addGroups(5);
    service.over = [](const Requests& underWay) {
        return QList<Finished>{test_support::HeldService::failed(underWay.first(), 503)};
    };
    pass();
    EXPECT_EQ(service.kept(), 1);
}

TEST_F(SideBySide, BeginsNothingMoreOnceOneIsRefusedForItsCredentials)
{
    addGroups(20);
    service.over = [this](const Requests& underWay) {
        const bool refuses = service.begun().size() >= 8;
        return QList<Finished>{refuses ? test_support::HeldService::failed(underWay.first(), 401)
                                       : test_support::HeldService::well(underWay.first())};
    };
    pass();
    EXPECT_THAT(service.begun(), SizeIs(8));
    EXPECT_EQ(queue.waitingCount(), 16) << "the four that were under way, and the rest";
    EXPECT_TRUE(queue.suspension());
}

TEST_F(SideBySide, SettlesWhatIsOverAtTheSameTimeInOneCommit)
{
    addGroups(7);
    service.over = [](const Requests& underWay) {
        QList<Finished> all;
        if (underWay.size() == 4 || underWay.first().id <= 3) {
            for (const auto& request : underWay.first(underWay.size() == 4 ? 4 : 1))
                all.append(test_support::HeldService::well(request));
        }
        return all;
    };
    const int before = commits();
    ASSERT_GT(before, 0);
    EXPECT_EQ(pass().delivered, 7);
    EXPECT_EQ(commits() - before, 4) << "three alone, four together";
}

TEST_F(SideBySide, TellsOfEachOnlyOnceAllThatIsSettledWithItIsDurable)
{
    addGroups(7);
    int told = 0;
    QueueDelivery::Options telling = options();
    telling.attempted = [&](const QueuedMessage&, const QueueAttempt&) {
        ++told;
        EXPECT_EQ(queue.waitingCount(), told < 4 ? 7 - told : 0);
    };
    service.over = [](const Requests& underWay) {
        QList<Finished> all;
        const bool together = underWay.size() == 4;
        for (const auto& request : underWay.first(together ? 4 : 1))
            all.append(test_support::HeldService::well(request));
        return all;
    };
    QueueDelivery(queue, telling).deliverDue(*lock);
    EXPECT_EQ(told, 7);
}

TEST_F(SideBySide, GoesTheNextBeforeWhatWasDeliveredIsSettledButNotBeforeAFailureIs)
{
    addGroups(4);
    QStringList waitingThen;
    service.beginning = [&](const test_support::HeldService::Request& request) {
        waitingThen.append(u"%1 of %2"_s.arg(request.path).arg(queue.waitingCount()));
    };
    service.over = [](const Requests& underWay) {
        const auto& first = underWay.first();
        return QList<Finished>{first.path == u"2"_s ? test_support::HeldService::failed(first, 500)
                                                    : test_support::HeldService::well(first)};
    };
    pass();
    EXPECT_THAT(waitingThen, ElementsAre(u"1 of 4"_s, u"2 of 4"_s, u"3 of 3"_s, u"4 of 3"_s));
    EXPECT_THAT(service.sideBySide(), ElementsAre(1, 2, 1, 1));
}

TEST_F(SideBySide, BeginsNothingMoreButSettlesWhatIsUnderWayWhenStopped)
{
    addGroups(9);
    std::stop_source source;
    service.over = [&](const Requests& underWay) {
        if (underWay.size() == 4)
            source.request_stop();
        return QList<Finished>{test_support::HeldService::well(underWay.first())};
    };
    EXPECT_EQ(pass(source.get_token()).delivered, 7);
    EXPECT_THAT(service.begun(), SizeIs(7));
}

TEST_F(SideBySide, LeavesNothingUnderWayWhenAPassFailsAndSendsItAgainInTheNext)
{
    addGroups(4);
    bool fails = true;
    service.over = [&](const Requests& underWay) {
        if (fails && underWay.size() == 2)
            throw std::runtime_error("the disk is gone");
        return QList<Finished>{test_support::HeldService::well(underWay.first())};
    };
    EXPECT_THROW(pass(), std::runtime_error);
    EXPECT_THAT(service.underWay(), SizeIs(0));
    fails = false;
    EXPECT_EQ(pass().delivered, 3);
    EXPECT_THAT(service.begun(), ElementsAre(u"1"_s, u"2"_s, u"3"_s, u"2"_s, u"3"_s, u"4"_s));
}

} // namespace
