#include "stand/pages/faultspage.h"

#include "stand/faults/faults.h"
#include "stand/http/answers.h"

using namespace Qt::StringLiterals;

namespace stand {

namespace {

Answer list(const Faults& faults) { return page(QJsonObject{{u"faults"_s, faults.list()}}); }

Answer arm(Faults& faults, const QByteArray& body)
{
    try {
        faults.arm(faultsFrom(body));
    } catch (const FaultError& error) {
        return failure(422, error.text());
    }
    auto answer = list(faults);
    answer.status = 201;
    return answer;
}

Answer disarm(Faults& faults, const QByteArray& number)
{
    bool isNumber = false;
    const auto id = number.toInt(&isNumber);
    if (!isNumber || !faults.disarm(id))
        return failure(404, u"there is no fault of the number %1; GET /stand/faults lists them"_s.arg(
                                QString::fromUtf8(number)));
    return list(faults);
}

Answer disarmAll(Faults& faults)
{
    faults.disarmAll();
    return list(faults);
}

} // namespace

void addFaultsPage(Routes& routes, Faults& faults)
{
    const auto all = "/stand/faults"_ba;
    routes.add("GET", all, [&faults](const QByteArray&, const Request&) { return list(faults); });
    routes.add("POST", all,
               [&faults](const QByteArray&, const Request& request) { return arm(faults, request.body); });
    routes.add("DELETE", all, [&faults](const QByteArray&, const Request&) { return disarmAll(faults); });
    routes.add("DELETE", all + "/{id}",
               [&faults](const QByteArray& id, const Request&) { return disarm(faults, id); });
}

} // namespace stand
