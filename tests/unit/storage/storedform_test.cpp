#include "host/utils/storedform.h"

#include <QDate>
#include <QStringList>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using utils::Unsealed;

namespace {

struct Foreign
{
    int value = 0;
};

constexpr utils::Seal seal{0x54455354, 2};

TEST(StoredForm, TakesQtsPlainTypesAtAnyDepth)
{
    const QVariantMap values{{u"double"_s, 1.5},
                             {u"null"_s, QVariant::fromValue(nullptr)},
                             {u"invalid"_s, QVariant()},
                             {u"date"_s, QDate(2024, 2, 29)},
                             {u"texts"_s, QStringList{u"a"_s}},
                             {u"list"_s, QVariantList{1, QVariantMap{{u"bytes"_s, "x"_ba}}}}};
    EXPECT_TRUE(utils::isStorable(values));
}

TEST(StoredForm, RefusesATypeOfSomebodysOwnAtAnyDepth)
{
    const QVariant foreign = QVariant::fromValue(Foreign{});
    EXPECT_FALSE(utils::isStorable(foreign));
    EXPECT_FALSE(utils::isStorable(QVariantList{1, foreign}));
    EXPECT_FALSE(utils::isStorable(QVariantMap{{u"a"_s, QVariantList{QVariantMap{{u"b"_s, foreign}}}}}));
    EXPECT_FALSE(utils::isStorable(QVariantHash{{u"a"_s, foreign}}));
}

TEST(StoredForm, HasAHeadOfFortyEightBytesThatBeginsWithMagicVersionAndSize)
{
    const QByteArray bytes = utils::sealed(seal, "abc");
    EXPECT_EQ(bytes.size(), 48 + 3);
    EXPECT_EQ(bytes.first(16), QByteArray::fromHex("5445535400000002"
                                                   "0000000000000003"));
}

TEST(StoredForm, OpensToWhatWasSealed)
{
    for (const QByteArray& content : {QByteArray(), QByteArray("abc"), QByteArray(100000, '\0')}) {
        const Unsealed opened = utils::unsealed(seal, utils::sealed(seal, content));
        EXPECT_EQ(opened.state, Unsealed::Whole);
        EXPECT_EQ(opened.version, 2U);
        EXPECT_EQ(opened.content, content);
    }
}

TEST(StoredForm, IsDamagedWhenAnyOneBitIsAltered)
{
    const QByteArray whole = utils::sealed(seal, "content");
    for (qsizetype bit = 0; bit < whole.size() * 8; ++bit) {
        QByteArray altered = whole;
        altered[bit / 8] = static_cast<char>(altered[bit / 8] ^ (1 << (bit % 8)));
        EXPECT_EQ(utils::unsealed(seal, altered).state, Unsealed::Damaged) << bit;
    }
}

TEST(StoredForm, IsDamagedWhenCutAnywhereOrTooLong)
{
    const QByteArray whole = utils::sealed(seal, "content");
    for (qsizetype size = 0; size < whole.size(); ++size)
        EXPECT_EQ(utils::unsealed(seal, whole.first(size)).state, Unsealed::Damaged) << size;
    EXPECT_EQ(utils::unsealed(seal, whole + 'x').state, Unsealed::Damaged);
}

TEST(StoredForm, TellsALaterVersionFromDamageAndTakesAnEarlierOne)
{
    EXPECT_EQ(utils::unsealed(seal, utils::sealed({seal.magic, 3}, "x")).state, Unsealed::Newer);
    EXPECT_EQ(utils::unsealed(seal, utils::sealed({seal.magic, 1}, "x")).version, 1U);
    EXPECT_EQ(utils::unsealed(seal, utils::sealed({seal.magic + 1, 2}, "x")).state, Unsealed::Damaged);
}

} // namespace
