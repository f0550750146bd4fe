#include "till/scenario/trace.h"

#include "host/utils/printable.h"
#include "till/audit/exchangetext.h"

#include <QTextStream>

using namespace Qt::StringLiterals;

namespace till {

QStringList headedLines(const TraceEntry& entry)
{
    QString heading = entry.source.isEmpty() ? u"http   "_s : levelText(entry.level).leftJustified(7);
    if (!entry.source.isEmpty() && entry.source != u"kyrloyalty"_s)
        heading += u" ["_s + entry.source + u']';
    QStringList lines;
    for (const QString& line : entry.lines) {
        lines.append(heading + u"  "_s + line);
        heading.fill(u' ');
    }
    return lines;
}

Trace::Trace(LogLevel least)
    : m_least(least)
    , m_log([this](const LogLine& line) { add(line); })
{
    if (least == LogLevel::Debug)
        RestClient::setObserver([this](const RestExchange& exchange) { add(exchange); });
}

Trace::~Trace()
{
    RestClient::setObserver({});
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

void Trace::add(const LogLine& line)
{
    // The network's debug lines tell less of an exchange than is shown of it anyway.
    if (line.level < m_least || (line.level == LogLevel::Debug && line.logger == u"network"_s))
        return;
    const std::lock_guard lock(m_mutex);
    m_entries.append({line.level, line.logger, line.text.split(u'\n')});
}

void Trace::add(const RestExchange& exchange)
{
    const std::lock_guard lock(m_mutex);
    m_entries.append({LogLevel::Debug, {}, redacted(exchange)});
}

} // namespace till
