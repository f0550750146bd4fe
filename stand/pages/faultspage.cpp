#include "stand/pages/faultspage.h"

#include "stand/faults/faults.h"
#include "stand/http/answers.h"

using namespace Qt::StringLiterals;

namespace stand {

namespace {

const auto root = "/stand/faults"_ba;

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

} // namespace

bool isFaultsPage(const QByteArray& path) { return path == root || path.startsWith(root + '/'); }

Answer faultsPage(Faults& faults, const Request& request)
{
    if (request.path != root) {
        return request.method == "DELETE" ? disarm(faults, request.path.sliced(root.size() + 1))
                                          : wrongMethod(request.method, "DELETE");
    }
    if (request.method == "GET")
        return list(faults);
    if (request.method == "POST")
        return arm(faults, request.body);
    if (request.method != "DELETE")
        return wrongMethod(request.method, "GET, POST, DELETE");
    faults.disarmAll();
    return list(faults);
}

} // namespace stand
