#include "stand/pages/exchanges.h"

#include "stand/books/database.h"
#include "stand/service/codes.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <array>

using namespace Qt::StringLiterals;

namespace stand {

namespace {

QByteArray harmlessHeaders(const Request& request)
{
    // A list of what is kept, not of what is left out: a secret in a header thought of later stays out too.
    static constexpr std::array kept = {"accept", "content-length", "content-type", "user-agent"};
    QJsonObject headers;
    for (const auto* name : kept) {
        if (const auto found = request.headers.constFind(name); found != request.headers.cend())
            headers.insert(QLatin1StringView(name), QString::fromUtf8(*found));
    }
    return QJsonDocument(headers).toJson(QJsonDocument::Compact);
}

/// Never null: an empty body is an empty text in a column that knows no NULL.
QString text(const QByteArray& bytes) { return bytes.isEmpty() ? u""_s : QString::fromUtf8(bytes); }

} // namespace

void Exchanges::add(const QDateTime& time, const Request& request, bool authorized, const Answer& answer,
                    const QString& fault)
{
    const auto target = request.query.isEmpty() ? request.path : request.path + '?' + request.query;
    m_database.run(uR"(INSERT INTO exchanges(time, method, path, headers, request_body, status, answer_body,
                                             authorized, fault)
                       VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?))"_s,
                   {time.toUTC().toString(Qt::ISODateWithMs), text(request.method), text(target),
                    text(harmlessHeaders(request)), text(withoutCode(request)), answer.status,
                    text(answer.body), authorized, fault.isNull() ? u""_s : fault});
}

QJsonArray Exchanges::after(qint64 number) const
{
    auto query = m_database.run(uR"(SELECT n, time, method, path, headers, request_body, status, answer_body,
                                           authorized, fault
                                    FROM exchanges WHERE n > ? ORDER BY n)"_s,
                                {number});
    QJsonArray list;
    while (query.next()) {
        QJsonObject exchange{
            {u"n"_s, query.value(0).toLongLong()},
            {u"time"_s, query.value(1).toString()},
            {u"method"_s, query.value(2).toString()},
            {u"path"_s, query.value(3).toString()},
            {u"headers"_s, QJsonDocument::fromJson(query.value(4).toString().toUtf8()).object()},
            {u"request_body"_s, query.value(5).toString()},
            {u"status"_s, query.value(6).toInt()},
            {u"answer_body"_s, query.value(7).toString()},
            {u"authorized"_s, query.value(8).toBool()},
        };
        if (const auto fault = query.value(9).toString(); !fault.isEmpty())
            exchange.insert(u"fault"_s, fault);
        list.append(exchange);
    }
    return list;
}

} // namespace stand
