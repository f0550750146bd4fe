#pragma once

#include <string>

namespace YAML {
class Node;
}

namespace api {

/// What a value is, in a few words of HTML: "list of Position", "text, at least 1 character".
std::string kindOf(const YAML::Node& schema);

/// The schema in full: its description, its kind, and a table of all members however deep.
std::string inFull(const YAML::Node& schema);

} // namespace api
