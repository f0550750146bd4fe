// Prints the page for people that an OpenAPI file makes; it needs no script and nothing from elsewhere.
//   api_page OPENAPI
#include "packaging/pages/api/schema.h"
#include "packaging/pages/api/text.h"

#include <yaml-cpp/yaml.h>

#include <array>
#include <iostream>
#include <sstream>
#include <stdexcept>

using api::escaped;

namespace {

constexpr std::array methods = {"get", "put", "post", "delete"};

std::string textOf(const YAML::Node& node, const char* name)
{
    return node[name] ? node[name].Scalar() : std::string();
}

class Page
{
public:
    explicit Page(const YAML::Node& file)
        : m_file(file)
    {}

    void print(std::ostream& out) const
    {
        const auto info = m_file["info"];
        const auto title = escaped(textOf(info, "title"));
        out << "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
               "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>"
            << title
            << "</title>\n<link rel=\"icon\" href=\"data:,\">\n"
               "<link rel=\"stylesheet\" href=\"/stand/page.css\">\n"
               "<link rel=\"stylesheet\" href=\"/docs/docs.css\">\n</head>\n<body>\n<header>\n<h1>"
            << title << "</h1>\n<p class=\"quiet\">" << escaped(textOf(info, "summary"))
            << "</p>\n<p><a href=\"/docs/openapi.yaml\">openapi.yaml</a> <a href=\"/stand/\">the "
               "stand</a></p>\n"
               "</header>\n";
        printContents(out);
        out << "<main>\n<section>\n" << api::markdown(textOf(info, "description"));
        for (const auto& scheme : m_file["components"]["securitySchemes"])
            out << "<p><b>Authentication</b>: " << escaped(textOf(scheme.second, "scheme")) << ". "
                << api::inlineMarkdown(textOf(scheme.second, "description")) << "</p>\n";
        out << "</section>\n";
        for (const auto& tag : m_file["tags"])
            printTag(out, tag);
        printSchemas(out);
        out << "</main>\n</body>\n</html>\n";
    }

private:
    /// What a reference leads to, or the node itself.
    [[nodiscard]] YAML::Node resolved(const YAML::Node& node) const
    {
        const auto reference = node["$ref"];
        if (!reference)
            return node;
        YAML::Node place = m_file;
        std::istringstream names(reference.Scalar().substr(2)); // behind "#/"
        for (std::string name; std::getline(names, name, '/');)
            place.reset(place[name]);
        if (!place)
            throw std::runtime_error(reference.Scalar() + " leads nowhere");
        return place;
    }

    /// Calls `use` with method, path, the path's parameters and operation of each operation of the tag.
    template <typename Use>
    void eachOf(const std::string& tag, Use use) const
    {
        for (const auto& path : m_file["paths"]) {
            for (const auto* method : methods) {
                const auto operation = path.second[method];
                if (operation && operation["tags"][0].Scalar() == tag)
                    use(method, path.first.Scalar(), path.second["parameters"], operation);
            }
        }
    }

    void printContents(std::ostream& out) const
    {
        out << "<nav aria-label=\"Operations\">\n";
        for (const auto& tag : m_file["tags"]) {
            const auto name = textOf(tag, "name");
            out << "<p><b>" << escaped(name) << "</b>";
            eachOf(name, [&out](auto&&, auto&&, auto&&, const YAML::Node& operation) {
                out << " <a href=\"#" << escaped(textOf(operation, "operationId")) << "\">"
                    << escaped(textOf(operation, "summary")) << "</a>";
            });
            out << "</p>\n";
        }
        out << "<p><a href=\"#schemas\">Schemas</a></p>\n</nav>\n";
    }

    void printTag(std::ostream& out, const YAML::Node& tag) const
    {
        const auto name = textOf(tag, "name");
        out << "<h2 id=\"tag-" << escaped(name) << "\">" << escaped(name) << "</h2>\n"
            << api::markdown(textOf(tag, "description"));
        eachOf(name,
               [&](const char* method, const std::string& path, const YAML::Node& shared,
                   const YAML::Node& operation) { printOperation(out, method, path, shared, operation); });
    }

