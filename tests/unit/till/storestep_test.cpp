#include "host/storage/journal.h"
#include "tests/support/logcapture.h"
#include "tests/unit/storage/scene.h"
#include "till/checkout/storestep.h"

#include <gmock/gmock.h>

#include <future>

using namespace Qt::StringLiterals;
using testing::ElementsAre;

namespace tilltest {

class StoreSteps : public test_support::Storage
{
protected:
    static void note(const QString& event)
    {
        storage::JournalEntry entry;
        entry.receipt = u"R"_s;
        entry.event = event;
        storage::Journal().add(entry);
    }
    /// What others see, who have the store open by themselves.
    static QStringList keptEvents()
    {
        return std::async(std::launch::async,
                          [] {
                              QStringList events;
                              for (const auto& entry : storage::Journal().of(u"R"_s))
                                  events.append(entry.event);
                              return events;
                          })
            .get();
    }
    void takeAway() const { ASSERT_TRUE(QFile::rename(store(), store() + u"_"_s)); }
    void bringBack() const { ASSERT_TRUE(QFile::rename(store() + u"_"_s, store())); }
    [[nodiscard]] QString store() const { return path(u"till.sqlite"_s); }

    till::StoreStep step;
};

TEST_F(StoreSteps, KeepWhatTheyChangedWhenTheyEndAndNotBefore)
{
    note(u"before"_s);
    step.run([] {
        note(u"one"_s);
        note(u"two"_s);
        EXPECT_THAT(keptEvents(), ElementsAre(u"before"_s));
    });
    EXPECT_FALSE(step.hasLost());
    EXPECT_THAT(keptEvents(), ElementsAre(u"before"_s, u"one"_s, u"two"_s));
    note(u"after"_s);
    EXPECT_THAT(keptEvents(), testing::SizeIs(4)) << "outside of a step each change is kept by itself";
}

TEST_F(StoreSteps, ThatFailKeepWhatTheyChangedAndSayWhy)
{
    const auto failing = [] {
        note(u"one"_s);
        throw std::runtime_error("refused");
    };
    EXPECT_THROW(step.run(failing), std::runtime_error);
    EXPECT_FALSE(step.hasLost());
    EXPECT_THAT(keptEvents(), ElementsAre(u"one"_s));
}

TEST_F(StoreSteps, KeepAtOnceWhatWasChangedWhenTheyAreInterruptedAndGatherAgainAfterwards)
{
    step.run([this] {
        note(u"one"_s);
        {
            const till::StoreStep::Break pause(step);
            EXPECT_THAT(keptEvents(), ElementsAre(u"one"_s));
            note(u"in the break"_s);
            EXPECT_THAT(keptEvents(), ElementsAre(u"one"_s, u"in the break"_s));
        }
        note(u"two"_s);
        EXPECT_THAT(keptEvents(), testing::SizeIs(2));
        step.resume(); // once more changes nothing
        EXPECT_THAT(keptEvents(), testing::SizeIs(2));
    });
    EXPECT_THAT(keptEvents(), testing::SizeIs(3));
}

TEST_F(StoreSteps, ThatCannotKeepTheirChangesHaveLostThemUntilTheNextOne)
{
    note(u"before"_s);
    const auto failing = [this] {
        note(u"one"_s);
        takeAway();
        throw std::runtime_error("which is not what matters");
    };
    EXPECT_EQ(failure([&] { step.run(failing); }), u"hostStorageGone"_s);
    EXPECT_TRUE(step.hasLost());
    EXPECT_EQ(failure([this] { step.run([] {}); }), u"hostStorageGone"_s);
    EXPECT_FALSE(step.hasLost()) << "what did not begin has nothing to lose";
    bringBack();
    EXPECT_THAT(keptEvents(), ElementsAre(u"before"_s));
    step.run([] { note(u"two"_s); });
    EXPECT_FALSE(step.hasLost());
    EXPECT_THAT(keptEvents(), ElementsAre(u"before"_s, u"two"_s));
}

TEST_F(StoreSteps, ThatCouldNotBeKeptHalfwayHaveLostTheirChangesThoughTheRestWasKept)
{
    note(u"before"_s);
    const auto halfway = [this] {
        note(u"one"_s);
        takeAway();
        EXPECT_EQ(failure([this] { step.settle(); }), u"hostStorageGone"_s);
        bringBack();
        note(u"two"_s);
    };
    EXPECT_EQ(failure([&] { step.run(halfway); }), u"hostStorageGone"_s);
    EXPECT_TRUE(step.hasLost());
    EXPECT_THAT(keptEvents(), ElementsAre(u"before"_s, u"two"_s));
}

TEST_F(StoreSteps, ThatCannotGatherTheirChangesKeepEachByItselfAndSaySo)
{
    const test_support::LogCapture log(u"till"_s);
    note(u"before"_s);
    step.run([this] {
        step.settle();
        takeAway();
        step.resume();
        bringBack();
        note(u"one"_s);
        EXPECT_THAT(keptEvents(), ElementsAre(u"before"_s, u"one"_s));
    });
    ASSERT_EQ(log.lines().size(), 1);
    EXPECT_THAT(log.lines().first().toStdString(),
                testing::ContainsRegex("^warn: Each change is kept by itself: .*удалены"));
}

TEST_F(StoreSteps, AreNeitherInterruptedNorResumedOutsideOfAnOperation)
{
    step.settle();
    step.resume();
    note(u"one"_s);
    EXPECT_THAT(keptEvents(), ElementsAre(u"one"_s));
    step.run([] {});
    step.resume();
    note(u"two"_s);
    EXPECT_THAT(keptEvents(), ElementsAre(u"one"_s, u"two"_s));
}

} // namespace tilltest
