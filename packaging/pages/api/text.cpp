#include "packaging/pages/api/text.h"

#include <md4c-html.h>
#include <yaml-cpp/yaml.h>

#include <regex>
#include <stdexcept>

namespace api {

namespace {

/// What is not quoted may be a number or one of JSON's words.
bool isText(const YAML::Node& scalar)
{
    static const std::regex word("null|true|false|-?(0|[1-9][0-9]*)(\\.[0-9]+)?");
    return scalar.Tag() == "!" || !std::regex_match(scalar.Scalar(), word);
}

std::string quoted(const std::string& text)
{
    std::string result = "\"";
    for (const char c : text) {
        if (c == '\n')
            result += "\\n";
        else if (c == '"' || c == '\\')
            result += {'\\', c};
        else
            result += c;
    }
    return result + '"';
}

void write(std::string& to, const YAML::Node& value, const std::string& line)
{
    if (value.IsNull()) {
        to += "null";
    } else if (value.IsScalar()) {
        to += isText(value) ? quoted(value.Scalar()) : value.Scalar();
    } else if (value.size() == 0) {
        to += value.IsMap() ? "{}" : "[]";
    } else {
        const auto inner = line.empty() ? line : line + "  ";
        to += value.IsMap() ? '{' : '[';
        const char* comma = "";
        for (const auto& member : value) {
            to += comma + inner;
            if (value.IsMap())
                to += quoted(member.first.Scalar()) + ": ";
            write(to, value.IsMap() ? member.second : member, inner);
            comma = line.empty() ? ", " : ",";
        }
        to += line;
        to += value.IsMap() ? '}' : ']';
    }
}

} // namespace

std::string escaped(std::string_view text)
{
    std::string result;
    for (const char c : text) {
        switch (c) {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        case '>':
            result += "&gt;";
            break;
        case '"':
            result += "&quot;";
            break;
        default:
            result += c;
        }
    }
    return result;
}

std::string markdown(const std::string& text)
{
    std::string result;
    const auto append = [](const MD_CHAR* part, MD_SIZE size, void* to) {
        static_cast<std::string*>(to)->append(part, size);
    };
    if (md_html(text.data(), static_cast<MD_SIZE>(text.size()), append, &result, MD_FLAG_NOHTML, 0) != 0)
        throw std::runtime_error("This is no Markdown: " + text);
    return result;
}

std::string inlineMarkdown(const std::string& text)
{
    static const std::regex paragraph("^<p>([^]*?)</p>\\s*$");
    return std::regex_replace(markdown(text), paragraph, "$1");
}

std::string json(const YAML::Node& value, bool inOneLine)
{
    std::string text;
    write(text, value, inOneLine ? "" : "\n");
    return text;
}

} // namespace api
