#pragma once

#include <string>
#include <string_view>

namespace YAML {
class Node;
}

/// What the page's texts are made of. Everything that comes from the file becomes a text, never an element.
namespace api {

/// A text as HTML shows it.
std::string escaped(std::string_view text);

/// The paragraphs, lists and emphases that a description is written in; HTML in it is a text too.
std::string markdown(const std::string& text);
/// The same of a text that is no more than a paragraph, without the paragraph around it.
std::string inlineMarkdown(const std::string& text);

/// The value as JSON, its members in their order; several lines, unless told otherwise.
std::string json(const YAML::Node& value, bool inOneLine = false);

} // namespace api
