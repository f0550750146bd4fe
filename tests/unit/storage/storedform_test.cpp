#include "host/storage/storedform.h"

#include <QBitArray>
#include <QDate>
#include <QEasingCurve>
#include <QIODevice>
#include <QStringList>

#include <gtest/gtest.h>

#include <optional>
#include <utility>

using namespace Qt::StringLiterals;
using storage::Unsealed;

namespace {

struct Foreign
{
    int value = 0;
};

constexpr storage::Seal seal{0x54455354, 2};

QByteArray written(const QVariant& value)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out.setVersion(storage::storedStreamVersion);
    out << value;
    return bytes;
}

/// What is read from these bytes; nothing when they are damaged.
std::optional<QVariant> read(const QByteArray& bytes)
{
    QDataStream in(bytes);
    in.setVersion(storage::storedStreamVersion);
    const QVariant value = storage::storedValue(in);
    const bool whole = in.status() == QDataStream::Ok && in.atEnd();
    return whole ? std::optional(value) : std::nullopt;
}

/// So many lists in one another.
QVariant nested(int levels)
{
    QVariant value = 1;
    for (int i = 0; i < levels; ++i)
        value = QVariantList{value};
    return value;
}

const QVariantMap plain{{u"double"_s, 1.5},
                        {u"null"_s, QVariant::fromValue(nullptr)},
                        {u"no text"_s, QVariant(QMetaType::fromType<QString>())},
                        {u"no map"_s, QVariant(QMetaType::fromType<QVariantMap>())},
                        {u"invalid"_s, QVariant()},
                        {u"date"_s, QDate(2024, 2, 29)},
                        {u"texts"_s, QStringList{u"a"_s}},
                        {u"no texts"_s, QVariant(QMetaType::fromType<QStringList>())},
                        {u"bytes"_s, QVariant::fromValue(QByteArrayList{"a", "\0b"_ba})},
                        {u"hash"_s, QVariantHash{{u"a"_s, 1}}},
                        {u"pair"_s, QVariant::fromValue(std::pair(QVariant(1), QVariant(u"b"_s)))},
                        {u"list"_s, QVariantList{1, QVariantMap{{u"bytes"_s, "x"_ba}}}}};

TEST(StoredForm, TakesQtsPlainTypesAndBringsThemBackAsTheyWere)
{
    EXPECT_TRUE(storage::unstorable(plain).isEmpty());
    const auto back = read(written(plain));
    ASSERT_TRUE(back);
    EXPECT_EQ(*back, QVariant(plain));
    EXPECT_EQ(written(*back), written(plain)) << "the types too, and what is null";
}

TEST(StoredForm, TakesEachTypeOfNumberTextDateAndBytes)
{
    for (const auto type :
         {QMetaType::UnknownType, QMetaType::Nullptr,       QMetaType::Bool,       QMetaType::Char,
          QMetaType::SChar,       QMetaType::UChar,         QMetaType::Short,      QMetaType::UShort,
          QMetaType::Int,         QMetaType::UInt,          QMetaType::Long,       QMetaType::ULong,
          QMetaType::LongLong,    QMetaType::ULongLong,     QMetaType::Float,      QMetaType::Double,
          QMetaType::QChar,       QMetaType::QString,       QMetaType::QByteArray, QMetaType::QDate,
          QMetaType::QTime,       QMetaType::QDateTime,     QMetaType::QUrl,       QMetaType::QUuid,
          QMetaType::QStringList, QMetaType::QByteArrayList}) {
        const QVariant value{QMetaType(type)};
        EXPECT_TRUE(storage::unstorable(value).isEmpty()) << type;
        const auto back = read(written(value));
        ASSERT_TRUE(back) << type;
        EXPECT_EQ(back->typeId(), value.typeId());
        EXPECT_EQ(*back, value) << type;
    }
}

TEST(StoredForm, RefusesATypeOfSomebodysOwnAtAnyDepth)
{
    const QVariant foreign = QVariant::fromValue(Foreign{});
    for (const QVariant& value :
         {foreign, QVariant(QVariantList{1, foreign}), QVariant(QVariantHash{{u"a"_s, foreign}}),
          QVariant::fromValue(std::pair(QVariant(1), foreign)),
          QVariant(QVariantMap{{u"a"_s, QVariantList{QVariantMap{{u"b"_s, foreign}}}}})})
        EXPECT_TRUE(storage::unstorable(value).ru().startsWith(u"значение типа "_s));
    EXPECT_EQ(storage::unstorable(QVariant::fromValue<QObject*>(nullptr)).ru(), u"значение типа QObject*"_s)
        << "which is Qt's own, but not for a disk";
}

TEST(StoredForm, RefusesWhatAStreamBelievesWhateverItClaims)
{
    for (const QVariant& value : {QVariant::fromValue(QEasingCurve()), QVariant(QBitArray(3))}) {
        EXPECT_TRUE(storage::unstorable(value).ru().startsWith(u"значение типа Q"_s));
        EXPECT_FALSE(read(written(QVariantMap{{u"inside"_s, value}})));
    }
}

TEST(StoredForm, EndsAtADepthThatNobodyNeeds)
{
    const QVariant deepest = nested(storage::deepestStored);
    EXPECT_TRUE(storage::unstorable(deepest).isEmpty());
    EXPECT_EQ(read(written(deepest)), deepest);
    const QVariant tooDeep = nested(storage::deepestStored + 1);
    EXPECT_EQ(storage::unstorable(tooDeep).ru(), u"вложенность больше 512"_s);
    EXPECT_EQ(read(written(tooDeep)), std::nullopt);
}

