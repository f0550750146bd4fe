#include "stand/http/answers.h"

#include <QJsonDocument>

using namespace Qt::StringLiterals;

namespace stand {

namespace {

Answer json(int status, const QJsonDocument& document)
{
    Answer answer;
    answer.status = status;
    answer.body = document.toJson(QJsonDocument::Compact);
    return answer;
}

} // namespace

Answer page(const QJsonObject& content) { return json(200, QJsonDocument(content)); }

Answer page(const QJsonArray& content) { return json(200, QJsonDocument(content)); }

Answer success(const QJsonObject& data) { return page(QJsonObject{{u"data"_s, data}}); }

Answer failure(int status, const QString& message) { return failure(status, QJsonArray{message}); }

Answer failure(int status, const QJsonArray& messages)
{
    QJsonArray errors;
    for (const auto& message : messages)
        errors.append(QJsonObject{{u"message"_s, message}});
    return json(status, QJsonDocument(QJsonObject{{u"data"_s, errors}}));
}

Answer repeated(const QByteArray& body)
{
    Answer answer;
    answer.body = body;
    return answer;
}

Answer wrongMethod(const QByteArray& method, const QByteArray& allowed)
{
    auto answer = failure(405, u"Метод %1 не поддерживается"_s.arg(QString::fromLatin1(method)));
    answer.headers.append({"Allow"_ba, allowed});
    return answer;
}

} // namespace stand
