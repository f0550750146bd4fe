#include "till/scenario/shell.h"

#include "host/utils/printable.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace till {

namespace {

/// The line cut at its blanks, but not inside quotes or brackets. A backslash keeps the quote after it from
/// ending a text, as in JSON.
QStringList words(const QString& line)
{
    QStringList found;
    QString word;
    int depth = 0;
    bool quoted = false;
    for (qsizetype i = 0; i < line.size(); ++i) {
        const QChar c = line[i];
        if (quoted && c == u'\\' && i + 1 < line.size()) {
            word += c;
            word += line[++i];
            continue;
        }
        if (c == u'"')
            quoted = !quoted;
        if (!quoted && (c == u'[' || c == u'{'))
            ++depth;
        if (!quoted && (c == u']' || c == u'}'))
            --depth;
        if (!c.isSpace() || quoted || depth > 0) {
            word += c;
        } else if (!word.isEmpty()) {
            found.append(word);
            word.clear();
        }
    }
    if (!word.isEmpty())
        found.append(word);
    return found;
}

JsonNode textNode(const QString& text)
{
    return {.kind = JsonNode::Kind::Text, .line = 1, .scalar = text, .names = {}, .children = {}};
}

/// A member's value as it is typed: a text needs no quotes, so digits are a number only where one is asked
/// for.
JsonNode valueNode(const QString& typed, const StepKind* kind, const QString& member)
{
    bool isText = false;
    if (kind) {
        isText = std::any_of(kind->members.begin(), kind->members.end(), [&member](const Member& known) {
            return known.name == member && known.type == Member::Type::Text;
        });
    }
    if (isText && !typed.startsWith(u'"'))
        return textNode(typed);
    Problems ignored;
    JsonNode node = parseJson(typed.toUtf8(), ignored);
    return ignored.isEmpty() ? node : textNode(typed);
}

} // namespace

std::optional<Step> parseLine(const QString& line, Problems& problems)
{
    if (line.trimmed().startsWith(u'{')) {
        const JsonNode node = parseJson(line.toUtf8(), problems);
        return problems.isEmpty() ? readStep(node, problems) : std::nullopt;
    }
    const QStringList typed = words(line);
    JsonNode node{
        .kind = JsonNode::Kind::Object, .line = 1, .scalar = {}, .names = {u"do"_s}, .children = {}};
    node.children.push_back(textNode(typed.value(0)));
    const StepKind* kind = findStepKind(typed.value(0));
    for (const QString& word : typed.mid(1)) {
        const qsizetype sign = word.indexOf(u'=');
        const QString name = word.left(sign);
        if (sign < 1 || node.names.contains(name)) {
            problems.append({1, sign < 1 ? u"expected member=value instead of '%1'"_s.arg(word)
                                         : u"%1 is given twice"_s.arg(name)});
            return std::nullopt;
        }
        node.names.append(name);
        node.children.push_back(valueNode(word.sliced(sign + 1), kind, name));
    }
    return readStep(node, problems);
}

void Shell::run(Player& player)
{
    QString line;
    if (m_prompt)
        m_talk << u"Type a step, help, or quit.\n"_s;
    while (true) {
        if (m_prompt) {
            printAlarms();
            m_talk << u"till> "_s;
        }
        m_talk.flush();
        if (!m_in.readLineInto(&line))
            break;
        const QString trimmed = line.trimmed();
        if (trimmed == u"quit"_s)
            return;
        if (trimmed.isEmpty())
            continue;
        if (trimmed == u"help"_s) {
            printHelp();
            continue;
        }
        Problems problems;
        if (const auto step = parseLine(trimmed, problems))
            player.play(*step);
        for (const Problem& problem : problems)
            m_talk << utils::printable(problem.text) << u'\n';
    }
    if (m_prompt)
        m_talk << Qt::endl; // the terminal shows the end of the input without ending the line
}

void Shell::printAlarms()
{
    const QStringList alarms = m_alarms ? m_alarms() : QStringList();
    for (const QString& alarm : alarms) {
        if (!m_told.contains(alarm))
            m_talk << u"! "_s << utils::printable(alarm) << u'\n';
    }
    m_told = alarms;
}

void Shell::printHelp()
{
    m_talk << u"A step is its name and members:  identifyByCard card=2000000000017\n"_s
           << u"or a JSON object:  { \"do\": \"identifyByCard\", \"card\": \"2000000000017\" }\n\n"_s;
    const auto print = [this](const QString& indent, const Member& member) {
        const QString optional = member.need == Member::Need::Optional ? u", optional"_s : QString();
        m_talk << indent << member.name.leftJustified(12) << typeText(member.type) << optional << u": "_s
               << member.about << u'\n';
    };
    for (const StepKind& kind : stepKinds()) {
        m_talk << kind.name.leftJustified(18) << kind.about << u'\n';
        for (const Member& member : kind.members) {
            print(u"    "_s, member);
            for (const Member& inner : member.entry)
                print(u"        "_s, inner);
        }
    }
    m_talk << u"quit              leave\n"_s;
}

} // namespace till
