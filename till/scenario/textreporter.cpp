#include "till/scenario/reporter.h"

#include "host/utils/printable.h"
#include "till/audit/summarytable.h"
#include "till/checkout/screen.h"
#include "till/cli/terminal.h"

using namespace Qt::StringLiterals;

namespace till {

namespace {

const QString cashierIndent = u"     "_s;
const QString administratorIndent = u"          "_s;

} // namespace

QString TextReporter::painted(const QString& text, Colour colour) const
{
    const QString clean = utils::printable(text);
    return m_colours ? u"\x1b[%1m%2\x1b[0m"_s.arg(QString::number(static_cast<int>(colour)), clean) : clean;
}

void TextReporter::begin(const QString& name, const QString& fileName)
{
    m_out << painted(name, Colour::Bold);
    if (name != fileName)
        m_out << u"  "_s << painted(fileName, Colour::Dim);
    m_out << u"\n\n"_s << Qt::flush;
}

void TextReporter::preparations(const QList<TraceEntry>& trace)
{
    printTrace(trace);
    if (!trace.isEmpty())
        m_out << u'\n';
    m_out.flush();
}

void TextReporter::step(const StepReport& report)
{
    const Outcome& outcome = report.outcome;
    const Colour failure = report.mayFail ? Colour::Yellow : Colour::Red;
    m_out << (outcome.ok ? painted(u"✓"_s, Colour::Green) : painted(u"✗"_s, failure))
          << QString::number(report.number).rightJustified(3) << u' ' << painted(report.name, Colour::Bold);
    if (!outcome.ok && report.mayFail)
        m_out << painted(u"  may fail"_s, Colour::Dim);
    m_out << u'\n';

    for (const ShownDialog& dialog : report.dialogs)
        printDialog(dialog);
    for (const QString& line : outcome.screen)
        m_out << cashierIndent << utils::printable(line) << u'\n';
    if (!outcome.ok) {
        for (const QString& line : outcome.error.split(u'\n'))
            m_out << cashierIndent << painted(line, failure) << u'\n';
    }
    printTrace(report.trace);
    m_out << u'\n' << Qt::flush;
}

void TextReporter::end(const Summary& summary, const Tally& tally)
{
    const QString& fileName = summary.fileName;
    QString line = u"%1: %2 %3, %4 failed"_s.arg(fileName, QString::number(tally.steps),
                                                 tally.steps == 1 ? u"step"_s : u"steps"_s,
                                                 QString::number(tally.failed));
    if (tally.allowed > 0)
        line += tally.allowed == tally.failed ? u" as allowed"_s
                                              : u", %1 of them as allowed"_s.arg(tally.allowed);
    m_out << painted(line, tally.failed > tally.allowed ? Colour::Red : Colour::Green) << u'\n';
    for (const QString& alarm : summary.alarms)
        m_out << painted(alarm, Colour::Yellow) << u'\n';
    if (summary.differences) {
        for (const QString& difference : *summary.differences)
            m_out << painted(u"ledger differs: "_s + difference, Colour::Red) << u'\n';
    }
    m_out << Qt::endl;
}

void TextReporter::total(const QList<Summary>& summaries)
{
    const QStringList lines = summaryTable(summaries);
    for (qsizetype i = 0; i < lines.size(); ++i) {
        const bool differs = i > 0 && i <= summaries.size() && ledgerText(summaries[i - 1]) == u"differs"_s;
        const bool framing = i == 0 || i + 1 == lines.size();
        m_out << (differs   ? painted(lines[i], Colour::Red)
                  : framing ? painted(lines[i], Colour::Bold)
                            : utils::printable(lines[i]))
              << u'\n';
    }
    m_out.flush();
}

void TextReporter::printDialog(const ShownDialog& dialog)
{
    m_out << cashierIndent << u'[' << utils::printable(dialog.title) << u"]\n"_s;
    for (qsizetype i = 0; i < dialog.items.size(); ++i) {
        const QString mark = i == dialog.chosen ? u"▸"_s : u" "_s;
        m_out << cashierIndent << mark << u' ' << i + 1 << u". "_s << utils::printable(dialog.items[i])
              << u'\n';
    }
    if (!dialog.outcome.isEmpty())
        m_out << cashierIndent << utils::printable(dialog.outcome) << u'\n';
}

void TextReporter::printTrace(const QList<TraceEntry>& trace)
{
    for (const TraceEntry& entry : trace) {
        const Colour colour = entry.level == LogLevel::Error     ? Colour::Red
                              : entry.level == LogLevel::Warning ? Colour::Yellow
                                                                 : Colour::Dim;
        for (const QString& line : headedLines(entry))
            m_out << administratorIndent << painted(line, colour) << u'\n';
    }
}

} // namespace till
