#include "stand/http/routes.h"

#include "stand/http/answers.h"

#include <optional>

using namespace Qt::StringLiterals;

namespace stand {

namespace {

/// The segments behind the first slash, decoded one by one.
QList<QByteArray> segmentsOf(const QByteArray& path)
{
    auto segments = path.mid(1).split('/');
    for (auto& segment : segments)
        segment = QByteArray::fromPercentEncoding(segment);
    return segments;
}

/// The segment in the variable's place, empty when there is none; nothing when the path is another one.
std::optional<QByteArray> match(const QList<QByteArray>& pattern, const QList<QByteArray>& segments)
{
    if (segments.size() != pattern.size())
        return std::nullopt;
    QByteArray value;
    for (qsizetype i = 0; i < pattern.size(); ++i) {
        if (pattern[i].startsWith('{'))
            value = segments[i];
        else if (pattern[i] != segments[i])
            return std::nullopt;
    }
    return value;
}

} // namespace

void Routes::add(const QByteArray& method, const QByteArray& path, Handler handler)
{
    m_routes.append({method, path.mid(1).split('/'), std::move(handler)});
}

Answer Routes::answer(const Request& request) const
{
    const auto segments = segmentsOf(request.path);
    QByteArrayList allowed;
    for (const auto& route : m_routes) {
        const auto value = match(route.pattern, segments);
        if (!value)
            continue;
        if (route.method == request.method)
            return route.handler(*value, request);
        allowed.append(route.method);
    }
    if (!allowed.isEmpty())
        return wrongMethod(request.method, allowed.join(", "));
    return failure(404, u"Адрес не найден"_s);
}

QJsonArray Routes::list() const
{
    QJsonArray list;
    for (const auto& route : m_routes) {
        list.append(QJsonObject{{u"method"_s, QString::fromLatin1(route.method)},
                                {u"path"_s, QString::fromLatin1('/' + route.pattern.join('/'))}});
    }
    return list;
}

} // namespace stand
