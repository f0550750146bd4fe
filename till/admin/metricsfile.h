#pragma once

#include "till/audit/metrics.h"

#include <QList>
#include <QString>

#include <functional>

namespace till {

/// A file of metrics for a collector, such as node_exporter's, which everybody may read. It is replaced as a
/// whole, so that nobody ever reads half of it.
class MetricsFile
{
public:
    /// An empty name is no file. `take` takes what is written.
    MetricsFile(QString name, std::function<QList<Metric>()> take);
    /// The next write() goes there; the former stays as it is.
    void setName(const QString& name) { m_name = name; }
    [[nodiscard]] bool isNamed() const { return !m_name.isEmpty(); }

    /// Takes the measures and writes them. What keeps it from that is told in the log, once until it works
    /// again.
    void write();

private:
    QString m_name;
    std::function<QList<Metric>()> m_take;
    bool m_failed = false;
};

} // namespace till
