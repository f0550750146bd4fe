#pragma once

#include "stand/faults/fault.h"
#include "stand/http/http.h"

#include <QJsonArray>

#include <chrono>

namespace stand {

/// A fault that strikes a call now.
struct Strike
{
    int id = 0;
    Fault fault;
    int firing = 1; ///< The how many-th of this fault.
};

/// The faults that were set, and how often each has struck. Kept in memory only.
class Faults
{
public:
    /// Gives the number of each.
    QList<int> arm(const QList<Fault>& faults);
    bool disarm(int id); ///< Whether there was one of that number.
    void disarmAll() { m_list.clear(); }

    /// Counts this call with every fault that means it. Of several that would strike, the one set first does.
    std::optional<Strike> next(const Request& request);

    /// How long the stand must stop to listen from now on because the next call, whichever it is, is to be
    /// refused. Such a call never arrives, so it is counted here.
    std::chrono::milliseconds portClosedFor();

    /// Every fault that was set, with the calls it has seen, how often it struck, and whether it still may.
    [[nodiscard]] QJsonArray list() const;

private:
    struct Set
    {
        int id;
        Fault fault;
        int calls = 0;
        int fired = 0;

        [[nodiscard]] QJsonObject json() const;
    };
    QList<Set> m_list;
    int m_lastId = 0;
};

} // namespace stand
