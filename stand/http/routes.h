#pragma once

#include "stand/http/http.h"

#include <QJsonArray>

#include <functional>

namespace stand {

/// Which path and method means which answer. A path has at most one variable segment, "{card}".
class Routes
{
public:
    /// Gets the segment in the variable's place, decoded.
    using Handler = std::function<Answer(const QByteArray& value, const Request& request)>;

    void add(const QByteArray& method, const QByteArray& path, Handler handler);

    /// 404 for a path that is not there, 405 for another method of one that is. Throws what handlers do.
    [[nodiscard]] Answer answer(const Request& request) const;

    /// Every path with its method, as `{"method", "path"}`.
    [[nodiscard]] QJsonArray list() const;

private:
    struct Route
    {
        QByteArray method;
        QList<QByteArray> pattern;
        Handler handler;
    };

    QList<Route> m_routes;
};

} // namespace stand
