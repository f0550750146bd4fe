// What faults make of an answer.

#include "stand/faults/gzipbomb.h"
#include "stand/faults/jsonfields.h"
#include "stand/faults/mangling.h"
#include "stand/http/answers.h"

#include <gmock/gmock.h>

#include <QJsonDocument>

#include <zlib.h>

using namespace Qt::StringLiterals;
using stand::Answer;
using stand::Delivery;
using stand::faultFrom;

namespace {

const auto body = R"({"data":{"n":3,"list":[{"a":"1"},{"a":"2"}]}})"_ba;

Delivery with(const QString& text, int firing = 1)
{
    Answer answer;
    answer.body = body;
    return stand::mangled({.id = 1, .fault = faultFrom(QString(u"any:"_s + text)), .firing = firing}, answer);
}

QByteArray headOf(const Delivery& delivery)
{
    return delivery.begin.first(delivery.begin.indexOf("\r\n\r\n") + 4);
}

QByteArray bodyOf(const Delivery& delivery)
{
    auto all = delivery.begin.sliced(headOf(delivery).size());
    for (qint64 i = 0; i < delivery.repeats; ++i)
        all += delivery.filler;
    return all + delivery.end;
}

qint64 lengthIn(const Delivery& delivery)
{
    const auto name = "Content-Length: "_ba;
    const auto head = headOf(delivery);
    const auto from = head.indexOf(name) + name.size();
    return head.sliced(from, head.indexOf('\r', from) - from).toLongLong();
}

QByteArray changed(const QString& field, const QString& type)
{
    const auto value = stand::withType(QJsonDocument::fromJson(body).object(), field, type);
    return QJsonDocument(value.toObject()).toJson(QJsonDocument::Compact);
}

QByteArray unpacked(const QByteArray& packed)
{
    z_stream stream{};
    QByteArray text(8 << 20, '\0');
    auto input = packed;
    stream.next_in = reinterpret_cast<Bytef*>(input.data());
    stream.avail_in = static_cast<uInt>(input.size());
    stream.next_out = reinterpret_cast<Bytef*>(text.data());
    stream.avail_out = static_cast<uInt>(text.size());
    constexpr int gzipOnly = 31;
    EXPECT_EQ(inflateInit2(&stream, gzipOnly), Z_OK);
    EXPECT_EQ(inflate(&stream, Z_FINISH), Z_STREAM_END) << "with the right checksum and length";
    EXPECT_EQ(stream.avail_in, 0U);
    text.truncate(static_cast<qsizetype>(stream.total_out));
    inflateEnd(&stream);
    return text;
}

TEST(JsonFields, AreAllNamedInTheirOrder)
{
    EXPECT_EQ(stand::fieldsOf(QJsonDocument::fromJson(body).object()),
              (QStringList{u"data"_s, u"data.list"_s, u"data.list.0"_s, u"data.list.0.a"_s, u"data.list.1"_s,
                           u"data.list.1.a"_s, u"data.n"_s}));
}

TEST(JsonFields, GetAnotherTypeThatKeepsTheValue)
{
    EXPECT_EQ(changed(u"data.n"_s, u"other"_s), R"({"data":{"list":[{"a":"1"},{"a":"2"}],"n":"3"}})");
    EXPECT_EQ(changed(u"data.list.1.a"_s, u"other"_s), R"({"data":{"list":[{"a":"1"},{"a":2}],"n":3}})");
    EXPECT_EQ(changed(u"data.list.*.a"_s, u"null"_s), R"({"data":{"list":[{"a":null},{"a":null}],"n":3}})");
    EXPECT_EQ(changed(u"data.list"_s, u"missing"_s), R"({"data":{"n":3}})");
    EXPECT_EQ(changed(u"data.list.0"_s, u"missing"_s), R"({"data":{"list":[{"a":"2"}],"n":3}})");
    EXPECT_EQ(changed(u"data.n"_s, u"list"_s), R"({"data":{"list":[{"a":"1"},{"a":"2"}],"n":[3]}})");
    EXPECT_EQ(changed(u"data.n"_s, u"object"_s),
              R"({"data":{"list":[{"a":"1"},{"a":"2"}],"n":{"value":3}}})");
    EXPECT_EQ(changed(u"data.n"_s, u"bool"_s), R"({"data":{"list":[{"a":"1"},{"a":"2"}],"n":true}})");
    EXPECT_EQ(changed(u"data"_s, u"text"_s),
              R"({"data":"{\"list\":[{\"a\":\"1\"},{\"a\":\"2\"}],\"n\":3}"})");
}

TEST(JsonFields, OfAnotherNameChangeNothing)
{
    const auto same = QJsonDocument::fromJson(body).toJson(QJsonDocument::Compact);
    EXPECT_EQ(changed(u"data.m"_s, u"other"_s), same);
    EXPECT_EQ(changed(u"data.list.2.a"_s, u"other"_s), same);
    EXPECT_EQ(changed(u"data.n.x"_s, u"other"_s), same);
}

TEST(Mangling, GoesThroughTheFieldsOneByOne)
{
    QSet<QByteArray> seen;
    for (int firing = 1; firing <= 7; ++firing)
        seen.insert(bodyOf(with(u"type"_s, firing)));
    EXPECT_EQ(seen.size(), 7);
    EXPECT_EQ(bodyOf(with(u"type"_s, 8)), bodyOf(with(u"type"_s, 1)));
}

TEST(Mangling, CutsTheBodyButNotItsLength)
{
    EXPECT_EQ(bodyOf(with(u"truncate:bytes=7"_s)), body.first(7));
    EXPECT_EQ(bodyOf(with(u"truncate"_s)), body.first(body.size() / 2));
    EXPECT_EQ(bodyOf(with(u"truncate:bytes=9999"_s)), body);
    EXPECT_EQ(lengthIn(with(u"truncate:bytes=7"_s)), body.size());
}

TEST(Mangling, LiesAboutTheLength)
{
    EXPECT_EQ(lengthIn(with(u"length:by=3"_s)), body.size() + 3);
    EXPECT_EQ(lengthIn(with(u"length:by=-3"_s)), body.size() - 3);
    EXPECT_EQ(lengthIn(with(u"length:by=-1000"_s)), 0);
    EXPECT_EQ(bodyOf(with(u"length:by=-3"_s)), body);
}

TEST(Mangling, BreaksTheJson)
{
    QJsonParseError error;
    QJsonDocument::fromJson(bodyOf(with(u"json"_s)), &error);
    EXPECT_NE(error.error, QJsonParseError::NoError);
    EXPECT_EQ(lengthIn(with(u"json"_s)), bodyOf(with(u"json"_s)).size());
}

TEST(Mangling, PadsAnAnswerToExactlyTheSizeAndLeavesItReadable)
{
    for (const auto size : {100, 65'536, 65'537, 1'000'000}) {
        const auto delivery = with(u"large:bytes=%1"_s.arg(size));
        const auto padded = bodyOf(delivery);
        EXPECT_EQ(padded.size(), size);
        EXPECT_EQ(lengthIn(delivery), size);
        EXPECT_EQ(QJsonDocument::fromJson(padded)[u"data"][u"n"], QJsonValue(3));
    }
}

TEST(Mangling, PacksABombThatUnpacksToTheAnswerAndBlanks)
{
    const auto delivery = with(u"gzip-bomb:bytes=3000000"_s);
    const auto packed = bodyOf(delivery);
    EXPECT_EQ(lengthIn(delivery), packed.size());
    EXPECT_TRUE(headOf(delivery).contains("Content-Encoding: gzip\r\n"));
    EXPECT_LT(packed.size(), 10'000);
    const auto text = unpacked(packed);
    EXPECT_GE(text.size(), 3'000'000);
    EXPECT_EQ(text.trimmed(), body);
}

TEST(Mangling, KeepsTheBytesInMemoryFewHoweverLargeTheAnswer)
{
    const auto large = with(u"large:bytes=10000000000"_s);
    EXPECT_LT(large.begin.size() + large.filler.size() + large.end.size(), 200'000);
    EXPECT_EQ(lengthIn(large), 10'000'000'000);
    const auto bomb = with(u"gzip-bomb:bytes=10000000000"_s);
    EXPECT_LT(bomb.begin.size() + bomb.filler.size() + bomb.end.size(), 20'000);
}

TEST(Mangling, AnswersWithAStatusOfItsOwn)
{
    const auto own = [](const QString& text) {
        stand::Request request;
        request.path = "/v2/x";
        return stand::ownAnswer(faultFrom(QString(u"any:"_s + text)), request);
    };
    const auto unauthorized = own(u"status:code=401,text=нет"_s).value();
    EXPECT_EQ(unauthorized.status, 401);
    EXPECT_EQ(unauthorized.body, stand::failure(401, u"нет"_s).body);
    EXPECT_EQ(unauthorized.headers.value(0).first, "WWW-Authenticate");
    EXPECT_EQ(own(u"status:code=503,envelope=no"_s).value().body, "");
    EXPECT_EQ(own(u"status:code=429,retry-after=9"_s).value().headers.value(0),
              std::pair("Retry-After"_ba, "9"_ba));
    EXPECT_EQ(own(u"redirect:code=307"_s).value().headers.value(0),
              std::pair("Location"_ba, "/v2/x?moved"_ba));
    EXPECT_EQ(own(u"redirect:to=http://h/"_s).value().headers.value(0).second, "http://h/");
    EXPECT_THAT(own(u"html"_s).value().body.toStdString(), ::testing::StartsWith("<!DOCTYPE html>"));
    EXPECT_EQ(own(u"empty"_s).value().body, "");
    EXPECT_FALSE(own(u"reset"_s));
}

TEST(Mangling, SendsNothingWhereTheAnswerIsLost)
{
    for (const auto& [fault, after] : {std::pair{u"reset"_s, Delivery::End::Reset},
                                       {u"refuse"_s, Delivery::End::Reset},
                                       {u"hang"_s, Delivery::End::Hang},
                                       {u"drop"_s, Delivery::End::Close},
                                       {u"apply-then-drop"_s, Delivery::End::Close}}) {
        const auto delivery = with(fault);
        EXPECT_TRUE(delivery.begin.isEmpty() && delivery.end.isEmpty()) << fault.toStdString();
        EXPECT_EQ(delivery.after, after) << fault.toStdString();
    }
}

} // namespace
