#include "host/core/activitynotifier.h"

#include <QThread>

#include <gtest/gtest.h>

#include <functional>
#include <list>
#include <memory>
#include <stdexcept>
#include <string>

namespace {

using Diary = std::string;

/// Writes its letter into the diary for every event and does what it was told besides.
class Listener : public BaseActivityListener
{
public:
    Listener(Diary& diary, char letter, std::function<void()> also = {})
        : m_diary(diary)
        , m_letter(letter)
        , m_also(std::move(also))
    {}

    void handleEvent(const Event& event) override
    {
        m_event = event;
        m_diary.push_back(m_letter);
        const auto also = m_also; // stays when the listener deletes itself
        if (also)
            also();
    }

    Event m_event;

private:
    Diary& m_diary;
    char m_letter;
    std::function<void()> m_also;
};

class Notifying : public testing::Test
{
protected:
    void notify() { m_notifier.notify(Event(EActivityListener::ReceiptClosed)); }

    Diary m_diary;
    ActivityNotifier m_notifier;
};

TEST_F(Notifying, ReachesEveryListenerInTheOrderOfSubscription)
{
    Listener a(m_diary, 'a');
    Listener b(m_diary, 'b');
    Listener c(m_diary, 'c');
    for (Listener* listener : {&c, &a, &b})
        m_notifier.subscribe(listener);
    notify();
    EXPECT_EQ(m_diary, "cab");
    notify();
    EXPECT_EQ(m_diary, "cabcab");
}

TEST_F(Notifying, HandsOverTheEventWithItsArguments)
{
    Listener a(m_diary, 'a');
    m_notifier.subscribe(&a);
    Event event(EActivityListener::ProcessMessage);
    event.addArgument(QStringLiteral("message"), 5);
    m_notifier.notify(event);
    EXPECT_EQ(a.m_event, event);
}

TEST_F(Notifying, ReachesNobodyWhoDidNotSubscribe)
{
    const Listener a(m_diary, 'a');
    notify();
    EXPECT_EQ(m_diary, "");
}

TEST_F(Notifying, ReachesAListenerOnceHoweverOftenItSubscribed)
{
    Listener a(m_diary, 'a');
    Listener b(m_diary, 'b');
    for (Listener* listener : {&a, &b, &a, &a})
        m_notifier.subscribe(listener);
    notify();
    EXPECT_EQ(m_diary, "ab");
}

TEST_F(Notifying, LeavesOutADestroyedListener)
{
    auto a = std::make_unique<Listener>(m_diary, 'a');
    Listener b(m_diary, 'b');
    m_notifier.subscribe(a.get());
    m_notifier.subscribe(&b);
    a.reset();
    notify();
    EXPECT_EQ(m_diary, "b");
}

TEST_F(Notifying, ReachesAListenerSubscribedMeanwhileFromTheNextEventOn)
{
    std::list<Listener> late; // so many that the notifier has to move its list
    for (int i = 0; i < 100; ++i)
        late.emplace_back(m_diary, 'b');
    Listener a(m_diary, 'a', [this, &late] {
        for (Listener& listener : late)
            m_notifier.subscribe(&listener);
    });
    m_notifier.subscribe(&a);
    notify();
    EXPECT_EQ(m_diary, "a");
    notify();
    EXPECT_EQ(m_diary, "aa" + std::string(100, 'b'));
}

TEST_F(Notifying, SurvivesAListenerThatDeletesItself)
{
    Listener* a = nullptr;
    a = new Listener(m_diary, 'a', [&a] { delete a; });
    Listener b(m_diary, 'b');
    m_notifier.subscribe(a);
    m_notifier.subscribe(&b);
    notify();
    notify();
    EXPECT_EQ(m_diary, "abb");
}

TEST_F(Notifying, LeavesOutAListenerThatAnotherDeletesMeanwhile)
{
    auto b = std::make_unique<Listener>(m_diary, 'b');
    Listener a(m_diary, 'a', [&b] { b.reset(); });
    Listener c(m_diary, 'c');
    m_notifier.subscribe(&a);
    m_notifier.subscribe(b.get());
    m_notifier.subscribe(&c);
    notify();
    EXPECT_EQ(m_diary, "ac");
}

TEST_F(Notifying, MayBeNestedInAListener)
{
    Listener b(m_diary, 'b');
    bool nested = false;
    Listener a(m_diary, 'a', [this, &nested] {
        if (!std::exchange(nested, true))
            notify();
    });
    m_notifier.subscribe(&a);
    m_notifier.subscribe(&b);
    notify();
    EXPECT_EQ(m_diary, "aabb");
}

TEST_F(Notifying, PassesAnExceptionOfAListenerToTheCaller)
{
    bool broken = true;
    Listener a(m_diary, 'a', [&broken] {
        if (broken)
            throw std::runtime_error("listener");
    });
    m_notifier.subscribe(&a);
    EXPECT_THROW(notify(), std::runtime_error);
    broken = false;
    notify();
    EXPECT_EQ(m_diary, "aa");
}

TEST_F(Notifying, HappensOnTheNotifyingThreadWhereverTheListenerLives)
{
    QThread elsewhere;
    QThread* seen = nullptr;
    Listener a(m_diary, 'a', [&seen] { seen = QThread::currentThread(); });
    a.moveToThread(&elsewhere);
    m_notifier.subscribe(&a);
    notify();
    EXPECT_EQ(seen, QThread::currentThread());
}

} // namespace

// Hiding is what this is about: the slot takes the event by value, so it is no override and only a call by
// name can find it.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Woverloaded-virtual"
class ListenerByOverride : public BaseActivityListener
{
public:
    void handleEvent(const Event& /*event*/) override { ADD_FAILURE() << "called past the meta-object"; }
};

class ListenerByName : public ListenerByOverride
{
    Q_OBJECT

public:
    int m_calls = 0;

public Q_SLOTS:
    void handleEvent(Event event) // NOLINT(performance-unnecessary-value-param)
    {
        if (event.getCode() == EActivityListener::ReceiptClosed)
            ++m_calls;
    }
};
#pragma GCC diagnostic pop

namespace {

TEST_F(Notifying, FindsTheSlotByItsName)
{
    ListenerByName a;
    m_notifier.subscribe(&a);
    notify();
    EXPECT_EQ(a.m_calls, 1);
}

} // namespace

#include "activitynotifier_test.moc"
