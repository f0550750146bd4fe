#include "host/core/event.h"
#include "host/utils/tr.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

TEST(Event, HasItsCodeAndNoArgumentsAtFirst)
{
    const Event event(EActivityListener::ReceiptClosed);
    EXPECT_EQ(event.getCode(), EActivityListener::ReceiptClosed);
    EXPECT_FALSE(event.getArgument(u"message"_s).isValid());
    EXPECT_EQ(static_cast<int>(Event().getCode()), 0);
}

TEST(Event, GivesItsArgumentsByKey)
{
    Event event(EActivityListener::ProcessMessage);
    event.addArgument(u"message"_s, tr::Tr(u"wait"_s, u"Подождите"_s));
    event.addArgument(u"seconds"_s, 5);
    EXPECT_EQ(event.getArgument(u"message"_s).value<tr::Tr>(), tr::Tr(u"wait"_s, u"Подождите"_s));
    EXPECT_EQ(event.getArgument(u"seconds"_s), QVariant(5));
}

TEST(Event, ReplacesAnArgumentThatIsAddedAgain)
{
    Event event(EActivityListener::ProcessMessage);
    event.addArgument(u"seconds"_s, 5);
    event.addArgument(u"seconds"_s, 6);
    EXPECT_EQ(event.getArgument(u"seconds"_s), QVariant(6));
}

TEST(Event, IsEqualWhenCodeAndArgumentsAre)
{
    const auto message = [](const QString& text) {
        Event event(EActivityListener::ProcessMessage);
        event.addArgument(u"message"_s, tr::Tr(u"wait"_s, text));
        return event;
    };
    EXPECT_EQ(message(u"Подождите"_s), message(u"Подождите"_s));
    EXPECT_NE(message(u"Подождите"_s), message(u"Ещё немного"_s));
    EXPECT_NE(message(u"Подождите"_s), Event(EActivityListener::ProcessMessage));
    EXPECT_NE(Event(EActivityListener::ReceiptClosed), Event(EActivityListener::BeforeModalDialog));
}

TEST(Event, IsComparedInsideVariantsToo)
{
    EXPECT_TRUE(QMetaType::fromType<Event>().isEqualityComparable());
    EXPECT_EQ(QVariant::fromValue(Event(EActivityListener::ReceiptClosed)),
              QVariant::fromValue(Event(EActivityListener::ReceiptClosed)));
    EXPECT_NE(QVariant::fromValue(Event(EActivityListener::ReceiptClosed)),
              QVariant::fromValue(Event(EActivityListener::ProcessMessage)));
}

} // namespace
