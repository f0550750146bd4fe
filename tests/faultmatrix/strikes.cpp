#include "tests/faultmatrix/strikes.h"

#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace faulttest {

namespace {

using enum Proof;
using Verb = Strike::Verb;

// The host's client: 1 no answer, 2 not in time, 4 half an answer or no JSON, 5 too large, 6 a redirect. A
// query may be answered by an empty body, an order may not.
const QString none = u"no connection to the service"_s;
const QString late = u"no answer in time"_s;
const QString broken = u"the answer is broken, empty or no JSON object"_s;
const QString large = u"the answer is too large"_s;
const QString elsewhere = u"redirected: somebody other than the service answered"_s;

/// Longer than the till's time limit, and the operation comes after what the cashier does next.
const QString tooLate = u"ms=2500"_s;

QList<Strike> connectionRows()
{
    return {
        {u"refuse"_s, u"ms=300"_s, Unknown, 1, none},
        {.kind = u"refuse"_s, .settings = u"ms=1000"_s, .code = 1, .reason = none, .closesTheDoor = true},
        {u"reset"_s, {}, Unknown, 1, none},
        {u"hang"_s, {}, Unknown, 2, late},
        {u"drop"_s, {}, Unknown, 1, none},
        {u"apply-then-drop"_s, {}, Unknown, 1, none},
        {u"late"_s, u"ms=100"_s, Done, 0},
        {u"late"_s, tooLate, Unknown, 2, late},
        {u"drip"_s, u"bytes=200"_s, Done, 0},
        {u"drip"_s, {}, Unknown, 2, late},
    };
}

QList<Strike> answerRows()
{
    return {
        {u"truncate"_s, {}, Unknown, 4, broken},
        {u"truncate"_s, u"bytes=0"_s, Unknown, 4, broken},
        {u"length"_s, u"by=10"_s, Unknown, 4, broken},
        {u"length"_s, u"by=-5"_s, Unknown, 4, broken},
        {u"type"_s, u"field=data,as=text"_s, Hollow, 0},
        {u"json"_s, {}, Unknown, 4, broken},
        {u"empty"_s, {}, Hollow, 0, {}, false, Verb::Get},
        {u"empty"_s, {}, Unknown, 4, broken, false, Verb::Post},
        {u"empty"_s, u"code=204"_s, Hollow, 0, {}, false, Verb::Get},
        {u"empty"_s, u"code=204"_s, Unknown, 4, broken, false, Verb::Post},
        {u"empty"_s, u"code=503"_s, Unknown, 503, u"HTTP 503"_s},
        {u"html"_s, {}, Unknown, 4, broken},
        {u"html"_s, u"code=404"_s, Denied, 404, u"HTTP 404"_s},
        {u"html"_s, u"code=502"_s, Unknown, 502, u"HTTP 502"_s},
        {u"large"_s, {}, Unknown, 5, large},
        {u"gzip-bomb"_s, {}, Unknown, 4, broken},
        {u"redirect"_s, {}, Unknown, 6, elsewhere},
        {u"redirect"_s, u"code=307"_s, Unknown, 6, elsewhere},
    };
}

QList<Strike> statusRows()
{
    const auto worded = [](int code, Proof proof) {
        return Strike{u"status"_s, u"code=%1"_s.arg(code), proof, code, u"HTTP %1"_s.arg(code), true};
    };
    return {
        worded(400, Rejected),
        worded(401, Credentials),
        worded(403, Denied),
        worded(404, Denied),
        worded(408, Unknown),
        worded(409, Rejected),
        worded(422, Rejected),
        worded(425, Unknown),
        worded(429, NotNow),
        worded(500, Unknown),
        worded(503, Unknown),
        {u"status"_s, u"code=401,envelope=no"_s, Credentials, 401, u"HTTP 401"_s},
        {u"status"_s, u"code=422,envelope=no"_s, Rejected, 422, u"HTTP 422"_s},
        {u"status"_s, u"code=429,retry-after=60,envelope=no"_s, NotNow, 429, u"HTTP 429"_s},
        {u"status"_s, u"code=503,envelope=no"_s, Unknown, 503, u"HTTP 503"_s},
    };
}

const QList<Strike>& rows()
{
    static const QList<Strike> all = connectionRows() + answerRows() + statusRows();
    return all;
}

} // namespace

QString Strike::name() const
{
    const QString all = kind + u':' + (settings.isEmpty() ? QString() : settings + u',') + u"when="_s + when;
    return closesTheDoor ? u"any:"_s + all : all;
}

QString Strike::at(const QString& operation, int request) const
{
    return closesTheDoor ? name() + u",nth=%1"_s.arg(request) : operation + u':' + name();
}

bool Strike::tookEffect() const { return when == u"after" || proof == Done; }

bool Strike::comesLate() const { return kind == u"late" && !tookEffect(); }

QString Strike::toCashier() const
{
    return hasWords ? u"Сбой, заданный на стенде"_s : u"Ошибка обращения к серверу"_s;
}

// What is refused for good is told in the service's own words.
QString Strike::toAdministrator() const
{
    if (!hasWords)
        return reason;
    return parks() ? toCashier() : reason + u": "_s + toCashier();
}

QStringList knownKinds()
{
    QStringList kinds;
    for (const Strike& row : rows())
        kinds.append(row.kind);
    kinds.removeDuplicates();
    return kinds;
}

QList<Strike> strikesOf(const QJsonArray& kinds, Strike::Verb verb)
{
    QList<Strike> strikes;
    for (const auto& kind : kinds) {
        for (Strike strike : rows()) {
            if (strike.kind != kind[u"name"_s].toString() ||
                (strike.verb != Verb::Any && strike.verb != verb))
                continue;
            for (const QString& when : {u"before"_s, u"after"_s}) {
                strike.when = when;
                if (kind[when].toBool())
                    strikes.append(strike);
            }
        }
    }
    return strikes;
}

} // namespace faulttest
