#include "till/audit/livetrace.h"

#include "host/utils/printable.h"

#include <QTextStream>

namespace till {

LiveTrace::LiveTrace(LogLevel least, std::FILE* out)
    : m_feed(least, [out](const TraceEntry& entry) {
        QString text;
        for (const QString& line : headedLinesWithReceipt(entry))
            text += utils::printable(line) + u'\n';
        QTextStream(out) << text; // at once, so that another thread's does not get in between
    })
{}

} // namespace till
