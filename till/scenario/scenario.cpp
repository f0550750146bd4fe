#include "till/scenario/scenario.h"

#include "till/cli/suggestion.h"
#include "till/cli/usageerror.h"
#include "till/setup/settingkeys.h"

#include <QFile>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace till {

namespace {

/// What every step may carry, whatever it does.
QList<Member> commonMembers()
{
    return {{u"do"_s, Member::Type::Text, Member::Need::Required, u"the step's name"_s},
            {u"mayFail"_s, Member::Type::Flag, Member::Need::Optional,
             u"a failure is expected to be possible"_s}};
}

void readConfig(const JsonNode& node, Config& config, Problems& problems)
{
    if (node.kind != JsonNode::Kind::Object) {
        problems.append({node.line, u"config: expected an object of configuration keys and values"_s});
        return;
    }
    for (qsizetype i = 0; i < node.names.size(); ++i) {
        const JsonNode& value = node.children[static_cast<std::size_t>(i)];
        try {
            config.set(node.names[i], value.scalar);
            if (const auto fault = faultOfValue(node.names[i], value.scalar))
                problems.append({value.line, u"%1: %2"_s.arg(node.names[i], fault->toString())});
        } catch (const ConfigError& error) {
            problems.append({value.line, QString::fromUtf8(error.what())});
        }
    }
}

QList<Step> readSteps(const JsonNode& node, Problems& problems)
{
    QList<Step> steps;
    if (node.kind != JsonNode::Kind::List) {
        problems.append({node.line, u"steps: expected a list of steps"_s});
        return steps;
    }
    for (const JsonNode& entry : node.children) {
        if (const auto step = readStep(entry, problems))
            steps.append(*step);
    }
    return steps;
}

void readTop(const JsonNode& root, Scenario& scenario, Problems& problems)
{
    if (root.kind != JsonNode::Kind::Object) {
        problems.append({root.line, u"expected an object with \"name\", \"config\" and \"steps\""_s});
        return;
    }
    const QStringList known{u"name"_s, u"config"_s, u"steps"_s};
    for (qsizetype i = 0; i < root.names.size(); ++i) {
        const JsonNode& value = root.children[static_cast<std::size_t>(i)];
        const QString& name = root.names[i];
        if (name == u"config"_s)
            readConfig(value, scenario.config, problems);
        else if (name == u"steps"_s)
            scenario.steps = readSteps(value, problems);
        else if (name != u"name"_s)
            problems.append({value.line, u"unknown member \"%1\"%2"_s.arg(name, suggestion(name, known))});
        else if (value.kind == JsonNode::Kind::Text)
            scenario.name = value.scalar.toString();
        else
            problems.append({value.line, u"name: expected a text in quotes"_s});
    }
    if (!root.member(u"steps"_s))
        problems.append({root.line, u"steps is missing: expected a list of steps"_s});
}

} // namespace

Scenario readScenario(const QString& fileName, const Config& config)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        throw UsageError(u"%1: cannot be read: %2"_s.arg(fileName, file.errorString()));
    QByteArray text = file.readAll();
    if (file.error() != QFile::NoError)
        throw UsageError(u"%1: cannot be read: %2"_s.arg(fileName, file.errorString()));
    if (text.startsWith("\xEF\xBB\xBF")) // a byte order mark, as some editors leave it
        text.remove(0, 3);

    Problems problems;
    Scenario scenario{.fileName = fileName, .name = fileName, .config = config, .steps = {}};
    const JsonNode root = parseJson(text, problems);
    if (problems.isEmpty())
        readTop(root, scenario, problems);
    if (problems.isEmpty())
        return scenario;

    std::stable_sort(problems.begin(), problems.end(),
                     [](const Problem& a, const Problem& b) { return a.line < b.line; });
    QStringList lines;
    for (const Problem& problem : problems)
        lines.append(u"%1:%2: %3"_s.arg(fileName, QString::number(problem.line), problem.text));
    throw UsageError(lines.join(u'\n'));
}

std::optional<Step> readStep(const JsonNode& node, Problems& problems)
{
    const JsonNode* name = node.member(u"do"_s);
    if (!name || name->kind != JsonNode::Kind::Text) {
        problems.append({name ? name->line : node.line,
                         u"expected a step: an object whose member \"do\" is a step's name in quotes"_s});
        return std::nullopt;
    }
    const QString wanted = name->scalar.toString();
    const StepKind* kind = findStepKind(wanted);
    if (!kind && !wanted.isEmpty() && wanted.front().isDigit()) { // what was typed may be somebody's code
        problems.append({name->line, u"a number is no step; a code is typed where one is asked for"_s});
        return std::nullopt;
    }
    if (!kind) {
        QStringList known;
        for (const StepKind& candidate : stepKinds())
            known.append(candidate.name);
        problems.append({name->line, u"unknown step \"%1\"%2"_s.arg(wanted, suggestion(wanted, known))});
        return std::nullopt;
    }
    const qsizetype before = problems.size();
    Step step{.kind = kind,
              .members = readMembers(node, kind->members + commonMembers(), kind->name, problems)};
    step.mayFail = step.members.take(u"mayFail"_s).toBool();
    step.members.remove(u"do"_s);
    if (problems.size() > before)
        return std::nullopt;
    return step;
}

} // namespace till
