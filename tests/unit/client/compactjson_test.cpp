#include "client/compactjson.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <gmock/gmock.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>

using namespace Qt::StringLiterals;

// What is written is Qt's own writing, byte for byte: the service has never seen another. Ten million values
// of each kind take some minutes: KYR_JSON_VALUES=10000000 test_client --gtest_filter='CompactJson.*'

namespace {

QByteArray byQt(const QVariant& value)
{
    return QJsonDocument::fromVariant(value).toJson(QJsonDocument::Compact);
}

QVariantMap holding(const QVariant& value) { return {{u"value"_s, value}}; }

int valuesWanted()
{
    bool isNumber = false;
    const int wanted = qEnvironmentVariableIntValue("KYR_JSON_VALUES", &isNumber);
    return isNumber ? wanted : 20'000;
}

class CompactJson : public testing::Test
{
protected:
    int below(int end) { return std::uniform_int_distribution(0, end - 1)(m_random); }

    double number()
    {
        const auto some = static_cast<double>(static_cast<qint64>(m_random() >> below(64)));
        switch (below(7)) {
        case 0:
            return std::bit_cast<double>(quint64{m_random()}); // of all sizes, no numbers among them
        case 1:
            return some / 100;
        case 2:
            return -some / 1000;
        case 3:
            return some; // whole
        case 4:
            return std::ldexp(1 + below(3), below(140) - 70);
        case 5:
            return std::nextafter(std::pow(10, below(60) - 30), below(2) ? 0 : 1e300);
        default:
            return below(1000) * std::pow(10, below(50) - 25);
        }
    }

    QString text()
    {
        QString text;
        for (int left = below(12); left > 0; --left) {
            switch (below(6)) {
            case 0:
                text += QChar(below(0x80));
                break;
            case 1:
                text += u"\"\\\b\f\n\r\t/\x7f\u0080\u07ff\u0800\uffff"_s[below(13)];
                break;
            case 2:
                text += QChar(0x400 + below(0x100)); // Cyrillic
                break;
            case 3:
                text += QChar::fromUcs4(static_cast<char32_t>(0x10000 + below(0x100000)));
                break;
            case 4:
                text += QChar(0xd7ff + below(0x802)); // halves of characters, and their neighbours
                break;
            default:
                text += QChar(below(0x10000));
            }
        }
        return text;
    }

    QVariant value(int depth)
    {
        switch (below(depth > 0 ? 10 : 8)) {
        case 0:
            return {};
        case 1:
            return below(2) == 0;
        case 2:
            return static_cast<qint64>(m_random());
        case 3:
            return QJsonDocument(QJsonArray{number(), text()});
        case 4:
            return static_cast<int>(m_random());
        case 5:
            return number();
        case 6:
        case 7:
            return text();
        case 8:
            return object(depth - 1);
        default:
            return listOf(below(4), [&] { return value(depth - 1); });
        }
    }

    QVariantMap object(int depth)
    {
        QVariantMap object;
        for (int left = below(8); left > 0; --left)
            object.insert(text(), value(depth));
        return object;
    }

    template <class Make>
    static QVariantList listOf(int size, Make make)
    {
        QVariantList list;
        for (int i = 0; i < size; ++i)
            list.append(make());
        return list;
    }

    /// Compares so many values, a thousand at once; of a thousand that differ, names the first that does.
    template <class Make>
    static void compare(int count, Make make)
    {
        for (; count > 0; count -= 1000) {
            const QVariantList values = listOf(std::min(count, 1000), make);
            if (json::compact(holding(values)) == byQt(holding(values)))
                continue;
            for (const QVariant& value : values)
                ASSERT_EQ(json::compact(holding(value)).toStdString(), byQt(holding(value)).toStdString());
            FAIL() << "alone each is written as it should be";
        }
    }

private:
    std::mt19937_64 m_random{20240601}; // the same values each time
};

TEST_F(CompactJson, WritesRandomNumbersAsQtDoes)
{
    compare(valuesWanted(), [this] { return number(); });
}

TEST_F(CompactJson, WritesRandomTextsAsQtDoes)
{
    compare(valuesWanted(), [this] { return text(); });
}

TEST_F(CompactJson, WritesRandomObjectsWithinObjectsAsQtDoes)
{
    compare(valuesWanted() / 10, [this] { return object(3); });
}

TEST_F(CompactJson, WritesNumbersAtTheEdgesAsQtDoes)
{
    constexpr double huge = 0x1p63; // the first that is no qint64
    using Limits = std::numeric_limits<double>;
    for (const double edge :
         {0.0, 5.0, 0.1 + 0.2, 1e-4, 1e-5, 0x1p53, huge, 2 * huge, 1e21, 1e22, Limits::max(), Limits::min(),
          Limits::denorm_min(), Limits::infinity(), Limits::quiet_NaN()}) {
        for (const double number :
             {edge, -edge, std::nextafter(edge, 0), std::nextafter(edge, Limits::max())})
            EXPECT_EQ(json::compact(holding(number)), byQt(holding(number))) << number;
    }
    EXPECT_EQ(json::compact(QVariantMap{{u"five"_s, 5.0}, {u"none"_s, Limits::quiet_NaN()}}),
              R"({"five":5,"none":null})");
}

TEST_F(CompactJson, WritesEachUnitOfATextAsQtDoes)
{
    for (int unit = 0; unit < 0x10000; ++unit) {
        const QVariantMap object = holding(QString(QChar(unit)) + u'x');
        ASSERT_EQ(json::compact(object), byQt(object)) << unit;
    }
}

TEST_F(CompactJson, EndsAKeyWhereItsViewEndsThoughTheRestOfTheCharacterIsBehind)
{
    const QString card = u"🂡"_s;
    const std::vector<json::Object> objects{{{QStringView(card).first(1), 1}}};
    EXPECT_EQ(json::compact(objects), R"([{"\ud83c":1}])");
}

TEST_F(CompactJson, WritesWhatIsEmptyAsQtDoes)
{
    EXPECT_EQ(json::compact(QVariantMap()), "{}");
    const QVariantMap object{
        {u"a"_s, QVariantMap()}, {u"b"_s, QVariantList()}, {u"c"_s, QString()}, {u""_s, {}}};
    EXPECT_EQ(json::compact(object), byQt(object));
}

TEST_F(CompactJson, MakesOfAListOfObjectsWhatQtDoesBothAsTextAndAsAValue)
{
    for (int left = valuesWanted() / 100; left > 0; --left) {
        std::vector<json::Object> objects(1); // one without members
        QVariantList variants{QVariantMap()};
        for (int i = below(4); i > 0; --i) {
            const int whole = below(1000) - 500;
            const double money = number();
            const QString name = text();
            objects.push_back({{u"Я", name}, {u"Яa", money}, {u"Яя", whole}});
            variants.append(QVariantMap{{u"Яя"_s, whole}, {u"Я"_s, name}, {u"Яa"_s, money}});
        }
        ASSERT_EQ(json::compact(objects), byQt(variants));
        ASSERT_EQ(json::compact(holding(json::document(objects))), byQt(holding(variants)));
    }
    EXPECT_EQ(json::compact(std::vector<json::Object>()), "[]");
    EXPECT_EQ(json::compact(holding(json::document({}))), R"({"value":[]})");
}

} // namespace
