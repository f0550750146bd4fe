#include "packaging/pages/api/schema.h"

#include "packaging/pages/api/text.h"

#include <yaml-cpp/yaml.h>

#include <algorithm>
#include <array>

namespace api {

namespace {

std::string code(const std::string& text) { return "<code>" + escaped(text) + "</code>"; }

std::string link(const std::string& reference)
{
    const auto name = escaped(reference.substr(reference.rfind('/') + 1));
    return "<a href=\"#schema-" + name + "\">" + name + "</a>";
}

/// Each element by `one`, with `between` in between.
template <typename One>
std::string joined(const YAML::Node& list, const char* between, One one)
{
    std::string text;
    for (const auto& element : list)
        text += (text.empty() ? "" : between) + one(element);
    return text;
}

std::string typeOf(const YAML::Node& schema)
{
    const auto value = [](const YAML::Node& node) { return code(json(node, true)); };
    if (const auto reference = schema["$ref"])
        return link(reference.Scalar());
    if (const auto only = schema["const"])
        return value(only);
    if (const auto any = schema["enum"])
        return "one of " + joined(any, " ", value);
    if (const auto any = schema["oneOf"]; any && !schema["type"])
        return joined(any, " or ", kindOf);
    const auto type = schema["type"] ? schema["type"].Scalar() : "";
    if (type == "array")
        return schema["items"] ? "list of " + kindOf(schema["items"]) : "list";
    if (const auto others = schema["additionalProperties"]; others && others.IsMap())
        return "object, each member " + kindOf(others);
    return type == "string" ? "text" : type;
}

std::string limitsOf(const YAML::Node& schema)
{
    struct Limit
    {
        const char* name;
        const char* words;
    };
    static constexpr std::array limits = {Limit{"format", "form "},
                                          Limit{"pattern", "like "},
                                          Limit{"minimum", "from "},
                                          Limit{"maximum", "to "},
                                          Limit{"minLength", "length at least "},
                                          Limit{"minItems", "elements at least "},
                                          Limit{"minProperties", "members at least "}};
    std::string text;
    for (const auto& [name, words] : limits) {
        if (const auto limit = schema[name])
            text += ", " + (words + code(limit.Scalar()));
    }
    if (const auto content = schema["contentSchema"])
        text += " that holds JSON: " + kindOf(content);
    return text;
}

bool isRequired(const YAML::Node& object, const std::string& name)
{
    const auto required = object["required"];
    return required && std::any_of(required.begin(), required.end(),
                                   [&name](const YAML::Node& one) { return one.Scalar() == name; });
}

/// The members of an object, or of the objects in a list; a schema of its own is only linked.
void addRows(std::string& rows, const YAML::Node& schema, const std::string& place)
{
    if (const auto items = schema["items"])
        addRows(rows, items, place + "[]");
    for (const auto& part : schema["oneOf"])
        addRows(rows, part, place);
    for (const auto& member : schema["properties"]) {
        const auto name = member.first.Scalar();
        const auto path = place + (place.empty() ? "" : ".") + name;
        const auto description = member.second["description"];
        rows += "<tr><td>" + code(path);
        rows += isRequired(schema, name) ? "" : " <span class=\"quiet\">optional</span>";
        rows += "</td><td>" + kindOf(member.second) + "</td><td>";
        rows += description ? markdown(description.Scalar()) : "";
        rows += "</td></tr>\n";
        addRows(rows, member.second, path);
    }
}

} // namespace

std::string kindOf(const YAML::Node& schema) { return typeOf(schema) + limitsOf(schema); }

std::string inFull(const YAML::Node& schema)
{
    std::string text;
    if (const auto description = schema["description"])
        text += markdown(description.Scalar());
    std::string rows;
    addRows(rows, schema, "");
    if (const auto all = schema["allOf"])
        text += "<p>All of " + joined(all, ", ", kindOf) + ", where:</p>\n";
    else
        text += "<p class=\"kind\">" + kindOf(schema) + "</p>\n";
    if (!rows.empty())
        text += "<table><thead><tr><th>Member</th><th>Value</th><th></th></tr></thead><tbody>\n" + rows +
                "</tbody></table>\n";
    return text;
}

} // namespace api
