#include "host/utils/printable.h"
#include "till/conformance/report.h"

#include <QXmlStreamWriter>

using namespace Qt::StringLiterals;

namespace till::conformance {

namespace {

/// XML has no way to write most controls, and a service may say anything.
QString clean(const QString& text) { return utils::printableLines(text); }

void write(QXmlStreamWriter& xml, const Row& row)
{
    xml.writeStartElement(u"testcase"_s);
    xml.writeAttribute(u"classname"_s, u"conformance"_s);
    xml.writeAttribute(u"name"_s, u"%1: %2"_s.arg(row.promise->id, row.promise->sentence));
    if (row.verdict == Verdict::Differs) {
        xml.writeStartElement(u"failure"_s);
        xml.writeAttribute(u"message"_s, clean(row.finding));
        xml.writeCharacters(row.promise->meaning);
        xml.writeEndElement();
    } else if (row.verdict == Verdict::Open) {
        xml.writeStartElement(u"skipped"_s);
        xml.writeAttribute(u"message"_s, clean(row.finding));
        xml.writeEndElement();
    }
    xml.writeTextElement(u"system-out"_s, clean(row.exchanges.join(u'\n')));
    xml.writeEndElement();
}

} // namespace

QByteArray junit(const Report& report)
{
    QByteArray text;
    QXmlStreamWriter xml(&text);
    xml.setAutoFormatting(true);
    xml.writeStartDocument();
    xml.writeStartElement(u"testsuite"_s);
    xml.writeAttribute(u"name"_s, u"till conformance"_s);
    xml.writeAttribute(u"tests"_s, QString::number(report.rows.size()));
    xml.writeAttribute(u"failures"_s, QString::number(report.count(Verdict::Differs)));
    xml.writeAttribute(u"skipped"_s, QString::number(report.count(Verdict::Open)));
    for (const Row& row : report.rows)
        write(xml, row);
    QStringList left;
    for (const Leftover& one : report.leftovers)
        left.append(u"Not given back: %1 %2"_s.arg(one.operation, one.receipt));
    xml.writeTextElement(u"system-err"_s, clean(left.join(u'\n')));
    xml.writeEndDocument();
    return text;
}

} // namespace till::conformance
