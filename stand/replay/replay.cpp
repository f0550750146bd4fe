#include "stand/replay/replay.h"

#include "stand/http/answers.h"

#include <QJsonDocument>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace stand {

namespace {

constexpr qint64 longestDelay = 5000; // milliseconds

QString receiptOf(const QJsonObject& body)
{
    for (const auto& name :
         {u"check_identifier"_s, u"receipt_to_cancel"_s, u"receipt_number"_s, u"approve_id"_s}) {
        if (const auto value = body.value(name); value.isString() || value.isDouble())
            return value.toVariant().toString();
    }
    return {};
}

/// Such an exchange never came to the service.
bool wasSent(const QString& failure)
{
    return failure != u"Tls"_s && failure != u"BadUrl"_s && failure != u"BadHeader"_s;
}

QJsonObject exchangeIn(const QByteArray& line, const QString& where)
{
    QJsonParseError error;
    const auto document = QJsonDocument::fromJson(line, &error);
    if (!document.isObject())
        throw ReplayError(where + u"is no JSON object: "_s + error.errorString());
    auto exchange = document.object();
    if (!exchange.value(u"method"_s).isString() || !exchange.value(u"path"_s).isString())
        throw ReplayError(where +
                          u"has no \"method\" and \"path\"; what a journal knows cannot be replayed"_s);
    return exchange;
}

Answer answerIn(const QJsonObject& exchange)
{
    Answer answer;
    answer.status = exchange.value(u"status"_s).toInt();
    const auto recorded = exchange.value(u"answer"_s);
    if (recorded.isObject())
        answer.body = QJsonDocument(recorded.toObject()).toJson(QJsonDocument::Compact);
    else if (recorded.isArray())
        answer.body = QJsonDocument(recorded.toArray()).toJson(QJsonDocument::Compact);
    else if (exchange.contains(u"answer_bytes"_s)) {
        answer.contentType = "text/html"_ba;
        answer.body = "<html>not kept</html>"_ba;
    }
    return answer;
}

Delivery tooLarge()
{
    constexpr qint64 piece = 65'536;
    constexpr qint64 pieces = 256; // 16 MiB
    return {.begin = headOf({}, piece * pieces), .filler = QByteArray(piece, ' '), .repeats = pieces};
}

Reaction reactionOf(const QJsonObject& exchange)
{
    const auto failure = exchange.value(u"failure"_s).toString();
    if (failure == u"Timeout"_s)
        return {Delivery{.after = Delivery::End::Hang}};
    if (failure == u"Connect"_s)
        return {Delivery{}};
    if (failure == u"TooLarge"_s)
        return {tooLarge()};
    auto answer = answerIn(exchange);
    if (failure == u"Redirect"_s)
        answer.headers.append({"Location"_ba, "/moved"_ba});
    if (failure == u"BrokenAnswer"_s) {
        answer.status = answer.status == 0 ? 200 : answer.status;
        answer.body = "<html>not the service's</html>"_ba;
    }
    const auto delay = std::clamp<qint64>(exchange.value(u"milliseconds"_s).toInteger(), 0, longestDelay);
    return {Postponed{std::chrono::milliseconds(delay), [answer] { return answer; }}};
}

} // namespace

QString Replay::Numbering::place(const QString& method, const QString& path, const QJsonObject& body)
{
    auto parts = path.sliced(qMax(path.indexOf(u"v2/"_s), 0)).split(u'/');
    auto receipt = receiptOf(body);
    for (qsizetype i = 1; i < parts.size(); ++i) {
        if (parts.at(i - 1) == u"card"_s || parts.at(i - 1) == u"phone"_s)
            receipt = std::exchange(parts[i], u"*"_s);
    }
    const auto operation = method + u' ' + parts.join(u'/');
    auto& receipts = m_receipts[operation];
    if (!receipts.contains(receipt))
        receipts.append(receipt);
    return u"%1, receipt or number %2"_s.arg(operation).arg(receipts.indexOf(receipt) + 1);
}

Replay::Replay(const QByteArray& recording, const QString& fileName)
{
    Numbering numbering;
    const auto lines = recording.split('\n');
    for (qsizetype i = 0; i < lines.size(); ++i) {
        if (lines.at(i).trimmed().isEmpty())
            continue;
        const auto exchange = exchangeIn(lines.at(i), u"%1: line %2 "_s.arg(fileName).arg(i + 1));
        const auto place =
            numbering.place(exchange.value(u"method"_s).toString(), exchange.value(u"path"_s).toString(),
                            exchange.value(u"request"_s).toObject());
        if (wasSent(exchange.value(u"failure"_s).toString()))
            m_recorded[place].append(exchange);
    }
}

Reaction Replay::react(const Request& request)
{
    const auto place = m_asked.place(QString::fromUtf8(request.method), QString::fromUtf8(request.path),
                                     QJsonDocument::fromJson(request.body).object());
    auto& left = m_recorded[place];
    if (!left.isEmpty())
        return reactionOf(left.takeFirst());
    m_unknown.append(u"asked for, but not recorded: "_s + place);
    return {failure(404, u"Этого запроса нет в записи: "_s + place)};
}

QStringList Replay::differences() const
{
    QStringList unused;
    for (auto place = m_recorded.begin(); place != m_recorded.end(); ++place) {
        for (qsizetype i = 0; i < place->size(); ++i)
            unused.append(u"recorded, but not asked for: "_s + place.key());
    }
    unused.sort();
    return m_unknown + unused;
}

} // namespace stand
