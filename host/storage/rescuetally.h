#pragma once

#include "host/storage/rescue.h"

#include <QMap>

#include <utility>

namespace storage {

/// What a rescue has come to so far.
class RescueTally
{
public:
    enum class Fate { Taken, There, Lost };

    void count(const QString& table, Fate fate)
    {
        RescuedTable& counts = m_tables[table];
        counts.table = table;
        ++(fate == Fate::Taken ? counts.taken : fate == Fate::There ? counts.there : counts.lost);
    }
    void lose(const LostRow& row)
    {
        if (!row.table.isEmpty())
            count(row.table, Fate::Lost);
        m_lost.append(row);
    }
    [[nodiscard]] bool hasLost(const QString& table, const QString& key) const
    {
        return std::any_of(m_lost.cbegin(), m_lost.cend(),
                           [&](const LostRow& row) { return row.table == table && row.key == key; });
    }
    [[nodiscard]] const QMap<QString, RescuedTable>& tables() const { return m_tables; }
    [[nodiscard]] const QList<LostRow>& lost() const { return m_lost; }

private:
    QMap<QString, RescuedTable> m_tables;
    QList<LostRow> m_lost;
};

} // namespace storage
