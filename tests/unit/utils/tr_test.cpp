#include "host/utils/basicexception.h"
#include "host/utils/tr.h"

#include <QCoreApplication>
#include <QTranslator>

#include <gtest/gtest.h>

#include <type_traits>

using namespace Qt::StringLiterals;

namespace {

TEST(Tr, HasTheIdentifierAndTheTextThatItWasMadeOf)
{
    const tr::Tr text(u"greeting"_s, u"Здравствуйте"_s);
    EXPECT_EQ(text.id(), u"greeting"_s);
    EXPECT_EQ(text.ru(), u"Здравствуйте"_s);
    EXPECT_FALSE(text.isEmpty());
}

TEST(Tr, IsEmptyWithoutAText)
{
    EXPECT_TRUE(tr::Tr().isEmpty());
    EXPECT_TRUE(tr::Tr(u"onlyAnIdentifier"_s, {}).isEmpty());
}

TEST(Tr, OfAnUntranslatedTextIsUndefined)
{
    const tr::Tr text = tr::Tr::untranslated(u"Карта заблокирована"_s);
    EXPECT_EQ(text.id(), u"undefined"_s);
    EXPECT_EQ(text.ru(), u"Карта заблокирована"_s);
}

/// Knows two texts, as a file of translations would.
class English : public QTranslator
{
public:
    [[nodiscard]] bool isEmpty() const override { return false; }
    [[nodiscard]] QString translate(const char* /*context*/, const char* source, const char* /*comment*/,
                                    int /*n*/) const override
    {
        const QString id = QString::fromUtf8(source);
        return id == u"pair"_s ? u"%1, then %2"_s : id == u"Номера карт"_s ? u"Cards"_s : QString();
    }
};

class ShownTr : public testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(QCoreApplication::installTranslator(&m_english)); }
    void TearDown() override { QCoreApplication::removeTranslator(&m_english); }

private:
    int m_count = 0;
    QCoreApplication m_application{m_count, nullptr};
    English m_english;
};

TEST_F(ShownTr, SpeaksTheLanguageOfTheInstalledTranslatorWithTheValuesInPlace)
{
    const tr::Tr text(u"pair"_s, u"%2 и %1"_s);
    EXPECT_EQ(text.shown(), u"%1, then %2"_s);
    EXPECT_EQ(text.arg(u"A"_s).arg(u"B"_s).shown(), u"A, then B"_s);
    EXPECT_EQ(text.arg(u"A"_s).arg(u"B"_s).ru(), u"B и A"_s) << "logs stay Russian";
    EXPECT_EQ(tr::shown(u"pair"_s, u"%2 и %1"_s), u"%1, then %2"_s);
}

TEST_F(ShownTr, HasATextInsideATextInTheSameLanguage)
{
    const tr::Tr pair(u"pair"_s, u"%2 и %1"_s);
    const tr::Tr outer = pair.arg(u"%2"_s, pair);
    EXPECT_EQ(outer.shown(), u"%2, then %1, then %2"_s);
    EXPECT_EQ(outer.ru(), u"%2 и %1 и %2"_s);
}

TEST_F(ShownTr, JoinsTextsInEachLanguage)
{
    const tr::Tr pair(u"pair"_s, u"%2 и %1"_s);
    const tr::Tr both = tr::Tr::joined({pair.arg(u"A"_s, u"B"_s), tr::Tr({}, u"Конец"_s)}, u". "_s);
    EXPECT_EQ(both.shown(), u"A, then B. Конец"_s);
    EXPECT_EQ(both.ru(), u"B и A. Конец"_s);
    EXPECT_TRUE(tr::Tr::joined({}, u". "_s).isEmpty());
}

TEST_F(ShownTr, StaysRussianWhereNobodyTranslatedIt)
{
    EXPECT_EQ(tr::Tr(u"other"_s, u"Другое %1"_s).arg(u"A"_s).shown(), u"Другое A"_s);
    EXPECT_EQ(tr::Tr({}, u"Без имени"_s).shown(), u"Без имени"_s);
    EXPECT_EQ(tr::Tr().shown(), QString());
}

TEST_F(ShownTr, StaysWholeWithANulInIt)
{
    const QString text = u"a"_s + QChar(0) + u"b"_s;
    EXPECT_EQ(tr::Tr::untranslated(text).shown(), text);
}

TEST_F(ShownTr, FindsATextWithoutAnIdentifierByTheTextItself)
{
    EXPECT_EQ(tr::Tr::untranslated(u"Номера карт"_s).shown(), u"Cards"_s);
    EXPECT_EQ(tr::Tr::untranslated(u"undefined"_s).shown(), u"undefined"_s);
}

