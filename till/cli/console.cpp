#include "till/cli/console.h"

#include "host/utils/printable.h"
#include "till/cli/terminal.h"
#include "till/cli/texttable.h"

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace till {

Console::Console(bool json)
    : m_out(stdout)
    , m_err(stderr)
    , m_json(json)
    , m_colours(wantsColours())
    , m_terminal(isatty(STDERR_FILENO) == 1)
{}

Console::~Console() { clearProgress(); }

void Console::line(const QString& text, Colour colour)
{
    if (m_json)
        return;
    clearProgress();
    const QString clean = utils::printable(text);
    if (m_colours && colour != Colour::None)
        m_out << u"\x1b[%1m%2\x1b[0m"_s.arg(QString::number(static_cast<int>(colour)), clean);
    else
        m_out << clean;
    m_out << Qt::endl;
}

void Console::table(const QStringList& heading, const QList<QStringList>& rows, const QSet<qsizetype>& right)
{
    const QStringList lines = aligned(QList<QStringList>{heading} + rows, right);
    line(lines.first(), Colour::Bold);
    for (const QString& text : lines.sliced(1))
        line(text);
}

void Console::value(const QJsonDocument& document)
{
    if (m_json)
        m_out << utils::printableJson(document.toJson(QJsonDocument::Compact)) << Qt::endl;
}

void Console::progress(const QString& text)
{
    if (m_terminal)
        m_err << u"\r\x1b[K"_s << utils::printable(text) << Qt::flush;
    else
        m_err << utils::printable(text) << Qt::endl;
    m_progressing = m_terminal;
}

void Console::clearProgress()
{
    if (m_progressing)
        m_err << u"\r\x1b[K"_s << Qt::flush;
    m_progressing = false;
}

bool Console::canAsk() { return isatty(STDIN_FILENO) == 1 && isatty(STDERR_FILENO) == 1; }

bool Console::confirmed(const QString& question)
{
    clearProgress();
    m_err << utils::printable(question) << u" [y/N] "_s << Qt::flush;
    QTextStream in(stdin);
    const QString answer = in.readLine().trimmed().toLower();
    return answer == u"y"_s || answer == u"yes"_s;
}

} // namespace till