    void printOperation(std::ostream& out, const char* method, const std::string& path,
                        const YAML::Node& shared, const YAML::Node& operation) const
    {
        out << "<section id=\"" << escaped(textOf(operation, "operationId")) << "\">\n<h3>"
            << escaped(textOf(operation, "summary")) << "</h3>\n<p class=\"call\"><b>" << method
            << "</b> <code>" << escaped(path) << "</code>"
            << (operation["security"] ? " <span class=\"badge\">no password</span>" : "") << "</p>\n"
            << api::markdown(textOf(operation, "description"));
        std::string parameters;
        for (const auto& list : {shared, operation["parameters"]}) {
            for (const auto& parameter : list)
                parameters += parameterRow(resolved(parameter));
        }
        if (!parameters.empty())
            out << "<table><thead><tr><th>Parameter</th><th>Value</th><th></th></tr></thead><tbody>\n"
                << parameters << "</tbody></table>\n";
        if (const auto body = operation["requestBody"]) {
            out << "<h4>Body</h4>\n";
            printContent(out, body);
        }
        out << "<h4>Answers</h4>\n";
        for (const auto& answer : operation["responses"])
            printAnswer(out, answer.first.Scalar(), resolved(answer.second));
        out << "</section>\n";
    }

    static std::string parameterRow(const YAML::Node& parameter)
    {
        return "<tr><td><code>" + escaped(textOf(parameter, "name")) +
               "</code> <span class=\"quiet\">in the " + escaped(textOf(parameter, "in")) +
               "</span></td><td>" + api::kindOf(parameter["schema"]) + "</td><td>" +
               api::markdown(textOf(parameter, "description")) + "</td></tr>\n";
    }

    static void printAnswer(std::ostream& out, const std::string& status, const YAML::Node& answer)
    {
        out << "<details><summary><b>" << escaped(status) << "</b> <span>"
            << api::inlineMarkdown(textOf(answer, "description")) << "</span></summary>\n";
        for (const auto& header : answer["headers"])
            out << "<p><code>" << escaped(header.first.Scalar())
                << "</code>: " << api::kindOf(header.second["schema"]) << ". "
                << api::inlineMarkdown(textOf(header.second, "description")) << "</p>\n";
        printContent(out, answer);
        out << "</details>\n";
    }

    /// The forms of a body, and examples of them.
    static void printContent(std::ostream& out, const YAML::Node& body)
    {
        for (const auto& content : body["content"]) {
            out << "<p><code>" << escaped(content.first.Scalar())
                << "</code>: " << api::kindOf(content.second["schema"]) << "</p>\n";
            for (const auto& example : content.second["examples"])
                out << "<p class=\"quiet\">" << escaped(example.first.Scalar()) << "</p>\n<pre>"
                    << escaped(api::json(example.second["value"])) << "</pre>\n";
        }
    }

    void printSchemas(std::ostream& out) const
    {
        out << "<h2 id=\"schemas\">Schemas</h2>\n";
        for (const auto& schema : m_file["components"]["schemas"]) {
            const auto name = escaped(schema.first.Scalar());
            out << "<section id=\"schema-" << name << "\">\n<h3>" << name << "</h3>\n"
                << api::inFull(schema.second) << "</section>\n";
        }
    }

    YAML::Node m_file;
};

} // namespace

int main(int argc, char** argv)
{
    try {
        if (argc != 2)
            throw std::runtime_error("api_page OPENAPI");
        Page(YAML::LoadFile(argv[1])).print(std::cout);
        std::cout.flush();
        return std::cout ? 0 : 1;
    } catch (const std::exception& error) {
        std::cerr << "api_page: " << error.what() << '\n';
        return 1;
    }
}