TEST(Tr, PutsAValueInPlaceOfItsLowestPlaceholder)
{
    const tr::Tr text(u"pair"_s, u"%2 и %1"_s);
    EXPECT_EQ(text.arg(u"Иванов"_s), tr::Tr(u"pair"_s, u"%2 и Иванов"_s));
    EXPECT_EQ(text.arg(u"Иванов"_s).arg(u"Петров"_s), tr::Tr(u"pair"_s, u"Петров и Иванов"_s));
    EXPECT_EQ(text.ru(), u"%2 и %1"_s) << "the text itself must not change";
}

TEST(Tr, PutsAValueInEveryPlaceOfItsPlaceholder)
{
    EXPECT_EQ(tr::Tr({}, u"%1, %1"_s).arg(u"раз"_s).ru(), u"раз, раз"_s);
}

TEST(Tr, PutsAValueInAsItIsEvenIfItLooksLikeAPlaceholder)
{
    EXPECT_EQ(tr::Tr({}, u"Клиент: %1"_s).arg(u"100%1 %2"_s).ru(), u"Клиент: 100%1 %2"_s);
    EXPECT_EQ(tr::Tr({}, u"%1: %2"_s).arg(u"Клиент"_s).arg(u"%1 %2"_s).ru(), u"Клиент: %1 %2"_s);
}

TEST(Tr, TakesAPlaceholderInAnEarlierValueForOneInTheNextCall)
{
    EXPECT_EQ(tr::Tr({}, u"%1: %2"_s).arg(u"%2"_s).arg(u"x"_s).ru(), u"x: x"_s);
}

TEST(Tr, SurvivesTheWayThroughAVariant)
{
    const tr::Tr text(u"greeting"_s, u"Здравствуйте, %1"_s);
    const QVariant variant = text;
    EXPECT_EQ(variant.metaType(), QMetaType::fromType<tr::Tr>());
    EXPECT_EQ(variant.value<tr::Tr>(), text);
}

TEST(Tr, IsEqualWhenIdentifierAndTextAre)
{
    const tr::Tr text(u"id"_s, u"text"_s);
    EXPECT_EQ(text, tr::Tr(u"id"_s, u"text"_s));
    EXPECT_NE(text, tr::Tr(u"other"_s, u"text"_s));
    EXPECT_NE(text, tr::Tr(u"id"_s, u"other"_s));
}

TEST(Tr, IsComparedInsideVariantsToo)
{
    EXPECT_TRUE(QMetaType::fromType<tr::Tr>().isEqualityComparable());
    EXPECT_EQ(QVariant::fromValue(tr::Tr(u"id"_s, u"a"_s)), QVariant::fromValue(tr::Tr(u"id"_s, u"a"_s)));
    EXPECT_NE(QVariant::fromValue(tr::Tr(u"id"_s, u"a"_s)), QVariant::fromValue(tr::Tr(u"id"_s, u"b"_s)));
}

TEST(TrList, KeepsTheOrderAndHoldsEachTextUntranslated)
{
    const tr::TrList list(QList<QString>{u"второй"_s, u"первый"_s, u"второй"_s});
    ASSERT_EQ(list.size(), 3);
    EXPECT_EQ(list[0], tr::Tr(u"undefined"_s, u"второй"_s));
    EXPECT_EQ(list[1], tr::Tr(u"undefined"_s, u"первый"_s));
    EXPECT_EQ(list[2], tr::Tr(u"undefined"_s, u"второй"_s));
}

TEST(TrList, IsEmptyWhenMadeOfNothing)
{
    EXPECT_TRUE(tr::TrList().isEmpty());
    EXPECT_TRUE(tr::TrList(QList<QString>()).isEmpty());
}

TEST(BasicException, CarriesTheTextToShow)
{
    const tr::Tr text(u"noService"_s, u"Нет связи"_s);
    EXPECT_EQ(BasicException(text).tr(), text);
}

TEST(BasicException, SaysItsRussianFormInUtf8)
{
    EXPECT_STREQ(BasicException(tr::Tr(u"noService"_s, u"Нет связи"_s)).what(), "Нет связи");
}

TEST(BasicException, IsCaughtAsARuntimeErrorAndKeepsItsTextWhenCopied)
{
    const tr::Tr text(u"noService"_s, u"Нет связи"_s);
    try {
        throw BasicException(text);
    } catch (const std::runtime_error& error) {
        const auto* exception = dynamic_cast<const BasicException*>(&error);
        ASSERT_NE(exception, nullptr);
        const BasicException copy = *exception; // NOLINT(performance-unnecessary-copy-initialization)
        EXPECT_EQ(copy.tr(), text);
        EXPECT_STREQ(copy.what(), "Нет связи");
    }
}

} // namespace
