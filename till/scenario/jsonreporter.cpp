#include "host/utils/printable.h"
#include "till/scenario/reporter.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdint>

using namespace Qt::StringLiterals;

namespace till {

namespace {

// An object of Qt's would come out in the order of the alphabet.
QString member(const QString& name, const QJsonValue& value)
{
    const QByteArray list = QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
    return u"\"%1\":"_s.arg(name) + utils::printableJson(list.sliced(1, list.size() - 2));
}

QJsonArray sums(const QList<DocumentImpact::PositionSum>& impacts)
{
    QJsonArray list;
    for (const auto& [position, sum] : impacts)
        list.append(QJsonObject{{u"position"_s, position}, {u"sum"_s, sum}});
    return list;
}

} // namespace

Reporter::~Reporter() = default;

void JsonReporter::begin(const QString& /*name*/, const QString& /*fileName*/) {}

void JsonReporter::preparations(const QList<TraceEntry>& trace)
{
    print(trace, m_verbose ? LogLevel::Debug : LogLevel::Warning);
}

void JsonReporter::print(const QList<TraceEntry>& trace, LogLevel least)
{
    for (const TraceEntry& entry : trace) {
        if (entry.level >= least)
            m_err << utils::printableLines(headedLines(entry).join(u'\n')) << u'\n';
    }
    m_err.flush();
}

void JsonReporter::step(const StepReport& report)
{
    const QStringList members{
        member(u"step"_s, report.number),
        member(u"do"_s, report.name),
        member(u"ok"_s, report.outcome.ok),
        member(u"value"_s, QJsonValue::fromVariant(report.outcome.value)),
        member(u"error"_s, report.outcome.error),
        member(u"points"_s, report.points),
        member(u"balance"_s, QJsonValue::fromVariant(report.balance)),
        member(u"impacts"_s, sums(report.impacts)),
        member(u"queued"_s, report.queued ? QJsonValue(*report.queued) : QJsonValue()),
        member(u"unknown"_s, report.unknown ? QJsonValue(*report.unknown) : QJsonValue()),
    };
    if (m_verbose)
        print(report.trace, LogLevel::Debug);
    m_out << u'{' << members.join(u',') << u"}\n"_s << Qt::flush;
}

void JsonReporter::end(const Summary& summary, const Tally& tally)
{
    const auto points = [](std::int64_t hundredths) { return static_cast<double>(hundredths) / 100; };
    const QJsonValue differences =
        summary.differences ? QJsonValue(QJsonArray::fromStringList(*summary.differences)) : QJsonValue();
    const QStringList members{
        member(u"file"_s, summary.fileName),
        member(u"steps"_s, tally.steps),
        member(u"failed"_s, tally.failed),
        member(u"allowed"_s, tally.allowed),
        member(u"receipts"_s, summary.receipts),
        member(u"spent"_s, points(summary.spent)),
        member(u"earned"_s, points(summary.earned)),
        member(u"queued"_s, summary.queued),
        member(u"delivered"_s, summary.delivered),
        member(u"waiting"_s, summary.waiting),
        member(u"parked"_s, summary.parked),
        member(u"differences"_s, differences),
        member(u"alarms"_s, QJsonArray::fromStringList(summary.alarms)),
    };
    m_out << u"{\"summary\":{"_s << members.join(u',') << u"}}\n"_s << Qt::flush;
}

void JsonReporter::total(const QList<Summary>& /*summaries*/) {}

} // namespace till
