#include "till/scenario/trace.h"

#include "host/utils/printable.h"

#include <QTextStream>

using namespace Qt::StringLiterals;

namespace till {

Trace::Trace(LogLevel least)
    : m_feed(least, [this](const TraceEntry& entry) {
        const std::lock_guard lock(m_mutex);
        m_entries.append(entry);
    })
{}

Trace::~Trace()
{
    QTextStream err(stderr);
    for (const TraceEntry& entry : take()) {
        if (entry.level >= LogLevel::Warning)
            err << u"till: %1: %2: %3\n"_s.arg(entry.source, levelText(entry.level),
                                               utils::printableLines(entry.lines.join(u'\n'), u"    "_s));
    }
}

QList<TraceEntry> Trace::take()
{
    const std::lock_guard lock(m_mutex);
    return std::exchange(m_entries, {});
}

} // namespace till
