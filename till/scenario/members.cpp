#include "till/scenario/members.h"

#include "till/cli/suggestion.h"

using namespace Qt::StringLiterals;

namespace till {

namespace {

bool matches(const JsonNode& node, Member::Type type)
{
    switch (type) {
    case Member::Type::Text:
        return node.kind == JsonNode::Kind::Text;
    case Member::Type::Number:
        return node.kind == JsonNode::Kind::Number;
    case Member::Type::Integer:
        return node.kind == JsonNode::Kind::Number && node.scalar.metaType() == QMetaType::fromType<int>();
    case Member::Type::Flag:
        return node.kind == JsonNode::Kind::Boolean;
    case Member::Type::List:
        return node.kind == JsonNode::Kind::List;
    }
    return false;
}

/// How the type is written in JSON.
QString written(Member::Type type)
{
    return type == Member::Type::Text ? u"a text in quotes"_s : typeText(type);
}

QVariant value(const JsonNode& node, const Member& member, const QString& owner, Problems& problems)
{
    const QString name = owner + u": "_s + member.name;
    if (!matches(node, member.type)) {
        problems.append({node.line, u"%1: expected %2"_s.arg(name, written(member.type))});
        return {};
    }
    if (member.type == Member::Type::Number)
        return node.scalar.toDouble();
    if (member.type != Member::Type::List)
        return node.scalar;

    QVariantList list;
    for (const JsonNode& entry : node.children) {
        if (entry.kind == JsonNode::Kind::Object)
            list.append(readMembers(entry, member.entry, name, problems));
        else
            problems.append({entry.line, u"%1: expected an object in the list"_s.arg(name)});
    }
    return list;
}

} // namespace

QVariantMap readMembers(const JsonNode& object, const QList<Member>& members, const QString& owner,
                        Problems& problems)
{
    QVariantMap values;
    QStringList known;
    for (const Member& member : members) {
        known.append(member.name);
        if (const JsonNode* node = object.member(member.name))
            values.insert(member.name, value(*node, member, owner, problems));
        else if (member.need == Member::Need::Required)
            problems.append({object.line, u"%1: %2 is missing: expected %3 (%4)"_s.arg(
                                              owner, member.name, written(member.type), member.about)});
    }
    for (qsizetype i = 0; i < object.names.size(); ++i) {
        const QString& name = object.names[i];
        if (!known.contains(name))
            problems.append({object.children[static_cast<std::size_t>(i)].line,
                             u"%1: unknown member \"%2\"%3"_s.arg(owner, name, suggestion(name, known))});
    }
    return values;
}

QString typeText(Member::Type type)
{
    switch (type) {
    case Member::Type::Text:
        return u"a text"_s;
    case Member::Type::Number:
        return u"a number"_s;
    case Member::Type::Integer:
        return u"a whole number"_s;
    case Member::Type::Flag:
        return u"true or false"_s;
    case Member::Type::List:
        return u"a list of objects"_s;
    }
    return {};
}

} // namespace till