TEST(StoredForm, CountsAMapThatIsReadByItselfAsALevel)
{
    const QVariantMap deepest{{u"a"_s, nested(storage::deepestStored - 1)}};
    const QVariantMap tooDeep{{u"a"_s, nested(storage::deepestStored)}};
    EXPECT_TRUE(storage::unstorable(deepest).isEmpty());
    EXPECT_FALSE(storage::unstorable(tooDeep).isEmpty());
    for (const QVariantMap& map : {deepest, tooDeep}) {
        QByteArray bytes;
        QDataStream out(&bytes, QIODevice::WriteOnly);
        out << map;
        QDataStream in(bytes);
        static_cast<void>(storage::storedMap(in));
        EXPECT_EQ(in.status() == QDataStream::Ok, storage::unstorable(map).isEmpty());
    }
}

TEST(StoredForm, IsDamagedAndNoDangerWhenItGoesDownForEver)
{
    constexpr int levels = 200'000;
    const QByteArray inList = QByteArray::fromHex("00000009"
                                                  "00"
                                                  "00000001");
    const QByteArray inMap = QByteArray::fromHex("00000008"
                                                 "00"
                                                 "00000001"
                                                 "00000002"
                                                 "0061");
    const QByteArray inHash = QByteArray::fromHex("0000001c"
                                                  "00"
                                                  "00000001"
                                                  "00000002"
                                                  "0061");
    const QByteArray inPair = QByteArray::fromHex("0000003a"
                                                  "00");
    const QByteArray inVariant = QByteArray::fromHex("00000029"
                                                     "00");
    const QByteArray inNamed = QByteArray::fromHex("00010000"
                                                   "00"
                                                   "0000000d") +
                               QByteArray("QVariantList\0", 13) + QByteArray::fromHex("00000001");
    for (const QByteArray& level : {inList, inMap, inHash, inPair, inVariant, inNamed})
        EXPECT_EQ(read(level.repeated(levels) + written(1)), std::nullopt) << level.toHex().toStdString();
}

TEST(StoredForm, IsDamagedAndNoDangerWhenItsCountsAreWrong)
{
    for (const QVariant& list :
         {QVariant(QVariantList{1, QVariantMap{{u"a"_s, u"b"_s}}}), QVariant(QStringList{u"a"_s, u"b"_s}),
          QVariant::fromValue(QByteArrayList{"a", "b"})}) {
        const QByteArray whole = written(list);
        for (qsizetype size = 0; size < whole.size(); ++size)
            EXPECT_EQ(read(whole.first(size)), std::nullopt) << list.typeName() << size;
        for (const char* count : {"ffffffff", "7fffffff", "00000003"})
            EXPECT_EQ(read(whole.first(5) + QByteArray::fromHex(count) + whole.sliced(9)), std::nullopt)
                << list.typeName() << count;
    }
}

TEST(StoredForm, HasAHeadOfFortyEightBytesThatBeginsWithMagicVersionAndSize)
{
    const QByteArray bytes = storage::sealed(seal, "abc");
    EXPECT_EQ(bytes.size(), 48 + 3);
    EXPECT_EQ(bytes.first(16), QByteArray::fromHex("5445535400000002"
                                                   "0000000000000003"));
}

TEST(StoredForm, OpensToWhatWasSealed)
{
    for (const QByteArray& content : {QByteArray(), QByteArray("abc"), QByteArray(100000, '\0')}) {
        const Unsealed opened = storage::unsealed(seal, storage::sealed(seal, content));
        EXPECT_EQ(opened.state, Unsealed::Whole);
        EXPECT_EQ(opened.content, content);
    }
}

TEST(StoredForm, IsDamagedWhenAnyOneBitIsAltered)
{
    const QByteArray whole = storage::sealed(seal, "content");
    for (qsizetype bit = 0; bit < whole.size() * 8; ++bit) {
        QByteArray altered = whole;
        altered[bit / 8] = static_cast<char>(altered[bit / 8] ^ (1 << (bit % 8)));
        EXPECT_EQ(storage::unsealed(seal, altered).state, Unsealed::Damaged) << bit;
    }
}

TEST(StoredForm, IsDamagedWhenCutAnywhereOrTooLong)
{
    const QByteArray whole = storage::sealed(seal, "content");
    for (qsizetype size = 0; size < whole.size(); ++size)
        EXPECT_EQ(storage::unsealed(seal, whole.first(size)).state, Unsealed::Damaged) << size;
    EXPECT_EQ(storage::unsealed(seal, whole + 'x').state, Unsealed::Damaged);
}

TEST(StoredForm, TellsALaterVersionFromDamageAndTakesAnEarlierOne)
{
    EXPECT_EQ(storage::unsealed(seal, storage::sealed({seal.magic, 3}, "x")).state, Unsealed::Newer);
    EXPECT_EQ(storage::unsealed(seal, storage::sealed({seal.magic, 1}, "x")).state, Unsealed::Whole);
    EXPECT_EQ(storage::unsealed(seal, storage::sealed({seal.magic + 1, 2}, "x")).state, Unsealed::Damaged);
}

} // namespace
