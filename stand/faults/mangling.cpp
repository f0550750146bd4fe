#include "stand/faults/mangling.h"

#include "stand/faults/gzipbomb.h"
#include "stand/faults/jsonfields.h"
#include "stand/http/answers.h"

#include <QJsonDocument>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace stand {

namespace {

constexpr qint64 fillerSize = 65'536;

Answer statusAnswer(const Fault& fault)
{
    const auto status = static_cast<int>(fault.number("code"));
    Answer answer;
    if (fault.text("envelope") == u"yes"_s)
        answer = failure(status, fault.text("text"));
    answer.status = status;
    if (status == 401)
        answer.headers.append({"WWW-Authenticate"_ba, R"(Basic realm="stand")"_ba});
    if (const auto seconds = fault.number("retry-after"); seconds > 0)
        answer.headers.append({"Retry-After"_ba, QByteArray::number(seconds)});
    return answer;
}

Answer htmlAnswer(const Fault& fault)
{
    Answer answer;
    answer.status = static_cast<int>(fault.number("code"));
    answer.contentType = "text/html; charset=utf-8"_ba;
    answer.body = "<!DOCTYPE html>\n<html><head><title>Welcome</title></head>\n"
                  "<body><h1>Please accept the terms of this network</h1></body></html>\n"_ba;
    return answer;
}

Answer redirectAnswer(const Fault& fault, const Request& request)
{
    Answer answer;
    answer.status = static_cast<int>(fault.number("code"));
    const auto to = fault.text("to").toUtf8();
    answer.headers.append({"Location"_ba, to.isEmpty() ? request.path + "?moved" : to});
    return answer;
}

Delivery whole(const Answer& answer) { return {.begin = headOf(answer, answer.body.size()) + answer.body}; }

Delivery withBody(Answer answer, const QByteArray& body)
{
    answer.body = body;
    return whole(answer);
}

QByteArray withWrongType(const QByteArray& body, const Strike& strike)
{
    const QJsonValue value = QJsonDocument::fromJson(body).object();
    auto field = strike.fault.text("field");
    if (field == u"each"_s) {
        const auto fields = fieldsOf(value);
        if (fields.isEmpty())
            return body;
        field = fields[(strike.firing - 1) % fields.size()];
    }
    const auto changed = withType(value, field, strike.fault.text("as"));
    return QJsonDocument(changed.toObject()).toJson(QJsonDocument::Compact);
}

Delivery large(const Answer& answer, qint64 size)
{
    // A member more, so that it stays what it was for who takes the trouble to read it.
    const auto begin = answer.body.chopped(std::min<qsizetype>(answer.body.size(), 1)) + R"(,"padding":")";
    const auto left = std::max(size - begin.size() - 2, qint64(0));
    Delivery delivery;
    delivery.filler = QByteArray(fillerSize, 'x');
    delivery.repeats = left / fillerSize;
    delivery.end = QByteArray(left % fillerSize, 'x') + R"("})";
    delivery.begin = headOf(answer, begin.size() + left + 2) + begin;
    return delivery;
}

Delivery bomb(Answer answer, qint64 unpacked)
{
    const auto bomb = gzipBomb(answer.body, unpacked);
    answer.headers.append({"Content-Encoding"_ba, "gzip"_ba});
    return {.begin = headOf(answer, bomb.size()) + bomb.begin,
            .filler = bomb.filler,
            .repeats = bomb.repeats,
            .end = bomb.end};
}

Delivery truncated(const Answer& answer, qint64 bytes)
{
    const auto kept = bytes < 0 ? answer.body.size() / 2 : std::min<qsizetype>(bytes, answer.body.size());
    return {.begin = headOf(answer, answer.body.size()) + answer.body.first(kept)};
}

Delivery drip(const Fault& fault, const Answer& answer)
{
    auto delivery = whole(answer);
    delivery.pieceSize = std::max(fault.number("bytes"), qint64(1));
    delivery.pause = std::chrono::milliseconds(fault.number("ms"));
    return delivery;
}

Delivery wrongLength(const Fault& fault, const Answer& answer)
{
    const auto length = std::max(answer.body.size() + fault.number("by"), qint64(0));
    return {.begin = headOf(answer, length) + answer.body};
}

Delivery late(const Fault& fault, const Answer& answer)
{
    auto delivery = whole(answer);
    delivery.delay = std::chrono::milliseconds(fault.number("ms"));
    return delivery;
}

} // namespace

std::optional<Answer> ownAnswer(const Fault& fault, const Request& request)
{
    switch (fault.kind) {
    case FaultKind::Status:
        return statusAnswer(fault);
    case FaultKind::Html:
        return htmlAnswer(fault);
    case FaultKind::Redirect:
        return redirectAnswer(fault, request);
    case FaultKind::Empty: {
        Answer answer;
        answer.status = static_cast<int>(fault.number("code"));
        return answer;
    }
    default:
        return std::nullopt;
    }
}

Delivery mangled(const Strike& strike, const std::optional<Answer>& answer)
{
    const auto& fault = strike.fault;
    const auto given = answer.value_or(Answer());
    switch (fault.kind) {
    case FaultKind::Refuse:
    case FaultKind::Reset:
        return {.after = Delivery::End::Reset};
    case FaultKind::Hang:
        return {.after = Delivery::End::Hang};
    case FaultKind::Drop:
    case FaultKind::ApplyThenDrop:
        return {};
    case FaultKind::Late:
        return late(fault, given);
    case FaultKind::Drip:
        return drip(fault, given);
    case FaultKind::Truncate:
        return truncated(given, fault.number("bytes"));
    case FaultKind::Length:
        return wrongLength(fault, given);
    case FaultKind::Type:
        return withBody(given, withWrongType(given.body, strike));
    case FaultKind::Json:
        return withBody(given, given.body + "}, \"and\": oops");
    case FaultKind::Large:
        return large(given, fault.number("bytes"));
    case FaultKind::GzipBomb:
        return bomb(given, fault.number("bytes"));
    default:
        return whole(given);
    }
}

} // namespace stand
