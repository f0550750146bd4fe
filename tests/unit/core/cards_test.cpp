#include "host/core/documentbonusrecord.h"
#include "host/core/documentcardrecord.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

TEST(Client, IsUnknownAtFirst)
{
    const Client client;
    EXPECT_TRUE(client.getName().isEmpty());
    EXPECT_FALSE(client.getBirthday().isValid());
    EXPECT_TRUE(client.getAddress().isEmpty());
    EXPECT_TRUE(client.getEmail().isEmpty());
    EXPECT_TRUE(client.getPhoneNumber().isEmpty());
    EXPECT_EQ(client.getSex(), Client::Sex::Male);
}

TEST(Client, KeepsWhatIsSet)
{
    Client client;
    client.setName(u"Анна"_s);
    client.setSex(Client::Sex::Female);
    client.setBirthday(QDate(1990, 2, 28));
    client.setAddress(u"Тверь"_s);
    client.setEmail(u"anna@example.org"_s);
    client.setPhoneNumber(u"79001234567"_s);
    EXPECT_EQ(client.getName(), u"Анна"_s);
    EXPECT_EQ(client.getSex(), Client::Sex::Female);
    EXPECT_EQ(client.getBirthday(), QDate(1990, 2, 28));
    EXPECT_EQ(client.getAddress(), u"Тверь"_s);
    EXPECT_EQ(client.getEmail(), u"anna@example.org"_s);
    EXPECT_EQ(client.getPhoneNumber(), u"79001234567"_s);
}

TEST(Card, SharesItsClientAndHasNoneAtFirst)
{
    Card card;
    EXPECT_EQ(card.getClient(), nullptr);
    const auto client = QSharedPointer<Client>::create();
    card.setClient(client);
    EXPECT_EQ(card.getClient(), client);
}

TEST(DocumentCardRecord, SaysNothingOfItsCardAtFirst)
{
    const DocumentCardRecord record(KyrLoyaltySystem, u"7000"_s);
    EXPECT_EQ(record.getKind(), KyrLoyaltySystem);
    EXPECT_EQ(record.getNumber(), QVariant(u"7000"_s));
    EXPECT_EQ(record.getCodeInternal(), 1);
    EXPECT_EQ(record.getCardStatus(), ECard::RegistrationIncomplete);
    EXPECT_FALSE(record.getBonusBalance().isValid());
    EXPECT_TRUE(record.getOperationId().isEmpty());
    EXPECT_FALSE(record.getPointsForEarn().isValid());
    EXPECT_EQ(record.getPointsForSpend(), 0);
}

TEST(DocumentCardRecord, HasACardOfItsOwnFromTheStart)
{
    const DocumentCardRecord record(KyrLoyaltySystem, u"7000"_s);
    const DocumentCardRecord other(KyrLoyaltySystem, u"7001"_s);
    ASSERT_NE(record.getCard(), nullptr);
    EXPECT_EQ(record.getCard(), record.getCard());
    EXPECT_NE(record.getCard(), other.getCard());
}

TEST(DocumentCardRecord, KeepsWhatIsSet)
{
    DocumentCardRecord record(KyrLoyaltySystem, u"7000"_s, 3);
    record.setCardStatus(ECard::Blocked);
    record.setBonusBalance(12.5);
    record.setOperationId(u"op-1"_s);
    record.setPointsForEarn(3.25);
    record.setPointsForSpend(7.75);
    EXPECT_EQ(record.getCodeInternal(), 3);
    EXPECT_EQ(record.getCardStatus(), ECard::Blocked);
    EXPECT_EQ(record.getBonusBalance(), QVariant(12.5));
    EXPECT_EQ(record.getOperationId(), u"op-1"_s);
    EXPECT_EQ(record.getPointsForEarn(), QVariant(3.25));
    EXPECT_EQ(record.getPointsForSpend(), 7.75);
}

TEST(DocumentBonusRecord, SaysNothingAtFirst)
{
    const DocumentBonusRecord record;
    EXPECT_TRUE(record.cardNumber.isEmpty());
    EXPECT_EQ(record.amount, 0);
    EXPECT_EQ(record.code, 0);
    EXPECT_FALSE(record.dateTime.isValid());
    EXPECT_TRUE(record.sessionText.isEmpty());
    EXPECT_EQ(record.position, 0);
}

TEST(DocumentBonusRecord, IsEqualWhenEveryMemberIs)
{
    const DocumentBonusRecord record{u"7000"_s, 1.5, 1200, QDateTime(QDate(2024, 2, 29), QTime(1, 2)),
                                     u"S1"_s,   2};
    EXPECT_EQ(record, DocumentBonusRecord(record));
    using Change = void (*)(DocumentBonusRecord&);
    for (const Change change : {Change([](DocumentBonusRecord& r) { r.cardNumber = u"7001"_s; }),
                                Change([](DocumentBonusRecord& r) { r.amount = 1.51; }),
                                Change([](DocumentBonusRecord& r) { r.code = 1201; }),
                                Change([](DocumentBonusRecord& r) { r.dateTime = r.dateTime.addMSecs(1); }),
                                Change([](DocumentBonusRecord& r) { r.sessionText = u"S2"_s; }),
                                Change([](DocumentBonusRecord& r) { r.position = 3; })}) {
        DocumentBonusRecord other = record;
        change(other);
        EXPECT_NE(record, other);
    }
}

} // namespace
