// Version stamps in documents, and version keys.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace tarnel::core {

// What Unicode says of characters beyond ASCII: whoever calls has the interpreter's tables.
struct CharacterClasses {
    bool (*is_space)(char32_t);
    bool (*is_word)(char32_t);              // letters, digits and whatever else `\w` matches
    std::optional<int> (*digit)(char32_t);  // the value of a decimal digit
};

// Characters at the head of a document that are searched for a stamp. A carriage return and line feed are one.
inline constexpr std::size_t searched_characters = 2000;

// The version in the first stamp of a document; nothing if it has none. As the pattern
// `^version:\s*([0-9][\w.\-]*)\s*$` finds it in the document's head, line by line, with universal newlines.
// The document is UTF-8.
[[nodiscard]] std::optional<std::string_view> find_stamp(std::string_view document, const CharacterClasses& classes);

// Takes the next piece off a version: up to a full stop, which goes as well, or the end. Its leading decimal digits as
// a number, or 0; nothing if that has more than 18 digits. UTF-8.
[[nodiscard]] std::optional<std::uint64_t> take_number(std::string_view& version, const CharacterClasses& classes);

}  // namespace tarnel::core
