#include "till/audit/tracefeed.h"

#include "till/audit/exchangetext.h"

using namespace Qt::StringLiterals;

namespace till {

namespace {

QString headingOf(const TraceEntry& entry)
{
    const QString heading = entry.source.isEmpty() ? u"http   "_s : levelText(entry.level).leftJustified(7);
    const bool isNamed = !entry.source.isEmpty() && entry.source != u"kyrloyalty"_s;
    return isNamed ? heading + u" ["_s + entry.source + u']' : heading;
}

QStringList headed(const TraceEntry& entry, QString heading)
{
    QStringList lines;
    for (const QString& line : entry.lines) {
        lines.append(heading + u"  "_s + line);
        heading.fill(u' ');
    }
    return lines;
}

} // namespace

QStringList headedLines(const TraceEntry& entry) { return headed(entry, headingOf(entry)); }

QStringList headedLinesWithReceipt(const TraceEntry& entry)
{
    const QString receipt = entry.receipt.isEmpty() ? QString() : u" [%1]"_s.arg(entry.receipt);
    return headed(entry, headingOf(entry) + receipt);
}

TraceFeed::TraceFeed(LogLevel least, std::function<void(const TraceEntry&)> hear)
    : m_log([least, hear](const LogLine& line) {
        // The network's debug lines tell less of an exchange than is shown of it anyway.
        if (line.level >= least && (line.level != LogLevel::Debug || line.logger != u"network"_s))
            hear({line.level, line.logger, line.text.split(u'\n'), line.receipt});
    })
{
    if (least == LogLevel::Debug)
        m_exchanges = RestClient::observe([hear = std::move(hear)](const RestExchange& exchange) {
            hear({LogLevel::Debug, {}, redacted(exchange)});
        });
}

} // namespace till
