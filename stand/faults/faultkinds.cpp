#include "stand/faults/faultkinds.h"

#include <cmath>

using namespace Qt::StringLiterals;

namespace stand {

namespace {

constexpr qint64 longest = 600'000;              // milliseconds
constexpr qint64 largest = qint64(1) << 34;      // bytes
constexpr qint64 greatestDifference = 1'000'000; // bytes

FaultSetting milliseconds(qint64 byDefault) { return {u"ms"_s, byDefault, 0, longest}; }

FaultSetting bytes(qint64 byDefault, qint64 most) { return {u"bytes"_s, byDefault, 0, most}; }

FaultSetting code(qint64 byDefault, qint64 least, qint64 most) { return {u"code"_s, byDefault, least, most}; }

FaultSetting text(const QString& name, const QString& byDefault, const QStringList& oneOf = {})
{
    return {name, byDefault, 0, 0, oneOf};
}

QList<FaultKindInfo> connectionFaults()
{
    return {
        {u"refuse"_s,
         u"nobody listens for so long: connections are refused"_s,
         true,
         false,
         When::Before,
         {{u"ms"_s, qint64(1000), 1, longest}}},
        {u"reset"_s, u"the connection is reset (RST)"_s, true, true, When::Before},
        {u"hang"_s, u"no answer until the client gives up"_s, true, true, When::Before},
        {u"drop"_s, u"the connection is closed without an answer; nothing was done"_s, true, false,
         When::Before},
        {u"apply-then-drop"_s, u"the operation is done, then the connection is closed without an answer"_s,
         false, true, When::After},
        {u"late"_s,
         u"the answer comes late; with when=before the operation is done late too"_s,
         true,
         true,
         When::After,
         {milliseconds(2000)}},
        {u"drip"_s,
         u"the answer comes so many bytes at a time"_s,
         false,
         true,
         When::After,
         {bytes(1, 1'000'000), milliseconds(50)}},
    };
}

QList<FaultKindInfo> answerFaults()
{
    return {
        {u"truncate"_s,
         u"the body ends after so many bytes; -1: in its middle"_s,
         false,
         true,
         When::After,
         {{u"bytes"_s, qint64(-1), -1, largest}}},
        {u"length"_s,
         u"Content-Length is wrong by so much, less or more"_s,
         false,
         true,
         When::After,
         {{u"by"_s, qint64(10), -greatestDifference, greatestDifference}}},
        {u"type"_s,
         u"a member of the answer has another type; each: another member each time, through all of them"_s,
         false,
         true,
         When::After,
         {text(u"field"_s, u"each"_s), text(u"as"_s, u"other"_s,
                                            {u"other"_s, u"number"_s, u"text"_s, u"bool"_s, u"null"_s,
                                             u"list"_s, u"object"_s, u"missing"_s})}},
        {u"json"_s, u"the answer is no valid JSON"_s, false, true, When::After},
        {u"empty"_s, u"an answer without a body"_s, true, true, When::Before, {code(200, 200, 599)}},
        {u"html"_s,
         u"a page in HTML instead of an answer"_s,
         true,
         true,
         When::Before,
         {code(200, 200, 599)}},
        {u"large"_s,
         u"the answer is padded to so many bytes"_s,
         false,
         true,
         When::After,
         {bytes(100'000'000, largest)}},
        {u"gzip-bomb"_s,
         u"the answer is compressed and unpacks to so many bytes"_s,
         false,
         true,
         When::After,
         {bytes(qint64(1) << 30, largest)}},
        {u"redirect"_s,
         u"the answer is elsewhere; by default at the same path with ?moved"_s,
         true,
         true,
         When::Before,
         {code(302, 300, 399), text(u"to"_s, {})}},
        {u"status"_s,
         u"this HTTP status, with or without the service's error envelope"_s,
         true,
         true,
         When::Before,
         {code(503, 400, 599),
          text(u"envelope"_s, u"yes"_s, {u"yes"_s, u"no"_s}),
          text(u"text"_s, u"Сбой, заданный на стенде"_s),
          {u"retry-after"_s, qint64(0), 0, 86'400}}},
    };
}

} // namespace

QJsonValue FaultSetting::checked(const QJsonValue& value) const
{
    if (byDefault.isString()) {
        const bool isRight = value.isString() && (oneOf.isEmpty() || oneOf.contains(value.toString()));
        if (!isRight) {
            throw FaultError(oneOf.isEmpty() ? u"\"%1\" is a text"_s.arg(name)
                                             : u"\"%1\" is one of %2"_s.arg(name, oneOf.join(u", "_s)));
        }
        return value;
    }
    bool isNumber = value.isDouble();
    auto number = value.toDouble();
    if (value.isString())
        number = static_cast<double>(value.toString().toLongLong(&isNumber));
    if (!isNumber || std::floor(number) != number || number < static_cast<double>(least) ||
        number > static_cast<double>(most))
        throw FaultError(u"\"%1\" is a whole number from %2 to %3"_s.arg(name).arg(least).arg(most));
    return number;
}

const QList<FaultKindInfo>& faultKinds()
{
    static const auto kinds = connectionFaults() + answerFaults();
    return kinds;
}

} // namespace stand
