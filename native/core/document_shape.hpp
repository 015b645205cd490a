// Checks that a skill template has the structure the module relies on.
#pragma once

#include <algorithm>
#include <string_view>

#include "core/documents.hpp"
#include "core/utf8.hpp"

namespace tarnel::core {

// Thrown by check_shape. During constant evaluation, the compiler reports the throw and its text.
struct ShapeFault {
    const char* what;
};

constexpr void require_shape(bool holds, const char* what) {
    if (!holds) throw ShapeFault{what};
}

// Throws a ShapeFault that names the first rule the document breaks.
constexpr void check_shape(const Document& document) {
    const std::string_view text = document.text;
    const auto is_name_character = [](char c) { return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-'; };
    require_shape(!document.name.empty() && std::ranges::all_of(document.name, is_name_character),
                  "a name consists of lower-case letters, digits and hyphens");
    require_shape(is_utf8(text), "the text is UTF-8");

    require_shape(text.find('\r') == std::string_view::npos, "lines end in line feeds only");
    require_shape(std::ranges::count(text, '{') == 1 && std::ranges::count(text, '}') == 1,
                  "the version field is the only pair of braces");

    constexpr std::string_view opening = "---\nname: ";
    require_shape(text.starts_with(opening) && text.substr(opening.size()).starts_with(document.name) &&
                      text.substr(opening.size() + document.name.size()).starts_with('\n'),
                  "the front matter opens with the skill's name");
    const std::size_t end_of_front_matter = text.find("\n---\n", opening.size());
    require_shape(text.substr(0, end_of_front_matter).ends_with("\nversion: {version}"),
                  "the version line is the last of the front matter");
}

}  // namespace tarnel::core
