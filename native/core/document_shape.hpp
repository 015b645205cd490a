// The shape that agents, and the reader of version stamps, expect of a skill document's template.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

#include "core/documents.hpp"

namespace tarnel::core {

// Thrown by check_shape; during constant evaluation the compiler shows the throw and its text.
struct ShapeFault {
    const char* what;
};

namespace shape {

inline constexpr std::size_t longest_name = 64;           // characters, the limit of the skill format
inline constexpr std::size_t longest_description = 1024;  // characters, the limit of the skill format
inline constexpr std::string_view version_line = "version: {version}";
inline constexpr std::string_view description_indent = "  ";

constexpr void require(bool holds, const char* what) {
    if (!holds) throw ShapeFault{what};
}

constexpr bool is_one_of(char character, std::string_view set) { return set.find(character) != std::string_view::npos; }

// Takes the next line off the front of `text`, without its line feed.
constexpr std::string_view take_line(std::string_view& text) {
    const std::size_t end = text.find('\n');
    require(end != std::string_view::npos, "the text ends inside its front matter");
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(end + 1);
    return line;
}

constexpr std::size_t count_of(std::string_view text, char character) {
    return static_cast<std::size_t>(std::ranges::count(text, character));
}

// Characters of a valid UTF-8 text: every byte but the continuation bytes begins one.
constexpr std::size_t characters(std::string_view text) {
    constexpr unsigned continuation_mask = 0xC0U;
    constexpr unsigned continuation = 0x80U;
    return static_cast<std::size_t>(std::ranges::count_if(
        text, [](char byte) { return (static_cast<unsigned char>(byte) & continuation_mask) != continuation; }));
}

constexpr void check_name(std::string_view name) {
    require(!name.empty() && name.size() <= longest_name, "a name has 1 to 64 characters");
    require(std::ranges::all_of(name, [](char c) { return is_one_of(c, "abcdefghijklmnopqrstuvwxyz0123456789-"); }),
            "a name consists of lower-case letters, digits and hyphens");
    require(name.front() != '-' && name.back() != '-' && name.find("--") == std::string_view::npos,
            "hyphens stand single and inside a name");
}

constexpr void check_characters(std::string_view text) {
    require(text.find('\r') == std::string_view::npos, "lines end in line feeds only");
    require(text.find('\t') == std::string_view::npos, "no tabs");
    require(text.find('\0') == std::string_view::npos, "no null characters");
    require(text.find(" \n") == std::string_view::npos, "no line ends in a space");
    require(text.ends_with('\n') && !text.ends_with("\n\n"), "the text ends in one line feed");
    require(count_of(text, '{') == 1 && count_of(text, '}') == 1, "the version field is the only pair of braces");
}

// Takes the folded description off `rest`, and the version line behind it.
constexpr void check_description_and_version(std::string_view& rest) {
    require(take_line(rest) == "description: >-", "the third line opens a folded description");
    std::size_t length = 0;
    std::string_view line = take_line(rest);
    for (; line.starts_with(description_indent); line = take_line(rest))
        length += characters(line.substr(description_indent.size())) + 1;  // folded into a space, but for the last
    require(length > 0, "the description is empty");
    require(length - 1 <= longest_description, "a description has at most 1024 characters");
    require(line == version_line, "the version line follows the description");
}

constexpr void check_heading(std::string_view heading, std::string_view name) {
    require(heading.starts_with("# "), "the body opens with a first-level heading");
    heading.remove_prefix(2);
    require(heading.starts_with(name), "the heading begins with the skill's name");
    heading.remove_prefix(name.size());
    require(heading.starts_with(" \xE2\x80\x94 "), "an em dash and a subtitle follow the name in the heading");
}

}  // namespace shape

// Throws a ShapeFault that names the first rule which the document breaks.
constexpr void check_shape(const Document& document) {
    shape::check_name(document.name);
    shape::check_characters(document.text);
    std::string_view rest = document.text;
    shape::require(shape::take_line(rest) == "---", "the first line opens the front matter");
    const std::string_view name_line = shape::take_line(rest);
    shape::require(name_line.starts_with("name: ") && name_line.substr(6) == document.name,
                   "the second line gives the skill's name");
    shape::check_description_and_version(rest);
    shape::require(shape::take_line(rest) == "---", "the front matter ends after the version line");
    shape::require(shape::take_line(rest).empty(), "an empty line follows the front matter");
    shape::check_heading(shape::take_line(rest), document.name);
}

}  // namespace tarnel::core
