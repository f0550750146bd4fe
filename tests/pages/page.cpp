#include "tests/pages/page.h"

#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>

#include <stdexcept>
#include <utility>

using namespace Qt::StringLiterals;

namespace pagetest {

namespace {

/// The reason in a comment before a block; empty when there is none.
QString notTypedIn(const QString& line)
{
    static const QRegularExpression marker(u"^ *<!-- not typed by the tests: (\\S.*) -->$"_s);
    return marker.match(line).captured(1);
}

} // namespace

bool Block::isForTests() const
{
    return notTyped.isEmpty() && (language == u"sh" || language == u"console" || language == u"text");
}

QString Block::place() const { return page + u':' + QString::number(line); }

QStringList pages()
{
    const QString root = QStringLiteral(KYR_SOURCE_DIR "/");
    static const QRegularExpression foreign(u"^(build|\\.git)/|/node_modules/"_s);
    QStringList found;
    for (QDirIterator at(root, {u"*.md"_s}, QDir::Files, QDirIterator::Subdirectories); at.hasNext();) {
        const QString page = at.next().sliced(root.size());
        if (!page.contains(foreign))
            found.append(page);
    }
    found.sort();
    return found;
}

QString contentOf(const QString& page)
{
    QFile file(QStringLiteral(KYR_SOURCE_DIR "/") + page);
    if (!file.open(QIODevice::ReadOnly))
        throw std::runtime_error("no page " + page.toStdString());
    return QString::fromUtf8(file.readAll());
}

QList<Block> blocksIn(const QString& text, const QString& page)
{
    static const QRegularExpression fence(u"^( *)```(\\w*)$"_s);
    static const QRegularExpression title(u"^#+ +(.+)$"_s);
    QList<Block> blocks;
    bool isInside = false;
    qsizetype indent = 0;
    QString heading;
    QString before;
    int number = 0;
    for (const QString& line : text.split(u'\n')) {
        ++number;
        const auto match = fence.match(line);
        if (match.hasMatch() && !isInside)
            blocks.append({page, heading, match.captured(2), notTypedIn(before), {}, number});
        else if (!match.hasMatch() && isInside)
            blocks.last().lines.append(line.sliced(qMin(indent, line.size())));
        else if (const auto is = title.match(line); is.hasMatch())
            heading = is.captured(1);
        if (match.hasMatch()) {
            isInside = !isInside;
            indent = match.capturedLength(1);
        }
        before = line;
    }
    if (isInside)
        throw std::runtime_error(page.toStdString() + " ends within a block");
    return blocks;
}

QStringList indentedIn(const QString& text, const QString& page)
{
    QStringList found;
    bool isInside = false;
    QString before;
    int number = 0;
    for (const QString& line : text.split(u'\n')) {
        ++number;
        if (line.trimmed().startsWith(u"```"_s))
            isInside = !isInside;
        else if (!isInside && before.isEmpty() && line.startsWith(u"    "_s))
            found.append(page + u':' + QString::number(number));
        before = line;
    }
    return found;
}

QList<Exchange> exchangesOf(const Block& block)
{
    const bool isConsole = block.language == u"console";
    QList<Exchange> exchanges;
    for (const QString& line : block.lines) {
        const bool isAnswer = isConsole ? !line.startsWith(u"$ "_s) : line.startsWith(u"# "_s);
        if (!isAnswer && (exchanges.isEmpty() || isConsole || !exchanges.last().answer.isEmpty()))
            exchanges.append(Exchange{});
        if (exchanges.isEmpty())
            throw std::runtime_error(block.place().toStdString() + " begins with an answer");
        if (isAnswer)
            exchanges.last().answer.append(isConsole ? line : line.sliced(2));
        else
            exchanges.last().commands.append(isConsole ? line.sliced(2) : line);
    }
    return exchanges;
}

QStringList comparable(const QString& text)
{
    static const QList<std::pair<QRegularExpression, QString>> rooms{
        {QRegularExpression(u"\\d{4}-\\d\\d-\\d\\dT[\\d:.]+Z"_s), u"TIME"_s},
        {QRegularExpression(u"\\b20\\d\\d-\\d\\d-\\d\\d\\b"_s), u"DAY"_s},
        {QRegularExpression(u"\\d{8}T\\d{6}Z"_s), u"TIME"_s},
        {QRegularExpression(u"\\d+ MiB"_s), u"N MiB"_s},
        {QRegularExpression(u" in \\d+ ms\\b"_s), u""_s}, // left out when it is 0
        {QRegularExpression(u"\\d+ ms\\b"_s), u"N ms"_s},
        {QRegularExpression(u"\\d+ s (ahead|behind)"_s), u"N s \\1"_s},
        {QRegularExpression(u"port \\d+"_s), u"port N"_s},
        {QRegularExpression(u"Qt 6[.\\d]+"_s), u"Qt 6.N"_s},
        {QRegularExpression(u"PostgreSQL \\d+[.\\d]*"_s), u"PostgreSQL N"_s},
        {QRegularExpression(u"/\\S+/libKYRLoyalty\\.so"_s), u"libKYRLoyalty.so"_s},
        {QRegularExpression(u"till\\.sqlite\\.unfinished-\\w{6} "_s), u"till.sqlite.unfinished-XXXXXX "_s},
        {QRegularExpression(u"Could not connect"_s), u"Couldn't connect"_s}, // newer versions of curl
    };
    QString same = text;
    for (const auto& [what, room] : rooms)
        same.replace(what, room);
    QStringList lines;
    for (const QString& line : same.split(u'\n')) {
        if (!line.trimmed().isEmpty())
            lines.append(line);
    }
    return lines;
}

} // namespace pagetest
