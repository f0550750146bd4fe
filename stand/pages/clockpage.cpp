#include "stand/pages/clockpage.h"

#include "stand/books/clock.h"
#include "stand/http/answers.h"

#include <QJsonDocument>

#include <cmath>
#include <optional>

using namespace Qt::StringLiterals;

namespace stand {

namespace {

constexpr double longest = 100.0 * 366 * 86'400; // seconds

/// The time asked for, or nothing when it is not told or lies behind.
std::optional<QDateTime> timeFrom(const QJsonObject& asked, const QDateTime& current)
{
    QDateTime time;
    if (const auto seconds = asked.value(u"advance"_s); seconds.isDouble()) {
        if (std::abs(seconds.toDouble()) <= longest)
            time = current.addMSecs(std::llround(seconds.toDouble() * 1000));
    } else
        time = QDateTime::fromString(asked.value(u"time"_s).toString(), Qt::ISODateWithMs);
    return asked.size() == 1 && time.isValid() && time >= current ? std::optional(time) : std::nullopt;
}

Answer told() { return page(QJsonObject{{u"time"_s, now().toString(Qt::ISODateWithMs)}}); }

Answer moveClock(const Request& request)
{
    const auto time = timeFrom(QJsonDocument::fromJson(request.body).object(), now());
    if (!time)
        return failure(422, u"the clock goes forward only: {\"advance\": seconds}, or "
                            "{\"time\": \"2026-12-01T00:00:00Z\"} later than it is"_s);
    setClock(*time);
    return told();
}

} // namespace

void addClockPage(Routes& routes)
{
    const auto path = "/stand/clock"_ba;
    routes.add("GET", path, [](const QByteArray&, const Request&) { return told(); });
    routes.add("POST", path, [](const QByteArray&, const Request& request) { return moveClock(request); });
}

} // namespace stand
