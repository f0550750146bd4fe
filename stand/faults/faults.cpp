#include "stand/faults/faults.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace stand {

QList<int> Faults::arm(const QList<Fault>& faults)
{
    QList<int> ids;
    for (const auto& fault : faults) {
        m_list.append({++m_lastId, fault});
        ids.append(m_lastId);
    }
    return ids;
}

bool Faults::disarm(int id)
{
    return m_list.removeIf([id](const Set& set) { return set.id == id; }) > 0;
}

std::optional<Strike> Faults::next(const Request& request)
{
    std::optional<Strike> strike;
    for (auto& set : m_list) {
        if (!set.fault.where.matches(request.method, request.path))
            continue;
        ++set.calls;
        if (!strike && set.fault.strikes(set.calls, set.fired))
            strike = Strike{set.id, set.fault, ++set.fired};
    }
    return strike;
}

std::chrono::milliseconds Faults::portClosedFor()
{
    std::chrono::milliseconds duration{0};
    for (auto& set : m_list) {
        const bool isForAll = set.fault.kind == FaultKind::Refuse && set.fault.where.isAny();
        while (isForAll && set.fault.strikes(set.calls + 1, set.fired)) {
            ++set.calls;
            ++set.fired;
            duration += std::chrono::milliseconds(set.fault.number("ms"));
        }
    }
    return duration;
}

QJsonArray Faults::list() const
{
    QJsonArray list;
    for (const auto& set : m_list)
        list.append(set.json());
    return list;
}

QJsonObject Faults::Set::json() const
{
    auto object = fault.json();
    object.insert(u"id"_s, id);
    object.insert(u"calls"_s, calls);
    object.insert(u"fired"_s, fired);
    object.insert(u"armed"_s, !fault.count || fired < *fault.count);
    return object;
}

} // namespace stand
